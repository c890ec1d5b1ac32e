#include "core/mSHAREDGeneral.h"

#include "core/Strings.h"

namespace corva {

void eatcrapfromend(std::string& text) {
    while (!text.empty()) {
        char c = text.back();
        if (c == '\r' || c == '\n' || c == ' ' || c == '-')
            text.pop_back();
        else
            break;
    }
}

void eatcrapfromStart(std::string& text) {
    size_t b = 0;
    while (b < text.size() &&
           (text[b] == '\r' || text[b] == '\n' || text[b] == ' ' || text[b] == '-'))
        ++b;
    text.erase(0, b);
}

void RemoveCRLFFromEnd(std::string& text) {
    while (text.size() >= 2 && text[text.size() - 2] == '\r' && text.back() == '\n')
        text.resize(text.size() - 2);
}

void removenonalphanumeric(std::string& text) {
    std::string kept;
    kept.reserve(text.size());
    for (char c : text) {
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == ' ')
            kept.push_back(c);
    }
    text = Trim(cutoffnull(kept));
}

std::string getquoted(std::string_view text) {
    size_t a = text.find('"');
    if (a == std::string_view::npos) return "";
    size_t b = text.find('"', a + 1);
    if (b == std::string_view::npos) return "";
    return std::string(text.substr(a + 1, b - a - 1));
}

bool containsnocase(std::string_view text, std::string_view find) {
    return InStrNoCase(text, find) > 0;
}

bool isequal(std::string_view a, std::string_view b, bool ignoreCase) {
    std::string ta = Trim(a), tb = Trim(b);
    return ignoreCase ? EqualsNoCase(ta, tb) : ta == tb;
}

std::string cutoffnull(std::string_view text) {
    size_t nul = text.find('\0');
    return std::string(nul == std::string_view::npos ? text : text.substr(0, nul));
}

} // namespace corva
