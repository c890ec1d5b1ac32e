// Throughput of the message check as a server scan runs it: header-only
// messages through 200 rules of four conditions, with each of the five lists
// holding 10,000 entries. Also times loading the lists and one block command,
// which reads and writes its whole list.
#include "BenchSupport.h"
#include "core/Globals.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "filters/frmFilters.h"
#include "filters/modBlockCommands.h"
#include "message/clsMessage.h"
#include "support/TempDir.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>
#include <random>
#include <string>
#include <vector>

using namespace corva;
using namespace corva::bench;

namespace {

std::mt19937 rng(1234);

std::string pick(const std::vector<std::string>& pool) {
    return pool[rng() % pool.size()];
}

const std::vector<std::string> words = {
    "meeting", "invoice", "tomorrow", "please", "review", "attached", "report", "thanks",
    "project", "update",  "schedule", "budget", "offer",  "link",     "team",   "lunch"};
const std::vector<std::string> spamWords = {"casino", "v1agra",   "loan",  "winner", "prize",
                                            "crypto", "discount", "pills", "rolex",  "refinance"};

std::string header(int i) {
    const bool spammy = i % 5 == 0;
    std::string subject =
        pick(words) + " " + pick(words) + " " + (spammy ? pick(spamWords) : pick(words));
    std::string from =
        "user" + std::to_string(i % 3000) + "@sender" + std::to_string(i % 700) + ".example";
    std::string text = "Return-Path: <" + from + ">\r\n";
    for (int r = 0; r < 4; ++r)
        text += "Received: from mx" + std::to_string(r) + ".relay" + std::to_string(i % 50) +
                ".example (mx.relay.example [192.0.2." + std::to_string(r) +
                "])\r\n\tby mail.home.example with ESMTP id 4F" + std::to_string(i) +
                "\r\n\tfor <me@home.example>; Tue, 3 Mar 2026 10:0" + std::to_string(r) +
                ":00 +0000\r\n";
    text += "From: \"Someone " + std::to_string(i) + "\" <" + from + ">\r\n";
    text += "To: Me <me" + std::to_string(i % 4) + "@home.example>\r\n";
    text += "Subject: " + subject + "\r\n";
    text += "Date: Tue, 3 Mar 2026 10:00:00 +0000\r\n";
    text += "Message-ID: <" + std::to_string(i) + "@sender.example>\r\n";
    text += "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=us-ascii\r\n";
    text += "X-Spam-Tests-Failed: " + std::string(spammy ? "HTML_MESSAGE, BAYES_99" : "") + "\r\n";
    text += "\r\n";
    return text;
}

void writeList(const std::string& path, int count, const std::string& prefix,
               const std::string& suffix) {
    std::string text;
    for (int i = 0; i < count; ++i) text += prefix + std::to_string(i) + suffix + "\r\n";
    test::writeFile(path, text);
}

} // namespace

int main(int argc, char** argv) {
    const int messageCount = argc > 1 ? std::atoi(argv[1]) : 20000;
    const int ruleCount = argc > 2 ? std::atoi(argv[2]) : 200;
    const int listSize = argc > 3 ? std::atoi(argv[3]) : 10000;
    test::TempDir dir;
    dir.makeProgramFolder();
    UseDefaultFolders(dir.path());

    writeList(dir.file("Blocked.txt"), listSize, "blocked", "@spam.example");
    writeList(dir.file("BlockedDomains.txt"), listSize, "spamdomain", ".example");
    writeList(dir.file("BlockedRecipDomains.txt"), listSize, "olddomain", ".example");
    writeList(dir.file("BlockedRecip.txt"), listSize, "old", "@home.example");
    writeList(dir.file("Ignore.txt"), listSize, "ignored", "@home.example");

    // 200 rules of four conditions over the fields users filter on.
    const std::vector<std::string> fields = {
        "Subject:", "From:", "To:", "Return-Path:", "X-Spam-Tests-Failed:", "All Headers", "CC:"};
    std::string rules;
    for (int r = 0; r < ruleCount; ++r) {
        rules += "Filtername, Rule " + std::to_string(r) + "\r\n";
        for (int c = 0; c < 4; ++c) {
            const std::string field = c == 0 ? fields[r % 5] : pick(fields);
            const bool negate = c > 0 && rng() % 3 == 0;
            std::string target = field == "Subject:"      ? pick(spamWords)
                                 : field == "All Headers" ? "relay" + std::to_string(rng() % 60)
                                 : field == "X-Spam-Tests-Failed:"
                                     ? "BAYES_99"
                                     : "sender" + std::to_string(rng() % 800);
            rules += "FilterField, " + field + "\r\nFilterComparison, " +
                     std::string(negate ? "!cnt" : "cnt") + "\r\nFilterString, " + target + "\r\n";
        }
        rules += "FilterAction, " + std::to_string(rng() % 4) + "\r\nFilterDest, \r\nFilterStop, " +
                 (r % 50 == 49 ? "-1" : "0") + "\r\nFilter_Category, 0\r\n";
    }
    test::writeFile(dir.file("Rules.txt"), rules);
    sset("MaxMailSize", 500);

    frmFilters filters(dir.path());
    auto start = Clock::now();
    filters.ReloadFilters(false);
    const double loadTime = secondsSince(start);

    std::vector<clsMessage> messages(static_cast<size_t>(messageCount));
    for (int i = 0; i < messageCount; ++i) {
        messages[static_cast<size_t>(i)].CreateFromText(header(i), true);
        // A few from listed senders and to listed recipients.
        if (i % 97 == 0)
            messages[static_cast<size_t>(i)].From = "blocked" + std::to_string(i) + "@spam.example";
        if (i % 89 == 0)
            messages[static_cast<size_t>(i)].From =
                "x@mx.spamdomain" + std::to_string(i) + ".example";
        if (i % 83 == 0)
            messages[static_cast<size_t>(i)].To_Email =
                "ignored" + std::to_string(i) + "@home.example";
    }

    // One pass to warm up, then the timed ones.
    for (clsMessage& m : messages) filters.CheckMessage(m, true);
    const int passes = 3;
    start = Clock::now();
    const double cpuStart = cpuSeconds();
    for (int p = 0; p < passes; ++p)
        for (clsMessage& m : messages) filters.CheckMessage(m, true);
    const double cpuTime = cpuSeconds() - cpuStart;
    const double wallTime = secondsSince(start);
    const double rate = passes * messageCount / cpuTime;

    std::map<std::string, int> verdicts;
    for (const clsMessage& m : messages) ++verdicts[verdictword(m)];

    start = Clock::now();
    filters.BlockSender("one.more@spam.example");
    const double blockTime = secondsSince(start);

    std::printf("filters: %d rules of 4 conditions, 5 lists of %d entries, loaded in %.1f ms\n",
                ruleCount, listSize, loadTime * 1000);
    std::printf("check: %d header-only messages x %d passes in %.3f s of processor time (%.3f s "
                "wall): %.0f checks/s (%.2f us each)\n",
                messageCount, passes, cpuTime, wallTime, rate, 1e6 / rate);
    std::printf("verdicts:");
    for (const auto& [word, count] : verdicts) std::printf(" %s %d", word.c_str(), count);
    std::printf("\nblock one sender (reload, add, save %d entries): %.1f ms\n", listSize + 1,
                blockTime * 1000);
    std::printf("target 50000 checks/s: %s\n", rate >= 50000 ? "met" : "NOT met");
    return 0;
}
