// Reaches a mail server the way a session would, only as far as the secure
// channel, to see what it offers and which certificate it shows. The wizard
// uses it to propose a secure choice, `corva trust` to fetch the certificate
// the user decides about.
#pragma once

#include "platform/Platform.h"

#include <string>

namespace corva {

struct ProbeResult {
    // The server answered and the secure channel stood (with any certificate).
    bool secure = false;
    // The certificate passed verification (or was already trusted).
    bool verified = false;
    platform::CertificateInfo certificate;
    // Why the probe failed, for the user.
    std::string error;
};

enum class ProbeProtocol { Pop3, Smtp };

// security is Account::Implicit or Account::StartTls; trusted is a
// fingerprint to accept, or "". Runs the event loop until done or timed out.
ProbeResult ProbeServer(ProbeProtocol protocol, const std::string& host, int port, int security,
                        const std::string& trusted, int timeoutMs);

} // namespace corva
