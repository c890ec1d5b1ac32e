// Mail text on its way to a terminal. A subject is written by a stranger: it
// is decoded as the windows decode it, and any control character that could
// drive the terminal (ESC, CR, backspace, C1 codes ...) is shown as an escape.
// Columns are measured in terminal cells, so wide characters line up.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corva {

// Decoded to UTF-8; tab and line end kept (CR LF becomes LF), every other
// control character shown as "\x1b" (C1 codes as "\u009b").
std::string terminalText(std::string_view bytes, std::string_view charset = {});
// The same on one line: tabs and line ends become blanks first.
std::string terminalLine(std::string_view bytes, std::string_view charset = {});

// Cells the UTF-8 text takes on a terminal: East Asian wide characters 2,
// combining marks 0, others 1.
size_t displayWidth(std::string_view utf8);
// The longest start of the text that fits in width cells, never ending
// inside a UTF-8 sequence.
std::string cutToWidth(std::string_view utf8, size_t width);
// Exactly width cells: cut with a "~" marking the cut, or padded with blanks.
std::string fitToWidth(std::string_view utf8, size_t width);

// The charset of the first encoded word in a header field ("=?koi8-r?B?...")
// of a message's header block, or "" when it names none.
std::string headerCharset(std::string_view headers, std::string_view field);

} // namespace corva
