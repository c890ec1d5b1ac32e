#include "platform/qt/QtHttp.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkProxyFactory>
#include <QNetworkReply>
#include <QPointer>

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

class QtHttpTransfer : public HttpTransfer {
public:
    QtHttpTransfer(QNetworkReply* reply, HttpListener& listener)
        : reply_(reply), listener_(listener) {
        QObject::connect(reply, &QNetworkReply::readyRead, reply, [this] { read(); });
        QObject::connect(reply, &QNetworkReply::finished, reply, [this] { finish(); });
    }
    ~QtHttpTransfer() override {
        if (reply_) {
            reply_->disconnect();
            reply_->abort();
            reply_->deleteLater();
        }
    }
    void cancel() override {
        cancelled_ = true;
        if (reply_) reply_->abort();
    }

private:
    long long total() const {
        const QVariant length = reply_->header(QNetworkRequest::ContentLengthHeader);
        return length.isValid() ? length.toLongLong() : -1;
    }
    void read() {
        if (!receiving_) {
            receiving_ = true;
            listener_.httpState("Receiving Response");
        }
        const QByteArray bytes = reply_->readAll();
        received_ += bytes.size();
        if (!bytes.isEmpty()) listener_.httpData(bytes.toStdString(), received_, total());
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
        done->disconnect();
        done->deleteLater();
        listener_.httpState(result.failed ? "Error" : "Response Completed");
        listener_.httpFinished(result); // may destroy this object: nothing after
    }

    QPointer<QNetworkReply> reply_;
    HttpListener& listener_;
    long long received_ = 0;
    bool receiving_ = false;
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
