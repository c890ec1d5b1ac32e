#include "tickets/modCMS.h"

#include "core/Account.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "core/modSubs.h"

#include <memory>

namespace corva {
namespace {

constexpr const char* Module = "modCMS";

struct LoadedSettings {
    std::string folder;
    cSHAREDSettings store;
};
std::unique_ptr<LoadedSettings>& loaded() {
    static std::unique_ptr<LoadedSettings> settings;
    return settings;
}

// The page the operator starts from; every tag of the published page once.
constexpr const char* DefaultWebTemplate =
    "<!DOCTYPE html>\r\n<html><head><meta charset=\"utf-8\">\r\n"
    "<title>Ticket <$ticketnumber></title>\r\n"
    "<style>body{font-family:sans-serif;margin:2em;max-width:50em}"
    "th{text-align:left;padding-right:1em}"
    "pre{white-space:pre-wrap;background:#f4f4f4;padding:1em}</style>\r\n"
    "</head><body>\r\n<h1>Ticket <$ticketnumber>: <$desc></h1>\r\n<table>\r\n"
    "<tr><th>From</th><td><$fromname></td></tr>\r\n"
    "<tr><th>Date</th><td><$date></td></tr>\r\n"
    "<tr><th>Status</th><td><$closed></td></tr>\r\n"
    "<tr><th>Category</th><td><$category></td></tr>\r\n"
    "<tr><th>Type</th><td><$type></td></tr>\r\n"
    "<tr><th>Version</th><td><$version></td></tr>\r\n</table>\r\n"
    "<h2>Request</h2>\r\n<pre><$bodytext></pre>\r\n"
    "<h2>Response</h2>\r\n<pre><$comment></pre>\r\n</body></html>\r\n";

constexpr const char* DefaultResponse =
    "Thank you for your message. It is now ticket number [ticket]; please quote it in any "
    "reply.";

} // namespace

bool CMSMode() {
    return guardedValue("CMSMode", Module, false, [] { return sget("CMSMODE", false).toBool(); });
}

std::string CMSFolder() {
    return addslash(ToSlashes(FilterFolder)) + "CMS/";
}
std::string TicketIndexPath() {
    return CMSFolder() + "Tickets.txt";
}
std::string TicketFilePath(long number) {
    return CMSFolder() + "Tickets/ticket_" + Str(number) + ".txt";
}
std::string DescFilePath(long number) {
    return CMSFolder() + "Desc/desc_" + Str(number) + ".txt";
}
std::string CommentFilePath(long number) {
    return CMSFolder() + "Comments/comment_" + Str(number) + ".txt";
}
std::string CMSTemplatePath(const std::string& name) {
    return CMSFolder() + name;
}

cSHAREDSettings& CMSSettings() {
    auto& settings = loaded();
    const std::string folder = CMSFolder();
    if (!settings || settings->folder != folder) {
        settings = std::make_unique<LoadedSettings>();
        settings->folder = folder;
        guarded("OpenCMSSettings", Module, [&] {
            if (!FolderExists(folder)) MkMissingDir(folder);
            if (FileExists(folder + "settings.ini"))
                settings->store.LoadSettings(folder + "settings.ini");
        });
    }
    return settings->store;
}

void ResetCMSSettings() {
    loaded().reset();
}

void MakeCMSFolders() {
    guarded("MakeCMSFolders", Module, [] {
        for (const char* sub : {"", "Tickets", "Desc", "Comments"})
            if (!FolderExists(CMSFolder() + sub)) MkMissingDir(CMSFolder() + sub);
        if (!FileExists(CMSTemplatePath("webtemplate.txt")))
            WriteFileAtomically(CMSTemplatePath("webtemplate.txt"), DefaultWebTemplate);
        if (!FileExists(CMSTemplatePath("ResponseInitial.txt")))
            WriteFileAtomically(CMSTemplatePath("ResponseInitial.txt"), DefaultResponse);
    });
}

bool SaveCMSSettings() {
    return guardedValue("SaveCMSSettings", Module, false, [] {
        cSHAREDSettings& settings = CMSSettings();
        MakeCMSFolders();
        return settings.SaveSettings(CMSFolder() + "settings.ini");
    });
}

std::string CMSReturnEmail() {
    std::string own = CMSSettings().RetrieveSetting("ReturnEmail", "").toText();
    return own.empty() ? Account(defaultaccount()).replyAddress() : own;
}

} // namespace corva
