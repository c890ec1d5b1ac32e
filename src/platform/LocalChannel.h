// A named channel between processes of one user on one machine: the running
// copy of the program serves it, and a second start hands it one text.
#pragma once

#include <string>

namespace corva::platform {

// Receives what peers send to a served channel, piece by piece as it was read.
class LocalChannelListener {
public:
    virtual ~LocalChannelListener() = default;
    virtual void channelData(int peer, const std::string& data) = 0;
    virtual void channelClosed(int peer) { (void)peer; }
};

// What handing a text over came to.
struct HandOverResult {
    // Someone serves the name: the text was written to it. False when nobody does.
    bool delivered = false;
    // The server's answer up to its first line end, "" when none came in time.
    std::string reply;
    // Why a served channel could not take the text ("" when it did).
    std::string error;
};

class LocalChannel {
public:
    virtual ~LocalChannel() = default;
    virtual void setListener(LocalChannelListener* listener) = 0;
    // Serves the name, readable by this user only; false when a live process
    // serves it already. A name left behind by a process that died is taken over.
    virtual bool listen(const std::string& name) = 0;
    // Answers a peer that sent data; nothing when the peer has gone.
    virtual void reply(int peer, const std::string& data) = 0;
    // Whether a live process serves the name; nothing is sent.
    virtual bool served(const std::string& name) = 0;
    // The second process's side: connects to the name, writes the bytes and
    // waits up to timeoutMs for a line in answer. It blocks, since the caller
    // has nothing else to do.
    virtual HandOverResult handOver(const std::string& name, const std::string& data,
                                    int timeoutMs) = 0;
};

} // namespace corva::platform
