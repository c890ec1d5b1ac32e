// HTTP GET over QNetworkAccessManager, with the proxy chosen per transfer.
#pragma once

#include "platform/Http.h"

#include <memory>

class QNetworkAccessManager;

namespace corva::platform::qt {

class QtHttp : public Http {
public:
    QtHttp();
    ~QtHttp() override;
    std::unique_ptr<HttpTransfer> get(const std::string& url, const HttpProxy& proxy,
                                      HttpListener& listener) override;

private:
    std::unique_ptr<QNetworkAccessManager> manager_;
};

} // namespace corva::platform::qt
