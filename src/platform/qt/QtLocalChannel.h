// The local channel on QLocalServer and QLocalSocket. The name becomes a socket
// in the user's runtime folder when there is one (private to the user), else
// in Qt's temporary folder, readable by its owner only.
#pragma once

#include "platform/LocalChannel.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QObject>

#include <map>

namespace corva::platform::qt {

class QtLocalChannel : public QObject, public LocalChannel {
    Q_OBJECT
public:
    QtLocalChannel();
    ~QtLocalChannel() override;
    void setListener(LocalChannelListener* listener) override { listener_ = listener; }
    bool listen(const std::string& name) override;
    void reply(int peer, const std::string& data) override;
    bool served(const std::string& name) override;
    HandOverResult handOver(const std::string& name, const std::string& data,
                            int timeoutMs) override;

    // Where a channel name lives on this machine.
    static QString socketPath(const std::string& name);

private:
    void acceptPeers();

    QLocalServer server_;
    std::map<int, QLocalSocket*> peers_;
    int nextPeer_ = 1;
    LocalChannelListener* listener_ = nullptr;
};

} // namespace corva::platform::qt
