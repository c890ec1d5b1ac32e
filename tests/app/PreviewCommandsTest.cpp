// "corva show" and "corva save-attachments" run as the user runs them.
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace corva::test {
namespace {

namespace fs = std::filesystem;

// A command's output (both streams) and exit status; arguments are quoted for
// the shell, none of them holds a quote.
std::pair<std::string, int> shellOut(const std::string& command) {
    std::string out;
    FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (!pipe) return {"", -1};
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
    int status = ::pclose(pipe);
    return {out, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

std::pair<std::string, int> corvaOut(const std::string& args) {
    return shellOut(std::string(CORVA_EXE) + " " + args);
}

TEST(PreviewCommands, ShowPrintsThePreviewAndSaveKeepsFilesInTheFolder) {
    TempDir home, dir;
    writeFile(dir.file("m.eml"),
              "From: Ann <ann@example.com>\r\nTo: bob@example.com\r\nSubject: "
              "=?koi8-r?Q?=F3=DF=C5=DB=D8?=\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; "
              "boundary=b\r\n\r\n--b\r\nContent-Type: text/plain; charset=koi8-r\r\n\r\n"
              "\xf3\xdf\xc5\xdb\xd8, see www.example.org. \x1b[2J\r\n--b\r\nContent-Type: "
              "text/plain; name=\"../../../evil.sh\"\r\nContent-Disposition: attachment; "
              "filename=\"/tmp/../../evil.sh\"\r\n\r\necho hi\r\n--b--\r\n");
    const std::string options = "--home '" + home.path() + "' ";

    auto [shown, status] = corvaOut(options + "show '" + dir.file("m.eml") + "'");
    EXPECT_EQ(status, 0) << shown;
    for (const char* part : {"From: Ann <ann@example.com> To: bob@example.com\n",
                             "Subject: Съешь\n", "Съешь, see www.example.org. \\x1b[2J\n",
                             "Links:\n  1. www.example.org\n", "Attachments:\n  1. "})
        EXPECT_NE(shown.find(part), std::string::npos) << part << "\n" << shown;
    EXPECT_TRUE(fs::is_empty(home.path())) << "show wrote into the program folder";

    const std::string out = dir.path() + "out";
    auto [saved, saveStatus] =
        corvaOut(options + "save-attachments '" + dir.file("m.eml") + "' '" + out + "'");
    EXPECT_EQ(saveStatus, 0) << saved;
    size_t files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(dir.path())) {
        if (!entry.is_regular_file() || entry.path().filename() == "m.eml") continue;
        ++files;
        EXPECT_EQ(entry.path().parent_path(), fs::path(out)) << entry.path();
    }
    EXPECT_EQ(files, 1u) << saved;
}

TEST(PreviewCommands, PrintWritesThePdfWithEveryLineAndNumberedPages) {
    TempDir home, dir;
    std::string body;
    for (int i = 1; i <= 150; ++i) body += "Line number " + std::to_string(i) + " of the body\r\n";
    writeFile(dir.file("m.eml"), "From: Ann <ann@example.com>\r\nTo: bob@example.com\r\nCc: "
                                 "carl@example.com\r\nSubject: Quarterly report\r\nDate: Tue, 3 "
                                 "Jun 2008 11:05:30 +0200\r\n\r\n" +
                                     body);
    const std::string pdf = dir.file("m.pdf");
    auto [said, status] = corvaOut("--home '" + home.path() + "' print '" + dir.file("m.eml") +
                                   "' --pdf '" + pdf + "'");
    ASSERT_EQ(status, 0) << said;
    auto [text, textStatus] = shellOut("pdftotext -layout '" + pdf + "' -");
    ASSERT_EQ(textStatus, 0) << text;
    for (const char* part : {"From:", "Ann <ann@example.com>", "To:", "bob@example.com",
                             "Cc:", "carl@example.com", "Date:", "Subject:", "Quarterly report"})
        EXPECT_NE(text.find(part), std::string::npos) << part;
    for (int i = 1; i <= 150; ++i)
        EXPECT_NE(text.find("Line number " + std::to_string(i) + " of the body"), std::string::npos)
            << i;
    auto [info, infoStatus] = shellOut("pdfinfo '" + pdf + "'");
    const size_t at = info.find("Pages:");
    ASSERT_NE(at, std::string::npos) << info;
    const int pages = std::stoi(info.substr(at + 6));
    EXPECT_GE(pages, 2);
    EXPECT_NE(said.find("Printed " + std::to_string(pages) + " pages into " + pdf + "\n"),
              std::string::npos)
        << said;
    EXPECT_NE(text.find("Page " + std::to_string(pages) + " of " + std::to_string(pages)),
              std::string::npos);
    EXPECT_TRUE(fs::is_empty(home.path())) << "print wrote into the program folder";
}

} // namespace
} // namespace corva::test
