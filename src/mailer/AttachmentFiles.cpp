// Cleaning of attachment names before they become paths.
#include "mailer/AttachmentFiles.h"

#include "core/FileSubs.h"

#include <algorithm>

namespace corva {

namespace {

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Cuts to at most limit bytes without splitting a UTF-8 sequence.
std::string cutBytes(const std::string& text, size_t limit) {
    if (text.size() <= limit) return text;
    size_t end = limit;
    while (end > 0 && isContinuation(text[end])) --end;
    return text.substr(0, end);
}

} // namespace

std::string safeAttachmentName(const std::string& name) {
    std::string own = name.substr(
        name.find_last_of("/\\") == std::string::npos ? 0 : name.find_last_of("/\\") + 1);
    std::string clean;
    for (char c : own) {
        unsigned char u = static_cast<unsigned char>(c);
        if (u < 0x20 || u == 0x7F) continue;
        if (std::string_view(":*?\"<>|").find(c) != std::string_view::npos) c = '_';
        clean += c;
    }
    // Blanks and dots at either end: hidden files, names Windows drops, "..".
    size_t first = clean.find_first_not_of(" .");
    size_t last = clean.find_last_not_of(" .");
    clean = first == std::string::npos ? "" : clean.substr(first, last - first + 1);
    if (clean.empty()) return "attachment";
    if (clean.size() > AttachmentNameLimit) {
        size_t dot = clean.rfind('.');
        std::string extension =
            dot != std::string::npos && clean.size() - dot <= 16 ? clean.substr(dot) : "";
        clean = cutBytes(clean.substr(0, clean.size() - extension.size()),
                         AttachmentNameLimit - extension.size()) +
                extension;
    }
    return clean;
}

std::string attachmentPath(const std::string& folder, const std::string& name) {
    return addslash(folder) + safeAttachmentName(name);
}

} // namespace corva
