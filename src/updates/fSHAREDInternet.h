// The one way to the web outside POP3 and SMTP: a GET through the proxy
// settings, either as text (openurl) or into a file (downloadfile). Both wait
// on the event loop, as the protocol waits do, and report their states and
// progress through the cSHAREDInternet that owns them. An address that begins
// "FTP://" or "FTP." is fetched over FTP, the rest over HTTP.
#pragma once

#include "platform/Files.h"
#include "platform/Http.h"

#include <memory>
#include <string>

namespace corva {

class cSHAREDInternet;

struct DownloadResult {
    platform::HttpResult http; // how the transfer ended
    long long bytes = 0;       // written to the file
    bool written = false;      // the file was made and every piece reached it
};

class fSHAREDInternet : private platform::HttpListener {
public:
    explicit fSHAREDInternet(cSHAREDInternet& events);
    ~fSHAREDInternet() override;
    fSHAREDInternet(const fSHAREDInternet&) = delete;
    fSHAREDInternet& operator=(const fSHAREDInternet&) = delete;

    // The proxy as the settings give it; logs what it set.
    platform::HttpProxy applyproxy();
    std::string proxyuser() const;
    std::string proxypassword() const;

    // The response's text, "" when nothing came; lastStatus and lastError
    // tell why.
    std::string openurl(const std::string& url);
    // Fetches url into path; the file is erased when the transfer failed.
    DownloadResult downloadfile(const std::string& url, const std::string& path);
    // Stops what runs; the wait ends with "Download cancelled".
    void cancel();
    void canceldownload() { cancel(); }
    // A transfer is under way.
    bool connected() const { return transfer_ != nullptr; }

    int lastStatus() const { return last_.status; }
    const std::string& lastError() const { return last_.error; }
    // The request failed below HTTP (no reply at all).
    bool lastFailed() const { return last_.failed; }
    // The client is the default one that has no network at all.
    static bool networkMissing();

    // How long a transfer may wait without data.
    void setIdleTimeoutMs(int ms) { idleTimeoutMs_ = ms; }

private:
    void httpState(const std::string& text) override;
    void httpData(const std::string& bytes, long long received, long long total) override;
    void httpFinished(const platform::HttpResult& result) override;
    // Starts the transfer and waits for its end, or for a pause without data.
    void run(const std::string& url);
    void state(const std::string& text);
    void status(const std::string& text);

    cSHAREDInternet& events_;
    std::unique_ptr<platform::HttpTransfer> transfer_;
    platform::HttpResult last_;
    bool done_ = true;
    std::string text_;                           // openurl's response
    std::unique_ptr<platform::OutputFile> file_; // downloadfile's target
    bool writeFailed_ = false;
    long long received_ = 0;
    long long total_ = -1;
    int idleTimeoutMs_ = 60000;
};

} // namespace corva
