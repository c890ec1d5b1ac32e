#include "updates/cSHAREDInternet.h"

#include <algorithm>

namespace corva {

const char* InternetStateText(InternetState state) {
    switch (state) {
    case InternetState::ResolvingHost:
        return "Resolving Host";
    case InternetState::HostResolved:
        return "Host Resolved";
    case InternetState::Connected:
        return "Connected";
    case InternetState::Requesting:
        return "Requesting";
    case InternetState::RequestSent:
        return "Request Sent";
    case InternetState::ReceivingResponse:
        return "Receiving Response";
    case InternetState::ResponseReceived:
        return "ResponseReceived";
    case InternetState::Disconnecting:
        return "Disconnecting";
    case InternetState::Disconnected:
        return "Disconnected";
    case InternetState::Error:
        return "Error";
    case InternetState::ResponseCompleted:
        return "Response Completed";
    }
    return "";
}

void cSHAREDInternet::addListener(cSHAREDInternetEvents* listener) {
    if (listener && std::find(listeners_.begin(), listeners_.end(), listener) == listeners_.end())
        listeners_.push_back(listener);
}

void cSHAREDInternet::removeListener(cSHAREDInternetEvents* listener) {
    listeners_.erase(std::remove(listeners_.begin(), listeners_.end(), listener), listeners_.end());
}

// A listener may add or remove listeners from its handler: the round goes to
// those registered when the event was raised.
template <class F> void cSHAREDInternet::raise(F&& event) {
    const std::vector<cSHAREDInternetEvents*> now = listeners_;
    for (cSHAREDInternetEvents* l : now)
        if (std::find(listeners_.begin(), listeners_.end(), l) != listeners_.end()) event(*l);
}

void cSHAREDInternet::RaiseStateChanged(const std::string& state) {
    raise([&](cSHAREDInternetEvents& l) { l.Internet_StateChanged(state); });
}

void cSHAREDInternet::RaiseStatus(const std::string& text) {
    raise([&](cSHAREDInternetEvents& l) { l.Internet_Status(text); });
}

void cSHAREDInternet::RaiseProgress(long long received, long long total) {
    raise([&](cSHAREDInternetEvents& l) { l.Internet_Progress(received, total); });
}

} // namespace corva
