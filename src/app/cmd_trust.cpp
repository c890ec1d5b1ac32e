// corva trust: the one way a command trusts a certificate that failed
// verification, since no command ever trusts one silently.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/Account.h"
#include "core/Variant.h"
#include "core/mSHAREDSettings.h"
#include "cycle/ServerProbe.h"
#include "cycle/frmMainView.h"

#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva trust --account N";

class Quiet : public frmMainView {};

// 0 nothing to do or done, 1 the server could not be reached securely.
int trustServer(const Account& account, const char* role) {
    const bool pop = std::string(role) == "POP";
    const int security = pop ? account.popSecurity() : account.smtpSecurity();
    const auto [host, port] = pop ? account.popAddress() : account.smtpAddress();
    const std::string server = host + ":" + std::to_string(port);
    const char* what = pop ? "incoming" : "outgoing";
    if (host.empty()) return 0;
    if (security == Account::Plain) {
        std::cout << server << " (" << what << "): no secure connection is set, nothing to trust\n";
        return 0;
    }
    const int timeoutMs = static_cast<int>(sget("MailTimeout", 30).toLong()) * 1000;
    const ProbeResult probe =
        ProbeServer(pop ? ProbeProtocol::Pop3 : ProbeProtocol::Smtp, host, port, security,
                    account.trustedCertificate(role), timeoutMs);
    if (!probe.secure) {
        std::cerr << "corva trust: " << server << ": " << probe.error << "\n";
        return 1;
    }
    std::cout << server << " (" << what << ")\n"
              << platform::describeCertificate(probe.certificate) << "\n";
    if (probe.verified) {
        std::cout << (account.trustedCertificate(role).empty()
                          ? "The certificate is valid: nothing to trust.\n"
                          : "The certificate is trusted already.\n");
        return 0;
    }
    account.setTrustedCertificate(role, probe.certificate.fingerprint);
    std::cout << "Trusted from now on for " << server << ".\n";
    return 0;
}

int run(CommandArgs& args) {
    const std::optional<int> number = args.account();
    if (auto refused = args.refused(Usage, 0, 0)) return *refused;
    if (!number) return RefuseWith("trust", "which account? give --account N");
    Quiet view;
    HeadlessSession session(view, frmMain::AutoScan::Off);
    if (auto refused = RequireAccount("trust", *number, false)) return *refused;
    const Account account(*number);
    int status = trustServer(account, "POP");
    status = std::max(status, trustServer(account, "SMTP"));
    savesettings();
    if (Settings().lastSaveFailed()) {
        std::cerr << "corva trust: could not write " << SettingsFilePath() << "\n";
        return 1;
    }
    return status;
}

const CommandRegistration registration({
    "trust",
    Usage,
    "Trust the certificates an account's servers show now",
    "Connects to account N's incoming and outgoing servers as its settings say\n"
    "(POPSECURITY and SMTPSECURITY 1 or 2), shows each certificate (subject,\n"
    "issuer, validity, SHA-256 fingerprint) and, when it fails verification,\n"
    "trusts that certificate for that server from now on (POPTRUST and SMTPTRUST\n"
    "in Corva.ini). Compare the fingerprint with the one your provider publishes\n"
    "before you trust it. A trusted certificate that later changes is refused\n"
    "until it is trusted again. A valid certificate needs no trust. Fetching,\n"
    "scanning and sending never trust a certificate by themselves: they fail and\n"
    "print its fingerprint. The exit status is 1 when a server could not be\n"
    "reached securely.",
    run,
});

} // namespace
} // namespace corva::app
