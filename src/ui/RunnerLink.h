// The running copy's window side of the hand-over: frmRunner's events reach
// the scanner, the mailer, the reader and the composer through here.
#pragma once

#include "instance/frmRunner.h"
#include "instance/modRunnerMail.h"

#include <string>

namespace corva {
class frmMain;
}

namespace corva::ui {

class ScannerWindow;

class RunnerLink : public RunnerEvents, public RunnerMailView {
public:
    RunnerLink(ScannerWindow& window, frmMain& main);
    // Serves the program folder's channel; false when another copy does.
    bool Listen(const std::string& programFolder);
    // Start-up is done: opens the mail link or message file the program was
    // started with, then what other starts handed over meanwhile.
    void Started(const std::string& startLine);
    // Shutdown holds what arrives from now on; a refused shutdown lets it through.
    void Hold(bool held) { runner_.Hold(held); }
    const frmRunner& runner() const { return runner_; }

    // RunnerEvents
    void Runner_ShowMail(const std::string& text) override;
    void Runner_ShowWindow() override;

    // RunnerMailView
    bool MailerLoaded() const override;
    void ShowMailer() override;
    bool MainVisible() const override;
    void BringMainForward() override;
    void ShowMain() override;
    void OpenComposer(const MailLink& link) override;
    void OpenMessageFile(const std::string& path) override;

private:
    ScannerWindow& window_;
    frmMain& main_;
    frmRunner runner_;
};

} // namespace corva::ui
