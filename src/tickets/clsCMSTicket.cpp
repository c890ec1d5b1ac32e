#include "tickets/clsCMSTicket.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "core/modSubs.h"
#include "message/clsMessage.h"
#include "message/modMIME.h"
#include "platform/TextDecoder.h"
#include "tickets/modCMS.h"

#include <limits>

namespace corva {
namespace {

constexpr const char* Module = "clsCMSTicket";

// A number field read by value; one out of range reads as 0 rather than
// stopping the whole record.
template <class Int> Int numberField(const std::string& value) {
    double v = Val(value);
    if (v < std::numeric_limits<Int>::min() || v > std::numeric_limits<Int>::max()) return 0;
    return static_cast<Int>(v);
}

// A record holds one field a line: a line end from mail (a bare CR in a
// header, say) would end the field early and start a key the sender chose.
std::string oneLine(std::string value) {
    for (char& c : value)
        if (c == '\r' || c == '\n') c = ' ';
    return value;
}

// Mail text on a page: decoded as the windows show it (the page says UTF-8),
// then escaped.
std::string pageText(const std::string& value) {
    return HtmlEscaped(platform::displayText(value));
}

} // namespace

std::string HtmlEscaped(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '&':
            out += "&amp;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\'':
            out += "&#39;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string clsCMSTicket::RecordText() const {
    std::string text = "owneremail:" + oneLine(owneremail) + "\r\nownername:" + oneLine(ownername) +
                       "\r\ndesc:" + oneLine(desc) + "\r\nticketnum:" + Str(ticketnum) +
                       "\r\npriority:" + Str(priority) + "\r\n";
    text += closed ? "closed:1\r\n" : "closed:0\r\n";
    text += notify ? "notify:1\r\n" : "notify:0\r\n";
    for (const std::string& address : interested) text += "interested:" + oneLine(address) + "\r\n";
    text += "type:" + oneLine(type) + "\r\ncategory:" + oneLine(category) +
            "\r\nversion:" + oneLine(version) + "\r\ndescfile:" + fileonly(descfile) +
            "\r\ncomment:" + fileonly(commentfile) + "\r\n";
    return text;
}

void clsCMSTicket::Save() {
    guarded("Save", Module, [&] {
        MakeCMSFolders();
        ticketfile = TicketFilePath(ticketnum);
        if (isnew)
            while (FileExists(ticketfile)) ticketfile = TicketFilePath(++ticketnum);
        descfile = DescFilePath(ticketnum);
        commentfile = CommentFilePath(ticketnum);
        if (!WriteFileAtomically(ticketfile, RecordText())) return;
        // Empty texts leave an earlier side file as it was.
        if (!Trim(comment).empty()) WriteFileAtomically(commentfile, comment);
        if (!Trim(bodytext).empty()) WriteFileAtomically(descfile, Trim(bodytext));
        if (isnew) {
            AppendToTextFile(TicketIndexPath(), fileonly(ticketfile) + "\r\n");
            CMSSettings().StoreSetting("LastTicket", static_cast<long long>(ticketnum));
            SaveCMSSettings();
            isnew = false;
        }
        PublishToWeb();
    });
}

bool clsCMSTicket::Load(long number) {
    return Loadfile(TicketFilePath(number));
}

bool clsCMSTicket::Loadfile(const std::string& path) {
    return guardedValue("Loadfile", Module, false, [&] {
        interested.clear();
        isnew = false;
        std::string text;
        if (!LoadTextFile(path, text)) return false;
        ticketfile = path;
        for (const std::string& line : SplitLines(text)) {
            size_t colon = line.find(':');
            if (colon == std::string::npos) continue;
            const std::string key = line.substr(0, colon);
            const std::string value = line.substr(colon + 1);
            if (key == "ticketnum")
                ticketnum = numberField<int32_t>(value);
            else if (key == "priority")
                priority = numberField<int16_t>(value);
            else if (key == "closed")
                closed = Val(value) == 1;
            else if (key == "notify")
                notify = Val(value) == 1;
            else if (key == "interested")
                interested.push_back(value);
            else if (key == "descfile")
                descfile = CMSFolder() + "Desc/" + value;
            else if (key == "comment")
                commentfile = CMSFolder() + "Comments/" + value;
            else if (key == "owneremail")
                owneremail = value;
            else if (key == "ownername")
                ownername = value;
            else if (key == "desc")
                desc = value;
            else if (key == "type")
                type = value;
            else if (key == "category")
                category = value;
            else if (key == "version")
                version = value;
            else
                LogAction("Unknown field: " + key + " in " + path);
        }
        // A side file named "../x" would lead out of the CMS folder.
        bodytext = descfile.find("..") == std::string::npos ? LoadTextFile(descfile) : "";
        comment = commentfile.find("..") == std::string::npos ? LoadTextFile(commentfile) : "";
        return true;
    });
}

void clsCMSTicket::LoadWithMessage(const clsMessage& message, const std::string& text) {
    guarded("LoadWithMessage", Module, [&] {
        owneremail = extractemail(message.From);
        ownername = message.From;
        date = message.SendDate;
        desc = message.Subject;
        bodytext = text.empty() ? extractplainmessage(message) : text;
        interested.clear();
        interested.push_back(owneremail);
        isnew = true;
    });
}

std::string clsCMSTicket::WebPagePath() const {
    std::string webpath = ToSlashes(CMSSettings().RetrieveSetting("Webpath", "").toText());
    return webpath.empty() ? "" : webpath + "T_" + Str(ticketnum) + ".html";
}

void clsCMSTicket::PublishToWeb() const {
    guarded("PublishToWeb", Module, [&] {
        std::string webpath = ToSlashes(CMSSettings().RetrieveSetting("Webpath", "").toText());
        if (webpath.empty()) return;
        if (!FolderExists(webpath)) {
            LogAction("Cannot save to web, folder " + webpath + " not found");
            return;
        }
        std::string page = LoadTextFile(CMSTemplatePath("webtemplate.txt"));
        const std::pair<const char*, std::string> tags[] = {
            {"<$ticketnumber>", Str(ticketnum)},
            {"<$fromname>", pageText(ownername)},
            {"<$desc>", pageText(desc)},
            {"<$bodytext>", pageText(bodytext)},
            {"<$comment>", pageText(comment)},
            {"<$date>", pageText(date)},
            {"<$closed>", closed ? "Closed" : "Open"},
            {"<$category>", pageText(category)},
            {"<$type>", pageText(type)},
            {"<$version>", pageText(version)},
        };
        for (const auto& [tag, value] : tags) page = Replace(page, tag, value);
        page = Replace(page, "\r\n\r\n", "<BR>\r\n");
        WriteFileAtomically(WebPagePath(), page);
    });
}

} // namespace corva
