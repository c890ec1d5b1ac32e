#include "ui/UpdaterWindow.h"

#include "core/Variant.h"
#include "core/mSHAREDSettings.h"
#include "platform/Platform.h"
#include "ui/DisplayText.h"
#include "ui/LanguageWalker.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace corva::ui {

UpdaterWindow::UpdaterWindow(fSHAREDUpdater& updater, QWidget* parent)
    : QDialog(parent), updater_(updater) {
    setObjectName(QStringLiteral("fSHAREDUpdater"));
    setWindowTitle(QStringLiteral("Corva Update"));
    auto* layout = new QVBoxLayout(this);
    auto label = [&](const QString& name) {
        auto* l = new QLabel;
        l->setObjectName(name);
        l->setWordWrap(true);
        layout->addWidget(l);
        return l;
    };
    lblVersion_ = label(QStringLiteral("lblVersion"));
    lblStatus_ = label(QStringLiteral("lblStatus"));
    txtDetails_ = new QPlainTextEdit;
    txtDetails_->setObjectName(QStringLiteral("txtDetails"));
    txtDetails_->setReadOnly(true);
    layout->addWidget(txtDetails_, 1);
    progress_ = new QProgressBar;
    progress_->setObjectName(QStringLiteral("prgDownload"));
    progress_->setRange(0, 100);
    progress_->setValue(0);
    layout->addWidget(progress_);
    chkDisable_ = new QCheckBox(QStringLiteral("Disable automatic checking"));
    chkDisable_->setObjectName(QStringLiteral("chkDisable"));
    chkDisable_->setChecked(sget("DisableAutoUpdateCheck", false).toBool());
    connect(chkDisable_, &QCheckBox::toggled, this,
            [](bool on) { sset("DisableAutoUpdateCheck", on); });
    layout->addWidget(chkDisable_);

    auto* row = new QHBoxLayout;
    auto button = [&](const char* name, const QString& text, auto fn) {
        auto* b = new QPushButton(text);
        b->setObjectName(QString::fromLatin1(name));
        connect(b, &QPushButton::clicked, this, fn);
        row->addWidget(b);
        return b;
    };
    commands_ = {button("cmdCheck", QStringLiteral("Check Now"), [this] { check(); }),
                 button("cmdShowDetail", QStringLiteral("Show Details"),
                        [this] { command([this] { updater_.cmdShowDetail(); }); }),
                 button("cmdDownload", QStringLiteral("Download"),
                        [this] { command([this] { updater_.cmdDownload(); }); }),
                 button("cmdDownloadInstall", QStringLiteral("Download and Install"),
                        [this] { command([this] { updater_.cmdDownloadInstall(); }); }),
                 button("cmdProxy", QStringLiteral("Proxy Settings"),
                        [this] {
                            ProxyDialog proxy(this);
                            proxy.exec();
                        }),
                 button("cmdClose", QStringLiteral("Close"), [this] { close(); })};
    cmdCancel_ = button("cmdCancel", QStringLiteral("Cancel"), [this] { updater_.StopAll(); });
    cmdCancel_->setEnabled(false);
    layout->addLayout(row);
    resize(560, 360);
    updater_.setView(this);
}

UpdaterWindow::~UpdaterWindow() {
    updater_.StopAll();
    updater_.setView(nullptr);
}

UpdaterWindow& UpdaterWindow::open(fSHAREDUpdater& updater, QWidget* parent) {
    static QPointer<UpdaterWindow> window;
    if (!window) {
        window = new UpdaterWindow(updater, parent);
        window->setAttribute(Qt::WA_DeleteOnClose);
    }
    window->ShowWindow();
    return *window;
}

void UpdaterWindow::check() {
    command([this] { updater_.CheckForUpdate(false); });
}

template <class F> void UpdaterWindow::command(F&& fn) {
    if (busy_) return;
    busy_ = true;
    for (QPushButton* b : commands_) b->setEnabled(false);
    cmdCancel_->setEnabled(true);
    QPointer<UpdaterWindow> alive(this);
    fn();
    if (!alive) return;
    busy_ = false;
    for (QPushButton* b : commands_) b->setEnabled(true);
    cmdCancel_->setEnabled(false);
}

void UpdaterWindow::ShowWindow() {
    show();
    raise();
    activateWindow();
}

void UpdaterWindow::ShowVersion(const std::string& text) {
    lblVersion_->setText(toDisplay(text));
}

void UpdaterWindow::ShowStatus(const std::string& text) {
    lblStatus_->setText(toDisplay(text));
}

void UpdaterWindow::ShowDetails(const std::string& text) {
    txtDetails_->setPlainText(toDisplay(text));
}

void UpdaterWindow::ShowProgress(long long received, long long total) {
    if (total > 0) {
        progress_->setRange(0, 100);
        progress_->setValue(static_cast<int>(received * 100 / total));
    } else {
        progress_->setRange(0, 0); // no size announced: a busy bar
    }
}

void UpdaterWindow::SetBusy(bool busy) {
    if (busy)
        progress_->setValue(0);
    else if (progress_->maximum() == 0)
        progress_->setRange(0, 100);
}

std::string UpdaterWindow::ChooseSaveFile(const std::string& suggested) {
    const QString path = QFileDialog::getSaveFileName(
        this, translated(QStringLiteral("Save the update as")), QString::fromStdString(suggested));
    return path.toStdString();
}

void UpdaterWindow::closeEvent(QCloseEvent* event) {
    // A transfer waits on the event loop inside a command: stop it first and
    // close once the command is over.
    if (busy_) {
        updater_.StopAll();
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

void UpdaterWindow::reject() {
    if (busy_)
        updater_.StopAll();
    else
        QDialog::reject();
}

ProxyDialog::ProxyDialog(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("fSHAREDProxy"));
    setWindowTitle(QStringLiteral("Proxy Settings"));
    const ProxySettings s = fSHAREDProxy::Load();
    auto* layout = new QVBoxLayout(this);
    const char* names[] = {"optSystem", "optNone", "optManual"};
    for (int i = 0; i < 3; ++i) {
        types_[i] = new QRadioButton(QString::fromLatin1(fSHAREDProxy::TypeCaption(i)));
        types_[i]->setObjectName(QString::fromLatin1(names[i]));
        types_[i]->setChecked(s.type == i);
        connect(types_[i], &QRadioButton::toggled, this, [this] { updateEnabled(); });
        layout->addWidget(types_[i]);
    }
    auto* manual = new QGroupBox(QStringLiteral("Manual proxy"));
    manual->setObjectName(QStringLiteral("fraManual"));
    auto* form = new QFormLayout(manual);
    auto line = [&](const char* name, const QString& caption, const std::string& value,
                    bool secret) {
        auto* e = new QLineEdit(toDisplay(value));
        e->setObjectName(QString::fromLatin1(name));
        if (secret) e->setEchoMode(QLineEdit::Password);
        form->addRow(caption, e);
        return e;
    };
    txtServer_ = line("txtServer", QStringLiteral("Proxy server:"), s.server, false);
    txtPort_ = line("txtPort", QStringLiteral("Port:"), s.port, false);
    txtUser_ = line("txtUser", QStringLiteral("User name:"), s.user, false);
    txtPassword_ = line("txtPassword", QStringLiteral("Password:"), s.password, true);
    txtConfirm_ = line("txtConfirm", QStringLiteral("Confirm password:"), s.password, true);
    layout->addWidget(manual);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("cmdOK"));
    buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("cmdCancel"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    updateEnabled();
}

void ProxyDialog::updateEnabled() {
    const bool manual = types_[ProxySettings::Manual]->isChecked();
    for (QLineEdit* e : {txtServer_, txtPort_, txtUser_, txtPassword_, txtConfirm_})
        e->setEnabled(manual);
}

bool ProxyDialog::save() {
    ProxySettings s;
    for (int i = 0; i < 3; ++i)
        if (types_[i]->isChecked()) s.type = i;
    s.server = fromDisplay(txtServer_->text().trimmed());
    s.port = fromDisplay(txtPort_->text().trimmed());
    s.user = fromDisplay(txtUser_->text());
    s.password = fromDisplay(txtPassword_->text());
    const std::string refused = fSHAREDProxy::cmdOK(s, fromDisplay(txtConfirm_->text()));
    if (refused.empty()) return true;
    platform::current().prompts().messageBox(refused, platform::Buttons::Ok,
                                             platform::Icon::Exclamation);
    txtPassword_->clear();
    txtConfirm_->clear();
    txtPassword_->setFocus();
    return false;
}

void ProxyDialog::accept() {
    if (save()) QDialog::accept();
}

} // namespace corva::ui
