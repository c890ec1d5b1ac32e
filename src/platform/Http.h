// HTTP GET for the few places that reach the web outside mail: the update
// check and its downloads. A transfer runs on the one event loop and reports
// through its listener; destroying it aborts it. The default answers at once
// that there is no network, so the logic runs the same without Qt.
#pragma once

#include <memory>
#include <string>

namespace corva::platform {

struct HttpProxy {
    enum class Mode { System, None, Manual };
    Mode mode = Mode::System;
    std::string host; // Manual only
    int port = 0;     // 0: the proxy's usual 8080
    std::string user;
    std::string password;
};

struct HttpResult {
    int status = 0;               // the server's status code, 0 when none came
    long long contentLength = -1; // the Content-Length header, -1 when absent
    bool failed = false;          // no complete reply: refused, timed out, cancelled
    bool cancelled = false;
    bool timedOut = false; // no data came for a minute
    std::string error;     // why it failed, for a person
};

class HttpListener {
public:
    virtual ~HttpListener() = default;
    // A state as a person reads it ("Requesting", "Receiving Response", ...).
    virtual void httpState(const std::string& text) { (void)text; }
    // The next piece of the body; total is the announced length or -1.
    virtual void httpData(const std::string& bytes, long long received, long long total) = 0;
    // Once, last. The listener may destroy the transfer from here.
    virtual void httpFinished(const HttpResult& result) = 0;
};

class HttpTransfer {
public:
    virtual ~HttpTransfer() = default;
    // Stops the transfer; httpFinished follows with cancelled set.
    virtual void cancel() = 0;
};

class Http {
public:
    virtual ~Http() = default;
    // Starts a GET of url through proxy. Qt's client reports only from the
    // event loop; the default fails at once, inside the call.
    virtual std::unique_ptr<HttpTransfer> get(const std::string& url, const HttpProxy& proxy,
                                              HttpListener& listener);
};

// The HTTP client in force: the one the platform installed, else the default.
Http& http();
// Installs a client (not owned); nullptr restores the default. Returns the
// one installed before, so a test can put it back.
Http* setHttp(Http* client);

} // namespace corva::platform
