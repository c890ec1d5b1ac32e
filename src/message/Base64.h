// The program's one Base64 decoder and encoder (RFC 4648 alphabet).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corva {

// Decodes length bytes of source into destination and returns the count of
// bytes written. Line ends, blanks and stray characters are skipped, and
// whatever isn't Base64 at the end (a "?=" from an encoded word) is ignored.
// destination must hold length / 4 * 3 + 3 bytes.
long cDecode64(const unsigned char* source, unsigned char* destination, long length);

// The bytes in Base64 with padding; with groupsPerLine, a CRLF after every
// that many groups of four characters.
std::string cEncode64(std::string_view bytes, int groupsPerLine = 0);

} // namespace corva
