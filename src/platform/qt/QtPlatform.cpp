#include "platform/qt/QtPlatform.h"
#include "platform/qt/QtSpeech.h"

#include "platform/ConsolePrompts.h"
#include "platform/qt/QtHttp.h"
#include "platform/qt/QtKeyring.h"
#include "platform/qt/QtLocalChannel.h"
#include "platform/qt/QtSocket.h"
#include "platform/qt/QtTimeZone.h"

#include <QApplication>
#include <QCheckBox>
#include <QCoreApplication>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeDatabase>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QThread>
#include <QTimeZone>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include <clocale>

namespace corva::platform::qt {

namespace {

class QtTimer : public Timer {
public:
    QtTimer() {
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            if (tick_) tick_();
        });
    }
    void setCallback(std::function<void()> tick) override { tick_ = std::move(tick); }
    void setInterval(int ms) override {
        timer_.setInterval(ms);
        if (timer_.isActive()) timer_.start();
    }
    int interval() const override { return timer_.interval(); }
    void setEnabled(bool on) override {
        if (on && !timer_.isActive()) timer_.start();
        if (!on) timer_.stop();
    }
    bool enabled() const override { return timer_.isActive(); }

private:
    QTimer timer_;
    std::function<void()> tick_;
};

class QtEventLoop : public EventLoop {
public:
    void yield() override { QCoreApplication::processEvents(QEventLoop::AllEvents); }
    void sleepMs(int ms) override {
        if (ms > 0) QThread::msleep(static_cast<unsigned long>(ms));
    }
    bool runUntil(const std::function<bool()>& done, int timeoutMs) override {
        QDeadlineTimer deadline(timeoutMs);
        QTimer wake; // makes the blocking wait return now and then to look at the deadline
        wake.start(20);
        while (!done()) {
            if (deadline.hasExpired()) return false;
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        }
        return true;
    }
};

bool widgetsRunning() {
    return qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr;
}

class DialogPrompts : public Prompts {
public:
    // Only a window asks; the console never trusts a certificate by itself.
    bool trustCertificate(const std::string& server, const CertificateInfo& certificate) override {
        if (!widgetsRunning()) return false;
        QMessageBox box;
        box.setWindowTitle(QStringLiteral("Corva - Certificate not accepted"));
        box.setIcon(QMessageBox::Warning);
        box.setText(QString::fromStdString("The certificate of " + server +
                                           " could not be verified.\n\n" +
                                           describeCertificate(certificate)));
        box.setInformativeText(
            QStringLiteral("Trust this certificate for this server from now on? Only do so when "
                           "you know the fingerprint is the server's own."));
        QPushButton* trust = box.addButton(QStringLiteral("Trust"), QMessageBox::AcceptRole);
        QPushButton* refuse = box.addButton(QStringLiteral("Refuse"), QMessageBox::RejectRole);
        box.setDefaultButton(refuse);
        box.exec();
        return box.clickedButton() == trust;
    }
    Answer messageBox(const std::string& text, Buttons buttons, Icon icon,
                      const std::string& title) override {
        if (!widgetsRunning()) return console_.messageBox(text, buttons, icon, title);
        QMessageBox box;
        box.setWindowTitle(title.empty() ? QStringLiteral("Corva") : QString::fromStdString(title));
        box.setText(QString::fromStdString(text));
        switch (icon) {
        case Icon::Information:
            box.setIcon(QMessageBox::Information);
            break;
        case Icon::Question:
            box.setIcon(QMessageBox::Question);
            break;
        case Icon::Exclamation:
            box.setIcon(QMessageBox::Warning);
            break;
        case Icon::Critical:
            box.setIcon(QMessageBox::Critical);
            break;
        default:
            break;
        }
        QMessageBox::StandardButtons set;
        switch (buttons) {
        case Buttons::Ok:
            set = QMessageBox::Ok;
            break;
        case Buttons::OkCancel:
            set = QMessageBox::Ok | QMessageBox::Cancel;
            break;
        case Buttons::YesNo:
            set = QMessageBox::Yes | QMessageBox::No;
            break;
        case Buttons::YesNoCancel:
            set = QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
            break;
        case Buttons::RetryCancel:
            set = QMessageBox::Retry | QMessageBox::Cancel;
            break;
        case Buttons::AbortRetryIgnore:
            set = QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore;
            break;
        }
        box.setStandardButtons(set);
        switch (box.exec()) {
        case QMessageBox::Ok:
            return Answer::Ok;
        case QMessageBox::Yes:
            return Answer::Yes;
        case QMessageBox::No:
            return Answer::No;
        case QMessageBox::Retry:
            return Answer::Retry;
        case QMessageBox::Abort:
            return Answer::Abort;
        case QMessageBox::Ignore:
            return Answer::Ignore;
        default:
            return Answer::Cancel;
        }
    }

    PasswordReply askPassword(const std::string& prompt) override {
        if (!widgetsRunning()) return console_.askPassword(prompt);
        QDialog dialog;
        dialog.setWindowTitle(QStringLiteral("Password"));
        auto* layout = new QVBoxLayout(&dialog);
        layout->addWidget(new QLabel(QString::fromStdString(prompt)));
        auto* edit = new QLineEdit;
        edit->setEchoMode(QLineEdit::Password);
        layout->addWidget(edit);
        auto* remember = new QCheckBox(QStringLiteral("Remember password"));
        layout->addWidget(remember);
        auto* box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
        QObject::connect(box, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
        QObject::connect(box, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
        layout->addWidget(box);
        PasswordReply reply;
        reply.cancelled = dialog.exec() != QDialog::Accepted;
        if (!reply.cancelled) {
            reply.text = edit->text().toStdString();
            reply.remember = remember->isChecked();
        }
        return reply;
    }

    std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                        const std::string& defaultText) override {
        if (!widgetsRunning()) return console_.inputBox(prompt, title, defaultText);
        bool ok = false;
        QString text = QInputDialog::getText(nullptr, QString::fromStdString(title),
                                             QString::fromStdString(prompt), QLineEdit::Normal,
                                             QString::fromStdString(defaultText), &ok);
        if (!ok) return std::nullopt;
        return text.toStdString();
    }

    void setCursor(Cursor cursor) override {
        if (!widgetsRunning()) return;
        while (QApplication::overrideCursor()) QApplication::restoreOverrideCursor();
        if (cursor == Cursor::Busy) QApplication::setOverrideCursor(Qt::WaitCursor);
        if (cursor == Cursor::BusyBackground) QApplication::setOverrideCursor(Qt::BusyCursor);
    }

private:
    ConsolePrompts console_;
};

class QtClock : public Clock {
public:
    std::chrono::system_clock::time_point now() const override {
        return std::chrono::system_clock::now();
    }
    int standardBiasMinutes() const override {
        QTimeZone zone = QTimeZone::systemTimeZone();
        return -zone.standardTimeOffset(QDateTime::currentDateTime()) / 60;
    }
};

class QtFileTypes : public FileTypes {
public:
    std::string contentTypeForExtension(const std::string& extension) const override {
        if (extension.empty()) return "";
        QMimeDatabase db;
        QMimeType type =
            db.mimeTypeForFile(QStringLiteral("x.") + QString::fromStdString(extension),
                               QMimeDatabase::MatchExtension);
        if (!type.isValid() || type.isDefault()) return "";
        return type.name().toStdString();
    }
};

class QtShell : public Shell {
public:
    bool open(const std::string& target) override {
        QString t = QString::fromStdString(target);
        QUrl url = QFileInfo::exists(t) ? QUrl::fromLocalFile(t) : QUrl(t);
        return QDesktopServices::openUrl(url);
    }
};

// Sound goes through the desktop's own players when present.
class QtSound : public Sound {
public:
    bool canPlay(const std::string& file) override {
        return !player().isEmpty() && !playable(file).isEmpty();
    }
    void play(const std::string& file) override {
        QString exe = player();
        QString path = playable(file);
        if (!exe.isEmpty() && !path.isEmpty()) QProcess::startDetached(exe, {path});
    }

private:
    static QString player() {
        for (const char* name : {"paplay", "aplay"}) {
            QString exe = QStandardPaths::findExecutable(QString::fromLatin1(name));
            if (!exe.isEmpty()) return exe;
        }
        return {};
    }
    // The file itself; for the chime the program ships, when the program
    // folder holds none of its own, a copy of the shipped one in the private
    // temporary folder, since the players read files only.
    QString playable(const std::string& file) {
        QString path = QString::fromStdString(file);
        if (QFileInfo(path).isFile()) return path;
        const QString shipped = QStringLiteral(":/sounds/ClockChime.wav");
        if (QFileInfo(path).fileName().compare(QFileInfo(shipped).fileName(),
                                               Qt::CaseInsensitive) != 0 ||
            !QFile::exists(shipped))
            return {};
        if (shippedCopy_.isEmpty() || !QFileInfo(shippedCopy_).isFile()) {
            std::string temp = current().files().privateTempFolder();
            if (temp.empty()) return {};
            QString copy = QString::fromStdString(temp) + QStringLiteral("/ClockChime.wav");
            QFile::remove(copy);
            if (!QFile::copy(shipped, copy)) return {};
            shippedCopy_ = copy;
        }
        return shippedCopy_;
    }
    QString shippedCopy_;
};

} // namespace

struct QtPlatform::Impl {
    QtEventLoop loop;
    DialogPrompts prompts;
    QtClock clock;
    QtFileTypes types;
    QtShell shell;
    QtSound sound;
    QtKeyring keyring;
    QtHttp http;
    QtTimeZones zones;
};

QtPlatform::QtPlatform() : impl_(std::make_unique<Impl>()) {
    // Qt's application object takes the desktop's locale for the C library
    // too; numbers in files and on the wire keep their point whatever the
    // desktop's language (a German desktop would write "0,99" to Corva.ini).
    std::setlocale(LC_NUMERIC, "C");
    setKeyring(&impl_->keyring);
    setHttp(&impl_->http);
    setTimeZones(&impl_->zones);
}
QtPlatform::~QtPlatform() {
    setKeyring(nullptr);
    setHttp(nullptr);
    setTimeZones(nullptr);
}
std::unique_ptr<Socket> QtPlatform::createSocket() {
    return std::make_unique<QtSocket>();
}
std::unique_ptr<Timer> QtPlatform::createTimer() {
    return std::make_unique<QtTimer>();
}
std::unique_ptr<LocalChannel> QtPlatform::createLocalChannel() {
    return std::make_unique<QtLocalChannel>();
}
EventLoop& QtPlatform::eventLoop() {
    return impl_->loop;
}
Prompts& QtPlatform::prompts() {
    return promptsOverride_ ? *promptsOverride_ : impl_->prompts;
}
Clock& QtPlatform::clock() {
    return impl_->clock;
}
FileTypes& QtPlatform::fileTypes() {
    return impl_->types;
}
Shell& QtPlatform::shell() {
    return impl_->shell;
}
Sound& QtPlatform::sound() {
    return impl_->sound;
}
Speech& QtPlatform::speech() {
    // Made on first use: looking for an engine loads plugins.
    static std::unique_ptr<Speech> speech = makeQtSpeech();
    return *speech;
}

} // namespace corva::platform::qt
