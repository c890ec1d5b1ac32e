// Small text helpers used throughout the program.
#pragma once

#include <string>
#include <string_view>

namespace corva {

// While the last character is CR, LF, blank or "-", cut it.
void eatcrapfromend(std::string& text);
// The same at the front.
void eatcrapfromStart(std::string& text);
// While at least 2 characters remain and the text ends in CR LF, cut the pair.
void RemoveCRLFFromEnd(std::string& text);
// Keeps a-z, A-Z, 0-9 and the blank; then cuts at the first NUL and trims.
void removenonalphanumeric(std::string& text);
// The text between the first two double quotes ("" when there are not two).
std::string getquoted(std::string_view text);
// True when find occurs in text, ignoring case.
bool containsnocase(std::string_view text, std::string_view find);
// Trims both and compares, exactly or ignoring case.
bool isequal(std::string_view a, std::string_view b, bool ignoreCase = true);
// Cuts at the first NUL and nothing more: blanks and line ends at either end
// stay, since the HTML conversions that end in it must keep a body's layout.
std::string cutoffnull(std::string_view text);

} // namespace corva
