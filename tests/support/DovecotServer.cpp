#include "support/DovecotServer.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <poll.h>
#include <pwd.h>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace corva::test {

namespace {

constexpr const char* DovecotBinary = "/usr/sbin/dovecot";

int freePort() {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    int port = 0;
    if (fd >= 0 && ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) == 0)
        port = ntohs(addr.sin_port);
    if (fd >= 0) ::close(fd);
    return port;
}

// The greeting, or "" when nothing answers on the port.
std::string greeting(int port) {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return "";
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = htons(static_cast<uint16_t>(port));
    std::string reply;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, 2000) > 0) {
            char buf[256];
            ssize_t n = ::recv(fd, buf, sizeof buf, 0);
            if (n > 0) reply.assign(buf, static_cast<size_t>(n));
        }
    }
    ::close(fd);
    return reply;
}

std::string withCrLf(const std::string& text) {
    std::string out;
    out.reserve(text.size() + text.size() / 32);
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) out += '\r';
        out += text[i];
    }
    return out;
}

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

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
        port_ = freePort();
        securePort_ = certificate_.empty() ? 0 : freePort();
        writeConfig();
        // Everything the child needs is made before the fork: it may only exec.
        const std::string conf = root_ + "dovecot.conf";
        const std::string errors = root_ + "stderr.log";
        pid_ = ::fork();
        if (pid_ < 0) break;
        if (pid_ == 0) {
            ::setpgid(0, 0);
            // A test run that dies must not leave a server behind.
            ::prctl(PR_SET_PDEATHSIG, SIGTERM);
            int out = ::open(errors.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
            if (out >= 0) {
                ::dup2(out, 1);
                ::dup2(out, 2);
            }
            ::execl(DovecotBinary, "dovecot", "-F", "-c", conf.c_str(),
                    static_cast<char*>(nullptr));
            ::_exit(127);
        }
        ::setpgid(pid_, pid_);
        try {
            waitUntilGreeting();
            return;
        } catch (const std::exception&) {
            // Most likely the port was taken meanwhile: try another one.
            ::kill(-pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
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

void DovecotServer::waitUntilGreeting() {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
        int status = 0;
        if (::waitpid(pid_, &status, WNOHANG) == pid_) throw std::runtime_error("dovecot exited");
        if (greeting(port_).rfind("+OK", 0) == 0) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    throw std::runtime_error("no greeting");
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
    for (const char* sub : {"", "new", "cur", "tmp"}) {
        std::string dir = maildir(name) + sub;
        fs::create_directories(dir);
    }
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
    std::string body = withCrLf(text);
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

void DovecotServer::clearMailbox(const std::string& user) {
    std::error_code ec;
    for (const char* sub : {"new", "cur"})
        for (auto it = fs::directory_iterator(maildir(user) + sub, ec); !ec && it != fs::end(it);
             it.increment(ec))
            fs::remove(it->path(), ec);
}

std::string DovecotServer::log() const {
    return readAll(root_ + "dovecot.log") + readAll(root_ + "stderr.log");
}

void DovecotServer::stop() {
    if (pid_ > 0) {
        ::kill(-pid_, SIGTERM);
        bool gone = false;
        for (int i = 0; i < 100 && !gone; ++i) {
            if (::waitpid(pid_, nullptr, WNOHANG) == pid_)
                gone = true;
            else
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        // Whatever of the group is left (or the master itself, if it hung).
        ::kill(-pid_, SIGKILL);
        if (!gone) ::waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
    if (!root_.empty()) {
        std::error_code ec;
        fs::remove_all(root_, ec);
        root_.clear();
    }
}

} // namespace corva::test
