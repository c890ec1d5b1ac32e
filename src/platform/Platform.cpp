// Plain defaults for every platform facility, so that the logic runs and is
// testable without a windowing system.
#include "platform/Platform.h"

#include <algorithm>
#include <cctype>
#include <ctime>
#include <filesystem>
#include <thread>

namespace corva::platform {

namespace {

class NullSocket : public Socket {
public:
    void setListener(SocketListener* listener) override { listener_ = listener; }
    void connect(const std::string& host, int port) override {
        host_ = host;
        port_ = port;
        state_ = SocketState::Error;
        if (listener_) listener_->socketError(SocketError::NetworkUnreachable, "No network");
    }
    void close() override { state_ = SocketState::Closed; }
    void sendData(const std::string&) override {}
    int state() const override { return state_; }
    void setLocalPort(int) override {}
    std::string remoteHost() const override { return host_; }
    int remotePort() const override { return port_; }
    int localPort() const override { return 0; }
    std::string localHostName() const override { return "localhost"; }
    std::string localIP() const override { return "127.0.0.1"; }
    long long bytesToWrite() const override { return 0; }

private:
    SocketListener* listener_ = nullptr;
    std::string host_;
    int port_ = 0;
    int state_ = SocketState::Closed;
};

class StoredTimer : public Timer {
public:
    void setCallback(std::function<void()> tick) override { tick_ = std::move(tick); }
    void setInterval(int ms) override { interval_ = ms; }
    int interval() const override { return interval_; }
    void setEnabled(bool on) override { enabled_ = on; }
    bool enabled() const override { return enabled_; }

private:
    std::function<void()> tick_;
    int interval_ = 0;
    bool enabled_ = false;
};

class PlainEventLoop : public EventLoop {
public:
    void yield() override {}
    void sleepMs(int ms) override {
        if (ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    }
    bool runUntil(const std::function<bool()>& done, int timeoutMs) override {
        auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        while (!done()) {
            if (std::chrono::steady_clock::now() >= end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return true;
    }
};

class CautiousPrompts : public Prompts {
public:
    Answer messageBox(const std::string&, Buttons buttons, Icon, const std::string&) override {
        return cautiousAnswer(buttons);
    }
    PasswordReply askPassword(const std::string&) override { return {"", true, false}; }
    std::optional<std::string> inputBox(const std::string&, const std::string&,
                                        const std::string&) override {
        return std::nullopt;
    }
    void setCursor(Cursor) override {}
};

class SystemClock : public Clock {
public:
    std::chrono::system_clock::time_point now() const override {
        return std::chrono::system_clock::now();
    }
    int standardBiasMinutes() const override {
        std::time_t t = std::time(nullptr);
        std::tm local{};
        localtime_r(&t, &local);
        long offset = local.tm_gmtoff - (local.tm_isdst > 0 ? 3600 : 0);
        return static_cast<int>(-offset / 60);
    }
};

class BuiltInFileTypes : public FileTypes {
public:
    std::string contentTypeForExtension(const std::string& extension) const override {
        static const std::pair<const char*, const char*> table[] = {
            {"txt", "text/plain"},
            {"htm", "text/html"},
            {"html", "text/html"},
            {"css", "text/css"},
            {"csv", "text/csv"},
            {"xml", "text/xml"},
            {"jpg", "image/jpeg"},
            {"jpeg", "image/jpeg"},
            {"gif", "image/gif"},
            {"png", "image/png"},
            {"bmp", "image/bmp"},
            {"pdf", "application/pdf"},
            {"zip", "application/zip"},
            {"doc", "application/msword"},
            {"xls", "application/vnd.ms-excel"},
            {"rtf", "application/rtf"},
            {"wav", "audio/wav"},
            {"mp3", "audio/mpeg"},
            {"eml", "message/rfc822"},
        };
        std::string ext = extension;
        std::transform(ext.begin(), ext.end(), ext.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        for (const auto& [e, type] : table)
            if (ext == e) return type;
        return "";
    }
};

class SilentShell : public Shell {
public:
    bool open(const std::string&) override { return false; }
};
class SilentSound : public Sound {
public:
    bool canPlay(const std::string&) override { return false; }
    void play(const std::string&) override {}
};
class SilentSpeech : public Speech {
public:
    void speak(const std::string&) override {}
};

Platform* g_current = nullptr;

} // namespace

bool Sound::canPlay(const std::string& file) {
    std::error_code ec;
    return std::filesystem::is_regular_file(file, ec);
}

struct Platform::Defaults {
    PlainEventLoop loop;
    CautiousPrompts prompts;
    SystemClock clock;
    BuiltInFileTypes types;
    SilentShell shell;
    SilentSound sound;
    SilentSpeech speech;
};

Answer cautiousAnswer(Buttons buttons) {
    switch (buttons) {
    case Buttons::Ok:
        return Answer::Ok;
    case Buttons::YesNo:
    case Buttons::YesNoCancel:
        return Answer::No;
    case Buttons::AbortRetryIgnore:
        return Answer::Abort;
    default:
        return Answer::Cancel;
    }
}

Platform::Platform() : defaults_(std::make_unique<Defaults>()) {}
Platform::~Platform() = default;
std::unique_ptr<Socket> Platform::createSocket() {
    return std::make_unique<NullSocket>();
}
std::unique_ptr<Timer> Platform::createTimer() {
    return std::make_unique<StoredTimer>();
}
EventLoop& Platform::eventLoop() {
    return defaults_->loop;
}
Prompts& Platform::prompts() {
    return defaults_->prompts;
}
Clock& Platform::clock() {
    return defaults_->clock;
}
FileTypes& Platform::fileTypes() {
    return defaults_->types;
}
Shell& Platform::shell() {
    return defaults_->shell;
}
Sound& Platform::sound() {
    return defaults_->sound;
}
Speech& Platform::speech() {
    return defaults_->speech;
}
Files& Platform::files() {
    return systemFiles();
}
NameLookup& Platform::nameLookup() {
    return systemNameLookup();
}

Platform& current() {
    static Platform fallback;
    return g_current ? *g_current : fallback;
}

void setCurrent(Platform* platform) {
    g_current = platform;
}

ScopedPlatform::ScopedPlatform(Platform& platform) : previous_(g_current) {
    g_current = &platform;
}
ScopedPlatform::~ScopedPlatform() {
    g_current = previous_;
}

} // namespace corva::platform
