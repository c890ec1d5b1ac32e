// One-pass byte searches and replacements for the message code.
#include "message/TextScan.h"

#include <algorithm>
#include <cstring>

namespace corva::textscan {

size_t findNoCase(std::string_view hay, std::string_view needle, size_t from) {
    if (needle.empty()) return from <= hay.size() ? from : std::string_view::npos;
    if (hay.size() < needle.size() || from > hay.size() - needle.size())
        return std::string_view::npos;
    // A byte without case in the needle ("-" of "content-type", "=" of "name=")
    // is one search instead of two, and rarer in mail than a letter.
    size_t anchor = 0;
    while (anchor < needle.size() && lower(needle[anchor]) != upper(needle[anchor])) ++anchor;
    if (anchor < needle.size()) {
        const size_t end = hay.size() - needle.size();
        const char* text = hay.data();
        for (size_t i = from; i <= end; ++i) {
            const void* hit = std::memchr(text + i + anchor, needle[anchor], end - i + 1);
            if (!hit) break;
            i = static_cast<size_t>(static_cast<const char*>(hit) - text) - anchor;
            size_t k = 0;
            while (k < needle.size() && lower(text[i + k]) == lower(needle[k])) ++k;
            if (k == needle.size()) return i;
        }
        return std::string_view::npos;
    }
    const char first = lower(needle[0]);
    const char firstUp = upper(needle[0]);
    const size_t last = hay.size() - needle.size();
    const char* base = hay.data();
    constexpr size_t none = std::string_view::npos;
    // The next candidate of each case is remembered, so that a letter absent
    // in one case isn't searched for again at every step.
    auto next = [&](char c, size_t i) -> size_t {
        const void* hit = std::memchr(base + i, c, last - i + 1);
        return hit ? static_cast<size_t>(static_cast<const char*>(hit) - base) : none;
    };
    size_t nextLow = next(first, from);
    size_t nextUp = first == firstUp ? none : next(firstUp, from);
    for (;;) {
        size_t i = std::min(nextLow, nextUp);
        if (i == none) return none;
        size_t k = 1;
        while (k < needle.size() && lower(base[i + k]) == lower(needle[k])) ++k;
        if (k == needle.size()) return i;
        if (i >= last) return none;
        if (nextLow == i) nextLow = next(first, i + 1);
        if (nextUp == i) nextUp = next(firstUp, i + 1);
    }
}

size_t rfindNoCase(std::string_view hay, std::string_view needle) {
    constexpr size_t none = std::string_view::npos;
    if (needle.size() > hay.size()) return none;
    if (needle.empty()) return hay.size();
    const char first = lower(needle[0]);
    const char firstUp = upper(needle[0]);
    const char* base = hay.data();
    // The last candidate of each case before a bound, as findNoCase does forwards.
    auto before = [&](char c, size_t end) -> size_t {
        const void* hit = end == 0 ? nullptr : ::memrchr(base, c, end);
        return hit ? static_cast<size_t>(static_cast<const char*>(hit) - base) : none;
    };
    const size_t end = hay.size() - needle.size() + 1;
    size_t lastLow = before(first, end);
    size_t lastUp = first == firstUp ? none : before(firstUp, end);
    for (;;) {
        size_t i = lastLow == none ? lastUp : lastUp == none ? lastLow : std::max(lastLow, lastUp);
        if (i == none) return none;
        size_t k = 1;
        while (k < needle.size() && lower(base[i + k]) == lower(needle[k])) ++k;
        if (k == needle.size()) return i;
        if (lastLow == i) lastLow = before(first, i);
        if (lastUp == i) lastUp = before(firstUp, i);
    }
}

bool containsNoCase(std::string_view hay, std::string_view needle) {
    return findNoCase(hay, needle) != std::string_view::npos;
}

template <bool NoCase>
static std::string replaceImpl(std::string_view text, std::string_view what,
                               std::string_view with) {
    if (what.empty()) return std::string(text);
    std::string out;
    size_t pos = 0;
    for (;;) {
        size_t hit = NoCase ? findNoCase(text, what, pos) : text.find(what, pos);
        if (hit == std::string_view::npos) break;
        if (out.empty()) out.reserve(text.size());
        out.append(text, pos, hit - pos);
        out.append(with);
        pos = hit + what.size();
    }
    if (pos == 0) return std::string(text);
    out.append(text, pos);
    return out;
}

std::string replaceAll(std::string_view text, std::string_view what, std::string_view with) {
    return replaceImpl<false>(text, what, with);
}

std::string replaceAllNoCase(std::string_view text, std::string_view what, std::string_view with) {
    return replaceImpl<true>(text, what, with);
}

void replaceInPlace(std::string& text, std::string_view what, std::string_view with) {
    if (what.empty() || text.find(what) == std::string::npos) return;
    text = replaceImpl<false>(text, what, with);
}

void replaceInPlaceNoCase(std::string& text, std::string_view what, std::string_view with) {
    if (what.empty() || findNoCase(text, what) == std::string::npos) return;
    text = replaceImpl<true>(text, what, with);
}

void lineEndsInPlace(std::string& text, bool blank) {
    constexpr size_t none = std::string::npos;
    char* base = text.data();
    const size_t n = text.size();
    auto next = [&](char c, size_t from) -> size_t {
        const void* hit = from < n ? std::memchr(base + from, c, n - from) : nullptr;
        return hit ? static_cast<size_t>(static_cast<const char*>(hit) - base) : none;
    };
    // The next CR and LF are each searched for once, so the text is read in runs.
    size_t cr = next('\r', 0), lf = next('\n', 0);
    size_t kept = 0, i = 0;
    while (i < n) {
        const size_t end = std::min(std::min(cr, lf), n);
        if (kept != i) std::memmove(base + kept, base + i, end - i);
        kept += end - i;
        i = end;
        if (i == n) break;
        if (base[i] == '\r' && i + 1 < n && base[i + 1] == '\n') ++i;
        if (blank) base[kept++] = ' ';
        ++i;
        if (cr < i) cr = next('\r', i);
        if (lf < i) lf = next('\n', i);
    }
    text.resize(kept);
}

void removeByte(std::string& text, char c) {
    text.erase(std::remove(text.begin(), text.end(), c), text.end());
}

std::string lowerCopy(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = lower(c);
    return out;
}

std::string_view trimView(std::string_view s) {
    size_t a = 0, b = s.size();
    while (a < b && s[a] == ' ') ++a;
    while (b > a && s[b - 1] == ' ') --b;
    return s.substr(a, b - a);
}

} // namespace corva::textscan
