// "corva compose": spools a message into the Outbox as the composer does;
// "corva send" then uploads it.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/Account.h"
#include "core/AccountRules.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/mSHAREDSettings.h"
#include "core/modSubs.h"
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

constexpr const char* Usage = "corva compose --account N --to ADDR [--cc ADDR]... [--bcc ADDR]... "
                              "--subject S [--body-file F|-] [--attach FILE]...";

int run(CommandArgs& args) {
    const std::optional<int> account = args.account();
    auto to = args.option("--to", "an address");
    auto subject = args.option("--subject", "a text");
    auto bodyFile = args.option("--body-file", "a file");
    auto cc = args.options("--cc", "an address");
    auto bcc = args.options("--bcc", "an address");
    auto attachments = args.options("--attach", "a file");
    if (auto status = args.refused(Usage, 0, 0)) return *status;
    for (const auto& [option, given] : {std::pair{"--account", account.has_value()},
                                        {"--to", to.has_value()},
                                        {"--subject", subject.has_value()}})
        if (!given) return RefuseWith("compose", std::string(option) + " is required");
    std::vector<std::string> addresses = cc;
    addresses.insert(addresses.end(), bcc.begin(), bcc.end());
    addresses.push_back(*to);
    for (const std::string& list : addresses)
        for (const std::string& one : Split(Replace(list, ",", ";"), ";"))
            if (!Trim(one).empty() && !IsMailAddress(extractemail(one)))
                return RefuseWith("compose", "\"" + terminalLine(one) + "\" is not an address");
    const int n = *account;
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
    if (auto refused = RequireAccount("compose", n, false)) return *refused;
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
    Usage,
    "Put a message into the Outbox, as the composer does",
    "Writes the finished message (headers, body, attachments in base64) into the\n"
    "Outbox as NN_outbound_K.eml, sent from account N's reply address and display\n"
    "name (REPLYADDRESSn, DISPLAYNAMEn). The body comes from F ('-' for standard\n"
    "input); its line ends become CRLF. Several addresses in one --to are written\n"
    "'a@x;b@y' without blanks. Prints the spooled file; 'corva send' uploads it.\n"
    "Nothing is spooled when an attachment is missing. Account N must exist and\n"
    "every address must be one (name@domain), else the exit status is 2.",
    run,
});

} // namespace
} // namespace corva::app
