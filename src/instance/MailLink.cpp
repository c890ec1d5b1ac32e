#include "instance/MailLink.h"

#include "core/Strings.h"

#include <vector>

namespace corva {

namespace {

// Control bytes can't stand in an address or a header line.
std::string oneLine(std::string_view text) {
    std::string line;
    for (char c : text) line += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? ' ' : c;
    return Trim(line);
}

std::string crlfLines(std::string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r') {
            out += "\r\n";
            if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
        } else if (text[i] == '\n') {
            out += "\r\n";
        } else {
            out += text[i];
        }
    }
    return out;
}

// Adds each address of a comma-separated, still encoded list.
void addAddresses(std::string& list, std::string_view encoded) {
    for (const std::string& part : Split(encoded, ",")) {
        std::string address = oneLine(PercentDecode(part));
        if (address.empty()) continue;
        if (!list.empty()) list += ";";
        list += address;
    }
}

} // namespace

std::optional<MailLink> ParseMailLink(std::string_view text) {
    const size_t at = InStrNoCase(text, "mailto:");
    if (at == 0) return std::nullopt;
    std::string_view rest = text.substr(at - 1 + 7);
    while (!rest.empty() && (rest.front() == ' ' || rest.front() == '\t')) rest.remove_prefix(1);
    while (!rest.empty() && (rest.back() == ' ' || rest.back() == '\t')) rest.remove_suffix(1);

    MailLink link;
    const size_t question = rest.find('?');
    addAddresses(link.to, rest.substr(0, question));
    if (question == std::string_view::npos) return link;

    bool haveSubject = false, haveBody = false;
    for (const std::string& field : Split(rest.substr(question + 1), "&")) {
        const size_t equals = field.find('=');
        const std::string name = LCase(PercentDecode(field.substr(0, equals)));
        const std::string_view value = equals == std::string::npos
                                           ? std::string_view()
                                           : std::string_view(field).substr(equals + 1);
        if (name == "to") {
            addAddresses(link.to, value);
        } else if (name == "cc") {
            addAddresses(link.cc, value);
        } else if (name == "bcc") {
            addAddresses(link.bcc, value);
        } else if (name == "subject" && !haveSubject) {
            link.subject = oneLine(PercentDecode(value));
            haveSubject = true;
        } else if (name == "body" && !haveBody) {
            link.body = crlfLines(PercentDecode(value));
            haveBody = true;
        }
        // Other fields (In-Reply-To, Keywords ...) are not the composer's to take.
    }
    return link;
}

} // namespace corva
