#include "ui/ErrorReportWindow.h"

#include "core/AppInfo.h"
#include "core/ErrorReport.h"
#include "core/FileSubs.h"
#include "platform/Platform.h"
#include "ui/DisplayText.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace corva::ui {

ErrorReportWindow::ErrorReportWindow(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Error Reporter"));
    auto* layout = new QVBoxLayout(this);
    auto* heading = new QLabel(QStringLiteral("An error has ocurred:"));
    QFont f = heading->font();
    f.setBold(true);
    heading->setFont(f);
    layout->addWidget(heading);

    auto edit = [](const QString& name, bool readOnly) {
        auto* e = new QPlainTextEdit;
        e->setObjectName(name);
        e->setReadOnly(readOnly);
        return e;
    };
    // The error stays in sight; the log and the comments share the space below.
    layout->addWidget(new QLabel(QStringLiteral("Error Details")));
    txtError_ = edit(QStringLiteral("txtError"), true);
    txtError_->setMaximumHeight(fontMetrics().lineSpacing() * 5);
    layout->addWidget(txtError_);

    panes_ = new QStackedWidget;
    auto pane = [&](const QString& caption, QPlainTextEdit* e) {
        auto* w = new QWidget;
        auto* v = new QVBoxLayout(w);
        v->setContentsMargins(0, 0, 0, 0);
        v->addWidget(new QLabel(caption));
        v->addWidget(e);
        panes_->addWidget(w);
    };
    txtLog_ = edit(QStringLiteral("txtLog"), true);
    txtLog_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    pane(QStringLiteral("Log"), txtLog_);
    txtUserMessage_ = edit(QStringLiteral("txtUserMessage"), false);
    pane(QStringLiteral("Enter your own comments here"), txtUserMessage_);
    layout->addWidget(panes_, 1);

    auto* buttons = new QHBoxLayout;
    auto button = [&](const QString& text, auto fn) {
        auto* b = new QPushButton(text);
        connect(b, &QPushButton::clicked, this, fn);
        buttons->addWidget(b);
    };
    button(QStringLiteral("Enter Comments"), [this] { openComments(); });
    button(QStringLiteral("View Log File"), [this] { panes_->setCurrentIndex(0); });
    button(QStringLiteral("View Error Report"), [this] {
        std::string path = AppPath() + "fulllog.txt";
        WriteTextFile(path, reportText());
        platform::current().shell().open(path);
    });
    button(QStringLiteral("Submit Error Report"),
           [this] { platform::current().shell().open(mailLink()); });
    buttons->addStretch();
    button(QStringLiteral("Exit"), [this] { accept(); });
    layout->addLayout(buttons);
    resize(620, 420);
}

void ErrorReportWindow::showerror(const std::string& logName, const std::string& text) {
    txtError_->setPlainText(toDisplay(text));
    logPath_ = AppPath() + logName;
    std::string log;
    txtLog_->setPlainText(LoadTextFile(logPath_, log) ? toDisplay(log)
                                                      : QStringLiteral("No log file"));
    panes_->setCurrentIndex(0);
}

void ErrorReportWindow::openComments() {
    commentsOpened_ = true;
    panes_->setCurrentIndex(1);
    txtUserMessage_->setFocus();
}

std::string ErrorReportWindow::reportText() const {
    return BuildErrorReport(fromDisplay(txtError_->toPlainText()),
                            fromDisplay(txtUserMessage_->toPlainText()), commentsOpened_,
                            fromDisplay(txtLog_->toPlainText()));
}

std::string ErrorReportWindow::mailLink() const {
    return BuildErrorMailLink(fromDisplay(txtError_->toPlainText()),
                              fromDisplay(txtUserMessage_->toPlainText()), commentsOpened_,
                              fromDisplay(txtLog_->toPlainText()), logPath_);
}

void ErrorReportWindow::showerr(const std::string& text) {
    ErrorReportWindow window;
    window.showerror("log.txt", text);
    window.exec();
}

} // namespace corva::ui
