// "corva parse FILE.eml": shows what the message reader makes of a file, field
// by field, with its parts and the plain text the plain view would show.
#include "app/Command.h"
#include "app/Json.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/mSHAREDSettings.h"
#include "message/clsMessage.h"
#include "message/modMIME.h"

#include <cstdio>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace corva::app {
namespace {

// One field: its name and its value as JSON and as a line of text.
struct FieldValue {
    std::string name;
    enum class Kind { Text, Bool, Number } kind;
    std::string text;
    double number = 0;
    bool flag = false;
};

std::vector<FieldValue> fieldsOf(const clsMessage& m) {
    using K = FieldValue::Kind;
    auto t = [](const char* n, const std::string& v) { return FieldValue{n, K::Text, v}; };
    auto b = [](const char* n, bool v) { return FieldValue{n, K::Bool, "", 0, v}; };
    auto d = [](const char* n, double v) { return FieldValue{n, K::Number, "", v}; };
    // The order of the class's interface, fixed so that output can be compared.
    return {
        b("HeaderOnly", m.HeaderOnly),
        t("StrippedBody", m.StrippedBody),
        t("HtmlStrippedBody", m.HtmlStrippedBody),
        t("SpamSplit", m.SpamSplit),
        t("ContentTypeMain", m.ContentTypeMain),
        d("IdxRec", m.IdxRec),
        d("QBXFileLoc", m.QBXFileLoc),
        d("QBXFileEndLoc", m.QBXFileEndLoc),
        b("InQBXFile", m.InQBXFile),
        b("Replied", m.Replied),
        b("HighPriority", m.HighPriority),
        t("XSpamStatus", m.XSpamStatus),
        t("XSpamReport", m.XSpamReport),
        t("XMailer", m.XMailer),
        t("FilterReason", m.FilterReason),
        b("Ignored", m.Ignored),
        b("Suspicious", m.Suspicious),
        d("Bayes", m.Bayes),
        b("BlockedSender", m.BlockedSender),
        b("BlockedRecip", m.BlockedRecip),
        t("DomainKey", m.DomainKey),
        t("ReturnReceiptTo", m.ReturnReceiptTo),
        d("MessageNumThisAcc", m.MessageNumThisAcc),
        t("SpamTestsFailed", m.SpamTestsFailed),
        t("XEnvelopeTo", m.XEnvelopeTo),
        b("Deleted", m.Deleted),
        b("HasAttachment", m.HasAttachment),
        b("Read", m.Read),
        d("FromAccount", m.FromAccount),
        d("Colour", m.Colour),
        d("Size", m.Size),
        t("Headers", m.Headers),
        t("Filename", m.Filename()),
        t("DestFolder", m.DestFolder),
        t("MessageBody", m.MessageBody),
        t("Messagetext", m.Messagetext),
        t("Encrypted", m.Encrypted),
        t("Comments", m.Comments),
        t("Keywords", m.Keywords),
        t("References", m.References),
        t("InReplyTo", m.InReplyTo),
        t("OrigIP", m.OrigIP),
        t("UserAgent", m.UserAgent),
        t("To_Email", m.To_Email),
        t("BCC", m.BCC),
        t("CC", m.CC),
        t("Sender", m.Sender),
        t("ReplyTo", m.ReplyTo),
        t("Subject", m.Subject),
        t("From", m.From),
        t("MessageTo", m.MessageTo),
        t("MessageID", m.MessageID),
        t("SendDate", m.SendDate),
        t("Received", m.Received),
        t("ReceiveDate", m.ReceiveDate),
        t("ReturnPath", m.ReturnPath),
        d("MimePartCount", m.MimePartCount()),
    };
}

std::string numberText(double v) {
    std::ostringstream s;
    s.precision(15);
    s << v;
    return s.str();
}

// Decoded as the windows show it, or with --bytes one character per byte.
void printJson(const std::string& file, const clsMessage& m, const std::string& plain, bool bytes) {
    auto jsonString = [bytes](const std::string& text, const std::string& charset = "") {
        return bytes ? JsonBytes(text) : JsonText(text, charset);
    };
    std::ostream& o = std::cout;
    o << "{\n  \"file\": " << jsonString(file) << ",\n  \"fields\": {\n";
    auto fields = fieldsOf(m);
    for (size_t i = 0; i < fields.size(); ++i) {
        const auto& f = fields[i];
        o << "    " << jsonString(f.name) << ": ";
        if (f.kind == FieldValue::Kind::Text)
            o << jsonString(f.text, headerCharset(m.Headers, f.name));
        else if (f.kind == FieldValue::Kind::Bool)
            o << (f.flag ? "true" : "false");
        else
            o << numberText(f.number);
        o << (i + 1 < fields.size() ? ",\n" : "\n");
    }
    o << "  },\n  \"parts\": [";
    for (int i = 1; i <= m.MimePartCount(); ++i) {
        const clsMimeType& p = m.MimePart(i);
        o << (i > 1 ? ",\n" : "\n") << "    {\"index\": " << i
          << ", \"type\": " << jsonString(p.ContentType)
          << ", \"name\": " << jsonString(p.SectionName)
          << ", \"encoding\": " << jsonString(p.Encoding) << ", \"size\": " << p.Size << "}";
    }
    o << (m.MimePartCount() ? "\n  ],\n" : "],\n") << "  \"attachments\": [";
    const auto& names = m.AttachmentNames();
    for (size_t i = 0; i < names.size(); ++i) o << (i ? ", " : "") << jsonString(names[i]);
    o << "],\n  \"plainText\": " << jsonString(plain) << "\n}\n";
}

// A value on one line for the terminal, line ends shown as \r and \n, long
// ones cut (in characters) with their size in bytes.
std::string shown(const std::string& bytes, size_t limit, const std::string& charset = "") {
    std::string text = terminalText(Replace(Replace(bytes, "\r", "\\r"), "\n", "\\n"), charset);
    if (displayWidth(text) <= limit) return text;
    return cutToWidth(text, limit) + "... (" + std::to_string(bytes.size()) + " bytes)";
}

void printText(const std::string& file, const clsMessage& m, const std::string& plain) {
    std::ostream& o = std::cout;
    o << "File: " << shown(file, std::string::npos) << "\n";
    for (const auto& f : fieldsOf(m)) {
        o << f.name << ": ";
        if (f.kind == FieldValue::Kind::Text)
            o << shown(f.text, 300, headerCharset(m.Headers, f.name));
        else if (f.kind == FieldValue::Kind::Bool)
            o << (f.flag ? "True" : "False");
        else
            o << numberText(f.number);
        o << "\n";
    }
    o << "Parts:\n";
    for (int i = 1; i <= m.MimePartCount(); ++i) {
        const clsMimeType& p = m.MimePart(i);
        o << "  " << i << ". type=" << shown(p.ContentType, 200)
          << " name=" << shown(p.SectionName, 200) << " encoding=" << shown(p.Encoding, 200)
          << " size=" << p.Size << "\n";
    }
    o << "Attachments:\n";
    for (const auto& name : m.AttachmentNames()) o << "  " << shown(name, 300) << "\n";
    std::string text = terminalText(plain);
    o << "Plain text:\n" << text;
    if (!text.empty() && text.back() != '\n') o << "\n";
}

int run(CommandArgs& args) {
    bool headersOnly = args.flag("--headers-only");
    bool json = args.flag("--json");
    bool bytes = args.flag("--bytes");
    if (bytes && !json) args.problem("--bytes goes with --json");
    std::string file, text;
    if (auto status = readOneFile(args, "corva parse FILE.eml [--headers-only] [--json [--bytes]]",
                                  file, text))
        return *status;
    // The plain view follows the user's "Tweaks" setting when a program folder is named.
    if (!HomeOption().empty()) {
        std::string ini = addslash(HomeOption()) + "Corva.ini";
        if (FileExists(ini)) LoadSettings(ini);
    }

    clsMessage m;
    m.CreateFromText(text, headersOnly);
    std::string plain = headersOnly ? std::string() : extractplainmessage(m);
    if (json)
        printJson(file, m, plain, bytes);
    else
        printText(file, m, plain);
    return 0;
}

const CommandRegistration registration({
    "parse",
    "corva parse FILE.eml [--headers-only] [--json [--bytes]]",
    "Show what the message reader makes of a mail file",
    "Prints every field of the parsed message, its MIME parts (type, name, encoding,\n"
    "size), its attachment names and the plain text the plain view shows.\n"
    "--headers-only parses the way a server scan does, without the body.\n"
    "--json prints one object with its keys in this order: \"file\"; \"fields\", an\n"
    "object of every field above by its name (text, true/false or a number);\n"
    "\"parts\", a list of {\"index\", \"type\", \"name\", \"encoding\", \"size\"};\n"
    "\"attachments\", a list of names; \"plainText\". Text is decoded as the windows\n"
    "decode it (the charset of an encoded word, else UTF-8, else Windows-1252).\n"
    "--json --bytes instead writes each byte of the mail as one character, bytes\n"
    "above 126 as \\u007f to \\u00ff, for byte-exact comparisons.",
    run,
});

} // namespace
} // namespace corva::app
