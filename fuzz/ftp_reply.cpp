// The FTP server's replies as the download reads them: any bytes, cut into
// pieces at each NUL as the control connection might deliver them, give
// replies that are exactly the bytes fed (nothing lost, nothing made up),
// each within the size limit, and the passive-mode, SIZE and address readers
// answer in range or not at all.
#include "FuzzSupport.h"

#include "updates/FtpReply.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    const std::string_view input = fuzz::asText(data, size);
    FtpReplyReader reader;
    std::string fed, given;
    auto drain = [&] {
        while (auto reply = reader.next()) {
            if (reply->text.empty() || reply->text.size() > FtpReplyReader::MaxReply) std::abort();
            if (reply->code != 0 && (reply->code < 100 || reply->code > 599)) std::abort();
            given += reply->text;
            if (auto e = ParsePasv(reply->text); e && (e->port < 1 || e->port > 65535))
                std::abort();
            if (auto p = ParseEpsv(reply->text); p && (*p < 1 || *p > 65535)) std::abort();
            if (auto n = ParseSize(reply->text); n && *n < 0) std::abort();
        }
    };
    for (std::string_view piece : fuzz::split(input, std::string_view("\0", 1))) {
        reader.feed(std::string(piece));
        fed += piece;
        drain();
    }
    // What is still held is what has not made a whole reply yet.
    if (fed.compare(0, given.size(), given) != 0) std::abort();

    const std::string url(input);
    if (auto a = ParseFtpAddress(url)) {
        if (a->host.empty() || a->file.empty() || a->port < 1 || a->port > 65535) std::abort();
        for (const std::string* part : {&a->user, &a->password, &a->folder, &a->file})
            if (part->find_first_of(std::string("\r\n\0", 3)) != std::string::npos) std::abort();
    }
    return 0;
}
