// Text and HTML conversions over message bodies, each one pass over its text.
#include "message/modTextConvert.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "core/mSHAREDGeneral.h"
#include "message/TextScan.h"

#include <cmath>
#include <string_view>
#include <unordered_map>

namespace corva {

namespace ts = textscan;

namespace {

constexpr const char* Module = "modTextConvert";

// The named references of HTML 4's Latin-1 set, with the four markup ones.
const std::unordered_map<std::string_view, unsigned char>& entityTable() {
    static const std::unordered_map<std::string_view, unsigned char> table = {
        {"quot", 34},    {"amp", 38},     {"lt", 60},      {"gt", 62},      {"nbsp", 160},
        {"iexcl", 161},  {"cent", 162},   {"pound", 163},  {"curren", 164}, {"yen", 165},
        {"brvbar", 166}, {"sect", 167},   {"uml", 168},    {"copy", 169},   {"ordf", 170},
        {"laquo", 171},  {"not", 172},    {"shy", 173},    {"reg", 174},    {"macr", 175},
        {"deg", 176},    {"plusmn", 177}, {"sup2", 178},   {"sup3", 179},   {"acute", 180},
        {"micro", 181},  {"para", 182},   {"middot", 183}, {"cedil", 184},  {"sup1", 185},
        {"ordm", 186},   {"raquo", 187},  {"frac14", 188}, {"frac12", 189}, {"frac34", 190},
        {"iquest", 191}, {"Agrave", 192}, {"Aacute", 193}, {"Acirc", 194},  {"Atilde", 195},
        {"Auml", 196},   {"Aring", 197},  {"AElig", 198},  {"Ccedil", 199}, {"Egrave", 200},
        {"Eacute", 201}, {"Ecirc", 202},  {"Euml", 203},   {"Igrave", 204}, {"Iacute", 205},
        {"Icirc", 206},  {"Iuml", 207},   {"ETH", 208},    {"Ntilde", 209}, {"Ograve", 210},
        {"Oacute", 211}, {"Ocirc", 212},  {"Otilde", 213}, {"Ouml", 214},   {"times", 215},
        {"Oslash", 216}, {"Ugrave", 217}, {"Uacute", 218}, {"Ucirc", 219},  {"Uuml", 220},
        {"Yacute", 221}, {"THORN", 222},  {"szlig", 223},  {"agrave", 224}, {"aacute", 225},
        {"acirc", 226},  {"atilde", 227}, {"auml", 228},   {"aring", 229},  {"aelig", 230},
        {"ccedil", 231}, {"egrave", 232}, {"eacute", 233}, {"ecirc", 234},  {"euml", 235},
        {"igrave", 236}, {"iacute", 237}, {"icirc", 238},  {"iuml", 239},   {"eth", 240},
        {"ntilde", 241}, {"ograve", 242}, {"oacute", 243}, {"ocirc", 244},  {"otilde", 245},
        {"ouml", 246},   {"divide", 247}, {"oslash", 248}, {"ugrave", 249}, {"uacute", 250},
        {"ucirc", 251},  {"uuml", 252},   {"yacute", 253}, {"thorn", 254},  {"yuml", 255},
    };
    return table;
}

bool isBlank(const std::string& text) {
    return ts::trimView(text).empty();
}

bool isAlnum(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// The byte a numeric reference body ("65", "x41") stands for; -1 when it has
// none that fits in a byte.
int numericReference(std::string_view body) {
    if (body.empty()) return -1;
    long value = 0;
    if (body[0] == 'x' || body[0] == 'X') {
        if (body.size() < 2) return -1;
        for (size_t i = 1; i < body.size(); ++i) {
            char c = ts::upper(body[i]);
            int d = (c >= '0' && c <= '9') ? c - '0' : (c >= 'A' && c <= 'F') ? c - 'A' + 10 : -1;
            if (d < 0) return -1;
            value = value * 16 + d;
            if (value > 255) return -1;
        }
    } else {
        for (char c : body) {
            if (c < '0' || c > '9') return -1;
            value = value * 10 + (c - '0');
            if (value > 255) return -1;
        }
    }
    // A NUL would end the text; it is left as written.
    return value >= 1 ? static_cast<int>(value) : -1;
}

} // namespace

void cStripHTML(std::string& text) {
    size_t w = 0;
    const size_t n = text.size();
    for (size_t r = 0; r < n;) {
        if (text[r] == '<') {
            size_t close = text.find('>', r + 1);
            if (close == std::string::npos) {
                // No ">" after this "<": nothing further can close, the rest stays.
                text.erase(w, r - w);
                return;
            }
            r = close + 1;
            continue;
        }
        text[w++] = text[r++];
    }
    text.resize(w);
}

std::string cHtmlToChar(const std::string& text) {
    const auto& table = entityTable();
    std::string out;
    out.reserve(text.size());
    const size_t n = text.size();
    size_t i = 0;
    while (i < n) {
        // Plain runs are copied whole; only an "&" needs a look.
        size_t amp = text.find('&', i);
        if (amp == std::string::npos) {
            out.append(text, i, std::string::npos);
            break;
        }
        out.append(text, i, amp - i);
        i = amp;
        // A reference runs to ";" within a short reach; anything else stands as it is.
        size_t j = i + 1;
        while (j < n && j - i <= 10 && (isAlnum(text[j]) || (j == i + 1 && text[j] == '#'))) ++j;
        if (j < n && text[j] == ';' && j > i + 1) {
            std::string_view body(text.data() + i + 1, j - i - 1);
            int byte = -1;
            if (body[0] == '#') {
                byte = numericReference(body.substr(1));
            } else {
                auto it = table.find(body);
                if (it != table.end()) byte = it->second;
            }
            if (byte > 0) {
                out += static_cast<char>(byte);
                i = j + 1;
                continue;
            }
        }
        out += '&';
        ++i;
    }
    return out;
}

void cRemoveChar(std::string& text, char c) {
    ts::removeByte(text, c);
}

void striphtml(std::string& text) {
    guarded("striphtml", Module, [&] {
        if (isBlank(text)) return;
        if (text.find('<') == std::string::npos || text.find('>') == std::string::npos) {
            text = cutoffnull(text);
            return;
        }
        // Style sheets go whole, whatever the case of their tags; an unclosed
        // one is left for the tag strip, which removes only the tag itself.
        // After a removal the next search starts one past where the removed
        // "</style>" stood, counted in the shortened text: a second block that
        // follows closely is skipped and only loses its tags. Bodies were
        // judged with this search, so it stays. The kept text plus the rest
        // from `from` is the shortened text, so each search is a plain find.
        if (ts::containsNoCase(text, "<style>")) {
            std::string kept;
            size_t from = 0;
            size_t search = 0; // where the next search starts, in the original text
            while (search <= text.size()) {
                size_t open = ts::findNoCase(text, "<style>", search);
                if (open == std::string::npos) break;
                size_t close = ts::findNoCase(text, "</style>", open + 7);
                if (close == std::string::npos) break;
                kept.append(text, from, open - from);
                from = close + 8;
                // One past the end tag's place before the cut, which now lies
                // (close - open) characters further into what is left.
                search = from + (close - open) + 1;
            }
            kept.append(text, from);
            text = std::move(kept);
        }
        cStripHTML(text);
        text = cutoffnull(text);
    });
}

void htmltochar(std::string& text) {
    guarded("htmltochar", Module, [&] {
        if (isBlank(text)) return;
        text = cutoffnull(cHtmlToChar(text));
    });
}

void htmlconsttochar(std::string& text) {
    guarded("htmlconsttochar", Module, [&] {
        // Every step below starts from an "&".
        if (isBlank(text) || text.find('&') == std::string::npos) return;
        myreplace(text, "&hellip;", "...", false);
        myreplace(text, "&bull;", "\x95", false);
        myreplace(text, "&prime;", "'", true);
        myreplace(text, "&Prime;", "\"", true);
        if (text.find("&#") == std::string::npos) return;

        myreplace(text, "&#8230;", "...", false);
        myreplace(text, "&#8220;", "\"", false);
        myreplace(text, "&#8221;", "\"", false);
        myreplace(text, "&#8243;", "\"", false);
        myreplace(text, "&#8216;", "'", false);
        myreplace(text, "&#8217;", "'", false);
        myreplace(text, "&#8242;", "'", false);
        myreplace(text, "&#8212;", "-", false);
        myreplace(text, "&#8211;", "...", false); // an en dash has always come out so
        myreplace(text, "&#8364;", "\x80", false);
        myreplace(text, "&#8226;", "\x95", false);

        // Every remaining reference, the first in the text each time: a code
        // from 1 to 254 becomes its byte everywhere, any other reference goes
        // everywhere. One pass does it: a reference that the replacements put
        // together ("&" + "#65;") is met again and handled too. A reference
        // holding another ("&#1&#65;") is read whole, from its first "&#".
        std::string in = std::move(text);
        std::string out;
        out.reserve(in.size());
        size_t i = 0;
        while (i < in.size()) {
            if (in[i] == '#' && !out.empty() && out.back() == '&') {
                // A "&" left by a replacement now meets a "#": read them together.
                out.pop_back();
                in[--i] = '&';
                continue;
            }
            if (in[i] != '&' || i + 1 >= in.size() || in[i + 1] != '#') {
                out += in[i++];
                continue;
            }
            size_t semi = in.find(';', i + 2);
            if (semi == std::string::npos) {
                // With no ";" left the work ends.
                out.append(in, i);
                i = in.size();
                break;
            }
            // The value depends on the reference's text alone, so handling each
            // occurrence where the scan meets it equals replacing it everywhere.
            std::string_view digits(in.data() + i + 2, semi - i - 2);
            double value = 0;
            if (!digits.empty() && digits.size() <= 9 &&
                digits.find_first_not_of("0123456789") == std::string_view::npos) {
                for (char c : digits) value = value * 10 + (c - '0');
            } else {
                value = Val(digits);
            }
            int code = (value <= 0 || value >= 255) ? 0 : static_cast<int>(std::nearbyint(value));
            i = semi + 1;
            // The byte goes back into the input, so that a "&" or "#" it brings
            // is read together with its neighbours as the next search would.
            if (code > 0) in[--i] = static_cast<char>(code);
        }
        text = std::move(out);
    });
}

void myreplace(std::string& text, const std::string& find, const std::string& replacement,
               bool caseSensitive) {
    guarded("myreplace", Module, [&] {
        if (caseSensitive)
            ts::replaceInPlace(text, find, replacement);
        else
            ts::replaceInPlaceNoCase(text, find, replacement);
    });
}

void myreplacenocaps(std::string& text, const std::string& find, const std::string& replacement) {
    myreplace(text, find, replacement, true);
}

void RemoveChar(std::string& text, const std::string& character) {
    guarded("RemoveChar", Module, [&] {
        if (character.empty()) return;
        cRemoveChar(text, character[0]);
        text = cutoffnull(text);
    });
}

std::string CleanWord(const std::string& word) {
    return guardedValue("CleanWord", Module, std::string(), [&]() -> std::string {
        if (word.empty()) return "";
        std::string w = word;
        for (char c : {'.', ':', '^', '\'', ','}) ts::removeByte(w, c);
        ts::replaceInPlace(w, "@", "a");
        ts::replaceInPlace(w, "1", "i");
        ts::replaceInPlace(w, "()", "o");
        ts::replaceInPlace(w, "0", "o");
        ts::replaceInPlace(w, "_", " ");
        for (char c : {'-', '~', '(', ')', '{', '}'}) ts::removeByte(w, c);
        return std::string(ts::trimView(w));
    });
}

} // namespace corva
