#include "platform/qt/QtLocalChannel.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>

namespace corva::platform::qt {

QtLocalChannel::QtLocalChannel() {
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    QObject::connect(&server_, &QLocalServer::newConnection, this, [this] { acceptPeers(); });
}

QtLocalChannel::~QtLocalChannel() {
    for (auto& [peer, socket] : peers_) {
        socket->disconnect(this);
        socket->deleteLater();
    }
    server_.close();
}

QString QtLocalChannel::socketPath(const std::string& name) {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    // Another user can't squat on a name in the private runtime folder.
    if (!runtime.isEmpty() && QFileInfo(runtime).isDir() && QFileInfo(runtime).isWritable())
        return QDir(runtime).filePath(QString::fromStdString(name));
    return QDir(QDir::tempPath()).filePath(QString::fromStdString(name));
}

bool QtLocalChannel::served(const std::string& name) {
    QLocalSocket probe;
    probe.connectToServer(socketPath(name));
    const bool live = probe.waitForConnected(1000);
    probe.abort();
    return live;
}

bool QtLocalChannel::listen(const std::string& name) {
    const QString path = socketPath(name);
    if (server_.listen(path)) return true;
    if (server_.serverError() != QAbstractSocket::AddressInUseError) return false;
    // The name is taken: by a live copy, or left over from one that died.
    if (served(name)) return false;
    QLocalServer::removeServer(path);
    return server_.listen(path);
}

void QtLocalChannel::acceptPeers() {
    while (QLocalSocket* socket = server_.nextPendingConnection()) {
        const int peer = nextPeer_++;
        peers_[peer] = socket;
        QObject::connect(socket, &QLocalSocket::readyRead, this, [this, peer, socket] {
            const QByteArray bytes = socket->readAll();
            if (listener_ && !bytes.isEmpty())
                listener_->channelData(peer, std::string(bytes.constData(), bytes.size()));
        });
        QObject::connect(socket, &QLocalSocket::disconnected, this, [this, peer, socket] {
            // What arrived just before the close is still to be read.
            const QByteArray rest = socket->readAll();
            if (listener_ && !rest.isEmpty())
                listener_->channelData(peer, std::string(rest.constData(), rest.size()));
            peers_.erase(peer);
            socket->deleteLater();
            if (listener_) listener_->channelClosed(peer);
        });
        // Data may have come with the connection itself.
        if (socket->bytesAvailable() > 0) emit socket->readyRead();
    }
}

void QtLocalChannel::reply(int peer, const std::string& data) {
    auto found = peers_.find(peer);
    if (found == peers_.end()) return;
    found->second->write(data.data(), static_cast<qint64>(data.size()));
    found->second->flush();
}

HandOverResult QtLocalChannel::handOver(const std::string& name, const std::string& data,
                                        int timeoutMs) {
    HandOverResult result;
    QDeadlineTimer deadline(timeoutMs);
    QLocalSocket socket;
    socket.connectToServer(socketPath(name));
    if (!socket.waitForConnected(static_cast<int>(deadline.remainingTime()))) return result;
    socket.write(data.data(), static_cast<qint64>(data.size()));
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(static_cast<int>(deadline.remainingTime()))) {
            result.error = socket.errorString().toStdString();
            return result;
        }
    }
    // Written: the text sits with the running copy even if it never answers.
    result.delivered = true;
    QByteArray answer;
    while (!answer.contains('\n') &&
           socket.waitForReadyRead(static_cast<int>(deadline.remainingTime())))
        answer += socket.readAll();
    answer += socket.readAll();
    const qsizetype end = answer.indexOf('\n');
    result.reply = std::string(answer.constData(), end < 0 ? answer.size() : end);
    socket.disconnectFromServer();
    return result;
}

} // namespace corva::platform::qt
