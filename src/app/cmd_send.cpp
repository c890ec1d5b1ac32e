// "corva send": the upload run over the Outbox, one connection per account,
// reporting each message as it goes out or fails.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/Terminal.h"
#include "core/FileSubs.h"
#include "core/TerminalText.h"
#include "smtp/frmSendMailWrapper.h"

#include <climits>
#include <iostream>
#include <string>
#include <vector>

namespace corva::app {
namespace {

// Prints what the run does and passes every event on to the program's own
// listener, which keeps its state as it would with the window open.
class SendReport : public SendMailWrapperListener {
public:
    explicit SendReport(SendMailWrapperListener* next) : next_(next) {}
    void Progress(const std::string& text) override {
        progress_.show(terminalLine(text));
        if (next_) next_->Progress(text);
    }
    void Failed(const std::string& text) override {
        progress_.clear();
        std::cout << "Failed: " << terminalLine(text) << "\n";
        ++failures;
        if (next_) next_->Failed(text);
    }
    void NoMailToSend() override {
        if (next_) next_->NoMailToSend();
    }
    void SendingFinished() override {
        if (next_) next_->SendingFinished();
    }
    void messageSent(const std::string& file, const clsMessage& message) override {
        if (next_) next_->messageSent(file, message);
        progress_.clear();
        std::cout << "Sent     " << terminalLine(file) << "  " << terminalLine(message.Subject)
                  << "  to " << terminalLine(message.To_Email) << "\n";
        ++sent;
    }
    void messageFailed(const std::string& file, const std::string& explanation) override {
        if (next_) next_->messageFailed(file, explanation);
        progress_.clear();
        std::cout << "Not sent " << terminalLine(file) << "  " << terminalLine(explanation) << "\n";
        ++failures;
    }
    SendMailWrapperListener* next() const { return next_; }
    void done() { progress_.clear(); }
    int sent = 0;
    int failures = 0;

private:
    ProgressLine progress_;
    SendMailWrapperListener* next_;
};

int run(CommandArgs& args) {
    if (auto status = args.refused("corva send", 0, 0)) return *status;
    HeadlessSession session;
    CatchInterrupt();
    frmSendMailWrapper& wrapper = session.sendMailWrapper();
    SendReport report(wrapper.listener());
    wrapper.setListener(&report);
    wrapper.UploadSpooledMail();
    platform::current().eventLoop().runUntil([&] { return !wrapper.Uploading() || Interrupted(); },
                                             INT_MAX);
    if (Interrupted()) wrapper.CancelSend();
    wrapper.setListener(report.next());
    report.done();

    std::vector<std::string> left;
    FillFiles(frmSendMailWrapper::outboxfolder(), "EML", left);
    std::cout << report.sent << " sent, " << left.size() << " left in Outbox\n";
    return report.failures > 0 || !left.empty() || Interrupted() ? 1 : 0;
}

const CommandRegistration registration({
    "send",
    "corva send",
    "Upload the mail waiting in the Outbox",
    "Sends every file in the Outbox through the SMTP server of the account its\n"
    "name begins with (SMTPn, SMTPPortn, SMTPAuthn ...), one connection per\n"
    "account, and moves each sent message to Sent Items. Prints one line per\n"
    "message sent or refused and the count left in the Outbox (\"N sent, N left in\n"
    "Outbox\"); the status texts go to stderr on one line that rewrites itself on\n"
    "a terminal, each on its own line with --verbose, and not at all off a\n"
    "terminal or with --quiet. A message that fails stays in the Outbox\n"
    "for the next run. The exit status is 1 when anything was left unsent.",
    run,
});

} // namespace
} // namespace corva::app
