// "corva compose": spools a new message, a reply or a forward into the Outbox
// with the composer's own texts; "corva send" then uploads it.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/Account.h"
#include "core/AccountRules.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/mSHAREDSettings.h"
#include "core/modSubs.h"
#include "mailer/frmEmail.h"
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

constexpr const char* Usage =
    "corva compose [--account N] [--to ADDR] [--cc ADDR]... [--bcc ADDR]... [--subject S] "
    "[--reply FILE.eml [--all] | --forward FILE.eml [--attached]] [--body-file F|-] "
    "[--attach FILE]...";

int run(CommandArgs& args) {
    const std::optional<int> account = args.account();
    auto to = args.option("--to", "an address");
    auto subject = args.option("--subject", "a text");
    auto bodyFile = args.option("--body-file", "a file");
    auto reply = args.option("--reply", "a message file");
    auto forward = args.option("--forward", "a message file");
    const bool all = args.flag("--all");
    const bool attached = args.flag("--attached");
    auto cc = args.options("--cc", "an address");
    auto bcc = args.options("--bcc", "an address");
    auto attachments = args.options("--attach", "a file");
    if (auto status = args.refused(Usage, 0, 0)) return *status;
    if (reply && forward) return RefuseWith("compose", "--reply and --forward exclude each other");
    // A reply takes its address, subject and account from the message answered.
    for (const auto& [option, given] : {std::pair{"--account", account.has_value() || reply},
                                        {"--to", to.has_value() || reply},
                                        {"--subject", subject.has_value() || reply || forward}})
        if (!given) return RefuseWith("compose", std::string(option) + " is required");
    std::vector<std::string> addresses = cc;
    addresses.insert(addresses.end(), bcc.begin(), bcc.end());
    if (to) addresses.push_back(*to);
    for (const std::string& list : addresses)
        for (const std::string& one : Split(Replace(list, ",", ";"), ";"))
            if (!Trim(one).empty() && !IsMailAddress(extractemail(one)))
                return RefuseWith("compose", "\"" + terminalLine(one) + "\" is not an address");
    std::string body;
    if (bodyFile) {
        if (*bodyFile == "-") {
            body.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
        } else if (!FileExists(*bodyFile) || !LoadTextFile(*bodyFile, body)) {
            std::cerr << "Can't read " << *bodyFile << "\n";
            return 1;
        }
    }
    auto absolute = [](const std::string& file) {
        std::error_code ec;
        auto path = std::filesystem::absolute(file, ec);
        return ec ? file : path.string();
    };

    HeadlessSession session;
    // The composer's own entries make the texts: quote and attribution,
    // forwarded block, signature.
    frmEmail email;
    EmailRequest request;
    if (reply || forward) {
        request.kind = reply ? EmailRequest::Kind::Reply : EmailRequest::Kind::Forward;
        request.path = absolute(reply ? *reply : *forward);
        request.toAll = all;
        request.asAttachment = attached;
    }
    if (!FileExists(request.path) && !request.path.empty()) {
        std::cerr << "Can't read " << request.path << "\n";
        return 1;
    }
    if (!email.Open(request)) return 1;
    EmailFields& fields = email.Fields();
    if (account) fields.sender = *account;
    const int n = fields.sender;
    if (auto refused = RequireAccount("compose", n, false)) return *refused;
    if (Account(n).replyAddress().empty()) {
        std::cerr << "Account " << n << " has no reply address (REPLYADDRESS" << n << ")\n";
        return 1;
    }
    if (to) fields.to = *to;
    if (subject) fields.subject = *subject;
    if (!cc.empty()) fields.cc = Join(cc, ";");
    fields.caret = 0;
    fields.selectionLength = 0;
    if (!body.empty()) email.InsertAtCaret(crlfLines(body));
    for (const std::string& file : attachments)
        fields.attachments.push_back({file, absolute(file)});

    clsMessage message = email.OutgoingMessage();
    // The command may give both copy lists; the window has one or the other.
    message.BCC = Join(bcc, ";");
    frmSendMailWrapper& wrapper = session.sendMailWrapper();
    SpoolReport report(wrapper.listener());
    wrapper.setListener(&report);
    std::string path = wrapper.SpoolMessage(message);
    wrapper.setListener(report.next);
    if (path.empty()) {
        std::cerr << "Not spooled: " << report.last << "\n";
        return 1;
    }
    email.MessageSpooled();
    std::cout << path << "\n";
    return 0;
}

const CommandRegistration registration({
    "compose",
    Usage,
    "Put a new message, a reply or a forward into the Outbox, as the composer does",
    "Writes the finished message (headers, body, attachments in base64) into the\n"
    "Outbox as NN_outbound_K.eml, sent from account N's reply address and display\n"
    "name (REPLYADDRESSn, DISPLAYNAMEn). The text is the composer's: a new message\n"
    "ends with the default signature (sig.txt in the mail root); --reply FILE.eml\n"
    "answers a stored message (to its Reply-To, else From; 'Re: ' before the\n"
    "subject; --all copies its Cc) with the signature, 'NAME wrote:' and the quoted\n"
    "text, and marks it replied; --forward FILE.eml forwards it in a 'Begin\n"
    "Forwarded Message' block, or as an attachment with --attached. The text from F\n"
    "('-' for standard input) goes first; its line ends become CRLF. --account,\n"
    "--to and --subject override what a reply takes from the message. Several\n"
    "addresses in one --to are written 'a@x;b@y' without blanks. Prints the spooled\n"
    "file; 'corva send' uploads it. Nothing is spooled when an attachment is\n"
    "missing. Account N must exist and every address must be one (name@domain),\n"
    "else the exit status is 2.",
    run,
});

} // namespace
} // namespace corva::app
