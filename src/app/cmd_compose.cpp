// "corva compose": spools a message into the Outbox as the composer does;
// "corva send" then uploads it.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/Account.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "smtp/frmSendMailWrapper.h"

#include <filesystem>
#include <iostream>
#include <iterator>
#include <string>

namespace corva::app {
namespace {

// Every line end as CRLF, the form the composer hands over: the upload drops
// bare LFs, so a body that kept them would lose its line breaks.
std::string crlfLines(const std::string& text) {
    std::string out;
    out.reserve(text.size() + text.size() / 32);
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '\r') {
            out += "\r\n";
            if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
        } else if (c == '\n') {
            out += "\r\n";
        } else {
            out += c;
        }
    }
    return out;
}

// Keeps the last text of the spool, for the reason it failed, and passes
// every event on to the program's own listener.
class SpoolReport : public SendMailWrapperListener {
public:
    explicit SpoolReport(SendMailWrapperListener* forward) : next(forward) {}
    void Progress(const std::string& text) override {
        last = text;
        if (next) next->Progress(text);
    }
    void Failed(const std::string& text) override {
        if (next) next->Failed(text);
    }
    std::string last;
    SendMailWrapperListener* next;
};

int usage() {
    std::cerr << "Usage: corva compose --account N --to ADDR [--cc ADDR]... [--bcc ADDR]... "
                 "--subject S [--body-file F] [--attach FILE]...\n";
    return 2;
}

int run(CommandArgs& args) {
    auto account = args.option("--account");
    auto to = args.option("--to");
    auto subject = args.option("--subject");
    auto bodyFile = args.option("--body-file");
    auto cc = args.options("--cc");
    auto bcc = args.options("--bcc");
    auto attachments = args.options("--attach");
    auto unknown = args.unknownOptions();
    if (!unknown.empty() || !args.rest().empty()) {
        for (const auto& u : unknown) std::cerr << "Unknown option: " << u << "\n";
        return usage();
    }
    if (!account || !to || !subject) return usage();
    int n = static_cast<int>(Val(*account));
    if (Trim(*account).empty() || !Account::isNumber(n) || Str(n) != Trim(*account)) {
        std::cerr << "The account is a number from 0 to 19\n";
        return 2;
    }
    std::string body;
    if (bodyFile) {
        if (*bodyFile == "-") {
            body.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
        } else if (!FileExists(*bodyFile) || !LoadTextFile(*bodyFile, body)) {
            std::cerr << "Can't read " << *bodyFile << "\n";
            return 1;
        }
    }

    HeadlessSession session;
    if (Account(n).replyAddress().empty()) {
        std::cerr << "Account " << n << " has no reply address (REPLYADDRESS" << n << ")\n";
        return 1;
    }
    clsMessage message;
    message.FromAccount = static_cast<int16_t>(n);
    message.To_Email = *to;
    message.CC = Join(cc, ";");
    message.BCC = Join(bcc, ";");
    message.Subject = *subject;
    message.MessageBody = crlfLines(body);
    for (const std::string& file : attachments) {
        std::error_code ec;
        auto absolute = std::filesystem::absolute(file, ec);
        message.AddAttachment(ec ? file : absolute.string());
    }

    frmSendMailWrapper& wrapper = session.sendMailWrapper();
    SpoolReport report(wrapper.listener());
    wrapper.setListener(&report);
    std::string path = wrapper.SpoolMessage(message);
    wrapper.setListener(report.next);
    if (path.empty()) {
        std::cerr << "Not spooled: " << report.last << "\n";
        return 1;
    }
    std::cout << path << "\n";
    return 0;
}

const CommandRegistration registration({
    "compose",
    "corva compose --account N --to ADDR [--cc ADDR]... [--bcc ADDR]... --subject S "
    "[--body-file F] [--attach FILE]...",
    "Put a message into the Outbox, as the composer does",
    "Writes the finished message (headers, body, attachments in base64) into the\n"
    "Outbox as NN_outbound_K.eml, sent from account N's reply address and display\n"
    "name (REPLYADDRESSn, DISPLAYNAMEn). The body comes from F ('-' for standard\n"
    "input); its line ends become CRLF. Several addresses in one --to are written\n"
    "'a@x;b@y' without blanks. Prints the spooled file; 'corva send' uploads it.\n"
    "Nothing is spooled when an attachment is missing.",
    run,
});

} // namespace
} // namespace corva::app
