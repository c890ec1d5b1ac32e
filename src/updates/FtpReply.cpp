#include "updates/FtpReply.h"

#include "core/Strings.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <vector>

namespace corva {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// "123" at the start of a line, with the character after it; replies run
// from 1xx to 5xx.
int codeOf(const std::string& line, char& after) {
    if (line.size() < 3 || line[0] < '1' || line[0] > '5' || !isDigit(line[1]) || !isDigit(line[2]))
        return 0;
    after = line.size() > 3 ? line[3] : ' ';
    return (line[0] - '0') * 100 + (line[1] - '0') * 10 + (line[2] - '0');
}

// The runs of digits in text, each as a number (capped, so no overflow).
std::vector<long long> numbersIn(const std::string& text) {
    std::vector<long long> found;
    for (size_t i = 0; i < text.size();) {
        if (!isDigit(text[i])) {
            ++i;
            continue;
        }
        long long n = 0;
        for (; i < text.size() && isDigit(text[i]); ++i)
            if (n < 1000000000LL) n = n * 10 + (text[i] - '0');
        found.push_back(n);
    }
    return found;
}

bool startsNoCase(const std::string& text, const std::string& prefix) {
    if (text.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(text[i])) != prefix[i]) return false;
    return true;
}

} // namespace

std::optional<FtpReply> FtpReplyReader::next() {
    size_t at = 0;
    int first = -1; // no line read yet
    while (true) {
        const size_t nl = pending_.find('\n', at);
        if (nl == std::string::npos) {
            if (pending_.size() <= MaxReply) return {};
            FtpReply cut{0, pending_.substr(0, MaxReply)};
            pending_.erase(0, MaxReply);
            return cut;
        }
        std::string line = pending_.substr(at, nl - at);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        char after = ' ';
        const int code = codeOf(line, after);
        at = nl + 1;
        if (first < 0) {
            first = code;
            // A line with no code, or a one-line reply, is whole by itself.
            if (code == 0 || after != '-') break;
        } else if (code == first && after == ' ') {
            break; // inside a multi-line reply only "code " with its code ends it
        }
    }
    FtpReply reply{first, pending_.substr(0, at)};
    pending_.erase(0, at);
    return reply;
}

std::optional<FtpEndpoint> ParsePasv(const std::string& text) {
    const size_t open = text.find('(');
    const std::vector<long long> n =
        numbersIn(text.substr(open == std::string::npos ? std::min<size_t>(4, text.size()) : open));
    if (n.size() < 6) return {};
    for (size_t i = 0; i < 6; ++i)
        if (n[i] > 255) return {};
    FtpEndpoint e;
    e.host = std::to_string(n[0]) + "." + std::to_string(n[1]) + "." + std::to_string(n[2]) + "." +
             std::to_string(n[3]);
    e.port = static_cast<int>(n[4] * 256 + n[5]);
    if (e.port == 0) return {};
    return e;
}

std::optional<int> ParseEpsv(const std::string& text) {
    const size_t open = text.find('(');
    if (open == std::string::npos || open + 4 >= text.size()) return {};
    const char d = text[open + 1];
    if (text[open + 2] != d || text[open + 3] != d) return {};
    const size_t close = text.find(d, open + 4);
    if (close == std::string::npos) return {};
    int port = 0;
    const char* b = text.data() + open + 4;
    const char* e = text.data() + close;
    auto [p, ec] = std::from_chars(b, e, port);
    if (ec != std::errc() || p != e || port <= 0 || port > 65535) return {};
    return port;
}

std::optional<long long> ParseSize(const std::string& text) {
    if (text.size() < 5 || text.compare(0, 4, "213 ") != 0) return {};
    long long size = 0;
    const char* b = text.data() + 4;
    const char* e = b;
    while (e < text.data() + text.size() && isDigit(*e)) ++e;
    auto [p, ec] = std::from_chars(b, e, size);
    if (ec != std::errc() || p == b || size < 0) return {};
    return size;
}

bool IsFtpAddress(const std::string& url) {
    return startsNoCase(url, "ftp://") || startsNoCase(url, "ftp.");
}

std::optional<FtpAddress> ParseFtpAddress(const std::string& url) {
    if (!IsFtpAddress(url) || url.find_first_of("\r\n", 0) != std::string::npos ||
        url.find('\0') != std::string::npos)
        return {};
    std::string rest = startsNoCase(url, "ftp://") ? url.substr(6) : url;
    rest = rest.substr(0, rest.find_first_of("?#"));
    const size_t slash = rest.find('/');
    std::string authority = rest.substr(0, slash);
    const std::string path = slash == std::string::npos ? "" : rest.substr(slash + 1);
    FtpAddress a;
    const size_t atSign = authority.rfind('@');
    if (atSign != std::string::npos) {
        const std::string login = authority.substr(0, atSign);
        const size_t colon = login.find(':');
        a.user = PercentDecode(login.substr(0, colon));
        a.password = colon == std::string::npos ? "" : PercentDecode(login.substr(colon + 1));
        authority = authority.substr(atSign + 1);
    }
    const size_t colon = authority.rfind(':');
    if (colon != std::string::npos && authority.find(']', colon) == std::string::npos) {
        int port = 0;
        const std::string digits = authority.substr(colon + 1);
        auto [p, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
        if (ec != std::errc() || p != digits.data() + digits.size() || port <= 0 || port > 65535)
            return {};
        a.port = port;
        authority = authority.substr(0, colon);
    }
    if (authority.size() > 2 && authority.front() == '[' && authority.back() == ']')
        authority = authority.substr(1, authority.size() - 2);
    a.host = authority;
    const size_t last = path.rfind('/');
    a.file = PercentDecode(last == std::string::npos ? path : path.substr(last + 1));
    // "ftp://host//pub/x" names /pub from the root; "ftp://host/pub/x" pub
    // under the login folder.
    a.folder = last == std::string::npos ? "" : PercentDecode(path.substr(0, last));
    if (a.folder.empty() && last == 0) a.folder = "/";
    const auto bad = [](const std::string& s) {
        return s.find_first_of(std::string("\r\n\0", 3)) != std::string::npos;
    };
    if (a.host.empty() || a.file.empty() || bad(a.user) || bad(a.password) || bad(a.folder) ||
        bad(a.file))
        return {};
    return a;
}

} // namespace corva
