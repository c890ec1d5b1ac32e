// A program folder for the classifier's tests, with the scoring numbers put
// back afterwards, and messages whose tokens are known in advance.
#pragma once

#include "bayes/frmBayesFilter.h"
#include "contacts/clsContacts.h"
#include "core/Globals.h"
#include "message/clsMessage.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace corva::test {

class BayesTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_.makeProgramFolder();
        saved_ = {DataFolder, MessageFolder, FilterFolder};
        UseDefaultFolders(dir_.path());
        savedNumbers_ = {corva::Spamminess, corva::SaveToSpamScore};
        savedWords_ = {corva::HeaderWords, corva::SpamWordCount};
        corva::HeaderWords = 12;
        corva::SpamWordCount = 2;
        corva::SaveToSpamScore = 0.7f;
        filter_.setContacts(&book_);
        book_.setFilePath(dir_.file("contacts.txt"));
    }
    void TearDown() override {
        DataFolder = saved_[0];
        MessageFolder = saved_[1];
        FilterFolder = saved_[2];
        corva::Spamminess = savedNumbers_[0];
        corva::SaveToSpamScore = savedNumbers_[1];
        corva::HeaderWords = savedWords_[0];
        corva::SpamWordCount = savedWords_[1];
    }

    // HashTable.dat with these probabilities.
    void writeWordTable(const std::map<std::string, float>& words) {
        std::string text = "Count, String\r\n 1 \r\n";
        for (const auto& [key, value] : words) text += std::to_string(value) + ", " + key + "\r\n";
        writeFile(frmBayesFilter::wordfilename(), text);
    }

    // A message whose only tokens are "HDR*" + each word (the padding of short
    // words keeps the block too long to be a phrase).
    static clsMessage headerWords(const std::vector<std::string>& words) {
        clsMessage msg;
        for (const auto& w : words) msg.Headers += w + " ";
        for (int i = 0; i < 20; ++i) msg.Headers += "xx ";
        return msg;
    }

    float scoreOf(clsMessage& msg) {
        float score = -1;
        filter_.Spamminess(msg, true, score);
        return score;
    }

    TempDir dir_;
    clsContacts book_;
    frmBayesFilter filter_;

private:
    std::vector<std::string> saved_;
    std::vector<float> savedNumbers_;
    std::vector<int16_t> savedWords_;
};

} // namespace corva::test
