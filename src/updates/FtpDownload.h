// Downloads over FTP for the update check, which Qt no longer offers: the
// login (anonymous unless the address carries user:password), binary type,
// SIZE for the size check, the folder ("CD "), the file ("GET ") and the
// goodbye ("CLOSE"), over the platform's sockets. It reports through the same
// listener as an HTTP transfer, with the same state texts; the reply code of
// a refusal (550: no such file) stands in the result's status.
//
// With a manual proxy, which is an HTTP proxy, the address goes to it as a
// GET (the way web proxies carry ftp:// addresses) and the proxy talks FTP.
// With the system's or no proxy the server is reached directly.
#pragma once

#include "platform/Http.h"

#include <memory>
#include <string>

namespace corva {

// Starts the download of url; the listener hears of it from the event loop,
// or, when the address cannot be used at all, at once inside the call.
std::unique_ptr<platform::HttpTransfer> StartFtpDownload(const std::string& url,
                                                         const platform::HttpProxy& proxy,
                                                         platform::HttpListener& listener);

} // namespace corva
