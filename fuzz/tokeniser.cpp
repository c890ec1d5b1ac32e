// The tokeniser of the Bayesian filter: text broken into words, cleaned,
// numbers folded, links pulled out; a whole message hashed both ways.
#include "FuzzSupport.h"

#include "bayes/clsHashTable.h"
#include "bayes/modHash.h"
#include "message/clsMessage.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    std::string_view text = fuzz::asText(data, size);
    clsHashTable table;
    table.InitSmall();
    BreakAndHash(table, text, "");
    BreakAndHash(table, text, "Subject:");
    HashUrls(table, text);
    std::string_view word = text.substr(0, text.find(' '));
    (void)cleanthisword(word);
    (void)allnumerics(word);
    (void)CleanNumbers(word);
    (void)extractifurl(word);
    size_t position = 0;
    getlowest(1, text, "http", position);
    clsMessage msg;
    msg.CreateFromText(std::string(text), false);
    hashmessage(table, msg, true);
    hashmessage(table, msg, false);
    return 0;
}
