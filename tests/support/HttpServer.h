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

class HttpServer {
public:
    HttpServer();
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    bool running() const { return port_ > 0; }
    int port() const { return port_; }
    // "http://127.0.0.1:port/"
    std::string url() const;
    // Puts a file to serve at path (relative, may have folders).
    void put(const std::string& path, const std::string& bytes) const;

private:
    TempDir root_;
    int port_ = 0;
    pid_t pid_ = -1;
};

// Anonymous, or ann with password pw; NAME.short is served as NAME cut short.
class FtpServer {
public:
    FtpServer();
    ~FtpServer();
    FtpServer(const FtpServer&) = delete;
    FtpServer& operator=(const FtpServer&) = delete;

    bool running() const { return port_ > 0; }
    // "ftp://127.0.0.1:port/"
    std::string url() const;
    void put(const std::string& path, const std::string& bytes) const;

private:
    TempDir root_;
    int port_ = 0;
    pid_t pid_ = -1;
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
