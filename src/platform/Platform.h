// The platform facilities the logic uses, each as a small interface. The logic
// reaches them through platform::current(); src/platform/qt installs the real
// ones, tests install fakes. Nothing here knows about Qt.
#pragma once

#include "platform/Files.h"
#include "platform/LocalChannel.h"
#include "platform/NameLookup.h"
#include "platform/Printer.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/TextDecoder.h"

namespace corva::platform {

// Socket error numbers the logic reacts to. They keep the classic numbering so
// that logs and messages read the same whatever the socket layer is.
namespace SocketError {
constexpr int HostNotFound = 11001;
constexpr int NoData = 11004;
constexpr int TimedOut = 10060;
constexpr int NetworkUnreachable = 10051;
constexpr int HostUnreachable = 10065;
constexpr int ConnectionAborted = 10053;
constexpr int ConnectionReset = 10054;
constexpr int ConnectionRefused = 10061;
constexpr int NotConnected = 10057;
constexpr int AddressInUse = 10048;
constexpr int Unknown = 10000;
// The secure channel could not be set up (handshake, protocol).
constexpr int SecureChannel = 10900;
// The peer's certificate was not accepted; peerCertificate() tells which.
constexpr int CertificateRejected = 10901;
} // namespace SocketError

// What a person needs to decide about a server's certificate.
struct CertificateInfo {
    std::string subject;
    std::string issuer;
    std::string validFrom; // "yyyy-mm-dd hh:nn:ss" UTC
    std::string validUntil;
    // SHA-256 of the DER form, upper-case hex pairs joined by colons.
    std::string fingerprint;
    // Why verification failed, one reason per line; empty when it passed.
    std::string problems;
    bool empty() const { return fingerprint.empty(); }
};

// Socket states as the logic tests them.
namespace SocketState {
constexpr int Closed = 0;
constexpr int Open = 1;
constexpr int Connecting = 6;
constexpr int Connected = 7;
constexpr int Closing = 8;
constexpr int Error = 9;
} // namespace SocketState

// Receives a socket's events. Each data event carries one piece of the stream,
// exactly as it was read; no line assembly happens below the logic.
class SocketListener {
public:
    virtual ~SocketListener() = default;
    virtual void socketConnected() {}
    virtual void socketClosed() {}
    virtual void socketDataArrival(const std::string& data) = 0;
    virtual void socketError(int number, const std::string& description) = 0;
    virtual void socketSendProgress(long long bytesSent, long long bytesRemaining) {
        (void)bytesSent;
        (void)bytesRemaining;
    }
    virtual void socketSendComplete() {}
    // The secure channel stands: from the first byte (connectSecure) or after
    // startSecure. Data events before it were plain, after it are decrypted.
    virtual void socketSecured() {}
};

class Socket {
public:
    virtual ~Socket() = default;
    virtual void setListener(SocketListener* listener) = 0;
    virtual void connect(const std::string& host, int port) = 0;
    virtual void close() = 0;
    // Queues the bytes for sending; progress and completion arrive as events.
    virtual void sendData(const std::string& data) = 0;
    virtual int state() const = 0;
    virtual void setLocalPort(int port) = 0;
    virtual std::string remoteHost() const = 0;
    virtual int remotePort() const = 0;
    virtual int localPort() const = 0;
    virtual std::string localHostName() const = 0;
    virtual std::string localIP() const = 0;
    // Bytes accepted by sendData but not yet written to the network.
    virtual long long bytesToWrite() const = 0;
    // Hands what is queued to the network now instead of at the next event
    // pass; a request-reply dialogue saves one pass per command.
    virtual void flush() {}

    // Certificates with these fingerprints are accepted for this socket even
    // when they fail verification (the user trusted them).
    virtual void setTrustedFingerprints(const std::vector<std::string>& fingerprints) {
        (void)fingerprints;
    }
    // Connects and sets up TLS before any data; connected and secured events
    // follow the handshake. The certificate must be valid for peerName. A
    // socket without TLS does nothing here, and the caller's time-out ends it.
    virtual void connectSecure(const std::string& host, int port, const std::string& peerName) {
        (void)host;
        (void)port;
        (void)peerName;
    }
    // Starts TLS on the open connection (after STLS or STARTTLS was accepted).
    virtual void startSecure(const std::string& peerName) { (void)peerName; }
    virtual bool isSecure() const { return false; }
    // The certificate the server presented on the last handshake, with its problems.
    virtual CertificateInfo peerCertificate() const { return {}; }
};

class Timer {
public:
    virtual ~Timer() = default;
    virtual void setCallback(std::function<void()> tick) = 0;
    virtual void setInterval(int milliseconds) = 0;
    virtual int interval() const = 0;
    virtual void setEnabled(bool enabled) = 0;
    virtual bool enabled() const = 0;
};

class EventLoop {
public:
    virtual ~EventLoop() = default;
    // One pass over the pending window, socket and timer events.
    virtual void yield() = 0;
    // Blocks the thread; events are not delivered meanwhile.
    virtual void sleepMs(int milliseconds) = 0;
    // Delivers events until the predicate holds or the time runs out; true if it held.
    virtual bool runUntil(const std::function<bool()>& done, int timeoutMs) = 0;
};

enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel, RetryCancel, AbortRetryIgnore };
enum class Answer { Ok = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };
enum class Icon { None, Information, Question, Exclamation, Critical };
enum class Cursor { Normal, Busy, BusyBackground };

// The answer a question gets when nobody can be asked: Cancel, No or Abort.
Answer cautiousAnswer(Buttons buttons);

struct PasswordReply {
    std::string text;
    bool cancelled = false;
    bool remember = false;
};

class Prompts {
public:
    virtual ~Prompts() = default;
    virtual Answer messageBox(const std::string& text, Buttons buttons = Buttons::Ok,
                              Icon icon = Icon::None, const std::string& title = "") = 0;
    virtual PasswordReply askPassword(const std::string& prompt) = 0;
    // Empty optional when the user cancels.
    virtual std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                                const std::string& defaultText) = 0;
    virtual void setCursor(Cursor cursor) = 0;
    // Shows a certificate that failed verification and asks whether to trust
    // it for this server from now on. Nobody asked means no: a command never
    // trusts silently.
    virtual bool trustCertificate(const std::string& server, const CertificateInfo& certificate) {
        (void)server;
        (void)certificate;
        return false;
    }
};

// The certificate as a person reads it, one fact per line.
std::string describeCertificate(const CertificateInfo& certificate);

class Clock {
public:
    virtual ~Clock() = default;
    virtual std::chrono::system_clock::time_point now() const = 0;
    // Minutes to add to local standard time to get UTC (west of Greenwich is
    // positive), without any daylight saving.
    virtual int standardBiasMinutes() const = 0;
};

class FileTypes {
public:
    virtual ~FileTypes() = default;
    // The content type registered for a file extension (without the dot), or "".
    virtual std::string contentTypeForExtension(const std::string& extension) const = 0;
};

class Shell {
public:
    virtual ~Shell() = default;
    // Opens a file, folder or link with the desktop's handler; false on failure.
    virtual bool open(const std::string& target) = 0;
};

class Sound {
public:
    virtual ~Sound() = default;
    // Whether play would make a sound of this file; by default, whether it exists.
    virtual bool canPlay(const std::string& file);
    virtual void play(const std::string& file) = 0;
};

class Speech {
public:
    virtual ~Speech() = default;
    virtual void speak(const std::string& text) = 0;
};

// Everything the logic needs, in one place. The defaults are plain C++:
// a socket that cannot connect, timers that never fire by themselves, an event
// yield that does nothing, prompts that answer Cancel/No, the system clock,
// a small built-in table of content types, silent shell, sound and speech,
// the system's files and the system's name resolver.
class Platform {
public:
    Platform();
    virtual ~Platform();
    virtual std::unique_ptr<Socket> createSocket();
    virtual std::unique_ptr<Timer> createTimer();
    // Defined with the plain channel, which nobody serves, in LocalChannel.cpp.
    virtual std::unique_ptr<LocalChannel> createLocalChannel();
    virtual EventLoop& eventLoop();
    virtual Prompts& prompts();
    virtual Clock& clock();
    virtual FileTypes& fileTypes();
    virtual Shell& shell();
    virtual Sound& sound();
    virtual Speech& speech();
    // Defined with the plain decoder in TextDecoder.cpp.
    virtual const TextDecoder& textDecoder();
    virtual Files& files();
    virtual NameLookup& nameLookup();
    // Defined with the plain printer in Printer.cpp.
    virtual Printer& printer();

private:
    struct Defaults;
    std::unique_ptr<Defaults> defaults_;
};

// The platform in force. Never null: a default Platform serves until another is set.
Platform& current();
// Installs a platform (not owned); nullptr restores the default.
void setCurrent(Platform* platform);

// Installs a platform for a scope and restores the previous one after.
class ScopedPlatform {
public:
    explicit ScopedPlatform(Platform& platform);
    ~ScopedPlatform();
    ScopedPlatform(const ScopedPlatform&) = delete;
    ScopedPlatform& operator=(const ScopedPlatform&) = delete;

private:
    Platform* previous_;
};

} // namespace corva::platform
