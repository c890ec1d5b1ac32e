#include "updates/FtpDownload.h"

#include "core/ErrorHandler.h"
#include "message/Base64.h"
#include "platform/Platform.h"
#include "updates/FtpReply.h"

#include <cctype>
#include <cstdlib>
#include <optional>

namespace corva {

namespace {

constexpr const char* Module = "FtpDownload";
// A server that takes the file but never says goodbye does not hold the
// download up for long.
constexpr int GoodbyeMs = 5000;

std::string firstLine(const std::string& text) {
    std::string line = text.substr(0, text.find('\n'));
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

// Forwards one socket's events to a member of the download.
template <class Owner> class Port : public platform::SocketListener {
public:
    Port(Owner& owner, bool data) : owner_(owner), data_(data) {}
    void socketConnected() override { owner_.connected(data_); }
    void socketClosed() override { owner_.closed(data_); }
    void socketDataArrival(const std::string& bytes) override { owner_.arrived(data_, bytes); }
    void socketError(int number, const std::string& description) override {
        owner_.failed(data_, number, description);
    }

private:
    Owner& owner_;
    bool data_;
};

// FTP dialogue on the control connection: one whole reply at a time, and
// preliminary 1xx replies are passed over except where a state needs them.
//
//   state      waits for          on a good reply                       -> next
//   Greeting   220                USER user                             -> User
//   User       331 / 230          PASS password / TYPE I                -> Pass / Type
//   Pass       230 / 202          TYPE I                                -> Type
//   Type       200                CWD folder ("CD "), or SIZE           -> Cwd / Size
//   Cwd        250 / 550          SIZE file / QUIT, refused             -> Size / Quit
//   Size       213 n, or any      EPSV (the size is kept when given)    -> Epsv
//   Epsv       229 / other        data connection / PASV                -> Opening / Pasv
//   Pasv       227                data connection                       -> Opening
//   Opening    data connected     RETR file ("GET ")                    -> Retr
//   Retr       150 / 125          data flows                            -> Transfer
//              4xx / 5xx          QUIT, refused                         -> Quit
//   Transfer   226 / 250          QUIT once the data connection closed  -> Quit
//              other (426 ...)    QUIT, failed                          -> Quit
//   Quit       221, close, time   finished ("CLOSE")
// A reply a state does not expect ends the download: QUIT, failed.
//
// Through a manual proxy the dialogue is HTTP instead:
//   ProxyHead  status line and headers   -> ProxyBody
//   ProxyBody  data until the proxy closes   finished
class FtpDownload : public platform::HttpTransfer {
public:
    enum class State {
        Greeting,
        User,
        Pass,
        Type,
        Cwd,
        Size,
        Epsv,
        Pasv,
        Opening,
        Retr,
        Transfer,
        Quit,
        ProxyHead,
        ProxyBody,
        Done
    };

    FtpDownload(platform::HttpListener& listener) : listener_(listener) {}
    ~FtpDownload() override {
        if (control_) control_->setListener(nullptr);
        if (data_) data_->setListener(nullptr);
    }

    void start(const std::string& url, const FtpAddress& address, const platform::HttpProxy& proxy);
    void cancel() override {
        if (state_ == State::Done) return;
        result_.cancelled = true;
        fail("Download cancelled");
    }

    void connected(bool data);
    void closed(bool data);
    void arrived(bool data, const std::string& bytes);
    void failed(bool data, int number, const std::string& description);

private:
    void say(const std::string& line) { control_->sendData(line + "\r\n"); }
    void state(const char* text) { listener_.httpState(text); }
    void onReply(const FtpReply& reply);
    void openData(int port);
    void quit();
    void refused(const FtpReply& reply);
    void fail(const std::string& why);
    void finish();
    void proxyHead();
    void body(const std::string& bytes);

    platform::HttpListener& listener_;
    Port<FtpDownload> controlPort_{*this, false};
    Port<FtpDownload> dataPort_{*this, true};
    std::unique_ptr<platform::Socket> control_, data_;
    std::unique_ptr<platform::Timer> goodbye_;
    FtpReplyReader reader_;
    FtpAddress address_;
    std::string host_; // the control connection's address, which data goes to as well
    State state_ = State::Greeting;
    platform::HttpResult result_;
    long long received_ = 0;
    bool dataClosed_ = false;
    bool transferEnded_ = false; // 226 came
    bool receiving_ = false;
    std::string head_; // the proxy's reply until its headers are whole
};

void FtpDownload::start(const std::string& url, const FtpAddress& address,
                        const platform::HttpProxy& proxy) {
    address_ = address;
    control_ = platform::current().createSocket();
    control_->setListener(&controlPort_);
    if (proxy.mode == platform::HttpProxy::Mode::Manual) {
        state_ = State::ProxyHead;
        std::string target = url.find("://") == std::string::npos ? "ftp://" + url : url;
        for (size_t at = 0; (at = target.find(' ', at)) != std::string::npos;)
            target.replace(at, 1, "%20"); // a blank would end the request's address
        std::string request = "GET " + target + " HTTP/1.0\r\nHost: " + address.host + "\r\n";
        if (!proxy.user.empty())
            request += "Proxy-Authorization: Basic " +
                       cEncode64(proxy.user + ":" + proxy.password) + "\r\n";
        head_ = request + "\r\n"; // sent once connected
        state("Resolving Host");
        control_->connect(proxy.host, proxy.port > 0 ? proxy.port : 8080);
        return;
    }
    state("Resolving Host");
    host_ = platform::current().nameLookup().ipv4Address(address.host);
    if (!host_.empty())
        state("Host Resolved");
    else
        host_ = address.host; // no IPv4 address: the socket tries by name
    control_->connect(host_, address.port);
}

void FtpDownload::connected(bool data) {
    if (state_ == State::Done) return;
    if (data) {
        state("Requesting");
        say("RETR " + address_.file);
        state_ = State::Retr;
        state("Request Sent");
        return;
    }
    state("Connected");
    if (state_ == State::ProxyHead) {
        state("Requesting");
        control_->sendData(head_);
        head_.clear();
        state("Request Sent");
    }
}

void FtpDownload::arrived(bool data, const std::string& bytes) {
    if (state_ == State::Done) return;
    if (data || state_ == State::ProxyBody) return body(bytes);
    if (state_ == State::ProxyHead) {
        head_ += bytes;
        return proxyHead();
    }
    reader_.feed(bytes);
    // A reply's handler may end the download; what follows it then waits.
    while (state_ != State::Done)
        if (auto reply = reader_.next())
            onReply(*reply);
        else
            break;
}

void FtpDownload::body(const std::string& bytes) {
    if (bytes.empty()) return;
    if (!receiving_) {
        receiving_ = true;
        state("Receiving Response");
    }
    received_ += static_cast<long long>(bytes.size());
    listener_.httpData(bytes, received_, result_.contentLength);
}

void FtpDownload::proxyHead() {
    const size_t end = head_.find("\r\n\r\n");
    if (end == std::string::npos) {
        if (head_.size() > FtpReplyReader::MaxReply) fail("The proxy's reply has no end");
        return;
    }
    const std::string status = firstLine(head_);
    const size_t space = status.find(' ');
    result_.status = space == std::string::npos ? 0 : std::atoi(status.c_str() + space + 1);
    if (status.rfind("HTTP/", 0) != 0 || result_.status < 100)
        return fail("The proxy's reply is no HTTP");
    for (size_t at = head_.find("\r\n") + 2; at < end;) {
        const size_t eol = head_.find("\r\n", at);
        std::string line = head_.substr(at, eol - at);
        for (char& c : line) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (line.rfind("content-length:", 0) == 0) {
            const long long n = std::atoll(line.c_str() + 15);
            if (n >= 0) result_.contentLength = n;
        }
        at = eol + 2;
    }
    const std::string rest = head_.substr(end + 4);
    head_.clear();
    state_ = State::ProxyBody;
    body(rest);
}

void FtpDownload::onReply(const FtpReply& reply) {
    const int code = reply.code;
    // Preliminary replies announce; only RETR's matters.
    if (code >= 100 && code < 200 && state_ != State::Retr) return;
    switch (state_) {
    case State::Greeting:
        if (code != 220) return fail(firstLine(reply.text));
        say("USER " + address_.user);
        state_ = State::User;
        return;
    case State::User:
        if (code == 331) {
            say("PASS " + address_.password);
            state_ = State::Pass;
            return;
        }
        [[fallthrough]];
    case State::Pass:
        if (code != 230 && code != 202) return fail(firstLine(reply.text));
        say("TYPE I");
        state_ = State::Type;
        return;
    case State::Type:
        if (code != 200) return fail(firstLine(reply.text));
        if (!address_.folder.empty()) {
            say("CWD " + address_.folder);
            state_ = State::Cwd;
            return;
        }
        [[fallthrough]];
    case State::Cwd:
        if (state_ == State::Cwd && code != 250 && code != 200) return refused(reply);
        say("SIZE " + address_.file);
        state_ = State::Size;
        return;
    case State::Size:
        if (auto size = ParseSize(firstLine(reply.text)); code == 213 && size)
            result_.contentLength = *size;
        say("EPSV");
        state_ = State::Epsv;
        return;
    case State::Epsv:
        if (auto port = ParseEpsv(reply.text); code == 229 && port) return openData(*port);
        say("PASV");
        state_ = State::Pasv;
        return;
    case State::Pasv:
        // The address in the reply is not followed: a server must not send
        // the download elsewhere, and one behind a NAT names an address that
        // does not reach it anyway. Its data port is on the control host.
        if (auto endpoint = ParsePasv(reply.text); code == 227 && endpoint)
            return openData(endpoint->port);
        return fail(firstLine(reply.text));
    case State::Retr:
        if (code == 150 || code == 125) {
            state_ = State::Transfer;
            return;
        }
        return code >= 400 ? refused(reply) : fail(firstLine(reply.text));
    case State::Transfer:
        if (code != 226 && code != 250) return fail(firstLine(reply.text));
        transferEnded_ = true;
        if (dataClosed_) quit();
        return;
    case State::Quit:
        state("Disconnected");
        return finish();
    case State::Opening:
    case State::ProxyHead:
    case State::ProxyBody:
    case State::Done:
        return fail(firstLine(reply.text));
    }
}

void FtpDownload::openData(int port) {
    state_ = State::Opening;
    data_ = platform::current().createSocket();
    data_->setListener(&dataPort_);
    data_->connect(host_, port);
}

void FtpDownload::closed(bool data) {
    if (state_ == State::Done) return;
    if (state_ == State::ProxyBody || state_ == State::ProxyHead) {
        if (state_ == State::ProxyHead) return fail("The proxy closed the connection");
        state("Response Completed");
        state("Disconnected");
        return finish();
    }
    if (data) {
        dataClosed_ = true;
        if (state_ == State::Opening) return fail("The server closed the data connection");
        if (transferEnded_) quit();
        return;
    }
    if (state_ == State::Quit) {
        state("Disconnected");
        return finish();
    }
    fail("The server closed the connection");
}

void FtpDownload::failed(bool data, int number, const std::string& description) {
    if (state_ == State::Done) return;
    // The data connection's end may come as an error on some stacks; the
    // control connection's reply tells whether the file came whole.
    if (data &&
        (number == platform::SocketError::ConnectionReset ||
         number == platform::SocketError::ConnectionAborted) &&
        state_ == State::Transfer)
        return closed(true);
    if (state_ == State::Quit) {
        state("Disconnected");
        return finish();
    }
    fail(description.empty() ? "Socket error " + std::to_string(number) : description);
}

void FtpDownload::quit() {
    if (!result_.failed && result_.status == 0) state("Response Completed");
    if (data_) {
        data_->setListener(nullptr);
        data_->close();
    }
    state_ = State::Quit;
    state("Disconnecting");
    say("QUIT");
    goodbye_ = platform::current().createTimer();
    goodbye_->setInterval(GoodbyeMs);
    goodbye_->setCallback([this] {
        if (state_ != State::Quit) return;
        goodbye_->setEnabled(false);
        state("Disconnected");
        finish();
    });
    goodbye_->setEnabled(true);
}

// The server answered, but not with the file (no such file or folder).
void FtpDownload::refused(const FtpReply& reply) {
    result_.status = reply.code;
    result_.contentLength = -1; // no transfer started, so no size to fall short of
    result_.error = firstLine(reply.text);
    quit();
}

void FtpDownload::fail(const std::string& why) {
    if (state_ == State::Done) return;
    result_.failed = true;
    if (result_.error.empty()) result_.error = why;
    // A refusal to go on still says goodbye; a broken connection cannot.
    const bool polite =
        !result_.cancelled && control_ && control_->state() == platform::SocketState::Connected &&
        state_ != State::Quit && state_ != State::ProxyHead && state_ != State::ProxyBody;
    state("Error");
    if (polite) return quit();
    finish();
}

void FtpDownload::finish() {
    if (state_ == State::Done) return;
    state_ = State::Done;
    if (goodbye_) goodbye_->setEnabled(false);
    if (data_) {
        data_->setListener(nullptr);
        data_->close();
    }
    if (control_) {
        control_->setListener(nullptr);
        control_->close();
    }
    listener_.httpFinished(result_); // may destroy this object: nothing after
}

} // namespace

std::unique_ptr<platform::HttpTransfer> StartFtpDownload(const std::string& url,
                                                         const platform::HttpProxy& proxy,
                                                         platform::HttpListener& listener) {
    auto download = std::make_unique<FtpDownload>(listener);
    const std::optional<FtpAddress> address = ParseFtpAddress(url);
    if (!address) {
        platform::HttpResult result;
        result.failed = true;
        result.error = "Not a usable FTP address: " + url;
        listener.httpFinished(result);
        return download;
    }
    guarded("StartFtpDownload", Module, [&] { download->start(url, *address, proxy); });
    return download;
}

} // namespace corva
