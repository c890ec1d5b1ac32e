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

bool containsNoCase(std::string_view hay, std::string_view lowerNeedle) {
    return findNoCase(hay, lowerNeedle) != 0;
}

// extractifurl without copies: each step keeps a piece of the word.
std::string_view cutLink(std::string_view word, std::string_view marker, size_t pathFrom) {
    size_t p = findNoCase(word, marker);
    if (p == 0) return word;
    word.remove_prefix(p - 1);
    if (pathFrom > word.size() + 1) return word;
    size_t slash = word.find('/', pathFrom - 1);
    if (slash == npos) return word;
    word = word.substr(0, slash);
    size_t at = word.find('@');
    if (at != npos) word.remove_prefix(at + 1);
    return word;
}

std::string_view cutLinks(std::string_view word) {
    // "http://" holds a slash; most words with a dot have none.
    if (word.find('/') != npos) word = cutLink(word, "http://", 8);
    return cutLink(word, "www.", 5);
}

enum class Field { Received, ContentType, Headers, Subject, Other };

Field fieldOf(std::string_view prefix) {
    if (prefix == "RCT*") return Field::Received;
    if (prefix == "CT*") return Field::ContentType;
    if (prefix == "HDR*") return Field::Headers;
    if (prefix == "SUB*") return Field::Subject;
    return Field::Other;
}

class TableSink final : public TokenSink {
public:
    explicit TableSink(clsHashTable& table) : table_(table) {}
    void add(std::string_view prefix, std::string_view word) override {
        key_.assign(prefix);
        key_.append(word);
        table_.Insert(key_);
    }

private:
    clsHashTable& table_;
    std::string key_;
};

// What a word holds, gathered while its end is looked for, so that each test
// below is a bit rather than another pass over the word.
enum : uint16_t {
    Blank = 1,       // a blank, or a tab or line end (which read as blanks)
    Closing = 2,     // ">", which ends a word and stays on it
    Cleaned = 4,     // cleaned away
    Punctuation = 8, // "=,*-()", blanks outside the whole-header and subject-line tokens
    Dot = 16,
    Slash = 32,
    Colon = 64,
    At = 128,
    Semicolon = 256,
    NotNumeric = 512, // not a digit, "-" or "+"
    LetterB = 1024,   // for "boundary"
    LetterW = 2048,   // for "www."
};

constexpr std::array<uint16_t, 256> byteClass = [] {
    std::array<uint16_t, 256> t{};
    for (int c = 0; c < 256; ++c) {
        uint16_t bits = 0;
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') bits |= Blank;
        if (c == '>') bits |= Closing;
        if (std::string_view("=,*-()").find(static_cast<char>(c)) != std::string_view::npos)
            bits |= Punctuation;
        if (cleanedAway[static_cast<size_t>(c)]) bits |= Cleaned;
        if (c == '.') bits |= Dot;
        if (c == '/') bits |= Slash;
        if (c == ':') bits |= Colon;
        if (c == '@') bits |= At;
        if (c == ';') bits |= Semicolon;
        if (!((c >= '0' && c <= '9') || c == '-' || c == '+')) bits |= NotNumeric;
        if (c == 'b' || c == 'B') bits |= LetterB;
        if (c == 'w' || c == 'W') bits |= LetterW;
        t[static_cast<size_t>(c)] = bits;
    }
    return t;
}();

inline uint16_t classOf(char c) {
    return byteClass[static_cast<unsigned char>(c)];
}

uint16_t classOf(std::string_view word) {
    uint16_t bits = 0;
    for (char c : word) bits |= classOf(c);
    return bits;
}

// The buffers of the tokeniser, kept from word to word and message to message
// so that a message costs no allocations once they have grown.
struct Tokeniser {
    TokenSink* sink = nullptr;
    std::string text, key, lowered, scratch, joined, noDigits, scan;
    // A word of at most 35 bytes without its cleaned-away bytes.
    char cleanedWord[36];
    // What the word before said in a Received header: only "HELO" and "FROM"
    // (in any case) matter, and "FROM" is kept as written for its token.
    enum class Before { Other, Helo, From } before = Before::Other;
    char fromAsWritten[4];

    // The word without the punctuation cleaned away (the slow way: most
    // words have none).
    // A word holds no blank (blanks end words), so there is nothing to trim,
    // and bits become the classes of what is left.
    std::string_view cleaned(std::string_view raw, uint16_t& bits) {
        size_t n = 0;
        bits = 0;
        for (char c : raw) {
            const uint16_t k = classOf(c);
            if (k & Cleaned) continue;
            cleanedWord[n++] = c;
            bits |= k;
        }
        return std::string_view(cleanedWord, n);
    }

    static bool isWord(std::string_view w, const char* lowerWord) {
        for (size_t i = 0; i < 4; ++i)
            if ((w[i] | 0x20) != lowerWord[i]) return false;
        return true;
    }

    void remember(std::string_view w) {
        before = Before::Other;
        if (w.size() != 4) return;
        if (isWord(w, "helo")) {
            before = Before::Helo;
        } else if (isWord(w, "from")) {
            before = Before::From;
            std::memcpy(fromAsWritten, w.data(), 4);
        }
    }

    // bits: classOf(rawWord).
    void addWord(std::string_view rawWord, uint16_t bits, std::string_view prefix, Field field) {
        // Only a Received header reads the word before; elsewhere it isn't kept.
        const bool keepPrevious = field == Field::Received;
        if (rawWord.size() > 35) {
            if (keepPrevious) before = Before::Other;
            return;
        }
        std::string_view w = rawWord;
        if (rawWord.size() >= 2 && rawWord[0] == '<' && rawWord[1] == '!') {
            w = "HTMLCOMMENT";
            bits = classOf(w);
        } else if (bits & Cleaned) {
            w = cleaned(rawWord, bits);
        }
        if (prefix.empty() && !(bits & At) && !containsNoCase(w, "http")) {
            scratch.assign(w);
            scratch.erase(std::remove(scratch.begin(), scratch.end(), '.'), scratch.end());
            w = scratch;
            bits = classOf(w);
        }
        // Only "http://" (which holds a slash) and "www." cut a word with a dot.
        if ((bits & Dot) && (bits & (Slash | LetterW))) {
            const std::string_view cut = cutLinks(w);
            if (cut.size() != w.size()) bits = classOf(cut);
            w = cut;
        }

        switch (field) {
        case Field::Received:
            // A Received header gives only the HELO name and the "from" host, unprefixed.
            if (before == Before::Helo) {
                if (!w.empty()) sink->add({}, w);
            } else if (before == Before::From && w != "network;") {
                key.assign(fromAsWritten, 4);
                key += ' ';
                sink->add(key, w);
            }
            break;
        case Field::ContentType:
            if (bits & Slash) {
                if (bits & Semicolon) {
                    key.clear();
                    for (char c : w)
                        if (c != ';') key += c;
                    sink->add(prefix, key);
                } else {
                    sink->add(prefix, w);
                }
            }
            break;
        case Field::Headers:
            if (!(bits & Colon) && (bits & NotNumeric) &&
                !((bits & LetterB) && containsNoCase(w, "boundary")))
                sink->add(prefix, w);
            break;
        case Field::Subject:
            sink->add(prefix, w);
            break;
        case Field::Other:
            if (bits & NotNumeric) {
                sink->add(prefix, w);
                if (bits & At) {
                    size_t at = w.find('@');
                    if (at + 1 < w.size()) sink->add(prefix, w.substr(at + 1));
                }
            }
            break;
        }
        if (keepPrevious) remember(w);
    }

    // Whether the text with each line end (CR LF included) and tab made one
    // blank is at most 50 long and holds a blank: a short phrase.
    static bool isPhrase(std::string_view input) {
        if (input.size() > 100) return false;
        // Most texts hold a space; the others are looked at byte by byte.
        if (input.find(' ') == npos && !(classOf(input) & Blank)) return false;
        // Joining line ends only ever shortens the text.
        if (input.size() <= 50) return true;
        size_t length = input.size();
        for (size_t i = 0; i + 1 < input.size(); ++i)
            if (input[i] == '\r' && input[i + 1] == '\n') --length;
        return length <= 50;
    }

    void phrase(std::string_view input, std::string_view prefix) {
        text.clear();
        for (size_t i = 0; i < input.size(); ++i) {
            const char c = input[i];
            if (c == '\r' && i + 1 < input.size() && input[i + 1] == '\n') continue;
            text += c == '\r' || c == '\n' || c == '\t' ? ' ' : c;
        }
        sink->add(prefix, text);
    }

    void breakAndHash(std::string_view input, std::string_view prefix) {
        if (input.empty()) return;
        // The whole of a short phrase is a token of its own.
        if (isPhrase(input)) phrase(input, prefix);

        // A word runs from the delimiter before it (a blank or ">") to the
        // first one after its first character, both included, until trimming
        // and cleaning take them away; the first word starts the text. A run
        // of blanks (a CR LF, say) only makes empty words, so the text is read
        // as it is, with tabs, line ends and, outside the whole-header and
        // subject-line tokens, "=,*-()" read as blanks. No blank is left
        // inside a word, so trimming takes at most one from each end.
        const bool punctuationBlank = prefix != "HDR*" && prefix != "SB-LN*" && prefix != "SB-ND*";
        const uint16_t blank = punctuationBlank ? Blank | Punctuation : Blank;
        const uint16_t stop = blank | Closing;
        const Field field = fieldOf(prefix);
        // Read from a copy that ends in a line end, a blank in every mode, so
        // that the search for a word's end needs no bound check.
        scan.assign(input);
        scan += '\n';
        const char* all = scan.data();
        const size_t n = input.size();
        before = Before::Other;
        // The byte that ends a word starts the next: its class is kept.
        uint16_t first = classOf(all[0]);
        for (size_t start = 0;;) {
            uint16_t bits = 0;
            size_t end = start + 1;
            uint16_t last;
            // Two bytes a turn: the byte after one that is no stop is at most
            // the final line end.
            for (;;) {
                const uint16_t c = classOf(all[end]);
                if (c & stop) {
                    last = c;
                    break;
                }
                const uint16_t d = classOf(all[end + 1]);
                bits |= c;
                if (d & stop) {
                    ++end;
                    last = d;
                    break;
                }
                bits |= d;
                end += 2;
            }
            size_t from = start, to = end < n ? end + 1 : n;
            if (first & blank)
                ++from;
            else
                bits |= first;
            if (end < n && to > from) {
                if (last & blank)
                    --to;
                else
                    bits |= last;
            }
            if (to - from >= 3)
                addWord(std::string_view(all + from, to - from), bits, prefix, field);
            if (end >= n) break;
            start = end;
            first = last;
        }
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
    TableSink sink(table);
    Tokeniser& t = tokeniser();
    t.sink = &sink;
    t.breakAndHash(input, prefix);
}

namespace {

// Replace(text, needle, "") in place: one pass, left to right.
void eraseAll(std::string& text, std::string_view needle) {
    size_t hit = text.find(needle);
    if (hit == npos) return;
    size_t out = hit;
    for (size_t in = hit; in < text.size();) {
        if (text.compare(in, needle.size(), needle) == 0) {
            in += needle.size();
            continue;
        }
        text[out++] = text[in++];
    }
    text.resize(out);
}

void hashUrls(Tokeniser& t, std::string_view input) {
    if (input.empty()) return;
    std::string& text = t.lowered;
    lowerInto(text, input);
    std::string_view all(text);
    if (all.find("www.") == npos && all.find("http://") == npos && all.find("https://") == npos)
        return;
    NextFinder http(all, "http://"), https(all, "https://"), www(all, "www.");
    NextFinder slash(all, "/"), quote(all, "\""), blank(all, " "), com(all, ".com"),
        biz(all, ".biz"), info(all, ".info");
    std::string& url = t.scratch;
    size_t found = 0;
    do {
        size_t start = found;
        size_t p = http.at(start);
        found = p == npos ? 0 : p + 1;
        lowest(https, start + 1, 8, found);
        lowest(www, start + 1, 4, found);
        url.clear();
        if (found > 0) {
            size_t from = found + 8;
            size_t s = slash.at(from - 1);
            size_t end = s == npos ? 0 : s + 1;
            lowest(quote, from, 1, end);
            lowest(blank, from, 1, end);
            lowest(com, from, 4, end);
            lowest(biz, from, 4, end);
            lowest(info, from, 5, end);
            if (end != 0) url.assign(trimBlanks(all.substr(found - 1, end - found + 1)));
        }
        if (url.size() < 3 || url.size() > 50) continue;
        eraseAll(url, "http://");
        eraseAll(url, "https://");
        eraseAll(url, "/");
        std::string_view host(url);
        size_t at = host.find('@');
        if (at != npos) host.remove_prefix(at + 1);
        host = host.substr(0, host.find('"'));
        host = host.substr(0, host.find('>'));
        if (!host.empty() && host.back() == '.') host.remove_suffix(1);
        t.sink->add("URL*", host);
    } while (found != 0);
}

} // namespace

void HashUrls(clsHashTable& table, std::string_view input) {
    TableSink sink(table);
    Tokeniser& t = tokeniser();
    t.sink = &sink;
    hashUrls(t, input);
}

void hashmessage(clsHashTable& table, const clsMessage& msg, bool headersOnly) {
    TableSink sink(table);
    hashmessage(sink, msg, headersOnly);
}

void hashmessage(TokenSink& sink, const clsMessage& msg, bool headersOnly) {
    Tokeniser& t = tokeniser();
    t.sink = &sink;
    t.breakAndHash(msg.Subject, "SUB*");
    // The subject in one piece catches mail sent many times over; without its
    // digits it catches the same mail with a changing number in it.
    t.joined.assign(msg.Subject);
    std::replace(t.joined.begin(), t.joined.end(), ' ', '_');
    t.breakAndHash(t.joined, "SB-LN*");
    t.noDigits.clear();
    for (char c : t.joined)
        if (c < '0' || c > '9') t.noDigits += c;
    // The joined subject holds no blank to trim, so the two differ (in any
    // case) exactly when a digit was dropped.
    if (t.noDigits.size() != t.joined.size()) t.breakAndHash(t.noDigits, "SB-ND*");
    auto address = [&t](const std::string& field, std::string_view prefix) {
        if (field.empty()) return;
        t.breakAndHash(extractname(field), prefix);
        t.breakAndHash(extractemail(field), prefix);
    };
    address(msg.To_Email, "TO*");
    address(msg.Sender, "SNDR*");
    address(msg.From, "FRM*");
    address(msg.ReplyTo, "RPLYTO*");
    t.breakAndHash(msg.XEnvelopeTo, "XTO*");
    t.breakAndHash(msg.ContentTypeMain, "CT*");
    t.breakAndHash(msg.BCC, "BCC*");
    t.breakAndHash(msg.CC, "CC*");
    t.breakAndHash(msg.Received, "RCT*");
    t.breakAndHash(msg.UserAgent, "UA*");
    t.breakAndHash(msg.OrigIP, "IP*");
    t.breakAndHash(msg.XMailer, "XMLR*");
    t.breakAndHash(msg.Headers, "HDR*");
    if (!headersOnly)
        hashUrls(t, msg.HtmlStrippedBody.empty() ? msg.StrippedBody : msg.HtmlStrippedBody);
}

} // namespace corva
