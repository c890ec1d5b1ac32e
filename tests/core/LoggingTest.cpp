// The run log's line format and the ring of the last 40 actions.
#include "core/ErrorHandler.h"
#include "core/ErrorReport.h"
#include "core/mSHAREDLogging.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

using namespace corva;
using corva::test::readFile;
using corva::test::TempDir;

namespace {
class Logging : public ::testing::Test {
protected:
    void SetUp() override { dir.makeProgramFolder(); }
    TempDir dir;
};
} // namespace

TEST_F(Logging, FreshLogHasItsHeaderAndLaterLinesAppend) {
    // A line's text starts at the next print column after the time.
    std::string line = LogLine("hello");
    EXPECT_EQ(line[2], ':');
    EXPECT_EQ(line.substr(8), std::string(6, ' ') + "hello");
    LogAction("Corva version x startup.", true);
    LogAction("Loading settings");
    FlushLog();
    std::string log = readFile(dir.file("log.txt"));
    EXPECT_NE(log.find("Log file created "), std::string::npos);
    EXPECT_NE(log.find("Operating System: "), std::string::npos);
    EXPECT_NE(log.find("App: Corva\r\n"), std::string::npos);
    EXPECT_LT(log.find("startup."), log.find("Loading settings"));
    EXPECT_EQ(log.substr(log.size() - 2), "\r\n");
}

TEST_F(Logging, FortyFirstActionFlushesTheRingAndStartsAgain) {
    for (int i = 1; i <= 40; ++i) RecordAction("action " + std::to_string(i), "proc", "mod");
    EXPECT_EQ(readFile(dir.file("log.txt")), "");
    RecordAction("action 41");
    FlushLog();
    std::string log = readFile(dir.file("log.txt"));
    EXPECT_NE(log.find("Listing last 40 actions: "), std::string::npos);
    EXPECT_NE(log.find(" >> 1: action 1 in proc of module mod - "), std::string::npos);
    EXPECT_NE(log.find(" >> 40: action 40 in proc of module mod"), std::string::npos);
    EXPECT_NE(log.find("End of actions list"), std::string::npos);
    auto ring = LastActionEntries();
    ASSERT_EQ(ring.size(), 40u);
    EXPECT_EQ(ring.front(), "action 2 in proc of module mod"); // oldest first
    EXPECT_EQ(ring.back(), "action 41");
}

TEST_F(Logging, DebugEntriesWrapWithoutWritingTheLog) {
    for (int i = 0; i < 45; ++i) RecordDebug("d");
    EXPECT_EQ(readFile(dir.file("log.txt")), "");
    EXPECT_EQ(LastActionEntries().back(), "DBG: d");
}

TEST_F(Logging, FailedStepIsRecordedAndTheProcedureGoesOn) {
    int after = 0;
    LogAction("before the failure");
    guarded("cmdfind_click", "frmFilters", [] { throw RunError(Err::InvalidCall); });
    ++after;
    EXPECT_EQ(after, 1);
    // Buffered lines reach the disk before anything else can go wrong.
    EXPECT_NE(readFile(dir.file("log.txt")).find("before the failure"), std::string::npos);
    ASSERT_FALSE(LastActionEntries().empty());
    EXPECT_EQ(LastActionEntries().back(),
              "Invalid procedure call or argument(5) in cmdfind_click of module frmFilters");
    EXPECT_EQ(guardedValue("x", "y", 42, []() -> int { throw std::bad_alloc(); }), 42);
    EXPECT_EQ(LastActionEntries().back(), "Out of memory(7) in x of module y");
    // A library's own words never reach the ring: the description of the number does.
    guarded("p", "m", [] { (void)std::string("ab").substr(5); });
    EXPECT_EQ(LastActionEntries().back(), "Subscript out of range(9) in p of module m");

    // A place that can't go on records and then reports, once, in the same words.
    std::vector<std::string> reports;
    SetErrorReportHandler([&](const std::string& text) { reports.push_back(text); });
    EXPECT_FALSE(reported("DataArrival", "frmGetMail", [] { throw std::runtime_error("lib"); }));
    SetErrorReportHandler({});
    EXPECT_EQ(reports, std::vector<std::string>{"Error 5 - Invalid procedure call or argument in "
                                                "DataArrival of frmGetMail"});
    const auto& ring = LastActionEntries();
    EXPECT_EQ(ring[ring.size() - 2],
              "Invalid procedure call or argument(5) in DataArrival of module frmGetMail");
}
