// Turning a message into tokens. Words of the body are deliberately not
// tokens: headers give the words, each under the prefix of its header, and the
// body only its link hosts.
#include "bayes/modHash.h"

#include "core/Strings.h"
#include "core/modSubs.h"
#include "message/clsMessage.h"

namespace corva {

namespace {

constexpr size_t npos = std::string_view::npos;

bool isCleanedAway(unsigned char c) {
    switch (c) {
    case '<':
    case '>':
    case '`':
    case '~':
    case '^':
    case '\'':
    case '"':
    case ',':
    case '(':
    case ')':
    case '{':
    case '}':
    case '[':
    case ']':
        return true;
    default:
        return c >= 1 && c <= 30;
    }
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

void addToken(clsHashTable& table, std::string& buffer, std::string_view prefix,
              std::string_view word) {
    buffer.assign(prefix);
    buffer.append(word);
    table.Insert(buffer);
}

bool isBreakPunctuation(char c) {
    return c == '=' || c == ',' || c == '*' || c == '-' || c == '(' || c == ')';
}

void addWord(clsHashTable& table, std::string& buffer, std::string_view rawWord,
             std::string_view prefix, std::string& previous) {
    if (rawWord.size() > 35) {
        previous.assign(rawWord);
        return;
    }
    std::string word =
        StartsWith(rawWord, "<!") ? std::string("HTMLCOMMENT") : cleanthisword(rawWord);
    if (prefix.empty() && word.find('@') == npos && InStrNoCase(word, "http") == 0) {
        std::string noDots;
        for (char c : word)
            if (c != '.') noDots += c;
        word = noDots;
    }
    if (word.find('.') != npos) word = extractifurl(word);

    if (prefix == "RCT*") {
        // A Received header gives only the HELO name and the "from" host, unprefixed.
        if (EqualsNoCase(previous, "HELO")) {
            if (!word.empty()) table.Insert(word);
        } else if (EqualsNoCase(previous, "FROM") && word != "network;") {
            buffer.assign(previous);
            buffer += ' ';
            buffer += word;
            table.Insert(buffer);
        }
    } else if (prefix == "CT*") {
        if (word.find('/') != npos) addToken(table, buffer, prefix, Replace(word, ";", ""));
    } else if (prefix == "HDR*") {
        if (word.find(':') == npos && InStrNoCase(word, "boundary") == 0 && !allnumerics(word))
            addToken(table, buffer, prefix, word);
    } else if (prefix == "SUB*") {
        addToken(table, buffer, prefix, word);
    } else if (!allnumerics(word)) {
        addToken(table, buffer, prefix, word);
        if (word.find('@') != npos) {
            word = cleanthisword(word);
            size_t at = word.find('@');
            if (at != npos && at + 1 < word.size())
                addToken(table, buffer, prefix, std::string_view(word).substr(at + 1));
        }
    }
    previous = std::move(word);
}

std::string_view trimBlanks(std::string_view s) {
    while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
    return s;
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
    if (input.empty()) return;
    std::string text;
    text.reserve(input.size());
    for (size_t i = 0; i < input.size(); ++i) {
        char c = input[i];
        if (c == '\r' && i + 1 < input.size() && input[i + 1] == '\n') {
            text += ' ';
            ++i;
        } else if (c == '\r' || c == '\n' || c == '\t') {
            text += ' ';
        } else {
            text += c;
        }
    }
    std::string buffer;
    // The whole of a short phrase is a token of its own.
    if (text.size() <= 50 && text.find(' ') != std::string::npos)
        addToken(table, buffer, prefix, text);
    if (prefix != "HDR*" && prefix != "SB-LN*" && prefix != "SB-ND*")
        for (char& c : text)
            if (isBreakPunctuation(c)) c = ' ';

    // Positions from 1; a word runs from the delimiter before it to the one
    // after it, both included, until trimming and cleaning take them away.
    std::string_view all(text);
    NextFinder closing(all, ">");
    std::string previous;
    size_t next = 1;
    do {
        size_t start = next;
        size_t blank = start < all.size() ? all.find(' ', start) : npos;
        next = blank == npos ? 0 : blank + 1;
        lowest(closing, start + 1, 1, next);
        std::string_view word =
            next > 0 ? all.substr(start - 1, next - start + 1) : all.substr(start - 1);
        word = trimBlanks(word);
        if (word.size() >= 3) addWord(table, buffer, word, prefix, previous);
    } while (next != 0);
}

void HashUrls(clsHashTable& table, std::string_view input) {
    if (input.empty()) return;
    std::string text = LCase(input);
    std::string_view all(text);
    if (all.find("www.") == npos && all.find("http://") == npos && all.find("https://") == npos)
        return;
    NextFinder http(all, "http://"), https(all, "https://"), www(all, "www.");
    NextFinder slash(all, "/"), quote(all, "\""), blank(all, " "), com(all, ".com"),
        biz(all, ".biz"), info(all, ".info");
    std::string buffer;
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
        addToken(table, buffer, "URL*", url);
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
