#include "support/TestCertificates.h"

#include <cstdlib>
#include <filesystem>

namespace corva::test {

namespace {

struct Folder {
    std::string path;
    ~Folder() {
        std::error_code ec;
        if (!path.empty()) std::filesystem::remove_all(path, ec);
    }
};

} // namespace

const TestCertificates& TestCertificates::get() {
    static const TestCertificates made;
    return made;
}

TestCertificates::TestCertificates() {
    static Folder folder;
    char pattern[] = "/tmp/corva-certs-XXXXXX";
    if (!::mkdtemp(pattern)) return;
    folder.path = pattern;
    const std::string script =
        (std::filesystem::path(CORVA_TEST_DATA).parent_path() / "support" / "make_certs.sh")
            .string();
    const std::string command = "/bin/sh '" + script + "' '" + folder.path + "' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) return;
    const std::string at = folder.path + "/";
    auto server = [&](const std::string& name) {
        return ServerCertificate{at + name + ".pem", at + name + ".key"};
    };
    good = server("good");
    wrongHost = server("wronghost");
    expired = server("expired");
    selfSigned = server("selfsigned");
    ca = at + "ca.pem";
    ::setenv("SSL_CERT_FILE", ca.c_str(), 1);
}

} // namespace corva::test
