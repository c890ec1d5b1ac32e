// The scanner's check of a message: lists, rules and the Bayesian score,
// on the header as the scan sees it and on the whole message.
#include "FuzzFilters.h"
#include "FuzzSupport.h"

#include "bayes/frmBayesFilter.h"
#include "message/clsMessage.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    static frmBayesFilter* bayes = [] {
        fuzz::writeFile("HashTable.dat", "Count, String\r\n40\r\n0.99, casino\r\n0.98, viagra\r\n"
                                         "0.01, meeting\r\n0.2, subject:hello\r\n"
                                         "0.97, from:bad.example\r\n0.5, http://x.example\r\n");
        auto* b = new frmBayesFilter();
        b->LoadWordHash();
        fuzz::startingFilters().setBayesScore(b);
        return b;
    }();
    (void)bayes;
    std::string text(fuzz::asText(data, size));
    for (bool headerOnly : {true, false}) {
        clsMessage msg;
        msg.CreateFromText(text, headerOnly);
        fuzz::startingFilters().CheckMessage(msg, true);
        (void)fuzz::startingFilters().suppressmessage(msg);
    }
    return 0;
}
