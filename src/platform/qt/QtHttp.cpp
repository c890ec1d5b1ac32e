#include "platform/qt/QtHttp.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkProxyFactory>
#include <QNetworkReply>
#include <QPointer>
#include <QTimer>

namespace corva::platform::qt {

namespace {

QNetworkProxy proxyFor(const HttpProxy& proxy) {
    switch (proxy.mode) {
    case HttpProxy::Mode::None:
        return QNetworkProxy(QNetworkProxy::NoProxy);
    case HttpProxy::Mode::Manual:
        return QNetworkProxy(QNetworkProxy::HttpProxy, QString::fromStdString(proxy.host),
                             static_cast<quint16>(proxy.port > 0 ? proxy.port : 8080),
                             QString::fromStdString(proxy.user),
                             QString::fromStdString(proxy.password));
    case HttpProxy::Mode::System:
        break;
    }
    return QNetworkProxy(QNetworkProxy::DefaultProxy);
}

// The states of a transfer, each reported once and in this order. Qt tells
// of some moments only: a signal reports its own state and every one before
// it not yet reported (a connection Qt kept from an earlier request has
// nothing to resolve or connect), so a listener always sees the whole road.
//
//   moment                          reports up to
//   first event pass                Resolving Host
//   the socket starts connecting    Host Resolved (Qt resolves before it connects)
//   TLS stands                      Connected
//   the request is written          Request Sent
//   the first bytes of the body     Receiving Response
//   the reply is whole              Response Completed
//   failed or cancelled             Error, then Disconnecting and Disconnected
//                                   once connected (Qt drops that connection)
enum Step {
    None,
    Resolving,
    Resolved,
    Connected,
    Requesting,
    Sent,
    Receiving,
    Received,
    Completed
};
constexpr const char* StepText[] = {"",
                                    "Resolving Host",
                                    "Host Resolved",
                                    "Connected",
                                    "Requesting",
                                    "Request Sent",
                                    "Receiving Response",
                                    "ResponseReceived",
                                    "Response Completed"};

class QtHttpTransfer : public HttpTransfer {
public:
    QtHttpTransfer(QNetworkReply* reply, HttpListener& listener)
        : reply_(reply), listener_(listener) {
        // Every connection has the context as receiver, so none outlives this object.
        QObject* c = &context_;
        QObject::connect(reply, &QNetworkReply::socketStartedConnecting, c,
                         [this] { reach(Resolved); });
        QObject::connect(reply, &QNetworkReply::encrypted, c, [this] { reach(Connected); });
        QObject::connect(reply, &QNetworkReply::requestSent, c, [this] { reach(Sent); });
        QObject::connect(reply, &QNetworkReply::readyRead, c, [this] { read(); });
        QObject::connect(reply, &QNetworkReply::finished, c, [this] { finish(); });
        QTimer::singleShot(0, c, [this] { reach(Resolving); });
    }
    ~QtHttpTransfer() override {
        if (reply_) {
            QNetworkReply* reply = reply_;
            reply_ = nullptr;
            // Only ours: Qt's own connections carry the abort to its HTTP thread.
            reply->disconnect(&context_);
            reply->abort();
            reply->deleteLater();
        }
    }
    void cancel() override {
        cancelled_ = true;
        // abort() reports the end at once, through finish().
        if (reply_) reply_->abort();
    }

private:
    void reach(Step step) {
        while (reached_ < step) listener_.httpState(StepText[++reached_]);
    }
    long long total() const {
        const QVariant length = reply_->header(QNetworkRequest::ContentLengthHeader);
        return length.isValid() ? length.toLongLong() : -1;
    }
    void read() {
        // An aborted reply is closed already: nothing more to read.
        if (!reply_ || !reply_->isOpen()) return;
        const QByteArray bytes = reply_->readAll();
        if (bytes.isEmpty()) return;
        reach(Receiving);
        received_ += bytes.size();
        listener_.httpData(bytes.toStdString(), received_, total());
    }
    void finish() {
        if (!reply_) return;
        read();
        HttpResult result;
        const QVariant status = reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        result.status = status.isValid() ? status.toInt() : 0;
        result.contentLength = total();
        const auto error = reply_->error();
        // An HTTP error status still brought a reply: the logic reads its page.
        const bool statusOnly = result.status != 0 && error >= QNetworkReply::ContentAccessDenied &&
                                error <= QNetworkReply::UnknownServerError;
        if (cancelled_) {
            result.failed = result.cancelled = true;
            result.error = "Download cancelled";
        } else if (error == QNetworkReply::OperationCanceledError ||
                   error == QNetworkReply::TimeoutError) {
            // Nobody cancelled: the transfer time-out ended a wait without data.
            result.failed = result.timedOut = true;
            result.error = "Transfer timed out";
        } else if (error != QNetworkReply::NoError && !statusOnly) {
            result.failed = true;
            result.error = reply_->errorString().toStdString();
        }
        QNetworkReply* done = reply_;
        reply_ = nullptr;
        done->disconnect(&context_);
        done->deleteLater();
        if (result.failed) {
            listener_.httpState("Error");
            if (reached_ >= Connected) {
                listener_.httpState("Disconnecting");
                listener_.httpState("Disconnected");
            }
            reached_ = Completed; // a first pass still to come reports nothing
        } else {
            reach(Completed);
        }
        listener_.httpFinished(result); // may destroy this object: nothing after
    }

    QObject context_;
    QPointer<QNetworkReply> reply_;
    HttpListener& listener_;
    long long received_ = 0;
    int reached_ = None;
    bool cancelled_ = false;
};

} // namespace

QtHttp::QtHttp() = default;
QtHttp::~QtHttp() = default;

std::unique_ptr<HttpTransfer> QtHttp::get(const std::string& url, const HttpProxy& proxy,
                                          HttpListener& listener) {
    // Made on first use: a QNetworkAccessManager needs the application object.
    if (!manager_) manager_ = std::make_unique<QNetworkAccessManager>();
    if (proxy.mode == HttpProxy::Mode::System)
        QNetworkProxyFactory::setUseSystemConfiguration(true);
    manager_->setProxy(proxyFor(proxy));
    QNetworkRequest request(QUrl(QString::fromStdString(url)));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setTransferTimeout(60000);
    QNetworkReply* reply = manager_->get(request);
    return std::make_unique<QtHttpTransfer>(reply, listener);
}

} // namespace corva::platform::qt
