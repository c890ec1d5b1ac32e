// The program's one Base64 decoder (RFC 4648 alphabet).
#pragma once

#include <cstddef>

namespace corva {

// Decodes length bytes of source into destination and returns the count of
// bytes written. Line ends, blanks and stray characters are skipped, and
// whatever isn't Base64 at the end (a "?=" from an encoded word) is ignored.
// destination must hold length / 4 * 3 + 3 bytes.
long cDecode64(const unsigned char* source, unsigned char* destination, long length);

} // namespace corva
