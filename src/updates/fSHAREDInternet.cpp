#include "updates/fSHAREDInternet.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Variant.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "platform/Platform.h"
#include "updates/FtpDownload.h"
#include "updates/FtpReply.h"
#include "updates/cSHAREDInternet.h"
#include "updates/fSHAREDProxy.h"

#include <typeinfo>

namespace corva {

namespace {
constexpr const char* Module = "fSHAREDInternet";

std::string kb(long long bytes) {
    return std::to_string(bytes / 1024);
}
} // namespace

fSHAREDInternet::fSHAREDInternet(cSHAREDInternet& events) : events_(events) {}

fSHAREDInternet::~fSHAREDInternet() {
    transfer_.reset();
}

bool fSHAREDInternet::networkMissing() {
    const platform::Http& installed = platform::http();
    return typeid(installed) == typeid(platform::Http);
}

platform::HttpProxy fSHAREDInternet::applyproxy() {
    platform::HttpProxy proxy;
    const ProxySettings s = fSHAREDProxy::Load();
    proxy.mode = s.type == ProxySettings::Manual   ? platform::HttpProxy::Mode::Manual
                 : s.type == ProxySettings::Direct ? platform::HttpProxy::Mode::None
                                                   : platform::HttpProxy::Mode::System;
    if (s.type == ProxySettings::Manual) {
        proxy.host = s.server;
        proxy.port = static_cast<int>(Variant(s.port).toLong());
        LogAction("Proxy set to: " + s.server + (s.port.empty() ? "" : ":" + s.port));
    }
    if (!s.user.empty()) {
        proxy.user = s.user;
        proxy.password = s.password;
        LogAction("Proxy username/password set");
    }
    return proxy;
}

std::string fSHAREDInternet::proxyuser() const {
    return fSHAREDProxy::Load().user;
}

std::string fSHAREDInternet::proxypassword() const {
    return fSHAREDProxy::Load().password;
}

void fSHAREDInternet::state(const std::string& text) {
    events_.RaiseStateChanged(text);
}

void fSHAREDInternet::status(const std::string& text) {
    events_.RaiseStatus(text);
}

void fSHAREDInternet::run(const std::string& url) {
    // A check from the timer may come while the window's command waits on
    // its own transfer: the second one is refused, not started over it.
    if (transfer_) {
        last_ = {};
        last_.failed = true;
        last_.error = "Another transfer is under way";
        return;
    }
    last_ = {};
    done_ = false;
    received_ = 0;
    total_ = -1;
    const platform::HttpProxy proxy = applyproxy();
    if (IsFtpAddress(url)) {
        transfer_ = StartFtpDownload(url, proxy, *this);
    } else {
        transfer_ = platform::http().get(url, proxy, *this);
    }
    platform::EventLoop& loop = platform::current().eventLoop();
    while (!done_) {
        const long long before = received_;
        // A pause without data ends the transfer; data of any size restarts the wait.
        if (!loop.runUntil([&] { return done_ || received_ != before; }, idleTimeoutMs_) &&
            !done_) {
            status("Transfer timed out");
            transfer_.reset();
            last_.failed = last_.timedOut = true;
            last_.error = "Transfer timed out";
            done_ = true;
        }
    }
    transfer_.reset();
}

std::string fSHAREDInternet::openurl(const std::string& url) {
    text_.clear();
    guarded("openurl", Module, [&] { run(url); });
    return last_.failed ? std::string() : std::move(text_);
}

DownloadResult fSHAREDInternet::downloadfile(const std::string& url, const std::string& path) {
    DownloadResult out;
    if (transfer_) {
        out.http.failed = true;
        out.http.error = "Another transfer is under way";
        return out;
    }
    guarded("downloadfile", Module, [&] {
        platform::FileResult opened;
        file_ = platform::current().files().openOverwrite(path, opened);
        if (!file_) {
            last_ = {};
            last_.failed = true;
            last_.error = "Could not write " + path + ": " + opened.detail;
            return;
        }
        writeFailed_ = false;
        run(url);
        const bool closed = file_ && file_->finish().ok();
        file_.reset();
        out.bytes = received_;
        out.written = closed && !writeFailed_;
        if (last_.failed || !out.written)
            EraseFile(path);
        else if (total_ >= 0)
            status(received_ == total_
                       ? "Downloaded " + kb(total_) + " kb (100%)"
                       : "File Size: " + kb(total_) + " kb.  Downloaded " + kb(received_) + " kb");
    });
    file_.reset();
    out.http = last_;
    return out;
}

void fSHAREDInternet::cancel() {
    if (transfer_) transfer_->cancel();
}

void fSHAREDInternet::httpState(const std::string& text) {
    state(text);
}

void fSHAREDInternet::httpData(const std::string& bytes, long long received, long long total) {
    received_ = received;
    total_ = total;
    if (file_) {
        if (!file_->write(bytes)) writeFailed_ = true;
        status(total > 0 ? kb(received) + " kb of " + kb(total) + " kb (" +
                               std::to_string(received * 100 / total) + "%)"
                         : kb(received) + " kb downloaded");
    } else {
        text_ += bytes;
    }
    events_.RaiseProgress(received, total);
}

void fSHAREDInternet::httpFinished(const platform::HttpResult& result) {
    last_ = result;
    if (result.contentLength >= 0) total_ = result.contentLength;
    done_ = true;
}

} // namespace corva
