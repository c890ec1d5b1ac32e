// A web server (tests/support/http_server.py) and an FTP server
// (tests/support/ftp_server.py, pyftpdlib) serving a folder of files on
// 127.0.0.1 and a free port, and an HTTP proxy (tinyproxy) that logs every
// request. Each is started by its constructor and stopped by
// its destructor.
#pragma once

#include "support/TempDir.h"

#include <string>
#include <sys/types.h>

namespace corva::test {

// Serves a folder of files with tests/support/SCHEME_server.py.
class FileServer {
public:
    explicit FileServer(const std::string& scheme);
    ~FileServer();
    FileServer(const FileServer&) = delete;
    FileServer& operator=(const FileServer&) = delete;

    bool running() const { return port_ > 0; }
    int port() const { return port_; }
    // "SCHEME://127.0.0.1:port/"
    std::string url() const;
    // Puts a file to serve at path (relative, may have folders).
    void put(const std::string& path, const std::string& bytes) const;

private:
    std::string scheme_;
    TempDir root_;
    int port_ = 0;
    pid_t pid_ = -1;
};

class HttpServer : public FileServer {
public:
    HttpServer() : FileServer("http") {}
};

// Anonymous, or ann with password pw; NAME.short is served as NAME cut short.
class FtpServer : public FileServer {
public:
    FtpServer() : FileServer("ftp") {}
};

class HttpProxy {
public:
    // With a user, the proxy asks for that user and password.
    explicit HttpProxy(const std::string& user = "", const std::string& password = "");
    ~HttpProxy();
    HttpProxy(const HttpProxy&) = delete;
    HttpProxy& operator=(const HttpProxy&) = delete;

    bool running() const { return port_ > 0; }
    int port() const { return port_; }
    // The proxy's log: a "Request" line for every request it took.
    std::string log() const;

private:
    TempDir root_;
    int port_ = 0;
    pid_t pid_ = -1;
};

} // namespace corva::test
