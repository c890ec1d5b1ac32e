// Byte-string helpers in the shape the rest of the program counts in:
// positions from 1, 0 for "not found". Each is linear in its text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corva {

// Position (1-based) of needle in hay at or after start, 0 if absent. An empty
// needle is found at start.
size_t InStr(std::string_view hay, std::string_view needle, size_t start = 1);
// The same, ignoring ASCII case.
size_t InStrNoCase(std::string_view hay, std::string_view needle, size_t start = 1);
// Last position of needle in hay, 0 if absent.
size_t InStrRev(std::string_view hay, std::string_view needle);
// Characters from a 1-based start; npos length means to the end. Out of range gives "".
std::string Mid(std::string_view s, size_t start, size_t length = std::string::npos);
std::string Left(std::string_view s, size_t n);
std::string Right(std::string_view s, size_t n);
// Blanks (code 32 only) off both ends, the start, the end.
std::string Trim(std::string_view s);
std::string LTrim(std::string_view s);
std::string RTrim(std::string_view s);
std::string LCase(std::string_view s);
std::string UCase(std::string_view s);
char LowerChar(char c);
char UpperChar(char c);
bool EqualsNoCase(std::string_view a, std::string_view b);
bool StartsWith(std::string_view s, std::string_view prefix);
bool EndsWith(std::string_view s, std::string_view suffix);
bool StartsWithNoCase(std::string_view s, std::string_view prefix);
// Every occurrence of what replaced by with, left to right, not rescanned.
std::string Replace(std::string_view s, std::string_view what, std::string_view with);
// The same, matching what without regard to case.
std::string ReplaceNoCase(std::string_view s, std::string_view what, std::string_view with);
// Splits at each separator; an empty text gives one empty piece.
std::vector<std::string> Split(std::string_view s, std::string_view separator);
// The lines of a file's text: each ends at LF, a CR before it is dropped (so
// CR LF files and hand-edited LF files read alike), and a final line end
// adds no empty line.
std::vector<std::string> SplitLines(std::string_view text);
std::string Join(const std::vector<std::string>& parts, std::string_view separator);
// The number at the front of a text after blanks ("  12abc" is 12, "x" is 0).
double Val(std::string_view s);
// Bytes as one readable line: CR, LF and "\\" escaped, other control and high
// bytes as \xHH; cut after limit bytes with a note of the full length.
std::string EscapeBytes(std::string_view bytes, size_t limit = std::string::npos);
// The shortest text of a whole number.
std::string Str(long long n);
// At least two digits, with a leading zero: "07", "12", "123".
std::string TwoDigits(int n);
// Decodes %XY escapes into their bytes. An escape that isn't one stays as it
// is, and "+" stays a plus, as mail links and FTP addresses have it.
std::string PercentDecode(std::string_view text);

} // namespace corva
