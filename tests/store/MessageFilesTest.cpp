// Message files: the read state in the case of the file's name, header reads,
// and files that are damaged or not files at all.
#include "StoreFixture.h"

#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "store/modMessageFiles.h"

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

using namespace corva;
using namespace corva::test;
namespace fs = std::filesystem;

namespace {
std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(folder))
        if (e.path().extension() != ".tag") names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}
} // namespace

TEST_F(StoreTest, ReadStateLivesInTheCaseOfTheFileNameAndMarkingRenames) {
    fs::create_directories(inbox() + "Mixed Case");
    std::string folder = inbox() + "Mixed Case/";
    std::string path = getunusedfilename(false, folder, "Lunch on Friday?", ".eml");
    EXPECT_TRUE(StartsWith(path, folder)) << "folders keep their case";
    EXPECT_EQ(fileonly(path), UCase(fileonly(path)));

    clsMessage m;
    m.CreateFromText(messageText({}), false);
    m.setFilename(path);
    savemessage(m);
    ASSERT_EQ(namesIn(folder).size(), 1u);
    EXPECT_EQ(namesIn(folder)[0], fileonly(path));

    auto read = readfullmessage(path);
    EXPECT_FALSE(read->Read);
    read->Read = true;
    savemessage(*read);
    ASSERT_EQ(namesIn(folder), std::vector<std::string>{LCase(fileonly(path))});
    auto again = readmessageheader(folder + LCase(fileonly(path)));
    EXPECT_TRUE(again->Read);
    EXPECT_EQ(again->Filename(), folder + LCase(fileonly(path)));
    EXPECT_NE(readFile(again->Filename()).find("X-Message-Read: 1\r\n"), std::string::npos);

    // Marking unread again goes back to upper case; reading by either spelling works.
    again->Read = false;
    savemessage(*again);
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{fileonly(path)});
    EXPECT_EQ(readmessageheader(folder + LCase(fileonly(path)))->Subject, "Hello");

    // Empty raw text removes the message and writes nothing.
    clsMessage empty;
    empty.setFilename(path);
    savemessage(empty);
    EXPECT_TRUE(namesIn(folder).empty());

    // A name of mixed case, as an import brings it, leaves one file when marked.
    writeFile(folder + "Brought In.eml", messageText({}));
    auto brought = readfullmessage(folder + "Brought In.eml");
    brought->Read = true;
    savemessage(*brought);
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"brought in.eml"});
}

TEST_F(StoreTest, HeaderReadsKeepOnlyTheHeader) {
    // LF-only lines become CR LF lines and parse, with or without a body.
    writeFile(inbox() + "LF.EML", "From: lf@example.com\nSubject: lines\n");
    auto m = readmessageheader(inbox() + "LF.EML");
    EXPECT_EQ(m->Subject, "lines");
    EXPECT_EQ(m->From, "lf@example.com");
    writeFile(inbox() + "LFBODY.EML", "Subject: unix\nFrom: lf@example.com\n\nline 1\nline 2\n");
    m = readfullmessage(inbox() + "LFBODY.EML");
    EXPECT_EQ(m->Subject, "unix");
    EXPECT_EQ(m->MessageBody, "line 1\r\nline 2\r\n");

    // A blank line past the first 10,000 bytes: the header is cut there.
    std::string longHeader = "Subject: long\r\nX-Pad: " + std::string(12000, 'p') + "\r\n\r\nbody";
    writeFile(inbox() + "LONG.EML", longHeader);
    m = readmessageheader(inbox() + "LONG.EML");
    EXPECT_EQ(m->Subject, "long");
    EXPECT_EQ(m->Size, 12.0f); // from the file, not from what was read

    // A body is never parsed by a header read.
    MessageSpec sample;
    sample.body = "Subject: not this one\r\n\r\n";
    std::string path = addMessage("Inbox/", "BODY.EML", sample);
    EXPECT_EQ(readmessageheader(path)->Subject, "Hello");
    EXPECT_TRUE(readmessageheader(path)->MessageBody.find("not this one") == std::string::npos);
    EXPECT_EQ(readfullmessage(path)->Size, 1.0f);

    // No X-Receive-Date: the file's date stands in.
    EXPECT_EQ(readmessageheader(path)->ReceiveDate, FileDate(path).format("yyyy-mm-dd hh:nn:ss"));

    // 1.5 KB rounds to 2 (ties to even), 2.5 KB to 2.
    writeFile(inbox() + "A.EML", messageText({}) + std::string(1536 - messageText({}).size(), 'a'));
    writeFile(inbox() + "B.EML", messageText({}) + std::string(2560 - messageText({}).size(), 'b'));
    EXPECT_EQ(readmessageheader(inbox() + "A.EML")->Size, 2.0f);
    EXPECT_EQ(readmessageheader(inbox() + "B.EML")->Size, 2.0f);
}

TEST_F(StoreTest, FilesThatCannotBeMessagesGiveEmptyMessagesAndARecord) {
    ResetLastActions();
    writeFile(inbox() + "EMPTY.EML", "");
    auto m = readmessageheader(inbox() + "EMPTY.EML");
    EXPECT_TRUE(m->Filename().empty());
    EXPECT_TRUE(lastActionsHold("Empty message file"));

    ASSERT_EQ(::mkfifo((inbox() + "PIPE.EML").c_str(), 0600), 0);
    m = readmessageheader(inbox() + "PIPE.EML"); // must not block
    EXPECT_TRUE(m->Filename().empty());
    EXPECT_TRUE(lastActionsHold("PIPE.EML is not a message file"));

    fs::create_symlink(inbox() + "GONE.EML", inbox() + "LINK.EML");
    m = readfullmessage(inbox() + "LINK.EML");
    EXPECT_TRUE(m->Filename().empty());
    EXPECT_TRUE(lastActionsHold("LINK.EML"));

    // Unreadable (root reads anything, so only for others).
    if (::geteuid() != 0) {
        std::string locked = addMessage("Inbox/", "LOCKED.EML", {});
        ::chmod(locked.c_str(), 0);
        EXPECT_TRUE(readmessageheader(locked)->Filename().empty());
        EXPECT_TRUE(lastActionsHold("Permission denied(70)"));
    }

    // Missing altogether: empty, and nothing to report.
    ResetLastActions();
    EXPECT_TRUE(readmessageheader(inbox() + "NOPE.EML")->Filename().empty());
    EXPECT_TRUE(LastActionEntries().empty());
}

// Training's read gives every field the word counts use as the full read does,
// including for the names and files only the full reader's fallbacks handle.
TEST_F(StoreTest, WordCountReadAgreesWithTheFullRead) {
    MessageSpec html;
    html.body = "<p>Visit <a href=\"http://x.example/\">us</a></p>\r\n";
    const std::string htmlText =
        Replace(messageText(html), "Subject: Hello", "Subject: Hello\r\nContent-Type: text/html");
    writeFile(inbox() + "HTML.EML", htmlText);
    writeFile(inbox() + "LF.EML", "Subject: unix\nX-Message-Read: 1\n\nline 1\nline 2\n");
    writeFile(inbox() + "EMPTY.EML", "");
    writeFile(inbox() + "BACK\\SLASH.EML", messageText({}));
    ASSERT_EQ(::mkfifo((inbox() + "PIPE.EML").c_str(), 0600), 0);
    addMessage("Inbox/", "UPPER.EML", {});
    auto wordBody = [](const clsMessage& m) {
        return m.HtmlStrippedBody.empty() ? m.StrippedBody : m.HtmlStrippedBody;
    };
    for (const std::string name : {"HTML.EML", "LF.EML", "EMPTY.EML", "BACK\\SLASH.EML", "PIPE.EML",
                                   "upper.eml", "NOPE.EML"}) {
        SCOPED_TRACE(name);
        ResetLastActions();
        auto full = readfullmessage(inbox() + name);
        const auto fullRecord = LastActionEntries().size();
        ResetLastActions();
        auto counted = readmessageforwordcount(inbox() + name);
        EXPECT_EQ(LastActionEntries().size(), fullRecord);
        EXPECT_EQ(counted->Headers, full->Headers);
        EXPECT_EQ(counted->Subject, full->Subject);
        EXPECT_EQ(counted->Read, full->Read);
        EXPECT_EQ(counted->ContentTypeMain, full->ContentTypeMain);
        EXPECT_EQ(wordBody(*counted), wordBody(*full));
    }
    EXPECT_EQ(readmessageforwordcount(inbox() + "HTML.EML")->HtmlStrippedBody, "Visit us");
}
