// Turning a message into tokens. Words of the body are deliberately not
// tokens: headers give the words, each under the prefix of its header, and the
// body only its link hosts.
#include "bayes/modHash.h"

#include "core/Strings.h"
#include "core/modSubs.h"
#include "message/clsMessage.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace corva {

namespace {

constexpr size_t npos = std::string_view::npos;

// ASCII letters to lower case, eight bytes at a time: a body is long.
void lowerInto(std::string& out, std::string_view in) {
    out.resize(in.size());
    char* o = out.data();
    size_t i = 0;
    constexpr uint64_t ones = 0x0101010101010101ULL, high = 0x8080808080808080ULL;
    for (; i + 8 <= in.size(); i += 8) {
        uint64_t x;
        std::memcpy(&x, in.data() + i, 8);
        const uint64_t seven = x & ~high; // each byte below 0x80
        const uint64_t aboveZ = seven + ones * (0x7F - 'Z');
        const uint64_t fromA = seven + ones * (0x80 - 'A');
        const uint64_t upper = fromA & ~aboveZ & ~x & high;
        x |= upper >> 2;
        std::memcpy(o + i, &x, 8);
    }
    for (; i < in.size(); ++i) {
        const char c = in[i];
        o[i] = (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
    }
}

// Brackets, quotes and similar punctuation, and the control codes 1 to 30.
constexpr std::array<bool, 256> cleanedAway = [] {
    std::array<bool, 256> t{};
    for (int c = 1; c <= 30; ++c) t[static_cast<size_t>(c)] = true;
    for (unsigned char c : std::string_view("<>`~^'\",(){}[]")) t[c] = true;
    return t;
}();

inline bool isCleanedAway(unsigned char c) {
    return cleanedAway[c];
}

inline char lower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}

// InStrNoCase for a needle given in lower case: 1-based, 0 when absent.
size_t findNoCase(std::string_view hay, std::string_view lowerNeedle) {
    if (lowerNeedle.empty() || lowerNeedle.size() > hay.size()) return 0;
    const size_t last = hay.size() - lowerNeedle.size();
    const char first = lowerNeedle[0];
    const char firstUpper = (first >= 'a' && first <= 'z') ? static_cast<char>(first - 32) : first;
    for (size_t i = 0; i <= last; ++i) {
        if (hay[i] != first && hay[i] != firstUpper) continue;
        size_t j = 1;
        while (j < lowerNeedle.size() && lower(hay[i + j]) == lowerNeedle[j]) ++j;
        if (j == lowerNeedle.size()) return i + 1;
    }
    return 0;
}

// The next occurrence of a needle for queries whose start never goes back,
// so that a text with many words is searched once, not once per word.
class NextFinder {
public:
    NextFinder(std::string_view text, std::string_view needle) : text_(text), needle_(needle) {}
    // 0-based index of the first occurrence at or after from, npos if none.
    size_t at(size_t from) {
        if (!searched_ || (found_ != npos && found_ < from)) {
            found_ = from > text_.size() ? npos : text_.find(needle_, from);
            searched_ = true;
        }
        return found_;
    }

private:
    std::string_view text_;
    std::string_view needle_;
    size_t found_ = npos;
    bool searched_ = false;
};

// getlowest with a finder: from and position count from 1.
void lowest(NextFinder& finder, size_t from, size_t needleLength, size_t& position) {
    size_t p = finder.at(from - 1);
    if (p == npos) return;
    size_t onePos = p + 1;
    if (position == 0 || onePos < position) position = onePos + needleLength - 1;
}

std::string_view trimBlanks(std::string_view s) {
    while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
    return s;
}

// Punctuation that separates words outside the whole-header and subject-line tokens.
constexpr std::array<char, 256> breakPunctuation = [] {
    std::array<char, 256> t{};
    for (int c = 0; c < 256; ++c) t[static_cast<size_t>(c)] = static_cast<char>(c);
    for (unsigned char c : std::string_view("=,*-()")) t[c] = ' ';
    return t;
}();

bool containsNoCase(std::string_view hay, std::string_view lowerNeedle) {
    return findNoCase(hay, lowerNeedle) != 0;
}

void cleanInto(std::string& out, std::string_view word) {
    size_t kept = 0;
    while (kept < word.size() && !isCleanedAway(static_cast<unsigned char>(word[kept]))) ++kept;
    // Most words have nothing to clean and no blank at either end.
    if (kept == word.size() && (word.empty() || (word.front() != ' ' && word.back() != ' '))) {
        out.assign(word);
        return;
    }
    out.resize(word.size());
    char* o = out.data();
    for (char c : word)
        if (!isCleanedAway(static_cast<unsigned char>(c))) *o++ = c;
    out.resize(static_cast<size_t>(o - out.data()));
    size_t b = 0;
    while (b < out.size() && out[b] == ' ') ++b;
    size_t e = out.size();
    while (e > b && out[e - 1] == ' ') --e;
    if (e < out.size()) out.resize(e);
    if (b > 0) out.erase(0, b);
}

// extractifurl on a buffer of its own.
void cutLinks(std::string& word) {
    auto cutLink = [&word](std::string_view marker, size_t pathFrom) {
        size_t p = findNoCase(word, marker);
        if (p == 0) return;
        word.erase(0, p - 1);
        if (pathFrom > word.size() + 1) return;
        size_t slash = word.find('/', pathFrom - 1);
        if (slash == npos) return;
        word.resize(slash);
        size_t at = word.find('@');
        if (at != std::string::npos) word.erase(0, at + 1);
    };
    // "http://" holds a slash; most words with a dot have none.
    if (word.find('/') != npos) cutLink("http://", 8);
    cutLink("www.", 5);
}

enum class Field { Received, ContentType, Headers, Subject, Other };

Field fieldOf(std::string_view prefix) {
    if (prefix == "RCT*") return Field::Received;
    if (prefix == "CT*") return Field::ContentType;
    if (prefix == "HDR*") return Field::Headers;
    if (prefix == "SUB*") return Field::Subject;
    return Field::Other;
}

// The buffers of the tokeniser, kept from word to word and message to message
// so that a message costs no allocations once they have grown.
struct Tokeniser {
    std::string text, word, previous, key, lowered;

    void add(clsHashTable& table, std::string_view prefix, std::string_view token) {
        key.assign(prefix);
        key.append(token);
        table.Insert(key);
    }

    void addWord(clsHashTable& table, std::string_view rawWord, std::string_view prefix,
                 Field field) {
        // Only a Received header reads the word before; elsewhere it isn't kept.
        const bool keepPrevious = field == Field::Received;
        if (rawWord.size() > 35) {
            if (keepPrevious) previous.assign(rawWord);
            return;
        }
        if (rawWord.size() >= 2 && rawWord[0] == '<' && rawWord[1] == '!')
            word.assign("HTMLCOMMENT");
        else
            cleanInto(word, rawWord);
        if (prefix.empty() && word.find('@') == npos && !containsNoCase(word, "http"))
            word.erase(std::remove(word.begin(), word.end(), '.'), word.end());
        if (word.find('.') != npos) cutLinks(word);

        switch (field) {
        case Field::Received:
            // A Received header gives only the HELO name and the "from" host, unprefixed.
            if (EqualsNoCase(previous, "HELO")) {
                if (!word.empty()) table.Insert(word);
            } else if (EqualsNoCase(previous, "FROM") && word != "network;") {
                key.assign(previous);
                key += ' ';
                key += word;
                table.Insert(key);
            }
            break;
        case Field::ContentType:
            if (word.find('/') != npos) {
                key.assign(prefix);
                for (char c : word)
                    if (c != ';') key += c;
                table.Insert(key);
            }
            break;
        case Field::Headers:
            if (word.find(':') == npos && !containsNoCase(word, "boundary") && !allnumerics(word))
                add(table, prefix, word);
            break;
        case Field::Subject:
            add(table, prefix, word);
            break;
        case Field::Other:
            if (!allnumerics(word)) {
                add(table, prefix, word);
                size_t at = word.find('@');
                if (at != npos && at + 1 < word.size())
                    add(table, prefix, std::string_view(word).substr(at + 1));
            }
            break;
        }
        if (keepPrevious) previous.swap(word);
    }

    // Line ends and tabs become one blank each, CR LF included. Eight bytes
    // at a time while none of them is a control byte below 14.
    void flatten(std::string_view input) {
        text.resize(input.size());
        char* o = text.data();
        const char* in = input.data();
        const size_t n = input.size();
        size_t i = 0;
        while (i < n) {
            while (i + 8 <= n) {
                uint64_t block;
                std::memcpy(&block, in + i, 8);
                if ((block - 0x0E0E0E0E0E0E0E0EULL) & ~block & 0x8080808080808080ULL) break;
                std::memcpy(o, in + i, 8);
                o += 8;
                i += 8;
            }
            if (i >= n) break;
            char c = in[i];
            if (c == '\r' || c == '\n' || c == '\t') {
                if (c == '\r' && i + 1 < n && in[i + 1] == '\n') ++i;
                c = ' ';
            }
            *o++ = c;
            ++i;
        }
        text.resize(static_cast<size_t>(o - text.data()));
    }

    void breakAndHash(clsHashTable& table, std::string_view input, std::string_view prefix) {
        if (input.empty()) return;
        flatten(input);
        // The whole of a short phrase is a token of its own.
        if (text.size() <= 50 && text.find(' ') != std::string::npos) add(table, prefix, text);
        if (prefix != "HDR*" && prefix != "SB-LN*" && prefix != "SB-ND*")
            for (char& c : text) c = breakPunctuation[static_cast<unsigned char>(c)];

        // Positions from 1; a word runs from the delimiter before it to the one
        // after it, both included, until trimming and cleaning take them away.
        const Field field = fieldOf(prefix);
        std::string_view all(text);
        previous.clear();
        size_t closing = all.find('>'); // 0-based, the first at or after the word's start
        size_t next = 1;
        do {
            size_t start = next;
            size_t blank = start < all.size() ? all.find(' ', start) : npos;
            next = blank == npos ? 0 : blank + 1;
            if (closing != npos && closing < start) closing = all.find('>', start);
            if (closing != npos && (next == 0 || closing + 1 < next)) next = closing + 1;
            std::string_view w =
                next > 0 ? all.substr(start - 1, next - start + 1) : all.substr(start - 1);
            w = trimBlanks(w);
            if (w.size() >= 3) addWord(table, w, prefix, field);
        } while (next != 0);
    }
};

Tokeniser& tokeniser() {
    static Tokeniser shared;
    return shared;
}

} // namespace

void getlowest(size_t start, std::string_view text, std::string_view needle, size_t& position) {
    if (start == 0) start = 1;
    size_t p = InStr(text, needle, start);
    if (p > 0 && (position == 0 || p < position)) position = p + needle.size() - 1;
}

std::string cleanthisword(std::string_view word) {
    std::string out;
    out.reserve(word.size());
    for (char c : word)
        if (!isCleanedAway(static_cast<unsigned char>(c))) out += c;
    return std::string(trimBlanks(out));
}

bool allnumerics(std::string_view word) {
    for (char c : word)
        if (!((c >= '0' && c <= '9') || c == '-' || c == '+')) return false;
    return true;
}

std::string CleanNumbers(std::string_view word) {
    std::string out;
    out.reserve(word.size());
    for (char c : word)
        if (c < '0' || c > '9') out += c;
    return out;
}

std::string extractifurl(std::string_view input) {
    std::string word(input);
    auto cutLink = [&word](std::string_view marker, size_t pathFrom) {
        size_t p = InStrNoCase(word, marker);
        if (p == 0) return;
        word = Mid(word, p);
        size_t slash = InStr(word, "/", pathFrom);
        if (slash == 0) return;
        word = Left(word, slash - 1);
        size_t at = word.find('@');
        if (at != std::string::npos) word = word.substr(at + 1);
    };
    cutLink("http://", 8);
    cutLink("www.", 5);
    return word;
}

void BreakAndHash(clsHashTable& table, std::string_view input, std::string_view prefix) {
    tokeniser().breakAndHash(table, input, prefix);
}

void HashUrls(clsHashTable& table, std::string_view input) {
    if (input.empty()) return;
    std::string& text = tokeniser().lowered;
    lowerInto(text, input);
    std::string_view all(text);
    if (all.find("www.") == npos && all.find("http://") == npos && all.find("https://") == npos)
        return;
    NextFinder http(all, "http://"), https(all, "https://"), www(all, "www.");
    NextFinder slash(all, "/"), quote(all, "\""), blank(all, " "), com(all, ".com"),
        biz(all, ".biz"), info(all, ".info");
    size_t found = 0;
    do {
        size_t start = found;
        size_t p = http.at(start);
        found = p == npos ? 0 : p + 1;
        lowest(https, start + 1, 8, found);
        lowest(www, start + 1, 4, found);
        std::string url;
        if (found > 0) {
            size_t from = found + 8;
            size_t s = slash.at(from - 1);
            size_t end = s == npos ? 0 : s + 1;
            lowest(quote, from, 1, end);
            lowest(blank, from, 1, end);
            lowest(com, from, 4, end);
            lowest(biz, from, 4, end);
            lowest(info, from, 5, end);
            if (end != 0) url = Trim(all.substr(found - 1, end - found + 1));
        }
        if (url.size() < 3 || url.size() > 50) continue;
        url = Replace(url, "http://", "");
        url = Replace(url, "https://", "");
        url = Replace(url, "/", "");
        size_t at = url.find('@');
        if (at != std::string::npos) url = url.substr(at + 1);
        size_t q = url.find('"');
        if (q != std::string::npos) url = url.substr(0, q);
        size_t gt = url.find('>');
        if (gt != std::string::npos) url = url.substr(0, gt);
        if (!url.empty() && url.back() == '.') url.pop_back();
        tokeniser().add(table, "URL*", url);
    } while (found != 0);
}

void hashmessage(clsHashTable& table, const clsMessage& msg, bool headersOnly) {
    BreakAndHash(table, msg.Subject, "SUB*");
    // The subject in one piece catches mail sent many times over; without its
    // digits it catches the same mail with a changing number in it.
    std::string joined = Replace(msg.Subject, " ", "_");
    BreakAndHash(table, joined, "SB-LN*");
    std::string noDigits = CleanNumbers(joined);
    if (!EqualsNoCase(Trim(noDigits), Trim(joined))) BreakAndHash(table, noDigits, "SB-ND*");
    auto address = [&table](const std::string& field, std::string_view prefix) {
        BreakAndHash(table, extractname(field), prefix);
        BreakAndHash(table, extractemail(field), prefix);
    };
    address(msg.To_Email, "TO*");
    address(msg.Sender, "SNDR*");
    address(msg.From, "FRM*");
    address(msg.ReplyTo, "RPLYTO*");
    BreakAndHash(table, msg.XEnvelopeTo, "XTO*");
    BreakAndHash(table, msg.ContentTypeMain, "CT*");
    BreakAndHash(table, msg.BCC, "BCC*");
    BreakAndHash(table, msg.CC, "CC*");
    BreakAndHash(table, msg.Received, "RCT*");
    BreakAndHash(table, msg.UserAgent, "UA*");
    BreakAndHash(table, msg.OrigIP, "IP*");
    BreakAndHash(table, msg.XMailer, "XMLR*");
    BreakAndHash(table, msg.Headers, "HDR*");
    if (!headersOnly)
        HashUrls(table, msg.HtmlStrippedBody.empty() ? msg.StrippedBody : msg.HtmlStrippedBody);
}

} // namespace corva
