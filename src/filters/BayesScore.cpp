// The stand-in score and the program's scorer hook.
#include "filters/BayesScore.h"

#include "message/clsMessage.h"

#include <string_view>

namespace corva {

namespace {

BayesScore* installed = nullptr;

} // namespace

bool subjectHidesWord(std::string_view subject, std::string_view word) {
    size_t from = 0;
    for (char letter : word) {
        const size_t hit = subject.find(letter, from);
        if (hit == std::string_view::npos) return false;
        from = hit + 1;
    }
    return true;
}

void NoWordTableScore::Spamminess(clsMessage& msg, bool, float& score) {
    for (const char* word : {"PHARMA", "MEDS"}) {
        if (subjectHidesWord(msg.Subject, word)) {
            score = 0.99f;
            msg.FilterReason = std::string("Blacklisted Subject - ") + word;
            return;
        }
    }
    score = 0.01f;
}

void setBayesScore(BayesScore* scorer) {
    installed = scorer;
}

BayesScore& currentBayesScore() {
    static NoWordTableScore fallback;
    return installed ? *installed : fallback;
}

} // namespace corva
