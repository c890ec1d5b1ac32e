// mailto: links (RFC 6068) as a desktop or the command line hands them over,
// read into the fields a new message starts with.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corva {

struct MailLink {
    // Addresses joined with ";", as the program keeps address lists.
    std::string to;
    std::string cc;
    std::string bcc;
    // One line: a line end in a link's subject would start a header of its own.
    std::string subject;
    // Line ends made CRLF.
    std::string body;
};

// Reads the link in text: "mailto:..." or the older "/mailto:..." wherever it
// starts, the scheme in any case. Empty when the text holds no mail link.
std::optional<MailLink> ParseMailLink(std::string_view text);

} // namespace corva
