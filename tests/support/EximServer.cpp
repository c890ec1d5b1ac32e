#include "support/EximServer.h"

#include "support/ServerProcess.h"
#include "support/TempDir.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <pwd.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace corva::test {

namespace {

constexpr const char* EximBinary = "/usr/sbin/exim4";

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
        port_ = freeLoopbackPort();
        writeConfig(user, password, certificate, key);
        const std::string conf = root_ + "exim.conf";
        const std::string listen = "127.0.0.1." + std::to_string(port_);
        const std::string errors = root_ + "log/stderr";
        pid_ = startServerProcess(EximBinary, {"exim4", "-C", conf, "-bdf", "-oX", listen}, errors);
        if (pid_ < 0) break;
        if (!waitForGreeting(pid_, port_, "220"))
            stop(); // most likely the port was taken meanwhile
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
    stopServerProcess(pid_);
    pid_ = -1;
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
    return readFile(id + "-H") + readFile(id + "-D");
}

std::string EximServer::log() const {
    return readFile(root_ + "log/mainlog");
}

} // namespace corva::test
