// Byte searches and replacements the message code runs over whole bodies.
// Positions here are 0-based (std::string style) and every operation makes one
// pass over its text, so a 20 MB attachment costs what its size says.
#pragma once

#include <string>
#include <string_view>

namespace corva::textscan {

inline char lower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}
inline char upper(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c;
}

// First position of needle at or after from, ignoring ASCII case; npos if absent.
size_t findNoCase(std::string_view hay, std::string_view needle, size_t from = 0);
// Last position of needle, ignoring ASCII case; npos if absent.
size_t rfindNoCase(std::string_view hay, std::string_view needle);
bool containsNoCase(std::string_view hay, std::string_view needle);
inline bool contains(std::string_view hay, std::string_view needle) {
    return hay.find(needle) != std::string_view::npos;
}
// Every occurrence, left to right, not rescanned. An empty needle changes nothing.
std::string replaceAll(std::string_view text, std::string_view what, std::string_view with);
std::string replaceAllNoCase(std::string_view text, std::string_view what, std::string_view with);
// In place, for the common case where nothing matches and no copy is wanted.
void replaceInPlace(std::string& text, std::string_view what, std::string_view with);
void replaceInPlaceNoCase(std::string& text, std::string_view what, std::string_view with);
void removeByte(std::string& text, char c);
// CR LF, then a lone CR, then a lone LF each become one blank (replacing the
// three in turn gives the same); or, with blank false, every CR and LF goes.
void lineEndsInPlace(std::string& text, bool blank);
std::string lowerCopy(std::string_view s);
// Blanks (code 32) off both ends.
std::string_view trimView(std::string_view s);

} // namespace corva::textscan
