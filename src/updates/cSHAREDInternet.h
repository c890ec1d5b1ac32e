// The Internet access as a class that raises events: it owns the transfer
// layer (fSHAREDInternet) and tells every registered listener of the states
// the transfers pass through, in the order they happen, and of their progress.
#pragma once

#include "updates/fSHAREDInternet.h"

#include <string>
#include <vector>

namespace corva {

// The states a transfer reports, with their texts.
enum class InternetState {
    ResolvingHost = 1,
    HostResolved = 2,
    Connected = 4,
    Requesting = 5,
    RequestSent = 6,
    ReceivingResponse = 7,
    ResponseReceived = 8,
    Disconnecting = 9,
    Disconnected = 10,
    Error = 11,
    ResponseCompleted = 12,
};
const char* InternetStateText(InternetState state);

class cSHAREDInternetEvents {
public:
    virtual ~cSHAREDInternetEvents() = default;
    // One of the state texts ("Resolving Host" ... "Response Completed").
    virtual void Internet_StateChanged(const std::string& state) { (void)state; }
    // A progress or outcome line ("12 kb of 40 kb (30%)", "Transfer timed out").
    virtual void Internet_Status(const std::string& text) { (void)text; }
    virtual void Internet_Progress(long long received, long long total) {
        (void)received;
        (void)total;
    }
};

class cSHAREDInternet {
public:
    cSHAREDInternet() : inet_(*this) {}
    cSHAREDInternet(const cSHAREDInternet&) = delete;
    cSHAREDInternet& operator=(const cSHAREDInternet&) = delete;

    // A listener hears every event from now on until it is removed; adding
    // one twice has no effect.
    void addListener(cSHAREDInternetEvents* listener);
    void removeListener(cSHAREDInternetEvents* listener);

    std::string openurl(const std::string& url) { return inet_.openurl(url); }
    DownloadResult downloadfile(const std::string& url, const std::string& path) {
        return inet_.downloadfile(url, path);
    }
    void cancel() { inet_.cancel(); }
    void canceldownload() { inet_.cancel(); }
    bool connected() const { return inet_.connected(); }
    int lastStatus() const { return inet_.lastStatus(); }
    fSHAREDInternet& Inet() { return inet_; }

    // Called by the transfer layer as things happen.
    void RaiseStateChanged(const std::string& state);
    void RaiseStatus(const std::string& text);
    void RaiseProgress(long long received, long long total);

private:
    template <class F> void raise(F&& event);

    std::vector<cSHAREDInternetEvents*> listeners_;
    fSHAREDInternet inet_;
};

} // namespace corva
