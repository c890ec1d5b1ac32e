#include "updates/fSHAREDProxy.h"

#include "core/ErrorHandler.h"
#include "core/Variant.h"
#include "core/mSHAREDSettings.h"
#include "localise/modLanguages.h"
#include "platform/Keyring.h"

namespace corva {

namespace {
constexpr const char* Module = "fSHAREDProxy";
constexpr const char* Service = "Corva";
} // namespace

ProxySettings fSHAREDProxy::Load() {
    return guardedValue("Load", Module, ProxySettings{}, [] {
        ProxySettings s;
        s.type = static_cast<int>(sget("ProxyType", 0).toLong());
        if (s.type < ProxySettings::SystemDefault || s.type > ProxySettings::Manual) s.type = 0;
        s.server = sget("ProxyServer", "").toText();
        s.port = sget("ProxyPort", "").toText();
        s.user = sget("ProxyUser", "").toText();
        s.password = sget("ProxyPwd", "").toText();
        if (!s.user.empty() && s.password.empty()) {
            const platform::KeyringResult got =
                platform::keyring().read(Service, ProxyKeyringEntry);
            if (got.ok) s.password = got.secret;
        }
        return s;
    });
}

std::string fSHAREDProxy::cmdOK(const ProxySettings& s, const std::string& confirmPassword) {
    if (s.password != confirmPassword)
        return gettranslation("Your passwords don't match.  Please retype them.");
    guarded("cmdOK", Module, [&] {
        sset("ProxyType", static_cast<long long>(s.type));
        sset("ProxyServer", s.server);
        sset("ProxyPort", s.port);
        sset("ProxyUser", s.user);
        platform::Keyring& keyring = platform::keyring();
        const platform::KeyringResult kept =
            s.password.empty() ? keyring.erase(Service, ProxyKeyringEntry)
                               : keyring.store(Service, ProxyKeyringEntry, s.password);
        // Without a keyring the password stays in the file, as accounts do.
        sset("ProxyPwd", kept.ok || s.password.empty() ? std::string() : s.password);
    });
    return "";
}

const char* fSHAREDProxy::TypeCaption(int type) {
    switch (type) {
    case ProxySettings::Direct:
        return "No Proxy";
    case ProxySettings::Manual:
        return "Manual Settings";
    default:
        return "System Default Proxy";
    }
}

} // namespace corva
