// Search, archive, import and export, mail merge over a throw-away store.
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "store/modFolders.h"
#include "support/RecordingPlatform.h"
#include "support/TempDir.h"
#include "tools/frmArchive.h"
#include "tools/frmImportMail.h"
#include "tools/frmMailMerge.h"
#include "tools/frmSearch.h"
#include "tools/modExport.h"
#include "tools/modMbox.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

// Each case names only the fields it sets.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace corva::test {
namespace {
namespace fs = std::filesystem;

struct Mail {
    std::string subject = "Hello";
    std::string from = "Ann <ann@example.com>";
    std::string to = "bob@example.com";
    std::string body = "Body text.";
    bool read = true;
    std::string received = "2026-11-20 10:00:00";
    std::string extra; // more header lines
};

std::string text(const Mail& m) {
    return "From: " + m.from + "\r\nTo: " + m.to + "\r\nSubject: " + m.subject + "\r\n" + m.extra +
           (m.read ? "X-Message-Read: 1\r\n" : "") + "X-Receive-Date: " + m.received + "\r\n\r\n" +
           m.body + "\r\n";
}

std::vector<std::string> filesIn(const std::string& folder, bool deep = false) {
    std::vector<std::string> out;
    if (!fs::exists(folder)) return out;
    auto add = [&](const fs::directory_entry& e) {
        if (e.is_regular_file() && LCase(e.path().extension().string()) == ".eml")
            out.push_back(e.path().lexically_relative(folder).string());
    };
    if (deep)
        for (const auto& e : fs::recursive_directory_iterator(folder)) add(e);
    else
        for (const auto& e : fs::directory_iterator(folder)) add(e);
    std::sort(out.begin(), out.end());
    return out;
}

// Records what a tool tells, and stops after a number of files when asked to.
std::vector<std::string> mboxMessages(const std::string& file) {
    std::istringstream in(file);
    MboxReader reader(in);
    std::vector<std::string> got;
    for (std::string m; reader.next(m);) got.push_back(m);
    return got;
}

class Recorder : public frmSearchView, public MailMergeView {
public:
    void Status(const std::string& t) override { statuses.push_back(t); }
    void AddResult(const SearchResult& r) override { subjects.push_back(r.Subject); }
    void OpenReader(const std::string& path) override { opened = path; }
    bool StopRequested() override { return ++asked >= stopAfter; }
    bool ShowDialog(frmMailMerge& dialog) override {
        dialog.DataFile = data;
        dialog.TemplateFile = templ;
        return dialog.cmdGo_click();
    }
    std::vector<std::string> statuses, subjects;
    std::string opened, data, templ;
    long asked = 0, stopAfter = 1L << 30;
};

class ToolsTest : public ::testing::Test {
protected:
    void SetUp() override {
        home_.makeProgramFolder();
        Settings().DeleteAllSettings();
        PathsStore().DeleteAllSettings();
        readmessagefolder();
    }
    void TearDown() override {
        Settings().DeleteAllSettings();
        PathsStore().DeleteAllSettings();
    }
    std::string add(const std::string& folder, const std::string& name, const Mail& m) {
        std::string path = MessageFolder + folder + (m.read ? LCase(name) : UCase(name));
        writeFile(path, text(m));
        return path;
    }
    std::vector<std::string> search(SearchQuery q) {
        if (q.Folder.empty()) q.Folder = MessageFolder + "Inbox/";
        Recorder view;
        frmSearch s;
        s.setView(&view);
        s.cmdsearch_click(q);
        std::sort(view.subjects.begin(), view.subjects.end());
        last_ = view.statuses.empty() ? "" : view.statuses.back();
        return view.subjects;
    }
    std::vector<std::string> outbox() {
        std::vector<std::string> texts;
        for (const auto& name : filesIn(MessageFolder + "Outbox/"))
            texts.push_back(readFile(MessageFolder + "Outbox/" + name));
        return texts;
    }

    TempDir home_;
    RecordingPlatform platform_;
    platform::ScopedPlatform installed_{platform_};
    std::string last_;
};

using Subjects = std::vector<std::string>;

TEST_F(ToolsTest, SearchAppliesEveryActiveTestIgnoringCase) {
    add("Inbox/", "a.eml", {.subject = "Invoice May", .body = "Please pay the total now."});
    add("Inbox/", "b.eml",
        {.subject = "Lunch",
         .from = "Bob <bob@x.org>",
         .to = "carol@example.com",
         .body = "Pay for lunch?",
         .extra = "Sender: list@lists.org\r\n"});
    add("Inbox/", "c.eml", {.subject = "Big", .body = std::string(3000, 'x')});
    add("Inbox/Sub/", "d.eml", {.subject = "Deep invoice"});
    struct Case {
        SearchQuery query;
        Subjects found;
    };
    const Case cases[] = {
        {{}, {"Big", "Invoice May", "Lunch"}},
        {{.From = "LISTS.ORG"}, {"Lunch"}}, // the Sender counts too
        {{.To = "carol"}, {"Lunch"}},
        {{.Subject = "invoice"}, {"Invoice May"}},
        {{.Message = "pay;TOTAL"}, {"Invoice May"}}, // terms joined by "and"
        {{.Message = "pay;;lunch"}, {"Lunch"}},      // an empty term matches anything
        {{.KB = "2"}, {"Big"}},
        {{.Subject = "invoice", .Subfolders = true}, {"Deep invoice", "Invoice May"}},
    };
    for (const Case& c : cases) EXPECT_EQ(search(c.query), c.found);
    EXPECT_EQ(last_, "Search Complete. Results listed below.");
    EXPECT_EQ(search({.Subject = "nothing"}), Subjects{});
    EXPECT_EQ(last_, "Search Complete. No matches found.");
    EXPECT_EQ(search({.Folder = MessageFolder + "Deleted/"}), Subjects{});
    EXPECT_EQ(last_, "There is no mail in the selected folder(s)");
}

TEST_F(ToolsTest, SearchStopsKeepingWhatItFoundAndOpensAResult) {
    for (int i = 0; i < 5; ++i) add("Inbox/", "m" + std::to_string(i) + ".eml", {});
    Recorder view;
    view.stopAfter = 2;
    frmSearch s;
    s.setView(&view);
    s.cmdsearch_click({.Folder = MessageFolder + "Inbox/"});
    EXPECT_EQ(s.Results().size(), 2u);
    EXPECT_EQ(view.statuses.back(), "Search stopped");
    s.listresults_dblclick(1);
    EXPECT_EQ(view.opened, s.Results()[1].Filename);
    EXPECT_EQ(s.Results()[1].Date.size(), 10u);
}

TEST(ArchiveRules, LimitDateFoldersAndNames) {
    EXPECT_EQ(frmArchive::LimitDate(2023, 2, 31).format("yyyy-mm-dd"), "2023-02-28");
    EXPECT_EQ(frmArchive::LimitDate(2024, 2, 30).format("yyyy-mm-dd"), "2024-02-29");
    EXPECT_EQ(frmArchive::LimitDate(2024, 4, 15).format("yyyy-mm-dd"), "2024-04-15");
    for (const char* skipped : {"SpamBayes/BayesOld/", "Archive/Y2020/", "Outbox/", "Deleted/"})
        EXPECT_TRUE(frmArchive::SkippedFolder(skipped)) << skipped;
    EXPECT_FALSE(frmArchive::SkippedFolder("Inbox/"));
    EXPECT_EQ(frmArchive::ShortenedBase("Re re re RE Hello there.EML"), "re hello there");
}

TEST_F(ToolsTest, ArchiveMovesOldReadMailIntoDatedFolders) {
    add("Inbox/", "old.eml", {.received = "2024-03-10 08:00:00"});
    add("Inbox/", "limit.eml", {.received = "2024-03-15 23:59:00"}); // the limit day counts
    add("Inbox/", "unread.eml", {.read = false, .received = "2024-01-01 08:00:00"});
    add("Inbox/", "new.eml", {.received = "2024-03-16 00:00:01"});
    add("Sent Items/", "sent.eml", {.received = "2023-12-01 08:00:00"});
    add("Deleted/", "gone.eml", {.received = "2020-01-01 08:00:00"});
    add("Inbox/", std::string(70, 'r') + ".eml", {.received = "2024-02-01 08:00:00"});
    writeFile(MessageFolder + "Inbox/empty.eml", "");

    // The window asks first; only a yes moves anything.
    frmArchive archive;
    EXPECT_FALSE(archive.cmdOK_click(2024, 3, 15));
    EXPECT_EQ(platform_.prompts_.messages.back(), "Move old messages into the Archive folder?");
    EXPECT_EQ(filesIn(MessageFolder + "Inbox/").size(), 6u);
    platform_.prompts_.answer = platform::Answer::Yes;
    EXPECT_TRUE(archive.cmdOK_click(2024, 3, 15));
    EXPECT_EQ(archive.Outcome().Moved, 4);
    EXPECT_EQ(filesIn(MessageFolder + "Inbox/"), (Subjects{"UNREAD.EML", "new.eml"}));
    EXPECT_EQ(filesIn(MessageFolder + "Archive/Y2024/M03/").size(), 2u);
    EXPECT_EQ(filesIn(MessageFolder + "Archive/Y2023/M12 Sent Items/").size(), 1u);
    const auto shortened = filesIn(MessageFolder + "Archive/Y2024/M02/");
    ASSERT_EQ(shortened.size(), 1u);
    EXPECT_LT(shortened[0].size(), 65u);
    EXPECT_EQ(filesIn(MessageFolder + "Deleted/").size(), 1u);
    // The archive folders are skipped, so a second run finds nothing new.
    EXPECT_EQ(archive.archivemail(frmArchive::LimitDate(2030, 1, 1)).Moved, 1);

    // Stop ends the run between files; what moved stays moved.
    fs::remove(MessageFolder + "Inbox/UNREAD.EML");
    add("Inbox/", "a.eml", {.received = "2024-01-01 08:00:00"});
    add("Inbox/", "b.eml", {.received = "2024-01-01 08:00:00"});
    Recorder stopper;
    stopper.stopAfter = 1;
    archive.setListener(static_cast<frmSearchView*>(&stopper));
    const ArchiveOutcome stopped = archive.archivemail(frmArchive::LimitDate(2030, 1, 1));
    EXPECT_TRUE(stopped.Stopped);
    EXPECT_EQ(stopped.Moved, 1);
    EXPECT_EQ(stopper.statuses.back(), "Archiving stopped. 1 file(s) moved");
}

TEST(Mbox, ReadingUndoesQuotingAndClosingLines) {
    struct Case {
        const char* file;
        std::vector<std::string> messages;
    };
    const Case cases[] = {
        {"", {}},
        {"junk before\n\nFrom a@b Mon Jan  1 00:00:00 2024\nSubject: x\n\nbody\n",
         {"Subject: x\n\nbody\n"}},
        {"From a Mon\nA: 1\n\n>From me\n>>From you\nFrom inside\n\nFrom b Tue\nB: 2\n\nx\n\n",
         {"A: 1\n\nFrom me\n>From you\nFrom inside\n", "B: 2\n\nx\n"}},
        {"From a\r\nA: 1\r\n\r\nbody\r\n\r\nFrom b\r\nB: 2\r\n",
         {"A: 1\r\n\r\nbody\r\n", "B: 2\r\n"}},
    };
    for (const Case& c : cases) EXPECT_EQ(mboxMessages(c.file), c.messages) << c.file;
    EXPECT_EQ(QuoteFromLines("From x\n>From y\nFrom\n"), ">From x\n>>From y\nFrom\n");
}

TEST_F(ToolsTest, MboxImportAndExportGiveBackEveryMessage) {
    const std::vector<std::string> messages = {
        "From: a@x\nSubject: One\n\nFrom the start\n>From quoted\n",
        "From: b@x\nSubject: Two\n\nline\n\nFrom here\n",
        "From: c@x\nSubject: One\n\n\n",
    };
    std::string mbox;
    for (const auto& m : messages)
        mbox += "From sender Mon Jan  1 00:00:00 2024\n" + QuoteFromLines(m) + "\n";
    writeFile(home_.file("in.mbox"), mbox);

    frmImportMail import;
    EXPECT_EQ(frmImportMail::SourceKind(home_.file("in.mbox")), ImportSource::Mbox);
    EXPECT_EQ(import.cmdimport_click(home_.file("in.mbox"), false).Imported, 3);
    EXPECT_EQ(frmImportMail::LastSource(), home_.file("in.mbox"));
    const auto stored = filesIn(frmImportMail::ImportedFolder());
    ASSERT_EQ(stored.size(), 3u);
    EXPECT_NE(readFile(frmImportMail::ImportedFolder() + stored[0]).find("\r\n\r\n"),
              std::string::npos);

    ToolListener quiet;
    ExportOutcome out =
        ExportFolderToMbox(frmImportMail::ImportedFolder(), home_.file("out.mbox"), quiet);
    EXPECT_TRUE(out.Written);
    std::vector<std::string> back = mboxMessages(readFile(home_.file("out.mbox")));
    std::vector<std::string> expected = messages;
    std::sort(expected.begin(), expected.end());
    std::sort(back.begin(), back.end());
    EXPECT_EQ(back, expected);
}

TEST_F(ToolsTest, ImportCopiesEmlFilesAndMaildirsAndStopsCleanly) {
    frmImportMail import;
    writeFile(home_.file("empty/readme.txt"), "no mail");
    EXPECT_EQ(import.cmdimport_click(home_.file("empty"), true).Imported, 0);
    EXPECT_TRUE(filesIn(frmImportMail::ImportedFolder()).empty());

    writeFile(home_.file("src/a.eml"), text({.subject = "A"}));
    writeFile(home_.file("src/deeper/b.eml"), text({.subject = "B"}));
    EXPECT_EQ(import.cmdimport_click(home_.file("src"), false).Imported, 1);
    EXPECT_EQ(import.cmdimport_click(home_.file("src"), true).Imported, 2);
    // The second a.eml takes a new name rather than writing over the first.
    EXPECT_EQ(filesIn(frmImportMail::ImportedFolder()).size(), 3u);

    writeFile(home_.file("md/cur/1.host:2,S"), "Subject: seen\n\nx\n");
    writeFile(home_.file("md/new/2.host"), "Subject: fresh\n\ny\n");
    writeFile(home_.file("md/tmp/3.host"), "Subject: half\n\n");
    EXPECT_EQ(frmImportMail::SourceKind(home_.file("md")), ImportSource::Maildir);
    Recorder stopper;
    stopper.stopAfter = 1;
    import.setListener(static_cast<frmSearchView*>(&stopper));
    ImportOutcome stopped = import.cmdimport_click(home_.file("md"), false);
    EXPECT_TRUE(stopped.Stopped);
    EXPECT_EQ(stopped.Imported, 1);
    import.setListener(nullptr);
    EXPECT_EQ(import.cmdimport_click(home_.file("md"), false).Imported, 2);
    EXPECT_EQ(filesIn(frmImportMail::ImportedFolder()).size(), 6u);
}

TEST(MailMergeRows, ColumnsAreReplacedOneAfterAnother) {
    const std::vector<std::string> header = {"$NAME", "$NAMES", "$EMAIL"};
    EXPECT_EQ(MergeRow(header, {" Jo ", "x", "j@x"}, "Hi $name, $NAMES $EMAIL $OTHER"),
              "Hi Jo, JoS j@x $OTHER");
}

TEST_F(ToolsTest, MailMergeSpoolsOneMessagePerRow) {
    sset("REPLYADDRESS0", "me@example.com");
    writeFile(home_.file("data.csv"),
              "$NAME,$EMAIL\r\nJo,jo@x.org\r\nAl,nobody\r\nShort\r\nKim,x@y,extra\r\n");
    writeFile(home_.file("t.txt"), "Subject: Hi $NAME\r\n\r\nDear $name,\r\nbye\r\n");
    Recorder view;
    view.data = home_.file("data.csv");
    view.templ = home_.file("t.txt");
    MergeOutcome outcome = DoMailMerge(view);
    EXPECT_EQ(outcome.Saved, 2);
    EXPECT_EQ(outcome.Invalid, 1);
    EXPECT_EQ(outcome.Report, "Processed 3 name(s)\r\n2 saved to the outbox and \r\n1 had invalid "
                              "email address(es) (skipped)");
    const auto spooled = outbox();
    ASSERT_EQ(spooled.size(), 2u);
    std::string all = spooled[0] + spooled[1];
    for (const char* part : {"Subject: Hi Jo", "Dear Jo,", "x@yextra", "me@example.com"})
        EXPECT_NE(all.find(part), std::string::npos) << part;
    EXPECT_EQ(sget("MergeDataFile", "").toText(), view.data);
    EXPECT_EQ(platform_.prompts_.messages.back(), outcome.Report);
}

TEST_F(ToolsTest, MailMergeRefusesBeforeSpoolingAnything) {
    writeFile(home_.file("nomail.csv"), "$NAME\r\nJo\r\n");
    writeFile(home_.file("empty.csv"), "");
    writeFile(home_.file("t.txt"), "Dear $NAME\r\n");
    writeFile(home_.file("s.txt"), "Subject: x\r\n\r\nDear $NAME\r\n");
    writeFile(home_.file("ok.csv"), "$EMAIL\r\na@b\r\n");
    struct Case {
        std::string data, templ, box;
    };
    const Case cases[] = {
        {home_.file("missing.csv"), home_.file("t.txt"), "Name list file not found"},
        {home_.file("ok.csv"), home_.file("missing.txt"), "Email template file not found"},
        {home_.file("empty.csv"), home_.file("s.txt"), "Error: One or both files are empty."},
        {home_.file("nomail.csv"), home_.file("s.txt"),
         "Error: Your mail merge data file must contain an $EMAIL field"},
        {home_.file("ok.csv"), home_.file("t.txt"),
         "Warning: Your email will have no subject line. Continue anyway?"},
    };
    for (const Case& c : cases) {
        Recorder view;
        view.data = c.data;
        view.templ = c.templ;
        EXPECT_FALSE(DoMailMerge(view).Ran) << c.box;
        EXPECT_EQ(platform_.prompts_.messages.back(), c.box);
    }
    EXPECT_TRUE(outbox().empty());
    // Going on anyway gives an empty subject and the whole text as body.
    platform_.prompts_.answer = platform::Answer::Yes;
    Recorder view;
    view.data = home_.file("ok.csv");
    view.templ = home_.file("t.txt");
    EXPECT_EQ(DoMailMerge(view).Saved, 1);
    ASSERT_EQ(outbox().size(), 1u);
    EXPECT_NE(outbox()[0].find("Dear $NAME"), std::string::npos);
}

} // namespace
} // namespace corva::test
