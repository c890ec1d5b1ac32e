// What an FTP server says, taken apart: replies assembled from the pieces the
// control connection delivers (multi-line ones included), the passive-mode
// replies, SIZE, and the FTP address itself. Plain functions of bytes, so the
// download's dialogue stays about what to do next.
#pragma once

#include <optional>
#include <string>

namespace corva {

struct FtpReply {
    int code = 0;     // three digits; 0 for a line that is no reply at all
    std::string text; // every line, CRLF kept, as it came
};

// Collects control-connection bytes into whole replies. A multi-line reply
// ("213-" ... "213 ") is one reply; a line that starts with no code is an
// unreadable reply of its own (code 0). A reply that grows past a sane size is
// given out cut short with code 0, so a server cannot make it grow forever.
class FtpReplyReader {
public:
    static constexpr size_t MaxReply = 64 * 1024;

    void feed(const std::string& bytes) { pending_ += bytes; }
    // The next whole reply, if one has come.
    std::optional<FtpReply> next();

private:
    std::string pending_;
};

struct FtpEndpoint {
    std::string host; // dotted address from a PASV reply
    int port = 0;
};

// "227 Entering Passive Mode (h1,h2,h3,h4,p1,p2)": the numbers wherever they
// stand in the text.
std::optional<FtpEndpoint> ParsePasv(const std::string& text);
// "229 Entering Extended Passive Mode (|||port|)": the port.
std::optional<int> ParseEpsv(const std::string& text);
// "213 12345": the size in bytes.
std::optional<long long> ParseSize(const std::string& text);

// The address begins "ftp://" or "ftp." (in any case).
bool IsFtpAddress(const std::string& url);

struct FtpAddress {
    std::string user = "anonymous";
    std::string password = "corva@";
    std::string host;
    int port = 21;
    std::string folder; // "" for the login folder; "/" for the root
    std::string file;
};
// The parts of an FTP address, percent escapes decoded; nothing when it names
// no host or no file, or carries line ends that would break the dialogue.
std::optional<FtpAddress> ParseFtpAddress(const std::string& url);

} // namespace corva
