#include "tickets/frmCMSSettings.h"

#include "core/Account.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/modSubs.h"
#include "tickets/modCMS.h"

namespace corva {
namespace {
constexpr const char* Module = "frmCMSSettings";
}

CMSSettingsFields frmCMSSettings::Load() {
    CMSSettingsFields f;
    guarded("Form_Load", Module, [&] {
        cSHAREDSettings& s = CMSSettings();
        const Account account(defaultaccount());
        auto pick = [](std::string& field, const std::string& own, const std::string& fallback) {
            if (!own.empty())
                field = own;
            else if (!fallback.empty())
                field = fallback;
        };
        pick(f.returnEmail, s.RetrieveSetting("ReturnEmail", "").toText(), account.replyAddress());
        pick(f.senderName, s.RetrieveSetting("SenderName", "").toText(), account.displayName());
        pick(f.webpath, s.RetrieveSetting("Webpath", "").toText(), "");
        f.initial = LoadTextFile(CMSTemplatePath("ResponseInitial.txt"));
        f.progress = LoadTextFile(CMSTemplatePath("ResponseProgress.txt"));
        f.closed = LoadTextFile(CMSTemplatePath("ResponseClosed.txt"));
    });
    return f;
}

bool frmCMSSettings::Save(const CMSSettingsFields& f) {
    return guardedValue("cmdOK_Click", Module, false, [&] {
        cSHAREDSettings& s = CMSSettings();
        s.StoreSetting("ReturnEmail", f.returnEmail);
        s.StoreSetting("SenderName", f.senderName);
        s.StoreSetting("Webpath", f.webpath);
        MakeCMSFolders();
        bool ok = WriteFileAtomically(CMSTemplatePath("ResponseInitial.txt"), f.initial);
        ok = WriteFileAtomically(CMSTemplatePath("ResponseProgress.txt"), f.progress) && ok;
        ok = WriteFileAtomically(CMSTemplatePath("ResponseClosed.txt"), f.closed) && ok;
        return SaveCMSSettings() && ok;
    });
}

} // namespace corva
