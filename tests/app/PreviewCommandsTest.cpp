// The mailer's and the tools' commands run as the user runs them: show,
// save-attachments and print, and the store's moves, searches and transfers.
#include "AppRunner.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <strings.h>

namespace corva::test {
namespace {

namespace fs = std::filesystem;

// The message files in a folder.
size_t mailFiles(const std::string& folder) {
    size_t count = 0;
    for (const auto& e : fs::directory_iterator(folder))
        count += strcasecmp(e.path().extension().c_str(), ".eml") == 0;
    return count;
}

// The corva executable's output, both streams, and its exit status.
Outcome corvaOut(const std::string& args) {
    return runShell(std::string(CORVA_EXE) + " " + args, true);
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

    const Outcome show = corvaOut(options + "show '" + dir.file("m.eml") + "'");
    const std::string& shown = show.out;
    EXPECT_EQ(show.status, 0) << shown;
    for (const char* part : {"From: Ann <ann@example.com> To: bob@example.com\n",
                             "Subject: Съешь\n", "Съешь, see www.example.org. \\x1b[2J\n",
                             "Links:\n  1. www.example.org\n", "Attachments:\n  1. "})
        EXPECT_NE(shown.find(part), std::string::npos) << part << "\n" << shown;
    EXPECT_TRUE(fs::is_empty(home.path())) << "show wrote into the program folder";

    const std::string out = dir.path() + "out";
    Outcome saved =
        corvaOut(options + "save-attachments '" + dir.file("m.eml") + "' '" + out + "'");
    EXPECT_EQ(saved.status, 0) << saved.out;
    size_t files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(dir.path())) {
        if (!entry.is_regular_file() || entry.path().filename() == "m.eml") continue;
        ++files;
        EXPECT_EQ(entry.path().parent_path(), fs::path(out)) << entry.path();
    }
    EXPECT_EQ(files, 1u) << saved.out;
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
    auto [status, said, unused] = corvaOut("--home '" + home.path() + "' print '" +
                                           dir.file("m.eml") + "' --pdf '" + pdf + "'");
    ASSERT_EQ(status, 0) << said;
    auto [textStatus, text, errors] = runShell("pdftotext -layout '" + pdf + "' -");
    ASSERT_EQ(textStatus, 0) << text;
    for (const char* part : {"From:", "Ann <ann@example.com>", "To:", "bob@example.com",
                             "Cc:", "carl@example.com", "Date:", "Subject:", "Quarterly report"})
        EXPECT_NE(text.find(part), std::string::npos) << part;
    for (int i = 1; i <= 150; ++i)
        EXPECT_NE(text.find("Line number " + std::to_string(i) + " of the body"), std::string::npos)
            << i;
    const std::string info = runShell("pdfinfo '" + pdf + "'").out;
    const size_t at = info.find("Pages:");
    ASSERT_NE(at, std::string::npos) << info;
    const int pages = std::stoi(info.substr(at + 6));
    EXPECT_GE(pages, 2);
    EXPECT_NE(said.find("Printed " + std::to_string(pages) + " pages into " + pdf + "\n"),
              std::string::npos)
        << said;
    for (int p = 1; p <= pages; ++p)
        EXPECT_NE(text.find("Page " + std::to_string(p) + " of " + std::to_string(pages)),
                  std::string::npos);
    EXPECT_TRUE(fs::is_empty(home.path())) << "print wrote into the program folder";
}

// One store taken through the commands in turn: each step's exit status, its
// key output line and where the files went.
TEST(MailerCommands, EachStepSaysWhatItDidAndRefusesWhatIsNotThere) {
    TempDir home, dir;
    const std::string store = home.path() + "Messages/";
    auto mail = [](const std::string& subject, bool read) {
        return "From: Ann <ann@example.com>\r\nTo: bob@example.com\r\nSubject: " + subject +
               "\r\nDate: Mon, 2 Jan 2023 10:00:00 +0000\r\nX-Receive-Date: 2023-01-02 "
               "10:00:00\r\n" +
               (read ? "X-Message-Read: 1\r\n" : "") + "\r\nText.\r\n";
    };
    writeFile(home.file("Corva.ini"), "TITLE0,Work\r\nSERVER0,pop.example.org\r\nUNAME0,ann\r\n"
                                      "REPLYADDRESS0,ann@example.org\r\n");
    writeFile(store + "Inbox/OFFER.EML", mail("Offer viagra", false));
    writeFile(store + "Inbox/b.eml", mail("Hello", true));
    writeFile(store + "Inbox/c.eml", mail("hello", true));
    writeFile(store + "Inbox/d.eml", mail("Minutes", true));
    fs::create_directories(store + "Work");
    fs::create_directories(store + "Junk");
    writeFile(home.file("LocalRules.txt"),
              "Filtername, Pills\r\nFilterField, Subject:\r\n"
              "FilterComparison, cnt\r\nFilterString, viagra\r\n"
              "FilterAction, 2\r\nFilterDest, Junk\r\nFilterStop, -1\r\n");
    writeFile(dir.file("data.csv"), "$NAME,$EMAIL\r\nCarl,carl@example.net\r\n");
    writeFile(dir.file("letter.txt"), "Subject: For $NAME\r\nDear $NAME,\r\n");
    const std::string mbox = dir.file("out.mbox");
    const struct {
        std::string args;
        int status;
        std::string said;  // a line the output holds
        std::string there; // a file whose name starts so, in any case ("" for none)
    } steps[] = {
        {"dupes Inbox", 0, "1 duplicate found", ""},
        {"dupes Nowhere", 2, "Nowhere", ""},
        {"move Work '" + store + "Inbox/d.eml'", 0, "Moved 1 message to Work", "Work/d"},
        {"move Nowhere '" + store + "Inbox/b.eml'", 2, "Nowhere", "Inbox/b"},
        {"delete '" + store + "Inbox/c.eml'", 0, "Deleted 1 message", "Deleted/c"},
        {"delete '" + store + "Inbox/missing.eml'", 1, "Deleted 0 messages", ""},
        {"apply-filters Inbox", 0, "Checked 2, moved 1", "Junk/offer"},
        {"apply-filters Nowhere", 2, "Nowhere", ""},
        {"search --subject HELLO", 0, "Hello", ""},
        {"search --from ANN --body 'text.;' --bigger 0 --subfolders --json", 0,
         "\"subject\": \"Hello\"", ""},
        {"search --folder Nowhere", 2, "Nowhere", ""},
        {"export Inbox --mbox '" + mbox + "'", 0, "Export Complete. 1", ""},
        {"import '" + mbox + "'", 0, "Import Complete. 1", ""},
        {"import '" + dir.file("none") + "'", 2, "none", ""},
        {"archive --before 2024-01-01", 0, "Archiving Complete. 3", ""},
        {"merge '" + dir.file("data.csv") + "' '" + dir.file("letter.txt") + "'", 0,
         "Merge Complete. 1 name(s) processed: 1 saved", ""},
    };
    for (const auto& step : steps) {
        auto [status, out, unused] = corvaOut("--home '" + home.path() + "' " + step.args);
        EXPECT_EQ(status, step.status) << step.args << "\n" << out;
        EXPECT_NE(out.find(step.said), std::string::npos) << step.args << "\n" << out;
        // Off a terminal there is no progress line to rewrite, only the summary.
        EXPECT_EQ(out.find('\r'), std::string::npos) << step.args << "\n" << out;
        if (step.there.empty()) continue;
        const fs::path want(store + step.there);
        const std::string stem = want.filename().string();
        bool found = false;
        for (const auto& e : fs::directory_iterator(want.parent_path()))
            found =
                found || strncasecmp(e.path().filename().c_str(), stem.c_str(), stem.size()) == 0;
        EXPECT_TRUE(found) << step.args << ": no " << step.there;
    }
    // The merge spooled its one letter.
    EXPECT_EQ(mailFiles(store + "Outbox"), 1u);
}

// A long run on a terminal rewrites one progress line, and Ctrl-C ends it
// between messages with what was done kept and counted in its summary.
TEST(MailerCommands, CtrlCEndsALongRunKeepingWhatWasDone) {
    TempDir home, dir;
    writeFile(home.file("Corva.ini"), "REPLYADDRESS0,ann@example.org\r\n");
    std::string data = "$NAME,$EMAIL\r\n";
    for (int i = 0; i < 1000; ++i) data += "N,n" + std::to_string(i) + "@example.org\r\n";
    writeFile(dir.file("data.csv"), data);
    writeFile(dir.file("letter.txt"), "Subject: Hi $NAME\r\n\r\nDear $NAME\r\n");
    bool interrupted = false;
    Outcome got =
        corva({"--home", home.path(), "merge", dir.file("data.csv"), dir.file("letter.txt")},
              {"TERM=xterm"}, "", true, [&](pid_t pid, const std::string& err) {
                  if (!interrupted && err.find("\rMerging 1/1000\x1b[K") != std::string::npos)
                      interrupted = ::kill(pid, SIGINT) == 0;
              });
    EXPECT_EQ(got.status, 1) << got.out << got.err;
    const std::string summary = "Merge stopped. ";
    ASSERT_EQ(got.out.rfind(summary, 0), 0u) << got.out;
    const size_t done = mailFiles(home.path() + "Messages/Outbox");
    EXPECT_GT(done, 0u);
    EXPECT_LT(done, 1000u);
    EXPECT_EQ(std::stoul(got.out.substr(summary.size())), done) << got.out;
}

} // namespace
} // namespace corva::test
