// Transfer-encoding and header-word decoders, and the choice of the text a
// plain view shows. Charsets are never converted: bytes stay bytes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corva {

class clsMessage;

std::string quotedprintabledecode(const std::string& text);
std::string vbDecodeMime64(const std::string& text);
// Bytes to text; without keepNulls the text ends at the first NUL.
std::string bytearraytostring(const std::vector<unsigned char>& bytes, bool keepNulls);
// Undoes RFC 2047 words in Subject, From, To, Sender and Reply-To by a chain of
// replacements that real mail was tuned against.
std::string isodecode(const std::string& text);
// The same for a piece of a header, copied only when there is something to undo.
std::string isodecodeView(std::string_view text);
// Erases path and writes content decoded by encoding ("7bit", "quoted-printable",
// "base64", anything else as it is). False when the file can't be written.
bool writefile(const std::string& path, const std::string& content, const std::string& encoding);
// The text a plain view shows for a message.
std::string extractplainmessage(const clsMessage& message);
// Part i (from 1) as plain text, converted from HTML.
std::string HtmlPartToPlainText(const clsMessage& message, int i);
// Part i (from 1) decoded by its Encoding.
std::string DecodedPartText(const clsMessage& message, int i);

} // namespace corva
