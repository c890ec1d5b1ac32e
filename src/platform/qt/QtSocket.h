// A TCP socket on QSslSocket, plain unless TLS is asked for. Qt's socket errors
// are mapped to the classic numbers the logic reacts to; a close from the far
// side is a close event only.
#pragma once

#include "platform/Platform.h"

#include <QObject>
#include <QSslError>
#include <QSslSocket>
#include <QTcpSocket>

#include <memory>

namespace corva::platform::qt {

int mapSocketError(QAbstractSocket::SocketError error);

class QtSocket : public QObject, public Socket {
    Q_OBJECT
public:
    QtSocket();
    ~QtSocket() override;
    void setListener(SocketListener* listener) override { listener_ = listener; }
    void connect(const std::string& host, int port) override;
    void close() override;
    void sendData(const std::string& data) override;
    int state() const override;
    void setLocalPort(int port) override { localPortWanted_ = port; }
    std::string remoteHost() const override { return host_; }
    int remotePort() const override { return port_; }
    int localPort() const override;
    std::string localHostName() const override;
    std::string localIP() const override;
    long long bytesToWrite() const override;
    void flush() override;
    void setTrustedFingerprints(const std::vector<std::string>& fingerprints) override {
        trusted_ = fingerprints;
    }
    void connectSecure(const std::string& host, int port, const std::string& peerName) override;
    void startSecure(const std::string& peerName) override;
    bool isSecure() const override { return socketPtr_ && socketPtr_->isEncrypted(); }
    CertificateInfo peerCertificate() const override { return certificate_; }

private:
    void onReadyRead();
    void onError(QAbstractSocket::SocketError error);
    void onBytesWritten(qint64 bytes);
    void onSslErrors(const QList<QSslError>& errors);
    void onEncrypted();
    void prepareSecure(const std::string& peerName);

    // Made at the first use, so that a command that never connects pays
    // nothing for the TLS back end; dropped at each close, the old one
    // lingers on its own until the server has read everything sent (see close()).
    mutable std::unique_ptr<QSslSocket> socketPtr_;
    QSslSocket& socket_() const;
    void wire() const;
    SocketListener* listener_ = nullptr;
    std::string host_;
    int port_ = 0;
    int localPortWanted_ = 0;
    bool failed_ = false;
    long long sentSinceSend_ = 0;
    // TLS from the first byte: the logic hears of the connection only once
    // the handshake is done, so its first command is never sent in the clear.
    bool implicitTls_ = false;
    bool certificateRefused_ = false;
    std::vector<std::string> trusted_;
    CertificateInfo certificate_;
};

} // namespace corva::platform::qt
