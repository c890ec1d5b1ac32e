#include "support/HttpServer.h"

#include "support/ServerProcess.h"

#include <chrono>
#include <filesystem>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace corva::test {

namespace {

// A server is up once it takes a connection.
bool accepting(int port) {
    for (int i = 0; i < 250; ++i) {
        if (int fd = connectToLoopback(port); fd >= 0) {
            ::close(fd);
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

int start(pid_t& pid, const std::string& binary, const std::vector<std::string>& args, int port,
          const std::string& errors) {
    pid = startServerProcess(binary, args, errors);
    return pid > 0 && accepting(port) ? port : 0;
}

} // namespace

FileServer::FileServer(const std::string& scheme) : scheme_(scheme) {
    const int port = freeLoopbackPort();
    const std::string script =
        (std::filesystem::path(CORVA_TEST_DATA).parent_path() / "support" / (scheme + "_server.py"))
            .string();
    std::filesystem::create_directories(root_.file("files"));
    port_ =
        start(pid_, "/usr/bin/python3",
              {"python3", script, "--folder", root_.file("files"), "--port", std::to_string(port)},
              port, root_.file("errors.log"));
}

FileServer::~FileServer() {
    stopServerProcess(pid_);
}

std::string FileServer::url() const {
    return scheme_ + "://127.0.0.1:" + std::to_string(port_) + "/";
}

void FileServer::put(const std::string& path, const std::string& bytes) const {
    writeFile(root_.file("files/" + path), bytes);
}

HttpProxy::HttpProxy(const std::string& user, const std::string& password) {
    const int port = freeLoopbackPort();
    std::string conf = "Port " + std::to_string(port) +
                       "\nListen 127.0.0.1\nTimeout 30\nLogLevel Info\nMaxClients 5\n"
                       "Allow 127.0.0.1\nLogFile \"" +
                       root_.file("proxy.log") + "\"\n";
    if (!user.empty()) conf += "BasicAuth " + user + " " + password + "\n";
    writeFile(root_.file("proxy.conf"), conf);
    port_ = start(pid_, "/usr/bin/tinyproxy", {"tinyproxy", "-d", "-c", root_.file("proxy.conf")},
                  port, root_.file("errors.log"));
}

HttpProxy::~HttpProxy() {
    stopServerProcess(pid_);
}

std::string HttpProxy::log() const {
    return readFile(root_.file("proxy.log"));
}

} // namespace corva::test
