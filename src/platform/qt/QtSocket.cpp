#include "platform/qt/QtSocket.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QHostAddress>
#include <QHostInfo>
#include <QNetworkInterface>
#include <QNetworkProxy>
#include <QPointer>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTimer>

#include <algorithm>
#include <cstdlib>

#include <sys/socket.h>

namespace corva::platform::qt {

int mapSocketError(QAbstractSocket::SocketError error) {
    switch (error) {
    case QAbstractSocket::HostNotFoundError:
        return SocketError::HostNotFound;
    case QAbstractSocket::SocketTimeoutError:
        return SocketError::TimedOut;
    case QAbstractSocket::NetworkError:
        return SocketError::NetworkUnreachable;
    case QAbstractSocket::ConnectionRefusedError:
        return SocketError::ConnectionRefused;
    case QAbstractSocket::RemoteHostClosedError:
        return SocketError::ConnectionReset;
    case QAbstractSocket::AddressInUseError:
        return SocketError::AddressInUse;
    case QAbstractSocket::SocketAccessError:
        return 10013;
    case QAbstractSocket::SocketResourceError:
        return 10055;
    case QAbstractSocket::UnsupportedSocketOperationError:
        return 10045;
    case QAbstractSocket::TemporaryError:
        return 10035;
    case QAbstractSocket::ProxyConnectionRefusedError:
    case QAbstractSocket::ProxyConnectionClosedError:
    case QAbstractSocket::ProxyConnectionTimeoutError:
    case QAbstractSocket::ProxyNotFoundError:
        return SocketError::HostUnreachable;
    default:
        return SocketError::ConnectionAborted;
    }
}

namespace {

// A closed connection that is left to finish on its own. The logic closes
// as soon as it has what it wants, sometimes before the server has read the
// last command (a QUIT that commits deletions). Closing with unread replies
// would reset the connection and the server could lose that command, so the
// write side is shut, replies are read and dropped until the server closes,
// and only then is the socket released.
void linger(std::unique_ptr<QSslSocket> socket) {
    QSslSocket* s = socket.release();
    s->disconnect();
    if (s->state() != QAbstractSocket::ConnectedState) {
        s->abort();
        s->deleteLater();
        return;
    }
    auto shutWrite = [s] {
        if (s->bytesToWrite() == 0 && s->socketDescriptor() != -1)
            ::shutdown(static_cast<int>(s->socketDescriptor()), SHUT_WR);
    };
    QObject::connect(s, &QTcpSocket::readyRead, s, [s] { s->readAll(); });
    QObject::connect(s, &QTcpSocket::bytesWritten, s, shutWrite);
    QObject::connect(s, &QTcpSocket::disconnected, s, [s] { s->deleteLater(); });
    QObject::connect(s, &QTcpSocket::errorOccurred, s, [s] { s->deleteLater(); });
    QTimer::singleShot(5000, s, [s] {
        s->abort();
        s->deleteLater();
    });
    s->flush();
    s->readAll();
    shutWrite();
}

// The system's trusted certificates plus those of the file SSL_CERT_FILE
// names, which is how private servers (and the tests) add their own CA.
const QList<QSslCertificate>& trustedAuthorities() {
    static const QList<QSslCertificate> all = [] {
        QList<QSslCertificate> list = QSslConfiguration::systemCaCertificates();
        if (const char* extra = std::getenv("SSL_CERT_FILE"); extra && *extra)
            list += QSslCertificate::fromPath(QString::fromLocal8Bit(extra), QSsl::Pem);
        return list;
    }();
    return all;
}

std::string fingerprintOf(const QSslCertificate& certificate) {
    return certificate.digest(QCryptographicHash::Sha256).toHex(':').toUpper().toStdString();
}

std::string utcText(const QDateTime& when) {
    return when.toUTC().toString("yyyy-MM-dd hh:mm:ss").toStdString();
}

CertificateInfo describe(const QSslCertificate& c) {
    CertificateInfo info;
    if (c.isNull()) return info;
    info.subject = c.subjectDisplayName().toStdString();
    info.issuer = c.issuerDisplayName().toStdString();
    info.validFrom = utcText(c.effectiveDate());
    info.validUntil = utcText(c.expiryDate());
    info.fingerprint = fingerprintOf(c);
    return info;
}

} // namespace

QtSocket::QtSocket() = default;

QSslSocket& QtSocket::socket_() const {
    if (!socketPtr_) {
        socketPtr_ = std::make_unique<QSslSocket>();
        // Mail servers are reached directly: the update check's "system
        // proxy" choice sets Qt's proxy for the whole program, not for them.
        socketPtr_->setProxy(QNetworkProxy::NoProxy);
        wire();
    }
    return *socketPtr_;
}

void QtSocket::wire() const {
    QObject::connect(socketPtr_.get(), &QTcpSocket::readyRead, this, &QtSocket::onReadyRead);
    QObject::connect(socketPtr_.get(), &QTcpSocket::errorOccurred, this, &QtSocket::onError);
    QObject::connect(socketPtr_.get(), &QTcpSocket::bytesWritten, this, &QtSocket::onBytesWritten);
    QObject::connect(socketPtr_.get(), &QTcpSocket::connected, this, [this] {
        if (listener_ && !implicitTls_) listener_->socketConnected();
    });
    QObject::connect(socketPtr_.get(), &QSslSocket::sslErrors, this, &QtSocket::onSslErrors);
    QObject::connect(socketPtr_.get(), &QSslSocket::encrypted, this, &QtSocket::onEncrypted);
    QObject::connect(socketPtr_.get(), &QTcpSocket::disconnected, this, [this] {
        if (listener_) listener_->socketClosed();
    });
}

QtSocket::~QtSocket() {
    listener_ = nullptr;
    if (socketPtr_) linger(std::move(socketPtr_));
}

void QtSocket::connect(const std::string& host, int port) {
    implicitTls_ = false;
    failed_ = false;
    host_ = host;
    port_ = port;
    if (socket_().state() != QAbstractSocket::UnconnectedState) socket_().abort();
    if (localPortWanted_ > 0)
        socket_().bind(QHostAddress::Any, static_cast<quint16>(localPortWanted_));
    socket_().connectToHost(QString::fromStdString(host), static_cast<quint16>(port));
}

void QtSocket::close() {
    failed_ = false;
    implicitTls_ = false;
    if (!socketPtr_) return;
    if (socket_().state() == QAbstractSocket::ConnectedState && socket_().bytesToWrite() > 0)
        socket_().flush();
    // Closing is immediate for the logic: no late event follows, and the next
    // connect starts on a fresh socket.
    linger(std::move(socketPtr_));
}

void QtSocket::sendData(const std::string& data) {
    if (socket_().state() != QAbstractSocket::ConnectedState) {
        if (listener_) listener_->socketError(SocketError::NotConnected, "Socket is not connected");
        return;
    }
    sentSinceSend_ = 0;
    socket_().write(data.data(), static_cast<qint64>(data.size()));
}

int QtSocket::state() const {
    if (failed_) return SocketState::Error;
    if (!socketPtr_) return SocketState::Closed;
    if (implicitTls_ && socket_().state() == QAbstractSocket::ConnectedState &&
        !socket_().isEncrypted())
        return SocketState::Connecting;
    switch (socket_().state()) {
    case QAbstractSocket::UnconnectedState:
        return SocketState::Closed;
    case QAbstractSocket::HostLookupState:
        return 4;
    case QAbstractSocket::ConnectingState:
        return SocketState::Connecting;
    case QAbstractSocket::ConnectedState:
        return SocketState::Connected;
    case QAbstractSocket::ClosingState:
        return SocketState::Closing;
    default:
        return SocketState::Open;
    }
}

int QtSocket::localPort() const {
    return socketPtr_ ? socketPtr_->localPort() : 0;
}

std::string QtSocket::localHostName() const {
    return QHostInfo::localHostName().toStdString();
}

std::string QtSocket::localIP() const {
    if (socketPtr_ && socketPtr_->state() == QAbstractSocket::ConnectedState)
        return socketPtr_->localAddress().toString().toStdString();
    for (const QHostAddress& a : QNetworkInterface::allAddresses())
        if (a.protocol() == QAbstractSocket::IPv4Protocol && !a.isLoopback())
            return a.toString().toStdString();
    return "127.0.0.1";
}

long long QtSocket::bytesToWrite() const {
    return socketPtr_ ? socketPtr_->bytesToWrite() : 0;
}

void QtSocket::flush() {
    if (socketPtr_ && socketPtr_->state() == QAbstractSocket::ConnectedState) socket_().flush();
}

void QtSocket::onReadyRead() {
    // Qt announces nothing new while this runs, even to a listener that lets
    // events run; what came in meanwhile is handed on here, piece by piece.
    QPointer<QtSocket> alive(this);
    while (alive && listener_ && socket_().isOpen()) {
        QByteArray data = socket_().readAll();
        if (data.isEmpty()) return;
        listener_->socketDataArrival(
            std::string(data.constData(), static_cast<size_t>(data.size())));
    }
}

void QtSocket::onError(QAbstractSocket::SocketError error) {
    // A close from the far side is reported by the disconnected signal alone,
    // unless it cut a handshake short.
    bool handshaking = socket_().mode() != QSslSocket::UnencryptedMode && !socket_().isEncrypted();
    if (error == QAbstractSocket::RemoteHostClosedError && !handshaking) return;
    failed_ = true;
    if (!listener_) return;
    if (certificateRefused_) {
        listener_->socketError(SocketError::CertificateRejected,
                               "The server's certificate was not accepted: " +
                                   certificate_.problems);
    } else if (handshaking || error == QAbstractSocket::SslHandshakeFailedError ||
               error == QAbstractSocket::SslInternalError ||
               error == QAbstractSocket::SslInvalidUserDataError) {
        listener_->socketError(SocketError::SecureChannel,
                               "The secure connection failed: " +
                                   socket_().errorString().toStdString());
    } else {
        listener_->socketError(mapSocketError(error), socket_().errorString().toStdString());
    }
}

void QtSocket::prepareSecure(const std::string& peerName) {
    certificateRefused_ = false;
    certificate_ = {};
    QSslConfiguration config = socket_().sslConfiguration();
    config.setCaCertificates(trustedAuthorities());
    config.setPeerVerifyMode(QSslSocket::VerifyPeer);
    socket_().setSslConfiguration(config);
    socket_().setPeerVerifyName(QString::fromStdString(peerName));
}

void QtSocket::connectSecure(const std::string& host, int port, const std::string& peerName) {
    failed_ = false;
    host_ = host;
    port_ = port;
    if (socket_().state() != QAbstractSocket::UnconnectedState) socket_().abort();
    implicitTls_ = true;
    prepareSecure(peerName);
    if (localPortWanted_ > 0)
        socket_().bind(QHostAddress::Any, static_cast<quint16>(localPortWanted_));
    socket_().connectToHostEncrypted(QString::fromStdString(host), static_cast<quint16>(port),
                                     QString::fromStdString(peerName));
}

void QtSocket::startSecure(const std::string& peerName) {
    if (socket_().state() != QAbstractSocket::ConnectedState) {
        if (listener_) listener_->socketError(SocketError::NotConnected, "Socket is not connected");
        return;
    }
    prepareSecure(peerName);
    socket_().startClientEncryption();
}

void QtSocket::onSslErrors(const QList<QSslError>& errors) {
    certificate_ = describe(socket_().peerCertificate());
    std::string problems;
    for (const QSslError& e : errors) {
        if (!problems.empty()) problems += "; ";
        problems += e.errorString().toStdString();
    }
    certificate_.problems = problems;
    // A certificate the user trusted for this server passes whatever is wrong with it.
    if (!certificate_.empty() &&
        std::find(trusted_.begin(), trusted_.end(), certificate_.fingerprint) != trusted_.end()) {
        socket_().ignoreSslErrors(errors);
        return;
    }
    certificateRefused_ = true;
}

void QtSocket::onEncrypted() {
    if (certificate_.empty()) certificate_ = describe(socket_().peerCertificate());
    QPointer<QtSocket> alive(this);
    if (implicitTls_ && listener_) listener_->socketConnected();
    if (alive && listener_) listener_->socketSecured();
}

void QtSocket::onBytesWritten(qint64 bytes) {
    sentSinceSend_ += bytes;
    long long remaining = socket_().bytesToWrite();
    QPointer<QtSocket> alive(this);
    if (listener_) listener_->socketSendProgress(sentSinceSend_, remaining);
    if (alive && listener_ && remaining == 0) listener_->socketSendComplete();
}

} // namespace corva::platform::qt
