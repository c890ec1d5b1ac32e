// The folder tree: tree paths, folders.ini and folderlist.ini, the tree
// population and the new-folder check.
#include "StoreFixture.h"

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/mSHAREDLogging.h"
#include "store/clsMailer.h"
#include "store/modFolders.h"

#include <filesystem>

using namespace corva;
using namespace corva::test;

namespace {

struct FolderEvents : MailerListener {
    std::vector<std::pair<std::string, std::string>> added;
    int cleared = 0, finished = 0;
    void ClearFolders() override { ++cleared; }
    void AddFolder(const std::string& text, const std::string& parent) override {
        added.emplace_back(text, parent);
    }
    void FinishedAddingFolders() override { ++finished; }
};

} // namespace

TEST(FolderPaths, CountsComeOffTreeTextAndNodePathsBecomeDirectories) {
    EXPECT_EQ(removecount("Inbox (12)"), "Inbox");
    EXPECT_EQ(removecount("Inbox"), "Inbox");
    EXPECT_EQ(removecount("A (1)\\B (22)\\C"), "A\\B\\C");
    EXPECT_EQ(removecount("Broken (7"), "Broken");

    MessageFolder = "/store/Messages/";
    EXPECT_EQ(extractmessagefolder("Folders\\Inbox (3)\\Sub"), "/store/Messages/Inbox/Sub/");
    EXPECT_EQ(extractmessagefolder("Folders/Sent Items"), "/store/Messages/Sent Items/");
    EXPECT_EQ(extractmessagefolder("Folders"), "/store/Messages/");
    EXPECT_EQ(relativefolder("/store/messages/Inbox/Sub"), "Inbox/Sub/");
    EXPECT_EQ(relativefolder("/elsewhere/Inbox/"), "");
}

TEST_F(StoreTest, ReadingTheMessageFolderMakesTheBuiltInFolders) {
    for (const char* f :
         {"Inbox", "Sent Items", "Outbox", "Deleted", "Archive", "SpamBayes", "SpamBayes/BayesOld"})
        EXPECT_TRUE(FolderExists(MessageFolder + f)) << f;
    EXPECT_EQ(FoldersIniPath, MessageFolder + "folders.ini");

    std::string moved = home_.path() + "Elsewhere\\Mail";
    setmessagefolder(moved);
    EXPECT_EQ(MessageFolder, home_.path() + "Elsewhere/Mail/");
    EXPECT_TRUE(FolderExists(MessageFolder + "SpamBayes/BayesOld"));
}

TEST_F(StoreTest, FolderFilesPairLeafNamesWithTheirParents) {
    std::filesystem::create_directories(MessageFolder + "Inbox/Work/Old");
    generatefolderini();

    std::string pairs = LoadTextFile(FoldersIniPath);
    EXPECT_NE(pairs.find("Inbox\r\nFolders\r\n"), std::string::npos);
    EXPECT_NE(pairs.find("Work\r\nInbox\r\n"), std::string::npos);
    EXPECT_NE(pairs.find("Old\r\nWork\r\n"), std::string::npos);
    EXPECT_NE(pairs.find("BayesOld\r\nSpamBayes\r\n"), std::string::npos);
    // A parent stands before its children.
    EXPECT_LT(pairs.find("Inbox\r\nFolders"), pairs.find("Work\r\nInbox"));
    // The list's lines end in a backslash.
    EXPECT_NE(LoadTextFile(FolderListIniPath).find("Inbox\\Work\\Old\\\r\n"), std::string::npos);

    std::vector<std::string> folders;
    FillMailFolders(folders);
    EXPECT_EQ(folders, (std::vector<std::string>{"Archive/", "Deleted/", "Inbox/", "Inbox/Work/",
                                                 "Inbox/Work/Old/", "Outbox/", "Sent Items/",
                                                 "SpamBayes/", "SpamBayes/BayesOld/"}));

    FolderCombo combo = FillFolderCombo();
    ASSERT_GE(combo.selected, 0);
    EXPECT_EQ(combo.entries[static_cast<size_t>(combo.selected)], "/Inbox/");
    for (const auto& e : combo.entries) EXPECT_NE(e, "/Outbox/");

    // A list written with slashes still reads.
    writeFile(FolderListIniPath, "Inbox/\r\n\r\nSpamBayes\\BayesOld\\\r\n");
    folders.clear();
    FillMailFolders(folders);
    EXPECT_EQ(folders, (std::vector<std::string>{"Inbox/", "SpamBayes/BayesOld/"}));
}

TEST_F(StoreTest, TreeIsRebuiltFromTheDirectoriesWhenItsFilesAreGone) {
    clsMailer mailer;
    FolderEvents events;
    mailer.setListener(&events);
    mailer.PopulateFolders(false);
    ASSERT_TRUE(FileExists(FoldersIniPath));
    ASSERT_FALSE(events.added.empty());
    EXPECT_EQ(events.added.front(), std::make_pair(std::string("Folders"), std::string()));

    std::filesystem::create_directories(MessageFolder + "Lists");
    EraseFile(FoldersIniPath);
    events.added.clear();
    mailer.PopulateFolders(false);
    EXPECT_NE(std::find(events.added.begin(), events.added.end(),
                        std::make_pair(std::string("Lists"), std::string("Folders"))),
              events.added.end());

    // rebuild finds a folder made behind the cached files' back.
    std::filesystem::create_directories(MessageFolder + "Later");
    events.added.clear();
    mailer.PopulateFolders(true);
    EXPECT_NE(std::find(events.added.begin(), events.added.end(),
                        std::make_pair(std::string("Later"), std::string("Folders"))),
              events.added.end());
    EXPECT_EQ(events.cleared, 3);
    EXPECT_EQ(events.finished, 3);
}

TEST_F(StoreTest, FolderFileWithAnOddLineCountStopsAtTheLastPairButFinishes) {
    writeFile(FoldersIniPath, "Inbox\r\nFolders\r\n\r\nFolders\r\nWork\r\nInbox\r\nDangling");
    clsMailer mailer;
    FolderEvents events;
    mailer.setListener(&events);
    ResetLastActions();
    mailer.PopulateFolders(false);
    using P = std::pair<std::string, std::string>;
    // The blank pair is skipped, the dangling name fails and ends the walk.
    EXPECT_EQ(events.added,
              (std::vector<P>{{"Folders", ""}, {"Inbox", "Folders"}, {"Work", "Inbox"}}));
    EXPECT_EQ(events.finished, 1);
    EXPECT_TRUE(lastActionsHold("populatefolders"));
}

TEST_F(StoreTest, NewFolderNamesAreLettersAndDigitsAndMustBeFree) {
    std::string inboxPath = inbox();
    NewFolderResult r = CreateNewFolder(inboxPath, "!!!");
    EXPECT_FALSE(r.created);
    EXPECT_EQ(r.message, "Please enter a folder name");

    r = CreateNewFolder(inboxPath, "Work (old)/2024");
    ASSERT_TRUE(r.created) << r.message;
    EXPECT_EQ(r.name, "Workold2024");
    EXPECT_TRUE(FolderExists(inboxPath + "Workold2024"));
    EXPECT_NE(LoadTextFile(FoldersIniPath).find("Workold2024\r\nInbox\r\n"), std::string::npos);

    r = CreateNewFolder(inboxPath, "WORKOLD2024");
    EXPECT_FALSE(r.created);
    EXPECT_EQ(r.message, "There's already a folder called WORKOLD2024.  Please try again.");
}
