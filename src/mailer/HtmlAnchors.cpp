// Anchors found by a forgiving scan rather than a parser: mail HTML is often
// broken, and a forged link is the one thing worth finding in it anyway.
#include "mailer/HtmlAnchors.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace corva {

namespace {

char lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f';
}

bool startsNoCase(std::string_view s, size_t at, std::string_view word) {
    if (at + word.size() > s.size()) return false;
    for (size_t i = 0; i < word.size(); ++i)
        if (lower(s[at + i]) != word[i]) return false;
    return true;
}

size_t findNoCase(std::string_view s, std::string_view word, size_t from) {
    for (size_t i = from; i + word.size() <= s.size(); ++i)
        if (startsNoCase(s, i, word)) return i;
    return std::string_view::npos;
}

void appendUtf8(std::string& out, unsigned long code) {
    if (code == 0 || code > 0x10FFFF) return;
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

// The few entities a link or its text is written with; forged links hide
// their dots and slashes behind numeric ones.
std::string undoEntities(std::string_view s) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] != '&') {
            out += s[i];
            continue;
        }
        size_t end = s.find(';', i);
        if (end == std::string_view::npos || end - i > 10) {
            out += s[i];
            continue;
        }
        std::string name(s.substr(i + 1, end - i - 1));
        std::transform(name.begin(), name.end(), name.begin(), lower);
        if (name == "amp")
            out += '&';
        else if (name == "lt")
            out += '<';
        else if (name == "gt")
            out += '>';
        else if (name == "quot")
            out += '"';
        else if (name == "apos")
            out += '\'';
        else if (name == "nbsp")
            out += ' ';
        else if (name.size() > 1 && name[0] == '#') {
            bool hex = name[1] == 'x';
            std::string digits = name.substr(hex ? 2 : 1);
            if (digits.empty() ||
                digits.find_first_not_of(hex ? "0123456789abcdef" : "0123456789") !=
                    std::string::npos) {
                out += s[i];
                continue;
            }
            appendUtf8(out, std::strtoul(digits.c_str(), nullptr, hex ? 16 : 10));
        } else {
            out += s[i];
            continue;
        }
        i = end;
    }
    return out;
}

std::string foldBlanks(std::string_view s) {
    std::string out;
    for (char c : s) {
        if (isSpace(c)) {
            if (!out.empty() && out.back() != ' ') out += ' ';
        } else {
            out += c;
        }
    }
    if (!out.empty() && out.back() == ' ') out.pop_back();
    return out;
}

// The value of href inside one tag's attribute text, or nothing.
bool hrefOf(std::string_view tag, std::string& href) {
    size_t i = 0;
    while (i < tag.size()) {
        while (i < tag.size() && (isSpace(tag[i]) || tag[i] == '/')) ++i;
        size_t nameStart = i;
        while (i < tag.size() && !isSpace(tag[i]) && tag[i] != '=' && tag[i] != '/') ++i;
        std::string_view name = tag.substr(nameStart, i - nameStart);
        while (i < tag.size() && isSpace(tag[i])) ++i;
        std::string_view value;
        if (i < tag.size() && tag[i] == '=') {
            ++i;
            while (i < tag.size() && isSpace(tag[i])) ++i;
            if (i < tag.size() && (tag[i] == '"' || tag[i] == '\'')) {
                char quote = tag[i++];
                size_t end = tag.find(quote, i);
                if (end == std::string_view::npos) end = tag.size();
                value = tag.substr(i, end - i);
                i = end + 1;
            } else {
                size_t start = i;
                while (i < tag.size() && !isSpace(tag[i])) ++i;
                value = tag.substr(start, i - start);
            }
        }
        if (name.size() == 4 && startsNoCase(name, 0, "href")) {
            href = undoEntities(value);
            href.erase(std::remove_if(href.begin(), href.end(), [](char c) { return isSpace(c); }),
                       href.end());
            return true;
        }
        if (name.empty() && i < tag.size()) ++i;
    }
    return false;
}

// The end of a tag that starts at '<', quotes respected; npos when unclosed.
size_t tagEnd(std::string_view html, size_t open) {
    char quote = 0;
    for (size_t i = open + 1; i < html.size(); ++i) {
        char c = html[i];
        if (quote) {
            if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return i;
        }
    }
    return std::string_view::npos;
}

std::string stripTags(std::string_view s) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '<') {
            size_t end = tagEnd(s, i);
            if (end == std::string_view::npos) break;
            i = end;
            out += ' ';
        } else {
            out += s[i];
        }
    }
    return out;
}

bool hostChar(char c) {
    unsigned char u = static_cast<unsigned char>(c);
    return std::isalnum(u) || c == '-' || c == '.' || u >= 0x80;
}

std::string withoutWww(const std::string& host) {
    return host.rfind("www.", 0) == 0 ? host.substr(4) : host;
}

} // namespace

std::vector<HtmlAnchor> findAnchors(std::string_view html) {
    std::vector<HtmlAnchor> anchors;
    size_t at = 0;
    while ((at = findNoCase(html, "<a", at)) != std::string_view::npos) {
        if (at + 2 >= html.size() || !isSpace(html[at + 2])) {
            at += 2;
            continue;
        }
        size_t end = tagEnd(html, at);
        if (end == std::string_view::npos) break;
        HtmlAnchor anchor;
        if (!hrefOf(html.substr(at + 2, end - at - 2), anchor.href)) {
            at = end + 1;
            continue;
        }
        size_t close = findNoCase(html, "</a", end + 1);
        size_t next = findNoCase(html, "<a ", end + 1);
        size_t stop = std::min({close, next, html.size()});
        anchor.text = foldBlanks(undoEntities(stripTags(html.substr(end + 1, stop - end - 1))));
        anchors.push_back(std::move(anchor));
        at = stop == html.size() ? stop : stop + 1;
    }
    return anchors;
}

std::string linkHost(std::string_view url) {
    std::string s;
    for (char c : url) s += lower(c);
    while (!s.empty() && isSpace(s.front())) s.erase(0, 1);
    size_t start;
    size_t scheme = s.find("://");
    if (scheme != std::string::npos && scheme > 0 &&
        std::all_of(s.begin(), s.begin() + static_cast<long>(scheme), [](char c) {
            return std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '-' || c == '.';
        })) {
        start = scheme + 3;
    } else if (s.rfind("www.", 0) == 0) {
        start = 0;
    } else {
        return "";
    }
    size_t end = s.find_first_of("/?#\\", start);
    std::string authority = s.substr(start, end == std::string::npos ? end : end - start);
    size_t user = authority.rfind('@');
    if (user != std::string::npos) authority.erase(0, user + 1);
    if (!authority.empty() && authority.front() == '[') {
        size_t close = authority.find(']');
        return close == std::string::npos ? "" : authority.substr(0, close + 1);
    }
    size_t port = authority.find(':');
    if (port != std::string::npos) authority.resize(port);
    while (!authority.empty() && authority.back() == '.') authority.pop_back();
    if (authority.empty() || !std::all_of(authority.begin(), authority.end(), hostChar)) return "";
    return authority;
}

std::string hostNamedIn(std::string_view text) {
    std::string s = foldBlanks(text);
    if (s.empty() || s.find(' ') != std::string::npos) return "";
    // Trailing punctuation belongs to the sentence, not to the name.
    while (!s.empty() && (s.back() == '.' || s.back() == ',' || s.back() == ')')) s.pop_back();
    if (s.find("://") != std::string::npos) return linkHost(s);
    if (s.find('@') != std::string::npos) return "";
    std::string host;
    for (char c : s.substr(0, s.find_first_of("/?#"))) host += lower(c);
    if (host.empty() || !std::all_of(host.begin(), host.end(), hostChar)) return "";
    size_t dot = host.rfind('.');
    if (dot == std::string::npos || dot == 0) return "";
    std::string top = host.substr(dot + 1);
    if (top.size() < 2 || !std::all_of(top.begin(), top.end(), [](char c) {
            return std::isalpha(static_cast<unsigned char>(c)) ||
                   static_cast<unsigned char>(c) >= 0x80;
        }))
        return "";
    return host;
}

std::vector<MisleadingLink> misleadingLinks(std::string_view html) {
    std::vector<MisleadingLink> found;
    for (const HtmlAnchor& anchor : findAnchors(html)) {
        std::string shown = hostNamedIn(anchor.text);
        std::string target = linkHost(anchor.href);
        if (shown.empty() || target.empty()) continue;
        std::string a = withoutWww(shown);
        std::string b = withoutWww(target);
        if (a == b) continue;
        if (b.size() > a.size() && b.compare(b.size() - a.size(), a.size(), a) == 0 &&
            b[b.size() - a.size() - 1] == '.')
            continue;
        bool seen = std::any_of(found.begin(), found.end(), [&](const MisleadingLink& m) {
            return m.shownHost == shown && m.targetHost == target;
        });
        if (!seen) found.push_back({shown, target});
    }
    return found;
}

} // namespace corva
