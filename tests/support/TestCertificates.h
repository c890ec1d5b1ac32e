// A throw-away CA and server certificates, made once per test process with the
// openssl command (tests/support/make_certs.sh) and removed at exit. Making
// them installs the CA through SSL_CERT_FILE, as a private server's user would.
#pragma once

#include <string>

namespace corva::test {

struct ServerCertificate {
    std::string chain; // the certificate, then the CA's
    std::string key;
};

class TestCertificates {
public:
    // The certificates; empty paths when openssl failed.
    static const TestCertificates& get();

    bool ok() const { return !ca.empty(); }
    std::string ca;
    ServerCertificate good;       // localhost and 127.0.0.1, signed by the CA
    ServerCertificate wrongHost;  // mail.invalid only
    ServerCertificate expired;    // valid in 2020 only
    ServerCertificate selfSigned; // signed by itself

private:
    TestCertificates();
};

} // namespace corva::test
