#include "support/EximServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <poll.h>
#include <pwd.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace corva::test {

namespace {

constexpr const char* EximBinary = "/usr/sbin/exim4";

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

bool greets(int port) {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = htons(static_cast<uint16_t>(port));
    bool ok = false;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) {
        pollfd p{fd, POLLIN, 0};
        char buf[64];
        ok = ::poll(&p, 1, 2000) > 0 && ::recv(fd, buf, sizeof buf, 0) >= 3 &&
             std::string(buf, 3) == "220";
        ::send(fd, "QUIT\r\n", 6, MSG_NOSIGNAL);
    }
    ::close(fd);
    return ok;
}

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

} // namespace

bool EximServer::available() {
    return ::access(EximBinary, X_OK) == 0;
}

EximServer::EximServer(const std::string& user, const std::string& password,
                       const std::string& certificate, const std::string& key) {
    std::string pattern = (fs::temp_directory_path() / "corva-exim-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) return;
    root_ = pattern + "/";
    fs::create_directories(root_ + "spool");
    fs::create_directories(root_ + "log");
    for (int attempt = 0; attempt < 3 && pid_ <= 0; ++attempt) {
        port_ = freePort();
        writeConfig(user, password, certificate, key);
        const std::string conf = root_ + "exim.conf";
        const std::string listen = "127.0.0.1." + std::to_string(port_);
        const std::string errors = root_ + "log/stderr";
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
            ::execl(EximBinary, "exim4", "-C", conf.c_str(), "-bdf", "-oX", listen.c_str(),
                    static_cast<char*>(nullptr));
            ::_exit(127);
        }
        ::setpgid(pid_, pid_);
        if (!waitUntilGreeting()) stop(); // most likely the port was taken meanwhile
    }
}

EximServer::~EximServer() {
    stop();
    if (!root_.empty()) {
        std::error_code ec;
        fs::remove_all(root_, ec);
    }
}

void EximServer::stop() {
    if (pid_ <= 0) return;
    ::kill(-pid_, SIGTERM);
    int status = 0;
    for (int i = 0; i < 100; ++i) {
        if (::waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ::kill(-pid_, SIGKILL);
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
}

bool EximServer::waitUntilGreeting() {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
        int status = 0;
        if (::waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            return false;
        }
        if (greets(port_)) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

void EximServer::writeConfig(const std::string& user, const std::string& password,
                             const std::string& certificate, const std::string& key) {
    // Exim runs as whoever starts it here; it never delivers, so no other
    // user is needed.
    std::string self = "root";
    if (const passwd* pw = ::getpwuid(::geteuid())) self = pw->pw_name;
    std::ofstream conf(root_ + "exim.conf", std::ios::trunc);
    conf << "primary_hostname = localhost\n"
         << "exim_user = " << self << "\nexim_group = " << ::getegid() << "\n"
         << "never_users =\n"
         << "keep_environment =\n"
         << "spool_directory = " << root_ << "spool\n"
         << "log_file_path = " << root_ << "log/%slog\n"
         << "pid_file_path = " << root_ << "exim.pid\n"
         << "queue_only = true\n"
         << "host_lookup =\nrfc1413_hosts =\n"
         << "tls_advertise_hosts = *\n"
         << "tls_certificate = " << certificate << "\ntls_privatekey = " << key << "\n"
         << "auth_advertise_hosts = ${if eq{$tls_in_cipher}{}{}{*}}\n"
         << "acl_smtp_mail = check_mail\nacl_smtp_rcpt = check_rcpt\n"
         << "begin acl\n"
         << "check_mail:\n  deny message = STARTTLS is required\n"
         << "       condition = ${if eq{$tls_in_cipher}{}{yes}{no}}\n  accept\n"
         << "check_rcpt:\n  accept authenticated = *\n"
         << "  deny message = Authentication required\n"
         << "begin authenticators\n"
         << "plain:\n  driver = plaintext\n  public_name = PLAIN\n  server_prompts = :\n"
         << "  server_condition = ${if and{{eq{$auth2}{" << user << "}}{eq{$auth3}{" << password
         << "}}}}\n  server_set_id = $auth2\n"
         << "login:\n  driver = plaintext\n  public_name = LOGIN\n"
         << "  server_prompts = Username:: : Password::\n"
         << "  server_condition = ${if and{{eq{$auth1}{" << user << "}}{eq{$auth2}{" << password
         << "}}}}\n  server_set_id = $auth1\n";
}

int EximServer::messageCount() const {
    std::error_code ec;
    int n = 0;
    for (const auto& entry : fs::directory_iterator(root_ + "spool/input", ec))
        if (entry.path().string().ends_with("-H")) ++n;
    return n;
}

std::string EximServer::message(int n) const {
    std::vector<std::pair<fs::file_time_type, std::string>> ids;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(root_ + "spool/input", ec)) {
        const std::string path = entry.path().string();
        if (path.ends_with("-H"))
            ids.emplace_back(entry.last_write_time(), path.substr(0, path.size() - 2));
    }
    std::sort(ids.begin(), ids.end());
    if (n < 1 || n > static_cast<int>(ids.size())) return "";
    const std::string& id = ids[static_cast<size_t>(n - 1)].second;
    return readAll(id + "-H") + readAll(id + "-D");
}

std::string EximServer::log() const {
    return readAll(root_ + "log/mainlog");
}

} // namespace corva::test
