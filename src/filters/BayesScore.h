// The Bayesian score as the message check asks for it. The classifier plugs
// its word table in here; until it does, messages score as they would with no
// word table at all.
#pragma once

#include <string_view>

namespace corva {

class clsMessage;

class BayesScore {
public:
    virtual ~BayesScore() = default;
    // Writes the message's score, from 0.01 to 0.99, into score. May also set
    // the message's FilterReason (a blacklisted subject) and SpamSplit.
    virtual void Spamminess(clsMessage& msg, bool headersOnly, float& score) = 0;
};

// The score with no word table: a subject hiding "PHARMA" or "MEDS" is 0.99
// with its reason, anything else 0.01.
class NoWordTableScore : public BayesScore {
public:
    void Spamminess(clsMessage& msg, bool headersOnly, float& score) override;
};

// The subject test for a blacklisted word: its letters occur in order, case exact.
bool subjectHidesWord(std::string_view subject, std::string_view word);

// The program's one scorer, used by every frmFilters that has none of its own.
// Null puts the no-word-table score back.
void setBayesScore(BayesScore* scorer);
BayesScore& currentBayesScore();

} // namespace corva
