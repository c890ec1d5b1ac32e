// frmMailer driven through a recording view: what the tree and list show, and
// what each command leaves in the store's files and tags.
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "mailer/frmMailer.h"
#include "store/modFolders.h"
#include "store/modTags.h"
#include "support/EmlFiles.h"
#include "support/RecordingPlatform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

using namespace corva;
using namespace corva::test;

namespace {

class RecordingView : public frmMailerView {
public:
    void ClearTree() override { nodes.clear(); }
    void AddNode(int node, int, const FolderNode& look) override {
        nodes.resize(static_cast<size_t>(node) + 1);
        nodes[static_cast<size_t>(node)] = look;
    }
    void SetNode(int node, const FolderNode& look) override {
        nodes.at(static_cast<size_t>(node)) = look;
    }
    void SetWhoHeading(const std::string& h) override { heading = h; }
    void RowsReset() override { selection.clear(); }
    std::vector<long> SelectedRows() const override { return selection; }
    void SelectRows(const std::vector<long>& rows, long) override { selection = rows; }
    void ShowStatus(const std::string& text) override { statuses.push_back(text); }
    void SetUnreadButton(const std::string& caption, const std::string&) override {
        unreadCaption = caption;
    }
    void SetToolbarButton(const std::string& key, const std::string& image) override {
        buttons[key] = image;
    }
    void PreviewMessage(const std::string& path) override { previewed = path; }
    std::string PreviewSelectedText() const override { return previewSelection; }
    void OpenComposer(const EmailRequest& request) override { composers.push_back(request); }
    void ShowContacts() override { newContacts.push_back("(list)"); }
    void AddContact(const std::string& address) override { newContacts.push_back(address); }
    void OpenTool(const std::string& key) override {
        tools.push_back(key);
        // What archiving leaves behind: a folder the tree has not seen.
        if (key == "archive") MkMissingDir(MessageFolder + "Archive/Y2024");
    }

    std::vector<std::string> tools;
    std::vector<FolderNode> nodes;
    std::vector<long> selection;
    std::vector<std::string> statuses;
    std::string heading, unreadCaption, previewed, previewSelection;
    std::map<std::string, std::string> buttons;
    std::vector<EmailRequest> composers;
    std::vector<std::string> newContacts;
};

class RecordingEvents : public frmMailerEvents {
public:
    void DownloadMail() override { raised.push_back("DownloadMail"); }
    void StopTransfer() override { raised.push_back("StopTransfer"); }
    void ShowScanner() override { raised.push_back("ShowScanner"); }
    void SpoolReply(int, const std::string& to, const std::string& subject,
                    const std::string& body) override {
        raised.push_back("SpoolReply " + to + " | " + subject + " | " + body);
    }
    void EditFilters(bool isLocal, const std::string& path) override {
        raised.push_back(std::string(isLocal ? "local" : "server") + (path.empty() ? "" : " +msg"));
    }
    void ShowTraining() override { raised.push_back("ShowTraining"); }
    std::vector<std::string> raised;
};

std::string message(const std::string& subject, bool read,
                    const std::string& received = "2026-11-20 10:00:00") {
    return "From: Ann <ann@example.com>\r\nTo: bob@example.com\r\nSubject: " + subject +
           "\r\nDate: Tue, 3 Jun 2008 11:05:30 +0200\r\nMessage-ID: <" + Trim(subject) +
           received.substr(0, 10) + "@x>\r\n" + (read ? "X-Message-Read: 1\r\n" : "") +
           "X-Receive-Date: " + received + "\r\n\r\nBody of " + subject + ".\r\n";
}

class MailerTest : public ::testing::Test {
protected:
    void SetUp() override {
        home_.makeProgramFolder();
        Settings().DeleteAllSettings();
        PathsStore().DeleteAllSettings();
        NoCacheFlag = false;
        readmessagefolder();
        mailer_ = std::make_unique<frmMailer>(caches_);
        mailer_->setView(&view_);
        mailer_->setEvents(&events_);
    }
    void TearDown() override {
        mailer_.reset();
        NoCacheFlag = false;
        Settings().DeleteAllSettings();
        PathsStore().DeleteAllSettings();
    }
    // A message file named by its read state, as the store names them.
    std::string add(const std::string& folder, const std::string& name, const std::string& subject,
                    bool read, const std::string& received = "2026-11-20 10:00:00") {
        std::string path = MessageFolder + folder + (read ? LCase(name) : UCase(name));
        writeFile(path, message(subject, read, received));
        return path;
    }
    void open() {
        generatefolderini();
        mailer_->Open();
    }
    void click(const std::string& name) { mailer_->treeview1_nodeclick(mailer_->FindNode(name)); }
    std::vector<std::string> subjects() const {
        std::vector<std::string> out;
        for (long r = 0; r < mailer_->RowCount(); ++r) out.push_back(mailer_->Row(r).Subject);
        return out;
    }
    long rowOf(const std::string& subject) const {
        for (long r = 0; r < mailer_->RowCount(); ++r)
            if (mailer_->Row(r).Subject == subject) return r;
        return -1;
    }
    void select(std::vector<long> rows) { view_.selection = std::move(rows); }

    TempDir home_;
    RecordingPlatform platform_;
    platform::ScopedPlatform installed_{platform_};
    FolderCaches caches_;
    RecordingView view_;
    RecordingEvents events_;
    std::unique_ptr<frmMailer> mailer_;
};

} // namespace

TEST_F(MailerTest, OpeningShowsTheTreeAndListsTheInbox) {
    add("Inbox/", "a.eml", "alpha", false);
    add("Inbox/", "b.eml", "beta", true);
    add("Inbox/", "c.eml", "gamma", false);
    add("Sent Items/", "s.eml", "sent", true);
    open();

    ASSERT_GE(mailer_->FindNode("inbox"), 1);
    EXPECT_EQ(view_.nodes.at(0).Text, "Folders");
    // The listing rewrote the tag from what it counted.
    EXPECT_EQ(readunreadtag(MessageFolder + "Inbox/"), 2);
    EXPECT_EQ(view_.nodes.at(static_cast<size_t>(mailer_->FindNode("Inbox"))).Text, "Inbox (2)");
    EXPECT_EQ(mailer_->RowCount(), 3);
    EXPECT_EQ(view_.heading, "From");
    EXPECT_EQ(view_.statuses.back(), "3 messages in Inbox, 2 unread");
    // The last row is selected and shown, still unread.
    EXPECT_EQ(view_.selection, (std::vector<long>{2}));
    EXPECT_EQ(view_.previewed, mailer_->Row(2).Path);
    EXPECT_TRUE(FileExists(mailer_->Row(2).Path));
    EXPECT_EQ(mailer_->Row(0).Size.substr(mailer_->Row(0).Size.size() - 2), "KB");

    click("Sent Items");
    EXPECT_EQ(view_.heading, "To");
    ASSERT_EQ(mailer_->RowCount(), 1);
    EXPECT_EQ(mailer_->Row(0).Who, "bob@example.com");
    EXPECT_EQ(view_.statuses.back(), "1 message in Sent Items");
}

// A mailer's lists go with it: the next one, over another program folder,
// lists that folder's Inbox.
TEST_F(MailerTest, EachMailerListsItsOwnProgramFolder) {
    for (const char* subject : {"first", "second"}) {
        TempDir home;
        home.makeProgramFolder();
        PathsStore().DeleteAllSettings();
        readmessagefolder();
        add("Inbox/", "a.eml", subject, false);
        generatefolderini();
        frmMailer mailer;
        mailer.Open();
        ASSERT_EQ(mailer.RowCount(), 1);
        EXPECT_EQ(mailer.Row(0).Subject, subject);
    }
}

TEST_F(MailerTest, DeleteMovesIntoDeletedAsReadAndErasesThere) {
    add("Inbox/", "a.eml", "alpha", false);
    add("Inbox/", "b.eml", "beta", true);
    add("Deleted/", "a.eml", "older alpha", true); // the name is taken there
    open();
    ASSERT_EQ(mailer_->RowCount(), 2);
    select({rowOf("alpha")});
    mailer_->listview1_keyup(46, false, false);

    EXPECT_EQ(subjects(), (std::vector<std::string>{"beta"}));
    EXPECT_EQ(view_.selection, (std::vector<long>{0}));
    EXPECT_EQ(emlFilesIn(MessageFolder + "Deleted/"),
              (std::vector<std::string>{"a.eml", "a_1.eml"}));
    EXPECT_EQ(readunreadtag(MessageFolder + "Inbox/"), 0);

    // Shift+Delete is not the Delete key.
    mailer_->listview1_keyup(46, true, false);
    EXPECT_EQ(mailer_->RowCount(), 1);

    click("Deleted");
    ASSERT_EQ(mailer_->RowCount(), 2);
    select({0, 1});
    mailer_->DeleteSelected();
    EXPECT_TRUE(emlFilesIn(MessageFolder + "Deleted/").empty());
    EXPECT_EQ(view_.statuses.back(), "No messages in Deleted");
}

TEST_F(MailerTest, DroppingMovesFilesAndTheirUnreadCount) {
    add("Inbox/", "a.eml", "alpha", false);
    add("Inbox/", "b.eml", "beta", true);
    MkMissingDir(MessageFolder + "Inbox/Work");
    open();
    int work = mailer_->FindNode("Work");
    ASSERT_GT(work, 0);

    select({rowOf("beta")});
    EXPECT_FALSE(mailer_->treeview1_oledragover(mailer_->FindNode("Inbox")));
    EXPECT_FALSE(mailer_->treeview1_oledragover(mailer_->FindNode("Outbox")));
    EXPECT_FALSE(mailer_->treeview1_oledragover(0));
    mailer_->treeview1_oledragdrop(work);
    EXPECT_EQ(readunreadtag(MessageFolder + "Inbox/"), 1);
    EXPECT_EQ(readunreadtag(MessageFolder + "Inbox/Work/"), 0);

    select({rowOf("alpha")});
    mailer_->treeview1_oledragdrop(work);
    EXPECT_EQ(mailer_->RowCount(), 0);
    EXPECT_EQ(readunreadtag(MessageFolder + "Inbox/"), 0);
    EXPECT_EQ(readunreadtag(MessageFolder + "Inbox/Work/"), 1);
    // Each keeps its name's case, its read state.
    auto moved = emlFilesIn(MessageFolder + "Inbox/Work/");
    ASSERT_EQ(moved.size(), 2u);
    EXPECT_EQ(moved[0], UCase(moved[0]));
    EXPECT_EQ(moved[1], LCase(moved[1]));
    EXPECT_EQ(view_.nodes.at(static_cast<size_t>(work)).Text, "Work (1)");
}

TEST_F(MailerTest, MarksRewriteFilesIconsAndCounts) {
    std::string a = add("Inbox/", "a.eml", "alpha", false);
    add("Inbox/", "b.eml", "beta", false);
    open();
    select({rowOf("alpha")});
    mailer_->markselectedReadUnread(true);
    EXPECT_EQ(mailer_->Row(rowOf("alpha")).Path, MessageFolder + "Inbox/a.eml");
    EXPECT_TRUE(FileExists(MessageFolder + "Inbox/a.eml"));
    EXPECT_EQ(mailer_->Row(rowOf("alpha")).Icon, "blank");
    EXPECT_EQ(readunreadtag(MessageFolder + "Inbox/"), 1);

    mailer_->markselectedRepliedOrNot(true);
    mailer_->MarkPriority(true);
    EXPECT_EQ(mailer_->Row(rowOf("alpha")).Icon, "exclaimreply");
    // The flags live in the file: a fresh listing agrees.
    mailer_->ClickedRescanFolders();
    EXPECT_EQ(mailer_->Row(rowOf("alpha")).Icon, "exclaimreply");
    EXPECT_EQ(mailer_->Row(rowOf("beta")).Icon, "unread");
    // High priority alone, on a read message, shows no mark.
    select({rowOf("alpha")});
    mailer_->markselectedRepliedOrNot(false);
    EXPECT_EQ(mailer_->Row(rowOf("alpha")).Icon, "blank");
    select({rowOf("beta")});
    mailer_->MarkPriority(true);
    EXPECT_EQ(mailer_->Row(rowOf("beta")).Icon, "exclaimunread");
}

TEST_F(MailerTest, SeldupesSelectsOnlyEqualNeighbours) {
    add("Inbox/", "1.eml", "Offer", true, "2026-11-01 10:00:00");
    add("Inbox/", "2.eml", "Lunch", true, "2026-11-02 10:00:00");
    add("Inbox/", "3.eml", " offer ", true, "2026-11-03 10:00:00");
    add("Inbox/", "4.eml", "Offer", true, "2026-11-04 10:00:00");
    open();
    mailer_->SortBy(MailerColumn::ReceiveDate);
    ASSERT_EQ(subjects().front(), "Offer");
    mailer_->seldupes();
    EXPECT_EQ(view_.selection, (std::vector<long>{3})) << "the first Offer has no twin beside it";

    // Sorted, all three are neighbours; a selected row isn't compared, so the
    // third waits for the next run, after Delete.
    mailer_->SortBy(MailerColumn::Subject);
    EXPECT_EQ(subjects().front(), "Lunch");
    mailer_->seldupes();
    EXPECT_EQ(view_.selection, (std::vector<long>{2}));
    mailer_->SortBy(MailerColumn::Subject); // again: descending
    EXPECT_EQ(subjects().back(), "Lunch");
}

TEST_F(MailerTest, OutboxAndNoCacheAreReadFromTheFiles) {
    add("Outbox/", "00_outbound_1.eml", "queued", true);
    add("Inbox/", "a.eml", "alpha", true);
    open();
    click("Outbox");
    EXPECT_EQ(mailer_->RowCount(), 1);
    EXPECT_EQ(caches_.cacheindex("Outbox"), -1);
    // The Outbox node counts files, read or not.
    EXPECT_EQ(view_.nodes.at(static_cast<size_t>(mailer_->FindNode("Outbox"))).Text, "Outbox (1)");
    add("Outbox/", "00_outbound_2.eml", "queued too", true);
    click("Outbox");
    EXPECT_EQ(mailer_->RowCount(), 2);

    // A cached folder doesn't see a file dropped in behind its back...
    click("Inbox");
    add("Inbox/", "b.eml", "beta", true);
    click("Inbox");
    EXPECT_EQ(mailer_->RowCount(), 1);
    // ...unless the cache is turned off.
    NoCacheFlag = true;
    click("Inbox");
    EXPECT_EQ(mailer_->RowCount(), 2);
}

TEST_F(MailerTest, NewMailInTheOpenFolderJoinsTheList) {
    add("Inbox/", "a.eml", "alpha", true);
    add("Inbox/Work/", "w.eml", "work", true);
    open();
    std::string path = MessageFolder + "Inbox/NEW.EML";
    writeFile(path, message("new", false));
    clsMessage m;
    m.CreateFromText(message("new", false), true);
    mailer_->AddNewMessage(path, MessageFolder + "Inbox/", m);
    EXPECT_EQ(subjects(), (std::vector<std::string>{"alpha", "new"}));
    EXPECT_EQ(view_.nodes.at(static_cast<size_t>(mailer_->FindNode("Inbox"))).Text, "Inbox (1)");

    std::string other = MessageFolder + "Inbox/Work/OTHER.EML";
    writeFile(other, message("other", false));
    clsMessage o;
    o.CreateFromText(message("other", false), true);
    mailer_->AddNewMessage(other, MessageFolder + "Inbox/Work/", o);
    EXPECT_EQ(mailer_->RowCount(), 2);
    EXPECT_EQ(view_.nodes.at(static_cast<size_t>(mailer_->FindNode("Work"))).Text, "Work (1)");
}

TEST_F(MailerTest, ToolbarKeys) {
    add("Inbox/", "a.eml", "alpha", false);
    add("Inbox/", "b.eml", "beta", true);
    open();
    // The reminders are frmMain's (ShowTKL); only a key nobody knows is still to come.
    for (const char* key : {"tkl", "nosuchkey"}) {
        platform_.prompts_.messages.clear();
        mailer_->Command(key);
        EXPECT_EQ(platform_.prompts_.messages.size(), std::string(key) == "tkl" ? 0u : 1u) << key;
    }
    // The composer's keys open it on the first selected message.
    view_.selection = {1};
    for (const char* key : {"newemail", "reply", "forward"}) mailer_->Command(key);
    mailer_->ContextCommand("reply");
    mailer_->ContextCommand("addcontact");
    using Kind = EmailRequest::Kind;
    ASSERT_EQ(view_.composers.size(), 4u);
    for (auto [i, kind] :
         {std::pair{0, Kind::New}, {1, Kind::Reply}, {2, Kind::Forward}, {3, Kind::Reply}}) {
        EXPECT_EQ(view_.composers[static_cast<size_t>(i)].kind, kind) << i;
        EXPECT_EQ(view_.composers[static_cast<size_t>(i)].path, i ? mailer_->Row(1).Path : "");
    }
    mailer_->Command("contacts");
    EXPECT_EQ(view_.newContacts, (std::vector<std::string>{"ann@example.com", "(list)"}));
    view_.selection.clear();

    for (const char* key : {"search", "archive", "importmail", "mailmerge"}) mailer_->Command(key);
    EXPECT_EQ(view_.tools,
              (std::vector<std::string>{"search", "archive", "importmail", "mailmerge"}));
    EXPECT_GE(mailer_->FindNode("Y2024"), 0);
    EXPECT_EQ(mailer_->OpenFolder(), MessageFolder + "Inbox/");
    for (const char* key : {"training", "editlocal", "editserver"}) mailer_->Command(key);
    select({0});
    mailer_->ContextCommand("createlocalfilter");
    EXPECT_EQ(events_.raised,
              (std::vector<std::string>{"ShowTraining", "local", "server", "local +msg"}));
    events_.raised.clear();

    mailer_->Command("upanddown");
    EXPECT_EQ(view_.buttons["upanddown"], "stop");
    mailer_->Timer2_Timer();
    EXPECT_EQ(view_.buttons["upanddown"], "");
    mailer_->Command("upanddown"); // the flashing button stops
    EXPECT_EQ(events_.raised, (std::vector<std::string>{"DownloadMail", "StopTransfer"}));
    mailer_->NotifyFinishedGettingMail("Done");
    EXPECT_EQ(view_.buttons["upanddown"], "upanddown");
    EXPECT_FALSE(mailer_->Flashing());

    mailer_->Command("unread");
    EXPECT_TRUE(ShowUnreadOnly(MessageFolder + "Inbox/"));
    EXPECT_EQ(subjects(), (std::vector<std::string>{"alpha"}));
    EXPECT_EQ(view_.unreadCaption, "Show all messages");
    mailer_->Command("unread");
    EXPECT_EQ(mailer_->RowCount(), 2);
    EXPECT_EQ(view_.unreadCaption, "Show unread messages only");
}

TEST_F(MailerTest, FolderDeletionRefusesWhatIsNotEmpty) {
    add("Inbox/Full/", "a.eml", "alpha", true);
    MkMissingDir(MessageFolder + "Inbox/Parent/Child");
    MkMissingDir(MessageFolder + "Inbox/Empty");
    writeFile(MessageFolder + "Inbox/Empty/Unread.tag", "0");
    open();
    struct Case {
        const char* folder;
        const char* text;
    };
    for (const Case& c :
         {Case{"Full", "You can't delete a folder containing messages.  Please move or delete "
                       "the messages first."},
          Case{"Parent", "You can't delete a folder containing sub-folders.  Please move or "
                         "delete the sub-folders first."}}) {
        platform_.prompts_.messages.clear();
        click(c.folder);
        mailer_->mnudeletefolder_click();
        EXPECT_EQ(platform_.prompts_.messages, (std::vector<std::string>{c.text}));
    }
    click("Empty");
    mailer_->mnudeletefolder_click();
    EXPECT_FALSE(FolderExists(MessageFolder + "Inbox/Empty"));
    EXPECT_EQ(mailer_->FindNode("Empty"), -1);
    EXPECT_EQ(mailer_->SelectedNode(), mailer_->FindNode("Inbox"));
}

TEST_F(MailerTest, SplitMessageSavesTheSelectedTextAsAPart) {
    add("Inbox/", "a.eml", "alpha", true);
    open();
    select({0});
    view_.previewSelection = "Just this piece.";
    mailer_->mnuDupeEmail();
    ASSERT_EQ(mailer_->RowCount(), 2);
    EXPECT_EQ(mailer_->Row(1).Subject, "PART: alpha");
    EXPECT_TRUE(StartsWith(fileonly(mailer_->Row(1).Path), "dupemsg")) << mailer_->Row(1).Path;
    std::string text = LoadTextFile(mailer_->Row(1).Path);
    EXPECT_NE(text.find("\r\n\r\nJust this piece."), std::string::npos);
    // A part of a part isn't marked twice.
    select({1});
    mailer_->mnuDupeEmail();
    EXPECT_EQ(mailer_->Row(2).Subject, "PART: alpha");
}

TEST_F(MailerTest, SuggestionsAppendOnceAndAnswerOnlyWithATemplate) {
    DataFolder = home_.path();
    add("Inbox/", "a.eml", "Verified idea", true);
    writeFile(DataFolder + "DB/Wishes.TXT", "");
    writeFile(DataFolder + "DB/Bugs.txt", "");
    writeFile(DataFolder + "DB/notes.doc", "");
    open();
    select({0});
    EXPECT_EQ(mailer_->SuggestionMenu(), (std::vector<std::string>{"Bugs", "Wishes"}));

    // No template: the message is kept, nobody is answered.
    mailer_->mnuSug_Click("Wishes");
    std::string list = LoadTextFile(DataFolder + "DB/Wishes.TXT");
    EXPECT_TRUE(StartsWith(list, "Ann <ann@example.com>\r\n")) << list;
    EXPECT_NE(list.find("Body of Verified idea."), std::string::npos);
    EXPECT_NE(list.find("Message-ID: <Verified idea2026-11-20@x>\r\n"), std::string::npos);
    EXPECT_TRUE(events_.raised.empty());

    // Again: the list is left as it was, and the template now answers.
    writeFile(DataFolder + "AutoReply/Good Suggestion.txt", "@Progname@ has it.\r\n");
    writeFile(MessageFolder + "sig.txt", "-- Corva");
    mailer_->mnuSug_Click("Wishes");
    EXPECT_EQ(LoadTextFile(DataFolder + "DB/Wishes.TXT"), list);
    ASSERT_EQ(events_.raised.size(), 1u);
    EXPECT_EQ(events_.raised[0], "SpoolReply ann@example.com | RE: idea | Hi, and thanks for your "
                                 "email\r\nWishes has it.\r\n-- Corva\r\n> Body of Verified "
                                 "idea.\r\n");
    DataFolder.clear();
}

TEST_F(MailerTest, ACachedRowFindsItsSubjectCharsetInItsFile) {
    std::string koi8 = "=?koi8-r?B?8NLJ18XULCDNydI=?=";
    add("Inbox/", "k.eml", koi8, true);
    add("Inbox/", "a.eml", "plain", true);
    open();
    // The second listing comes from the cache, which keeps no header text.
    click("Outbox");
    click("Inbox");
    long row = rowOf("\xf0\xd2\xc9\xd7\xc5\xd4, \xcd\xc9\xd2");
    ASSERT_GE(row, 0);
    EXPECT_EQ(LCase(mailer_->RowToShow(row).SubjectCharset), "koi8-r");
    EXPECT_EQ(mailer_->RowToShow(rowOf("plain")).SubjectCharset, "");
}
