// What the filter tests share: a filter folder of their own, clean settings,
// a scorer that answers what the test says, and short ways to make messages
// and filters.
#pragma once

#include "core/Globals.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "filters/BayesScore.h"
#include "filters/frmFilters.h"
#include "message/clsMessage.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <tuple>

namespace corva::test {

class FixedScore : public BayesScore {
public:
    float score = 0.01f;
    int calls = 0;
    void Spamminess(clsMessage&, bool, float& out) override {
        ++calls;
        out = score;
    }
};

// A header as the scanner holds it after TOP n 1.
inline clsMessage headerMessage(const std::string& from, const std::string& to,
                                const std::string& subject) {
    clsMessage msg;
    msg.CreateFromText("From: " + from + "\r\nTo: " + to + "\r\nSubject: " + subject +
                           "\r\nMessage-ID: <1@x>\r\n\r\n",
                       true);
    return msg;
}

using Condition = std::tuple<std::string, std::string, std::string>; // field, cnt/!cnt, text

inline clsFilterNew makeFilter(const std::string& name, std::initializer_list<Condition> conditions,
                               int action, bool stop = false, const std::string& dest = "") {
    clsFilterNew f;
    f.FilterName = name;
    int i = 0;
    for (const auto& [field, comparison, text] : conditions) {
        ++i;
        f.setFields(i, field);
        f.setComparisons(i, comparison);
        f.setStrings(i, text);
    }
    f.RuleCount = static_cast<int16_t>(i);
    f.Action = static_cast<int16_t>(action);
    f.StopProcessing = stop;
    f.DestFolder = dest;
    return f;
}

class FilterTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir.makeProgramFolder();
        Settings().DeleteAllSettings();
        setThresholds(0.99f, 2.0f);
        filters.setBayesScore(&scorer);
    }
    void TearDown() override {
        Settings().DeleteAllSettings();
        ReadScoringNumbers();
    }

    void setThresholds(float spam, float saveToSpam) {
        sset("Spamminess", static_cast<double>(spam));
        sset("SaveToSpamScore", static_cast<double>(saveToSpam));
        ReadScoringNumbers();
    }
    void add(clsFilterNew f) { filters.Filters().push_back(std::move(f)); }
    clsMessage check(clsMessage msg, bool checkBayes = true) {
        filters.CheckMessage(msg, checkBayes);
        return msg;
    }

    TempDir dir;
    frmFilters filters{dir.path()};
    FixedScore scorer;
};

} // namespace corva::test
