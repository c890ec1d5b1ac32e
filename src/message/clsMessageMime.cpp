// The loose MIME reader of clsMessage: it works by string search and copes
// with what real mail has shown it; a strict parser would judge differently.
#include "message/clsMessage.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/mSHAREDGeneral.h"
#include "message/TextScan.h"
#include "message/modMIME.h"

#include <cstdint>
#include <string_view>

namespace corva {

namespace ts = textscan;

namespace {

constexpr const char* Module = "clsMessage";
constexpr std::string_view BlankLine = "\r\n\r\n";
// Nesting deeper than any mail program produces is left undecoded, so that a
// hostile message can't exhaust the stack.
constexpr int MaxMultipartDepth = 64;

// The value of the header line found at position pos: from after the next ":"
// to the line end, lower case, cut at ";", trimmed.
std::string lineValueAfter(const std::string& header, size_t pos) {
    size_t colon = header.find(':', pos);
    if (colon == std::string::npos) return "";
    // The line end is searched from one character further on, so a value
    // folded onto the next line comes back empty.
    size_t end = header.find("\r\n", colon + 2);
    std::string value = end == std::string::npos || colon + 1 > end
                            ? header.substr(colon + 1)
                            : header.substr(colon + 1, end - colon - 1);
    value = ts::lowerCopy(value);
    size_t semi = value.find(';');
    if (semi != std::string::npos) value.resize(semi);
    return std::string(ts::trimView(value));
}

// True when pos (0-based) stands behind the first blank line, or there is none.
bool behindHeaderEnd(const std::string& header, size_t pos) {
    size_t end = header.find(BlankLine);
    return end == std::string::npos || pos > end;
}

} // namespace

std::string clsMessage::extractcontenttype(const std::string& header) {
    return guardedValue("extractcontenttype", Module, std::string(), [&]() -> std::string {
        size_t pos = ts::findNoCase(header, "content-type: ");
        // A filter on the way may have moved the true type aside.
        size_t prev = ts::findNoCase(header, "prev-content-type");
        if (prev != std::string::npos && (pos == std::string::npos || prev > pos)) pos = prev;
        if (pos == std::string::npos || behindHeaderEnd(header, pos)) return "";
        return lineValueAfter(header, pos);
    });
}

std::string clsMessage::extractcontentencoding(const std::string& header) {
    return guardedValue("extractcontentencoding", Module, std::string(), [&]() -> std::string {
        // The last such line counts.
        size_t pos = ts::rfindNoCase(header, "content-transfer-encoding:");
        if (pos == std::string::npos || behindHeaderEnd(header, pos)) return "";
        std::string value = lineValueAfter(header, pos);
        ts::removeByte(value, '"');
        return value;
    });
}

std::string clsMessage::extractboundarystring(const std::string& header) {
    return guardedValue("extractboundarystring", Module, std::string(), [&]() -> std::string {
        // Exact case on purpose: "Boundary=" has never been read as a boundary.
        size_t pos = header.find("boundary=");
        if (pos == std::string::npos) return "";
        size_t i = pos + 9;
        if (i < header.size() && header[i] == '"') ++i;
        size_t end = header.find_first_of("\"\r", i);
        if (end == std::string::npos) end = header.size();
        // Unquoted, the rest of the line comes along: "abc; charset=x" is the boundary.
        return std::string(ts::trimView(std::string_view(header).substr(i, end - i)));
    });
}

void clsMessage::decodeheader(const std::string& header, std::string& contentType,
                              std::string& encoding, std::string& boundary) {
    contentType = extractcontenttype(header);
    encoding = extractcontentencoding(header);
    if (contentType.empty() && encoding.empty()) contentType = "text/plain";
    boundary = extractboundarystring(header);
}

std::string clsMessage::extractfilename(const std::string& header, const std::string& contentType) {
    return guardedValue("extractfilename", Module, std::string(), [&]() -> std::string {
        size_t pos = ts::findNoCase(header, "name="); // filename= matches too
        size_t start = std::string::npos;
        if (pos != std::string::npos) {
            start = pos + 5;
        } else {
            pos = ts::findNoCase(header, "name*1=");
            if (pos != std::string::npos) start = pos + 7;
        }
        if (pos == std::string::npos) {
            // An unnamed HTML part becomes an attachment under this name: it is
            // how an HTML message gets its entry for opening in a browser.
            return contentType == "text/html" ? "View email as web page.html" : "";
        }
        if (behindHeaderEnd(header, pos)) return "";

        std::string name;
        for (size_t i = start; i < header.size(); ++i) {
            char c = header[i];
            if (c != '"' && c != '=') name += c;
            if (c == ';' || c == '\r') break;
        }
        ts::removeByte(name, '"');
        ts::removeByte(name, '\r');
        ts::removeByte(name, ';');
        ts::replaceInPlace(name, "Attachment:", "");
        return std::string(ts::trimView(name));
    });
}

std::string clsMessage::appendextension(const std::string& name, const std::string& contentType) {
    return guardedValue("appendextension", Module, name, [&] {
        std::string out = name;
        if (out.find('.') == std::string::npos) {
            if (contentType == "text/msword" || contentType == "application/msword")
                out += ".doc";
            else if (contentType == "image/jpeg" || contentType == "image/jpg" ||
                     contentType == "image/pjpeg")
                out += ".jpg";
            else if (contentType == "message/rfc822")
                out += ".eml";
        }
        cleanstring(out);
        return out;
    });
}

void clsMessage::AddMimePart(const std::string& contentType, std::string& content,
                             const std::string& sectionName, const std::string& encoding) {
    guarded("AddMimePart", Module, [&] {
        clsMimeType part;
        part.ContentType = contentType;
        part.SectionName = sectionName;
        part.Encoding = encoding;
        ts::removeByte(part.Encoding, '\r');
        eatcrapfromend(content);
        part.Content = content;
        part.Size = static_cast<long>(part.Content.size());
        parts_.push_back(std::move(part));
    });
}

void clsMessage::NewDecodePart(const std::string& text) {
    decodePart(text, 0);
}

void clsMessage::DecodeMultipartBody(const std::string& body, const std::string& boundary) {
    decodeMultipart(body, boundary, 0);
}

void clsMessage::decodePart(const std::string& text, int depth) {
    guarded("NewDecodePart", Module, [&] {
        std::string header;
        std::string body;
        size_t p = text.find(BlankLine);
        if (p != std::string::npos) {
            header = text.substr(0, p + 4);
            body = text.substr(p + 4);
        } else {
            // No blank line: the first three characters stand for the header.
            header = text.substr(0, 3);
            body = text.size() > 3 ? text.substr(3) : std::string();
        }
        if (body.compare(0, 4, BlankLine) == 0) body.erase(0, 4);

        std::string contentType, encoding, boundary;
        decodeheader(header, contentType, encoding, boundary);

        if (ts::lowerCopy(contentType.substr(0, 10)) == "multipart/") {
            // A multipart's own preamble adds no part.
            if (depth < MaxMultipartDepth) decodeMultipart(body, boundary, depth + 1);
            return;
        }

        std::string name = extractfilename(header, contentType);
        if (!name.empty()) {
            name = appendextension(name, contentType);
            AddAttachment(name);
            HasAttachment = true;
        } else if (contentType != "message/rfc822") {
            if (encoding == "quoted-printable") {
                body = quotedprintabledecode(body);
                encoding.clear();
            }
            if (encoding == "base64") {
                body = vbDecodeMime64(body);
                encoding.clear();
            }
        } else {
            // The counter is 16-bit: past its end the number stays where it is.
            if (unnamedMessages_ < INT16_MAX)
                ++unnamedMessages_;
            else
                HandleError(RunError(Err::Overflow), "NewDecodePart", Module);
            name = "Attached_Msg " + std::to_string(unnamedMessages_) + ".eml";
            AddAttachment(name);
            HasAttachment = true;
        }
        AddMimePart(contentType, body, name, encoding);
    });
}

void clsMessage::decodeMultipart(const std::string& body, const std::string& boundary, int depth) {
    guarded("DecodeMultipartBody", Module, [&] {
        // A boundary that reads as empty ("boundary= \"x\"", or "BOUNDARY=",
        // which the exact search misses) makes every "--" a delimiter. The walk
        // makes no exception for it: such a message is split at its dashes,
        // and so shows its parts rather than raw MIME or nothing.
        const std::string delimiter = "--" + boundary;
        size_t p = body.find(delimiter);
        while (p != std::string::npos) {
            // Past "--", the boundary and the CR LF that ends the delimiter line.
            size_t s = p + boundary.size() + 4;
            size_t q = s <= body.size() ? body.find(delimiter, s) : std::string::npos;
            // The part keeps one character of the CR LF before the next
            // delimiter; AddMimePart's strip of trailing junk removes it.
            if (q != std::string::npos && q >= s + 1) decodePart(body.substr(s, q - s - 1), depth);
            p = q;
        }
    });
}

} // namespace corva
