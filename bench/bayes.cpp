// The classifier's speed: training through generatefilters over a generated
// store of N messages, scoring header-only messages, and the load time and
// memory of a 350,000-token word table.
#include "BenchSupport.h"
#include "bayes/frmBayesFilter.h"
#include "core/Globals.h"
#include "message/clsMessage.h"
#include "support/TempDir.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace corva;
using namespace corva::bench;

namespace {

std::mt19937 rng(4321);

// Words drawn from a large made-up vocabulary, so that tables fill as real mail does.
std::string word(int range) {
    static const char* syllables[] = {"ka",  "lo", "mi",  "ner", "sto", "vu", "pra", "den",
                                      "tel", "or", "qui", "zan", "bel", "ro", "fi",  "gas"};
    int n = static_cast<int>(rng() % static_cast<unsigned>(range));
    std::string w;
    for (int i = 0; i < 3; ++i, n /= 16) w += syllables[n % 16];
    return w;
}

std::string message(int i, bool spam) {
    std::string host = (spam ? "bulk" : "mail") + std::to_string(i % 400) + ".example";
    std::string from = word(3000) + "@" + host;
    std::string text;
    for (int r = 0; r < 3; ++r)
        text += "Received: from relay" + std::to_string(r) + "." + host + " (HELO mx" +
                std::to_string(r) + "." + host + ") by mx.home.example with SMTP id " +
                std::to_string(100000 + i) + "; Mon, 3 Jun 2024 10:00:0" + std::to_string(r) +
                " +0000\r\n";
    text += "From: " + word(4000) + " " + word(4000) + " <" + from + ">\r\n";
    text += "To: reader@home.example\r\n";
    text += "Subject: " + word(spam ? 500 : 4000) + " " + word(4000) + " " +
            std::to_string(i % 97) + " " + word(4000) + "\r\n";
    text += "Date: Mon, 3 Jun 2024 10:00:00 +0000\r\n";
    text += "Message-ID: <" + std::to_string(i) + "." + word(4000) + "@" + host + ">\r\n";
    text += "X-Mailer: " + word(50) + " " + std::to_string(i % 9) + ".0\r\n";
    text += "Content-Type: text/plain; charset=us-ascii\r\n\r\n";
    for (int l = 0; l < 6; ++l) {
        for (int w = 0; w < 10; ++w) text += word(4000) + " ";
        text += "\r\n";
    }
    text += "More at http://www." + word(spam ? 200 : 4000) + ".example/page" + std::to_string(i) +
            " today.\r\n";
    return text;
}

} // namespace

int main(int argc, char** argv) {
    const int n = argc > 1 ? std::atoi(argv[1]) : 5000;
    corva::test::TempDir dir;
    dir.makeProgramFolder();
    UseDefaultFolders(dir.path());
    corva::HeaderWords = 12;
    corva::SpamWordCount = 2;
    corva::SaveToSpamScore = 0.7f;

    for (int i = 0; i < n; ++i) {
        bool spam = i % 2 == 1;
        std::string folder = MessageFolder + (spam ? "SpamBayes/" : "Inbox/");
        corva::test::writeFile(folder + "MSG" + std::to_string(i) + ".EML", message(i, spam));
    }

    // Training: reading, parsing and counting every message, then the word table.
    double trainCpu = 0, trainWall = 0;
    long goodTokens = 0, badTokens = 0, words = 0;
    {
        frmBayesFilter filter;
        auto wall = Clock::now();
        double cpu = cpuSeconds();
        filter.generatefilters();
        trainCpu = cpuSeconds() - cpu;
        trainWall = secondsSince(wall);
        goodTokens = filter.GoodTable().MaxIndex;
        badTokens = filter.BadTable().MaxIndex;
        words = filter.WordTable().MaxIndex;
    }

    // A word table of 350,000 tokens: the trained words, then made-up ones.
    {
        std::string text = corva::test::readFile(frmBayesFilter::wordfilename());
        long count = words;
        for (long k = 0; count < 350000; ++k, ++count)
            text += "0." + std::to_string(1 + k % 98) + ", HDR*filler" + std::to_string(k) + "\r\n";
        corva::test::writeFile(frmBayesFilter::wordfilename(), text);
    }
    frmBayesFilter scorer;
    long rssBefore = residentKb();
    auto loadWall = Clock::now();
    double loadCpu = cpuSeconds();
    scorer.LoadWordHash();
    double loadTime = cpuSeconds() - loadCpu;
    double loadWallTime = secondsSince(loadWall);
    long rssAfter = residentKb();

    // Scoring: header-only messages, parsed beforehand, as a server scan hands them over.
    const int scored = 20000;
    std::vector<std::unique_ptr<clsMessage>> headers;
    for (int i = 0; i < scored; ++i) {
        std::string text = message(n + i, i % 2 == 1);
        auto msg = std::make_unique<clsMessage>();
        msg->CreateFromText(text.substr(0, text.find("\r\n\r\n") + 4), true);
        headers.push_back(std::move(msg));
    }
    float sum = 0;
    auto scoreWall = Clock::now();
    double scoreCpu = cpuSeconds();
    for (auto& msg : headers) {
        float score = 0;
        scorer.Spamminess(*msg, true, score);
        sum += score;
    }
    double scoreTime = cpuSeconds() - scoreCpu;
    double scoreWallTime = secondsSince(scoreWall);

    std::printf("messages trained:         %d (%ld good tokens, %ld spam tokens, %ld words)\n", n,
                goodTokens, badTokens, words);
    std::printf("training rate:            %.0f messages/s (cpu %.2f s, wall %.2f s)\n",
                n / trainCpu, trainCpu, trainWall);
    std::printf("scoring rate:             %.0f header-only messages/s (cpu %.2f s, wall %.2f s, "
                "mean score %.3f)\n",
                scored / scoreTime, scoreTime, scoreWallTime, sum / scored);
    std::printf("word table load:          %d tokens in %.3f s cpu (%.3f s wall)\n",
                scorer.WordTable().MaxIndex, loadTime, loadWallTime);
    std::printf("word table memory:        %.1f MB resident\n", (rssAfter - rssBefore) / 1024.0);
    return 0;
}
