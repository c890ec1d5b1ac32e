// The tokeniser: a message becomes counted tokens, taken from its headers under
// a prefix naming the header, plus the host names of the links in its body.
#pragma once

#include "bayes/clsHashTable.h"

#include <string>
#include <string_view>

namespace corva {

class clsMessage;

// Where the tokeniser puts what it finds: every token, once per occurrence,
// as two pieces (usually its header's prefix and the word) to be joined.
class TokenSink {
public:
    virtual void add(std::string_view prefix, std::string_view word) = 0;

protected:
    ~TokenSink() = default;
};

// Adds every token of a message; headersOnly leaves out the link tokens.
void hashmessage(clsHashTable& table, const clsMessage& msg, bool headersOnly);
void hashmessage(TokenSink& sink, const clsMessage& msg, bool headersOnly);
// Splits a text into tokens and adds them under a prefix.
void BreakAndHash(clsHashTable& table, std::string_view text, std::string_view prefix);
// Adds the host of each link in a text as "URL*host".
void HashUrls(clsHashTable& table, std::string_view text);
// Moves position to the end of needle when needle occurs from start on and
// before position (or position is 0). Positions count from 1.
void getlowest(size_t start, std::string_view text, std::string_view needle, size_t& position);
// Drops brackets, quotes and similar punctuation and control codes, then trims.
std::string cleanthisword(std::string_view word);
// Every character a digit, "-" or "+" (true for the empty word).
bool allnumerics(std::string_view word);
// The word without its digits.
std::string CleanNumbers(std::string_view word);
// A link loses its path (and anything up to an "@" in its host part).
std::string extractifurl(std::string_view word);

} // namespace corva
