#include "tools/modMbox.h"

#include <cstdio>
#include <ctime>

namespace corva {
namespace {

bool isFromLine(std::string_view line) {
    return line.substr(0, 5) == "From ";
}

bool isBlank(std::string_view line) {
    return line.empty() || line == "\r";
}

// ">From ", ">>From " ...: a line that was quoted on the way in.
bool isQuotedFrom(std::string_view line) {
    size_t n = line.find_first_not_of('>');
    return n != 0 && n != std::string_view::npos && line.substr(n, 5) == "From ";
}

} // namespace

bool LooksLikeMbox(std::string_view start) {
    return isFromLine(start);
}

bool MboxReader::next(std::string& message) {
    message.clear();
    bool inMessage = started_;
    while (std::getline(in_, line_)) {
        const bool hadNewline = !in_.eof();
        position_ += line_.size() + (hadNewline ? 1 : 0);
        if (isFromLine(line_) && lastBlank_) {
            lastBlank_ = false;
            if (inMessage) {
                // The blank line before the opening belongs to the file, not the message.
                if (message.size() >= 1 && message.back() == '\n') message.pop_back();
                if (!message.empty() && message.back() == '\r') message.pop_back();
                return true;
            }
            started_ = inMessage = true;
            continue;
        }
        lastBlank_ = isBlank(line_);
        if (!inMessage) continue;
        message.append(isQuotedFrom(line_) ? std::string_view(line_).substr(1)
                                           : std::string_view(line_));
        if (hadNewline) message += '\n';
    }
    if (!inMessage) return false;
    started_ = false; // nothing more follows
    if (message.size() >= 2 && message.compare(message.size() - 2, 2, "\n\n") == 0)
        message.pop_back();
    else if (message.size() >= 3 && message.compare(message.size() - 3, 3, "\n\r\n") == 0)
        message.resize(message.size() - 2);
    return true;
}

std::string QuoteFromLines(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 16);
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        std::string_view line = text.substr(
            start, end == std::string_view::npos ? std::string_view::npos : end - start + 1);
        if (isFromLine(line) || isQuotedFrom(line)) out += '>';
        out.append(line);
        if (end == std::string_view::npos) break;
        start = end + 1;
    }
    return out;
}

std::string MboxEntry(const std::string& storeText, const std::string& sender, int64_t sentTime) {
    std::time_t t = static_cast<std::time_t>(sentTime);
    std::tm parts{};
    gmtime_r(&t, &parts);
    char date[40];
    std::strftime(date, sizeof date, "%a %b %e %H:%M:%S %Y", &parts);
    std::string entry =
        "From " + (sender.empty() ? std::string("MAILER-DAEMON") : sender) + " " + date + "\n";
    entry += QuoteFromLines(ToUnixLineEnds(storeText));
    if (entry.back() != '\n') entry += '\n';
    entry += '\n';
    return entry;
}

std::string ToStoreLineEnds(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 32);
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) out += '\r';
        out += text[i];
    }
    return out;
}

std::string ToUnixLineEnds(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i)
        if (!(text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')) out += text[i];
    return out;
}

} // namespace corva
