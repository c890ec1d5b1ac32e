// A web server (tests/support/http_server.py) serving a folder of files on
// 127.0.0.1 and a free port, and an HTTP proxy (tinyproxy) in front of it
// that logs every request. Each is started by its constructor and stopped by
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
