// In-place text and HTML conversions for bodies the word tests and the plain
// view see. Each is linear in the length of its text.
#pragma once

#include <string>

namespace corva {

// The byte-string primitives the procedures below are built on.
// Removes every tag from "<" to the next ">"; never lengthens the text.
void cStripHTML(std::string& text);
// Character references (named HTML 4 Latin-1 entities, &#n; and &#xh;) to bytes.
std::string cHtmlToChar(const std::string& text);
// Removes every occurrence of one byte.
void cRemoveChar(std::string& text, char c);

// Drops style blocks and tags; a text without both "<" and ">" is only cut at NUL.
void striphtml(std::string& text);
void htmltochar(std::string& text);
// The typographic references mail is full of, then the remaining numeric ones.
void htmlconsttochar(std::string& text);
// Replaces all occurrences; caseSensitive false ignores case.
void myreplace(std::string& text, const std::string& find, const std::string& replacement,
               bool caseSensitive);
// The exact variant, whatever its name suggests.
void myreplacenocaps(std::string& text, const std::string& find, const std::string& replacement);
// Removes every occurrence of the first character of character.
void RemoveChar(std::string& text, const std::string& character);
// A word with the disguises of spam undone ("v1agr@" is "viagra").
std::string CleanWord(const std::string& word);

} // namespace corva
