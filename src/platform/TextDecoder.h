// Mail bytes turned into text for a person. Windows and the terminal both
// decode through this one function, so a subject reads the same in either.
#pragma once

#include <string>
#include <string_view>

namespace corva::platform {

// Decodes bytes to UTF-8. The plain decoder knows UTF-8 and Windows-1252 only;
// the platform's own may know every charset a mail can name.
class TextDecoder {
public:
    virtual ~TextDecoder() = default;
    // The declared charset when it is known and the bytes fit it; otherwise
    // UTF-8 when the bytes are valid UTF-8, else Windows-1252.
    virtual std::string toUtf8(std::string_view bytes, std::string_view charset) const;
};

// The text of bytes as the platform in force decodes it, always valid UTF-8.
std::string displayText(std::string_view bytes, std::string_view charset = {});

// The fallback rule on its own: UTF-8 if valid, else Windows-1252. Mail that
// names no charset is most often one of the two.
std::string utf8OrWindows1252(std::string_view bytes);
bool isValidUtf8(std::string_view bytes);
// True for the charsets the plain decoder reads itself (UTF-8, ASCII, Latin-1
// and Windows-1252); a platform's decoder leaves those to it.
bool isPlainCharset(std::string_view charset);

} // namespace corva::platform
