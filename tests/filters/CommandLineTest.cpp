// The list and check commands end to end, through the corva executable and a
// program folder of their own.
#include "core/FileSubs.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace corva::test {
namespace {

struct Outcome {
    int status = -1;
    std::string out;
};

class CommandLineTest : public ::testing::Test {
protected:
    void SetUp() override {
        corva_ = std::string(CORVA_BINARY_DIR) + "/src/app/corva";
        if (!FileExists(corva_)) GTEST_SKIP() << "corva isn't built";
        writeFile(dir.file("m.eml"),
                  "From: Ann <Ann@Casino.Example>\r\nTo: Me <me@home.example>\r\n"
                  "Subject: Cheap v1agr@\r\n\r\nBody\r\n");
    }
    Outcome corva(const std::string& words) {
        Outcome run;
        const std::string command =
            "'" + corva_ + "' --home '" + dir.path() + "' " + words + " 2>/dev/null";
        FILE* pipe = popen(command.c_str(), "r");
        if (!pipe) return run;
        char buffer[4096];
        size_t n;
        while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) run.out.append(buffer, n);
        const int status = pclose(pipe);
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return run;
    }
    std::string verdict(const std::string& options = "--headers-only") {
        Outcome run = corva("check '" + dir.file("m.eml") + "' " + options);
        return run.out.substr(0, run.out.find('\n'));
    }

    TempDir dir;
    std::string corva_;
};

TEST_F(CommandLineTest, ListCommandsAndTheVerdict) {
    EXPECT_EQ(verdict(), "PASS");
    EXPECT_EQ(corva("block sender 'Ann <ann@casino.example>'").status, 0);
    EXPECT_EQ(readFile(dir.file("Blocked.txt")), "ann@casino.example\r\n");
    Outcome check = corva("check '" + dir.file("m.eml") + "'");
    EXPECT_EQ(check.out.substr(0, 6), "BLOCK\n");
    EXPECT_NE(check.out.find("FilterReason: Sender Blocked\n"), std::string::npos);
    EXPECT_NE(check.out.find("Colour: orange (33023)\n"), std::string::npos);
    EXPECT_EQ(corva("block sender ann@casino.example").status, 1) << "already there";
    EXPECT_EQ(corva("unblock sender ann@casino.example").status, 0);
    EXPECT_FALSE(FileExists(dir.file("Blocked.txt")));

    EXPECT_EQ(corva("block domain ann@CASINO.example").status, 0);
    EXPECT_EQ(readFile(dir.file("BlockedDomains.txt")), "casino.example\r\n");
    EXPECT_EQ(corva("ignore me@home.example").status, 0);
    EXPECT_EQ(verdict(), "IGNORE");
    EXPECT_EQ(corva("unignore me@home.example").status, 0);
    EXPECT_EQ(verdict(), "BLOCK");
    EXPECT_EQ(corva("block nonsense x@y").status, 2);

    // The local set has its own rules; the score can be left out.
    EXPECT_EQ(corva("unblock domain casino.example").status, 0);
    writeFile(dir.file("LocalRules.txt"), "Filtername, Pills\r\nFilterField, Subject:\r\n"
                                          "FilterComparison, cnt\r\nFilterString, viagra\r\n"
                                          "FilterAction, 2\r\nFilterDest, Junk\\Pills\r\n");
    Outcome local = corva("check '" + dir.file("m.eml") + "' --local --no-bayes");
    EXPECT_EQ(local.out.substr(0, 5), "PASS\n");
    EXPECT_NE(local.out.find("DestFolder: Junk\\Pills\n"), std::string::npos);
    EXPECT_NE(local.out.find("FilterReason: Pills\n"), std::string::npos);
    EXPECT_EQ(corva("check '" + dir.file("missing.eml") + "'").status, 1);
}

} // namespace
} // namespace corva::test
