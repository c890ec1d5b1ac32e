// What outgoing text is labelled as. Text that is valid UTF-8 with letters
// beyond ASCII cannot go out as ISO-8859-1, so it is labelled UTF-8 and, in
// headers, written as encoded words; any other 8-bit text is Latin-1 and
// keeps the bytes it has always had.
#pragma once

#include <string>
#include <string_view>

namespace corva {

// True for valid UTF-8 holding at least one character beyond ASCII.
bool IsUtf8Text(std::string_view text);
// The text as UTF-8 base64 encoded words of at most 75 characters each, folded
// onto continuation lines; whole characters only in each word.
std::string EncodedWords(std::string_view utf8);
// A header value as it goes out: encoded words for UTF-8, else unchanged.
std::string HeaderText(std::string_view text);
// A display name before an address: quoted, or as encoded words.
std::string DisplayName(std::string_view name);

} // namespace corva
