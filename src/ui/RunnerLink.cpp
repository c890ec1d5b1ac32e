#include "ui/RunnerLink.h"

#include "core/mSHAREDLogging.h"
#include "cycle/frmMain.h"
#include "instance/InstanceCheck.h"
#include "ui/MailerWindow.h"
#include "ui/ScannerWindow.h"

#include <QWidget>

namespace corva::ui {

namespace {
void bringForward(QWidget& window) {
    if (window.isMinimized()) window.showNormal();
    window.show();
    window.raise();
    window.activateWindow();
}
} // namespace

RunnerLink::RunnerLink(ScannerWindow& window, frmMain& main)
    : window_(window), main_(main), runner_(*this) {}

bool RunnerLink::Listen(const std::string& programFolder) {
    return runner_.Listen(RunnerChannelName(CurrentUserName(), programFolder));
}

void RunnerLink::Started(const std::string& startLine) {
    if (!startLine.empty()) corva::Runner_ShowMail(startLine, *this);
    runner_.Hold(false);
}

void RunnerLink::Runner_ShowMail(const std::string& text) {
    corva::Runner_ShowMail(text, *this);
}

void RunnerLink::Runner_ShowWindow() {
    corva::Runner_ShowWindow(*this);
}

bool RunnerLink::MailerLoaded() const {
    return window_.MailerLoaded();
}

void RunnerLink::ShowMailer() {
    if (MailerWindow* mailer = window_.openMailer()) bringForward(*mailer);
}

bool RunnerLink::MainVisible() const {
    return window_.isVisible();
}

void RunnerLink::BringMainForward() {
    bringForward(window_);
}

void RunnerLink::ShowMain() {
    window_.showFromTray();
    bringForward(window_);
}

void RunnerLink::OpenComposer(const MailLink& link) {
    LogAction("New message to " + link.to + ": " + link.subject);
    main_.OpenComposer(link.to, link.cc, link.bcc, link.subject, link.body);
}

void RunnerLink::OpenMessageFile(const std::string& path) {
    main_.OpenMessageFile(path);
}

} // namespace corva::ui
