#include "platform/Http.h"

namespace corva::platform {

namespace {

// Finishes when cancelled or destroyed; the default client never starts one.
class NoTransfer : public HttpTransfer {
public:
    void cancel() override {}
};

Http* installed = nullptr;

} // namespace

std::unique_ptr<HttpTransfer> Http::get(const std::string&, const HttpProxy&,
                                        HttpListener& listener) {
    HttpResult result;
    result.failed = true;
    result.error = "No network access is available";
    listener.httpFinished(result);
    return std::make_unique<NoTransfer>();
}

Http& http() {
    static Http plain;
    return installed ? *installed : plain;
}

Http* setHttp(Http* client) {
    Http* before = installed;
    installed = client;
    return before;
}

} // namespace corva::platform
