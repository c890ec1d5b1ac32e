// The preview pane's logic. Everything the logic compares stays bytes; text
// is decoded by its declared charset only on its way to the view.
#include "mailer/MessageDisplay.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/modSubs.h"
#include "localise/modLanguages.h"
#include "mailer/AttachmentFiles.h"
#include "message/modMIME.h"
#include "platform/Platform.h"
#include "store/modMessageFiles.h"

#include <algorithm>
#include <set>

namespace corva {

namespace {

constexpr const char* Module = "MessageDisplay";

constexpr const char* SuspiciousLine =
    "Message contains suspicious code! Click the [!] button for information --->";
constexpr const char* MisleadingLine =
    "A link in this message leads to another site than it names! Click the [!] button for "
    "information --->";

bool isSingleBytePlain(const std::string& charset) {
    std::string name = LCase(Trim(charset));
    return name.empty() || name == "us-ascii" || name == "iso-8859-1" || name == "latin1" ||
           name == "windows-1252" || name == "cp1252";
}

// The value of one parameter of a header value ("charset" of
// "text/plain; charset=\"koi8-r\""), "" when absent.
std::string parameterOf(const std::string& value, const std::string& parameter) {
    std::string lower = LCase(value);
    size_t at = 0;
    while ((at = lower.find(parameter, at)) != std::string::npos) {
        size_t eq = at + parameter.size();
        while (eq < lower.size() && (lower[eq] == ' ' || lower[eq] == '\t')) ++eq;
        bool boundary =
            at == 0 || lower[at - 1] == ';' || lower[at - 1] == ' ' || lower[at - 1] == '\t';
        if (!boundary || eq >= lower.size() || lower[eq] != '=') {
            at = eq;
            continue;
        }
        std::string rest = Trim(value.substr(eq + 1));
        if (!rest.empty() && rest.front() == '"') {
            size_t close = rest.find('"', 1);
            return rest.substr(1, close == std::string::npos ? std::string::npos : close - 1);
        }
        return Trim(rest.substr(0, rest.find_first_of("; \t\r\n")));
    }
    return "";
}

std::string decodedField(const clsMessage& m, const std::string& value, const char* field) {
    return platform::displayText(value, headerCharset(m.Headers, field));
}

std::string kilobytes(long size) {
    return Str((size + 1023) / 1024);
}

std::vector<MisleadingLink> findMisleading(const clsMessage& m) {
    std::vector<MisleadingLink> all;
    auto add = [&](const std::string& html) {
        for (MisleadingLink& link : misleadingLinks(html)) all.push_back(std::move(link));
    };
    bool sawHtml = false;
    for (int i = 1; i <= m.MimePartCount(); ++i) {
        if (m.MimePart(i).ContentType != "text/html") continue;
        sawHtml = true;
        add(DecodedPartText(m, i));
    }
    if (!sawHtml && InStrNoCase(m.MessageBody, "<a ") > 0) add(m.MessageBody);
    return all;
}

// A second part of the same name is saved beside the first, not over it.
std::string unusedIn(const std::set<std::string>& written, const std::string& path) {
    if (!written.count(path)) return path;
    size_t slash = path.rfind('/');
    size_t dot = path.rfind('.');
    if (dot == std::string::npos || dot < slash + 2) dot = path.size();
    for (int n = 2;; ++n) {
        std::string candidate = path.substr(0, dot) + " (" + Str(n) + ")" + path.substr(dot);
        if (!written.count(candidate)) return candidate;
    }
}

} // namespace

std::vector<TextRange> UnderlineLinks(const std::string& text) {
    std::vector<TextRange> links;
    std::string copy = LCase(text);
    if (copy.find("http:") == std::string::npos && copy.find("https:") == std::string::npos &&
        copy.find("www.") == std::string::npos && copy.find('@') == std::string::npos)
        return links;
    // Line ends and double quotes end a word as a blank does.
    for (char& c : copy)
        if (c == '\r' || c == '\n' || c == '"') c = ' ';
    const std::string_view leading = "[(',.<>) \t";
    const std::string_view trailing = ",.>]) \n\r";
    size_t i = 0;
    while (i < copy.size()) {
        while (i < copy.size() && copy[i] == ' ') ++i;
        size_t start = i;
        while (i < copy.size() && copy[i] != ' ') ++i;
        std::string_view word(copy.data() + start, i - start);
        size_t at = word.find('@');
        bool candidate = word.find("://") != std::string_view::npos ||
                         word.find("www.") != std::string_view::npos ||
                         (at != std::string_view::npos && at > 0);
        if (!candidate) continue;
        size_t s = start, e = i;
        while (s < e && leading.find(copy[s]) != std::string_view::npos) ++s;
        for (size_t k = s; k < e; ++k) {
            if (copy[k] == '"' || copy[k] == '\'') {
                e = k;
                break;
            }
        }
        while (e > s && trailing.find(copy[e - 1]) != std::string_view::npos) --e;
        if (e > s) links.push_back({s, e - s});
    }
    return links;
}

std::string bodyCharset(const clsMessage& message) {
    return guardedValue("bodyCharset", Module, std::string(), [&] {
        const std::string& raw =
            message.Messagetext.empty() ? message.Headers : message.Messagetext;
        std::string plain, html, first;
        for (size_t line = 0; line < raw.size();) {
            size_t end = raw.find('\n', line);
            if (end == std::string::npos) end = raw.size();
            while (end + 1 < raw.size() && (raw[end + 1] == ' ' || raw[end + 1] == '\t')) {
                end = raw.find('\n', end + 1);
                if (end == std::string::npos) end = raw.size();
            }
            std::string text = raw.substr(line, end - line);
            line = end + 1;
            if (!StartsWithNoCase(text, "content-type:")) continue;
            std::string value = text.substr(13);
            std::string charset = parameterOf(value, "charset");
            if (charset.empty()) continue;
            std::string type = LCase(Trim(value.substr(0, value.find(';'))));
            if (first.empty()) first = charset;
            if (type == "text/plain" && plain.empty()) plain = charset;
            if (type == "text/html" && html.empty()) html = charset;
        }
        return !plain.empty() ? plain : !html.empty() ? html : first;
    });
}

std::string displayBodyText(const clsMessage& message) {
    return guardedValue("displaymailbody", Module, std::string(), [&] {
        std::string text = extractplainmessage(message);
        // A link at a line's end keeps a delimiter after it.
        text = Replace(text, "\r\n", "  \r\n");
        std::string charset = bodyCharset(message);
        // The typographic ellipsis and single quote of Windows-1252 shown
        // plainly; in any other charset those bytes are parts of characters.
        if (isSingleBytePlain(charset) && !platform::isValidUtf8(text)) {
            text = Replace(text, "\x85", "...");
            text = Replace(text, "\x8b", "-");
        }
        if (text.size() > 2) {
            size_t start = 0;
            while (start < text.size()) {
                if (text.compare(start, 2, "\r\n") == 0)
                    start += 2;
                else if (text[start] == ' ')
                    ++start;
                else
                    break;
            }
            text.erase(0, start);
        }
        std::string shown = platform::displayText(text, charset);
        shown = Replace(shown, "\r\n", "\n");
        std::replace(shown.begin(), shown.end(), '\r', '\n');
        return shown;
    });
}

std::vector<std::string> headerStrip(const clsMessage& m,
                                     const std::function<bool(const std::string&)>& fits) {
    std::vector<std::string> lines;
    guarded("displaymailheader", Module, [&] {
        bool noFrom = m.From.empty();
        std::string from = noFrom ? m.ReturnPath : m.From;
        const char* fromField = noFrom ? "Return-Path" : "From";
        auto line = [&](auto show) {
            std::string text = "From: " + show(from, fromField) + " To: " + show(m.To_Email, "To");
            if (!m.CC.empty()) text += " Cc: " + show(m.CC, "Cc");
            return text;
        };
        std::string full =
            line([&](const std::string& v, const char* f) { return decodedField(m, v, f); });
        if (fits && !fits(full))
            full = line([&](const std::string& v, const char*) {
                return platform::displayText(extractemail(v));
            });
        lines.push_back(full);
        lines.push_back("Subject: " + decodedField(m, m.Subject, "Subject"));
    });
    return lines;
}

PreviewContent buildPreview(const clsMessage& m,
                            const std::function<bool(const std::string&)>& fits) {
    PreviewContent c;
    guarded("displaymailheader", Module, [&] {
        c.headerLines = headerStrip(m, fits);

        // Character code 1 written as an entity is how forged pages hid text;
        // large messages are left out to save time.
        c.suspicious = m.Size <= 250 && m.RawMessage().find("&#1;") != std::string::npos;
        c.misleading = findMisleading(m);
        if (c.suspicious)
            c.warningLine = SuspiciousLine;
        else if (!c.misleading.empty())
            c.warningLine = MisleadingLine;
    });
    guarded("displaymailbody", Module, [&] {
        c.text = displayBodyText(m);
        c.links = UnderlineLinks(c.text);
    });
    guarded("MessagePreview", Module, [&] {
        if (!m.HasAttachment) return;
        for (int i = 1; i <= m.MimePartCount(); ++i) {
            const clsMimeType& part = m.MimePart(i);
            if (part.SectionName.empty()) continue;
            c.attachments.push_back(platform::displayText(part.SectionName) + " (" +
                                    kilobytes(part.Size) + "kb)");
            c.attachmentParts.push_back(i);
        }
    });
    return c;
}

std::string warningText(const PreviewContent& content) {
    std::string text;
    if (content.suspicious || content.misleading.empty())
        text = gettranslation("This message contains a suspicious piece of HTML code.") + "\r\n" +
               gettranslation("If it's asking you to verify a password or confirm your login, "
                              "it's almost certainly fake!");
    for (const MisleadingLink& link : content.misleading) {
        if (!text.empty()) text += "\r\n";
        text += gettranslation("A link shows ") + link.shownHost +
                gettranslation(" but leads to ") + link.targetHost + ".";
    }
    if (!content.misleading.empty() && !content.suspicious)
        text += "\r\n" + gettranslation("If it's asking you to verify a password or confirm your "
                                        "login, it's almost certainly fake!");
    return text;
}

std::vector<std::string> saveAllAttachments(const clsMessage& message, const std::string& folder) {
    std::vector<std::string> written;
    std::set<std::string> taken;
    for (int i = 1; i <= message.MimePartCount(); ++i) {
        const clsMimeType& part = message.MimePart(i);
        if (part.SectionName.empty()) continue;
        std::string path = unusedIn(taken, attachmentPath(folder, part.SectionName));
        taken.insert(path);
        if (writefile(path, part.Content, part.Encoding)) written.push_back(path);
    }
    return written;
}

platform::PrintJob buildPrintJob(const clsMessage& m) {
    platform::PrintJob job;
    guarded("buildPrintJob", Module, [&] {
        job.title = decodedField(m, m.Subject, "Subject");
        job.header.emplace_back("From", decodedField(m, m.From.empty() ? m.ReturnPath : m.From,
                                                     m.From.empty() ? "Return-Path" : "From"));
        job.header.emplace_back("To", decodedField(m, m.To_Email, "To"));
        if (!m.CC.empty()) job.header.emplace_back("Cc", decodedField(m, m.CC, "Cc"));
        job.header.emplace_back("Date", platform::displayText(m.SendDate));
        job.header.emplace_back("Subject", job.title);
        // The blanks the pane puts before each line end are no use on paper.
        for (const std::string& line : SplitLines(displayBodyText(m)))
            job.body += RTrim(line) + "\n";
    });
    return job;
}

MessageDisplay::MessageDisplay(MessageDisplayView& view) : view_(view), attachWarning_(view) {}

void MessageDisplay::clear() {
    guarded("clear", Module, [&] {
        message_.reset();
        content_ = PreviewContent();
        view_.showHeader({}, "");
        view_.showText("", {});
        view_.setAttachmentMenu({});
        view_.setButtonVisible("attachments", false);
        view_.setButtonVisible("warning", false);
    });
}

void MessageDisplay::MessagePreview(const std::string& path) {
    guarded("MessagePreview", Module, [&] {
        view_.showHeader({}, "");
        view_.showText("Reading message ...", {});
        showMessage(readfullmessage(path));
    });
}

void MessageDisplay::showMessage(std::shared_ptr<clsMessage> message) {
    guarded("MessagePreview", Module, [&] {
        message_ = message ? std::move(message) : std::make_shared<clsMessage>();
        view_.setButtonVisible("attachments", false);
        view_.setAttachmentMenu({});
        content_ = buildPreview(
            *message_, [this](const std::string& line) { return view_.headerLineFits(line); });
        displaymailheader();
        displaymailbody();
        if (!content_.attachments.empty()) {
            view_.setAttachmentMenu(content_.attachments);
            view_.setButtonVisible("attachments", true);
        }
    });
}

void MessageDisplay::displaymailheader() {
    guarded("displaymailheader", Module, [&] {
        view_.showHeader(content_.headerLines, content_.warningLine);
        view_.setButtonVisible("warning", !content_.warningLine.empty());
    });
}

void MessageDisplay::refitHeader() {
    guarded("refitHeader", Module, [&] {
        if (!message_) return;
        std::vector<std::string> lines = headerStrip(
            *message_, [this](const std::string& line) { return view_.headerLineFits(line); });
        if (lines == content_.headerLines) return;
        content_.headerLines = lines;
        view_.showHeader(content_.headerLines, content_.warningLine);
    });
}

void MessageDisplay::displaymailbody() {
    guarded("displaymailbody", Module, [&] { view_.showText(content_.text, content_.links); });
}

void MessageDisplay::showchar1warning() {
    guarded("showchar1warning", Module, [&] {
        platform::current().prompts().messageBox(warningText(content_), platform::Buttons::Ok,
                                                 platform::Icon::Exclamation);
    });
}

void MessageDisplay::txtMessage_MouseUp(size_t position) {
    guarded("txtMessage_MouseUp", Module, [&] {
        for (const TextRange& range : content_.links) {
            if (position < range.start || position >= range.start + range.length) continue;
            std::string link = content_.text.substr(range.start, range.length);
            link.erase(std::remove_if(link.begin(), link.end(),
                                      [](char c) { return c == '\r' || c == '\n' || c == '\t'; }),
                       link.end());
            if (link.find(':') != std::string::npos || link.find('@') == std::string::npos) {
                websitevisit(link);
                return;
            }
            std::string address = ReplaceNoCase(link, "mailto:", "");
            if (compose_)
                compose_(address);
            else
                platform::current().prompts().messageBox(
                    gettranslation("Work in progress - should be in the next version."));
            return;
        }
    });
}

std::string MessageDisplay::openFolder() {
    std::string root = platform::current().files().privateTempFolder();
    if (root.empty()) throw RunError(Err::PathNotFound);
    std::string folder = addslash(root) + "open-" + Str(++opened_);
    if (!platform::current().files().makeFolder(folder)) throw RunError(Err::PathFileAccess);
    return folder;
}

void MessageDisplay::OpenAttachment(size_t entry) {
    guarded("OpenAttachment", Module, [&] {
        if (!message_ || entry >= content_.attachmentParts.size()) return;
        const clsMimeType& part = message_->MimePart(content_.attachmentParts[entry]);
        const std::string& name = part.SectionName;
        // Files to open go to a folder of this process's own, never into the
        // store, where a name like "folders.ini" would overwrite its files.
        if (EndsWith(LCase(name), ".eml")) {
            std::string path = attachmentPath(openFolder(), name);
            if (!writefile(path, part.Content, part.Encoding)) return;
            view_.openReader(path);
            return;
        }
        switch (attachWarning_.GetConfirmation(name)) {
        case AttachAnswer::Cancel:
            return;
        case AttachAnswer::Save: {
            std::optional<std::string> path = view_.askSavePath(safeAttachmentName(name));
            if (path && !path->empty()) writefile(*path, part.Content, part.Encoding);
            return;
        }
        case AttachAnswer::Run: {
            std::string folder = openFolder();
            std::string path = attachmentPath(folder, name);
            // A web page finds its pictures beside it.
            if (InStrNoCase(name, ".htm") > 0) {
                saveAllAttachments(*message_, folder);
            } else if (!writefile(path, part.Content, part.Encoding)) {
                return;
            }
            RunFile(path);
            return;
        }
        }
    });
}

void MessageDisplay::mnusaveattach_click() {
    guarded("mnusaveattach_click", Module, [&] {
        if (!message_) return;
        std::optional<std::string> folder = view_.askFolder(
            gettranslation("Save attachments"), gettranslation("Click SAVE to save all files"));
        if (!folder || folder->empty()) return;
        saveAllAttachments(*message_, *folder);
        platform::current().prompts().messageBox(gettranslation("All attachments saved to:\r\n") +
                                                 *folder);
    });
}

int MessageDisplay::printMessage(platform::PrintTarget target, const std::string& pdfPath) {
    return guardedValue("printMessage", Module, 0, [&] {
        if (!message_) return 0;
        return platform::current().printer().print(buildPrintJob(*message_), target, pdfPath);
    });
}

void MessageDisplay::mnuviewsource_click() {
    guarded("mnuviewsource_click", Module, [&] {
        if (!message_) return;
        // A copy with a text file's name: the desktop opens it in its text
        // viewer, and an editor there can't change the stored message.
        std::string path = addslash(openFolder()) + "source.txt";
        if (!WriteFileExactly(path, message_->RawMessage())) return;
        RunFile(path);
    });
}

} // namespace corva
