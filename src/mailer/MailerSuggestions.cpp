#include "mailer/MailerSuggestions.h"

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "core/modSubs.h"
#include "mailer/MessageDisplay.h"
#include "message/clsMessage.h"

#include <algorithm>

namespace corva {

namespace {

std::string dbFolder() {
    return addslash(DataFolder) + "DB/";
}

} // namespace

std::vector<std::string> FillSuggestionMenu() {
    std::vector<std::string> files;
    FillFiles(dbFolder(), "TXT", files);
    std::vector<std::string> names;
    for (const std::string& file : files) {
        size_t dot = file.rfind('.');
        names.push_back(dot == std::string::npos ? file : file.substr(0, dot));
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string suggestionFile(const std::string& name) {
    std::vector<std::string> files;
    FillFiles(dbFolder(), "TXT", files);
    for (const std::string& file : files)
        if (EqualsNoCase(file.substr(0, file.rfind('.')), name)) return dbFolder() + file;
    return dbFolder() + name + ".TXT";
}

bool AddToSuggestions(const std::string& name, const clsMessage& message,
                      const std::string& shownText) {
    const std::string path = suggestionFile(name);
    const std::string idLine = "Message-ID: " + message.MessageID;
    if (LoadTextFile(path).find(idLine) != std::string::npos) {
        LogAction("Not adding " + message.Subject + " to suggestions - already there");
        return false;
    }
    AppendToTextFile(path, message.From + "\r\n" + message.ReturnPath + "\r\n" + message.Subject +
                               "\r\n" + shownText + "\r\n" + idLine + "\r\n");
    saveAllAttachments(message, dbFolder() + "Attachments");
    return true;
}

std::optional<SuggestionReply> SuggestionReplyFor(const std::string& name,
                                                  const clsMessage& message,
                                                  const std::string& shownText) {
    std::string reply = LoadTextFile(addslash(DataFolder) + "AutoReply/Good Suggestion.txt");
    if (reply.empty()) return std::nullopt;
    reply = Replace(reply, "@Progname@", name);
    std::string quoted;
    for (const std::string& line : Split(Replace(shownText, "\r\n", "\n"), "\n"))
        quoted += "> " + line + "\r\n";
    SuggestionReply out;
    out.to = extractemail(message.ReplyTo.empty() ? message.From : message.ReplyTo);
    out.subject = "RE: " + Replace(Replace(message.Subject, "Unverified ", ""), "Verified ", "");
    out.body = "Hi, and thanks for your email\r\n" + reply +
               LoadTextFile(addslash(MessageFolder) + "sig.txt") + "\r\n" + quoted;
    return out;
}

} // namespace corva
