#include "platform/Http.h"
#include "platform/Installed.h"

namespace corva::platform {

namespace {

// Finishes when cancelled or destroyed; the default client never starts one.
class NoTransfer : public HttpTransfer {
public:
    void cancel() override {}
};

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
    return Installed<Http>::get();
}

Http* setHttp(Http* client) {
    return Installed<Http>::set(client);
}

} // namespace corva::platform
