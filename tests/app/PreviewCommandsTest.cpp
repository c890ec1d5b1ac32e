// "corva show" and "corva save-attachments" run as the user runs them.
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace corva::test {
namespace {

namespace fs = std::filesystem;

// The command's standard output and exit status; arguments are quoted for
// the shell, none of them holds a quote.
std::pair<std::string, int> corvaOut(const std::string& args) {
    std::string out;
    FILE* pipe = ::popen((std::string(CORVA_EXE) + " " + args + " 2>&1").c_str(), "r");
    if (!pipe) return {"", -1};
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
    int status = ::pclose(pipe);
    return {out, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
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

} // namespace
} // namespace corva::test
