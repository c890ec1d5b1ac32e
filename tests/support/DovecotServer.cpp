#include "support/DovecotServer.h"

#include "support/ServerProcess.h"
#include "support/TempDir.h"
#include "tools/modMbox.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <pwd.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace corva::test {

namespace {

constexpr const char* DovecotBinary = "/usr/sbin/dovecot";

} // namespace

bool DovecotServer::available() {
    return ::access(DovecotBinary, X_OK) == 0;
}

DovecotServer::DovecotServer(const std::string& certificate, const std::string& key)
    : certificate_(certificate), key_(key) {
    std::string pattern = (fs::temp_directory_path() / "corva-dovecot-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("DovecotServer: mkdtemp failed");
    root_ = pattern + "/";
    // Dovecot refuses to hand mailboxes to root, so as root they belong to the
    // system's mail user; otherwise everything runs as ourselves.
    if (::geteuid() == 0) {
        const passwd* pw = ::getpwnam("mail");
        if (!pw) pw = ::getpwnam("nobody");
        if (!pw) throw std::runtime_error("DovecotServer: no user to own the mailboxes");
        mailUid_ = pw->pw_uid;
        mailGid_ = pw->pw_gid;
    } else {
        mailUid_ = ::geteuid();
        mailGid_ = ::getegid();
    }
    ::chmod(root_.c_str(), 0755);
    fs::create_directories(root_ + "home");
    ::chown((root_ + "home").c_str(), mailUid_, mailGid_);

    for (int attempt = 0; attempt < 3; ++attempt) {
        port_ = freeLoopbackPort();
        securePort_ = certificate_.empty() ? 0 : freeLoopbackPort();
        writeConfig();
        const std::string conf = root_ + "dovecot.conf";
        pid_ =
            startServerProcess(DovecotBinary, {"dovecot", "-F", "-c", conf}, root_ + "stderr.log");
        if (pid_ < 0) break;
        if (waitForGreeting(pid_, port_, "+OK")) return;
        // Most likely the port was taken meanwhile: try another one.
        stopServerProcess(pid_);
        pid_ = -1;
    }
    std::string why = log();
    stop();
    throw std::runtime_error("DovecotServer: the server did not start\n" + why);
}

DovecotServer::~DovecotServer() {
    stop();
}

std::string DovecotServer::address() const {
    return "127.0.0.1:" + std::to_string(port_);
}

void DovecotServer::writeConfig() {
    // As root the server drops to its packaged users; otherwise all is ours.
    std::string internalUser = "dovecot", loginUser = "dovenull";
    if (::geteuid() != 0)
        if (const passwd* pw = ::getpwuid(::geteuid())) internalUser = loginUser = pw->pw_name;
    std::ofstream conf(root_ + "dovecot.conf", std::ios::trunc);
    conf << "base_dir = " << root_ << "run\n"
         << "state_dir = " << root_ << "state\n"
         << "log_path = " << root_ << "dovecot.log\n"
         << "instance_name = corva-test-" << port_ << "\n"
         << "protocols = pop3\n"
         << "listen = 127.0.0.1\n"
         << (certificate_.empty()
                 ? "ssl = no\n"
                 : "ssl = required\nssl_cert = <" + certificate_ + "\nssl_key = <" + key_ + "\n")
         << "disable_plaintext_auth = " << (certificate_.empty() ? "no" : "yes") << "\n"
         << "auth_mechanisms = plain\n"
         << "auth_failure_delay = 0\n"
         << "default_internal_user = " << internalUser << "\n"
         << "default_login_user = " << loginUser << "\n"
         << "first_valid_uid = 0\n"
         << "mail_location = maildir:" << root_ << "home/%u/Maildir\n"
         << "passdb {\n  driver = passwd-file\n  args = scheme=PLAIN username_format=%u " << root_
         << "users/%u\n}\n"
         << "userdb {\n  driver = static\n  args = uid=" << mailUid_ << " gid=" << mailGid_
         << " home=" << root_ << "home/%u\n}\n"
         << "service pop3-login {\n  inet_listener pop3 {\n    address = 127.0.0.1\n    port = "
         << port_
         << "\n  }\n  inet_listener pop3s {\n    address = 127.0.0.1\n    port = " << securePort_
         << (securePort_ ? "\n    ssl = yes" : "")
         << "\n  }\n}\n"
         // No growing delay for logins after a failed one: tests fail logins on purpose.
         << "service anvil {\n  unix_listener anvil-auth-penalty {\n    mode = 0\n  }\n}\n";
}

std::string DovecotServer::maildir(const std::string& user) const {
    return root_ + "home/" + user + "/Maildir/";
}

void DovecotServer::addUser(const std::string& name, const std::string& password) {
    // One password file per user: the server rereads a changed file at most once
    // a second, but a file it has never seen is read at the first login.
    // nodelay spares the tests the server's growing delay after failed logins.
    const std::string path = root_ + "users/" + name;
    fs::create_directories(root_ + "users");
    std::ofstream(path + ".new", std::ios::trunc)
        << name << ":{PLAIN}" << password << "::::::nodelay=yes\n";
    fs::rename(path + ".new", path);
    for (const char* sub : {"new", "cur", "tmp"}) fs::create_directories(maildir(name) + sub);
    for (const std::string& dir : {root_ + "home/" + name, maildir(name), maildir(name) + "new",
                                   maildir(name) + "cur", maildir(name) + "tmp"})
        ::chown(dir.c_str(), mailUid_, mailGid_);
}

void DovecotServer::addMessage(const std::string& user, const std::string& text) {
    // Dovecot numbers new mail in the order of these names, so a fixed time and
    // a padded sequence keep the order of delivery.
    char name[64];
    std::snprintf(name, sizeof name, "1700000000.M%09ldP%d.corva", ++sequence_,
                  static_cast<int>(::getpid()));
    std::string body = ToStoreLineEnds(text);
    // Straight into new/, which is quickest; a session open at that moment may
    // see the file half written, so tests deliver before they connect.
    std::ofstream out(maildir(user) + "new/" + name, std::ios::binary | std::ios::trunc);
    if (!out) throw std::runtime_error("DovecotServer: no mailbox for " + user);
    // The files may stay ours: the server only needs to write the folders.
    out.write(body.data(), static_cast<std::streamsize>(body.size()));
}

int DovecotServer::messageCount(const std::string& user) const {
    int count = 0;
    std::error_code ec;
    for (const char* sub : {"new", "cur"})
        for (auto it = fs::directory_iterator(maildir(user) + sub, ec); !ec && it != fs::end(it);
             it.increment(ec))
            if (it->is_regular_file()) ++count;
    return count;
}

std::vector<std::string> DovecotServer::subjects(const std::string& user) const {
    // A file keeps its delivery name when the server moves it to cur/, adding ":2,...".
    std::vector<std::pair<std::string, std::string>> named;
    std::error_code ec;
    for (const char* sub : {"new", "cur"})
        for (auto it = fs::directory_iterator(maildir(user) + sub, ec); !ec && it != fs::end(it);
             it.increment(ec)) {
            const std::string text = readFile(it->path().string());
            const size_t at = text.find("Subject: ");
            named.emplace_back(
                it->path().filename().string(),
                at == std::string::npos ? "" : text.substr(at + 9, text.find('\r', at) - at - 9));
        }
    std::sort(named.begin(), named.end());
    std::vector<std::string> out;
    for (const auto& [name, subject] : named) out.push_back(subject);
    return out;
}

void DovecotServer::clearMailbox(const std::string& user) {
    std::error_code ec;
    for (const char* sub : {"new", "cur"})
        for (auto it = fs::directory_iterator(maildir(user) + sub, ec); !ec && it != fs::end(it);
             it.increment(ec))
            fs::remove(it->path(), ec);
}

std::string DovecotServer::log() const {
    return readFile(root_ + "dovecot.log") + readFile(root_ + "stderr.log");
}

void DovecotServer::stop() {
    stopServerProcess(pid_);
    pid_ = -1;
    if (!root_.empty()) {
        std::error_code ec;
        fs::remove_all(root_, ec);
        root_.clear();
    }
}

} // namespace corva::test
