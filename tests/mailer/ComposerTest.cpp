// The composer's logic through a recording view: the texts of its entries,
// signatures, templates, inserts and shortcuts, the send checks, and a
// composed message spooled and then sent to a real SMTP server.
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "mailer/clsInserts.h"
#include "mailer/clsMacros.h"
#include "mailer/frmEmail.h"
#include "mailer/frmShortcuts.h"
#include "mailer/modAutoReply.h"
#include "mailer/modSignatures.h"
#include "smtp/frmSendMailWrapper.h"
#include "store/modMessageFiles.h"
#include "support/RecordingPlatform.h"
#include "support/SmtpServer.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <regex>

using namespace corva;
using namespace corva::test;

namespace {

class RecordingView : public frmEmailView {
public:
    void CloseView() override { ++closed; }
    void ShowStatus(const std::string&) override {}
    std::vector<std::string> ChooseFiles(const std::string& title,
                                         const std::string& start) override {
        chooser.push_back(title + "|" + start);
        return chosen;
    }
    bool SelectContact(std::string& name, std::string& address) override {
        name = "Carl";
        address = "carl@x.test";
        return true;
    }
    std::string SelectedText() override { return selected; }
    void OpenTicket(const clsMessage& message, const std::string& text) override {
        tickets.push_back(message.Subject + "|" + text);
    }
    int closed = 0;
    std::string selected;
    std::vector<std::string> chooser, chosen, tickets;
};

struct RepliedFiles : frmEmailEvents {
    void MarkReplied(const std::string& filename) override { files.push_back(filename); }
    std::vector<std::string> files;
};

const std::string CRLF = "\r\n";

class ComposerTest : public ::testing::Test {
protected:
    ComposerTest() : scoped_(platform_) {}
    void SetUp() override {
        home_.makeProgramFolder();
        UseDefaultFolders(home_.path());
        Settings().DeleteAllSettings();
        for (const char* folder : {"Inbox", "Outbox", "Sent Items"})
            MkMissingDir(MessageFolder + folder);
        sset("ReplyAddress0", "ann@example.com");
        email_ = std::make_unique<frmEmail>(&view_, &replied_);
    }
    void TearDown() override { Settings().DeleteAllSettings(); }

    // A message stored in the Inbox, read back as the mailer reads it.
    std::shared_ptr<clsMessage> stored(const std::string& headers, const std::string& body,
                                       const std::string& name = "msg.eml") {
        std::string path = MessageFolder + "Inbox/" + name;
        writeFile(path, headers + "\r\n" + body);
        return readfullmessage(path);
    }

    RecordingPlatform platform_;
    platform::ScopedPlatform scoped_;
    TempDir home_;
    RecordingView view_;
    RepliedFiles replied_;
    std::unique_ptr<frmEmail> email_;
};

TEST_F(ComposerTest, ReplyAddressesSubjectAndQuotedText) {
    struct Case {
        std::string replyTo, subject, body;
        bool toAll, toSender;
        std::string to, cc, newSubject, quoted;
    };
    const std::string from = "Bob Smith <bob@x.test>";
    for (const Case& c : {
             Case{"", "Lunch", "line", false, false, from, "", "Re: Lunch",
                  "Bob Smith wrote: \r\n\r\n> line\r\n> \r\n\r\n"},
             Case{"r@x.test", "RE: x", "a\r\n> b", true, false, "r@x.test", "carl@x.test", "RE: x",
                  "Bob Smith wrote: \r\n\r\n> a\r\n> > b\r\n> \r\n\r\n"},
             Case{"r@x.test", "Rep: x", "hi", false, true, from, "", "Re: Rep: x",
                  "Bob Smith wrote: \r\n\r\n> hi\r\n> \r\n\r\n"},
         }) {
        auto m = stored("From: " + from + "\r\nReply-To: " + c.replyTo +
                            "\r\nSubject: " + c.subject + "\r\nCc: carl@x.test\r\n",
                        c.body);
        email_->ReplyToMessage(m, c.toAll, c.toSender);
        const EmailFields& f = email_->Fields();
        EXPECT_EQ(f.to, c.to) << c.subject;
        EXPECT_EQ(f.cc, c.cc) << c.subject;
        EXPECT_EQ(f.subject, c.newSubject);
        // Two empty lines for the answer, the (empty) signature, then the quote.
        EXPECT_EQ(f.body, CRLF + CRLF + CRLF + c.quoted) << c.subject;
        EXPECT_EQ(f.caret, 3u);
        EXPECT_TRUE(email_->Replying());
        EXPECT_FALSE(email_->TextChanged());
    }
    auto nameless = stored("Subject: s\r\n", "q");
    EXPECT_EQ(frmEmail::quotedReply(*nameless), "You wrote: \r\n\r\n> q\r\n> \r\n\r\n");
}

TEST_F(ComposerTest, SignatureOfTheFolderElseTheDefault) {
    writeFile(MessageFolder + "sig.txt", "-- default");
    email_->WriteNewMessage("x@y.test");
    EXPECT_EQ(email_->Fields().body, CRLF + "-- default");
    EXPECT_EQ(email_->Fields().to, "x@y.test");
    EXPECT_EQ(email_->Fields().sender, 0);

    auto m = stored("From: b@x.test\r\nSubject: s\r\n", "q");
    email_->ReplyToMessage(m, false, false);
    EXPECT_TRUE(StartsWith(email_->Fields().body, CRLF + CRLF + "-- default" + CRLF));
    writeFile(MessageFolder + "Inbox/sig.txt", "-- inbox");
    email_->ReplyToMessage(m, false, false);
    EXPECT_TRUE(StartsWith(email_->Fields().body, CRLF + CRLF + "-- inbox" + CRLF));
    email_->Fields().caret = 0;
    email_->Fields().body = "";
    EXPECT_TRUE(email_->TB1_KeyDown(-1, false, true)); // Ctrl+S
    EXPECT_EQ(email_->Fields().body, "-- inbox");

    // The numbered ones by number, whatever the case of their names.
    MkMissingDir(DataFolder + "Sigs");
    for (const char* name : {"Sig10.txt", "SIG2.TXT", "Sig.txt", "Sigx.txt", "notes.txt"})
        writeFile(DataFolder + "Sigs/" + name, name);
    std::vector<std::string> captions;
    for (const EmailAttachmentRow& row : email_->SignatureMenu()) captions.push_back(row.Name);
    EXPECT_EQ(captions, (std::vector<std::string>{"Signature 2", "Signature 10"}));

    // The editor opens on the answered message's folder, else the mail root.
    EXPECT_EQ(email_->SignatureFolder(), pathonly(m->Filename()));
    email_->WriteNewMessage("");
    EXPECT_EQ(email_->SignatureFolder(), MessageFolder);
    frmSig sig(MessageFolder + "Inbox");
    EXPECT_EQ(sig.Text, "-- inbox");
    sig.cmdReadDefault_Click();
    EXPECT_EQ(sig.Text, "-- default");
    sig.Text = "-- new";
    for (platform::Answer answer : {platform::Answer::No, platform::Answer::Yes}) {
        platform_.prompts_.answer = answer;
        EXPECT_EQ(sig.cmdSetDefault_Click(), answer == platform::Answer::Yes);
    }
    EXPECT_EQ(platform_.prompts_.messages.back(),
              "This will set the default sig to the displayed text. Are you sure?");
    EXPECT_TRUE(sig.cmdOK_Click());
    EXPECT_EQ(readFile(MessageFolder + "sig.txt"), "-- new");
    EXPECT_EQ(readFile(MessageFolder + "Inbox/sig.txt"), "-- new");
}

TEST_F(ComposerTest, ForwardAsTextOrAsAttachment) {
    writeFile(MessageFolder + "sig.txt", "-- sig");
    auto m = stored("From: Bob <bob@x.test>\r\nSubject: Lunch\r\nTo: ann@example.com\r\n", "Hello");
    email_->Fields().to = "someone";
    email_->ForwardMessage(m, false);
    const std::string CR = "\r";
    EXPECT_EQ(email_->Fields().body,
              "- - - - Begin Forwarded Message: - - - - - - - - - - " + CR + CR +
                  "Original Sender: Bob <bob@x.test>" + CR + "Original Subject: Lunch" + CR + CR +
                  "Hello" + CR + CR + CR + "- - - - - End Forwarded Message: - - - - - - - - - - " +
                  CR + CR + CRLF + CRLF + "-- sig");
    EXPECT_EQ(email_->Fields().subject, "Lunch");
    EXPECT_EQ(email_->Fields().to, "");
    EXPECT_FALSE(email_->Replying());

    email_->ForwardMessage(m, true);
    EXPECT_EQ(email_->Fields().body, CRLF + CRLF + "-- sig");
    ASSERT_EQ(email_->Fields().attachments.size(), 1u);
    EXPECT_EQ(email_->Fields().attachments[0].Key, m->Filename());
}

TEST_F(ComposerTest, TemplateHeaderLines) {
    struct Case {
        std::string text;
        bool hasSubject;
        std::string subject, attachment;
        bool choose;
        std::string chooseFrom, body;
    };
    const std::string dir = "/t/";
    for (const Case& c : {
             Case{"Subject: Thanks\r\nAttachment: terms.pdf\r\nDear you", true, " Thanks",
                  "/t/terms.pdf", false, "", "Dear you"},
             Case{"SUBJECT:x\r\nbody\r\n", true, "x", "", false, "", "body\r\n"},
             Case{"Subject: LF\nAttachment: a.txt\rtext\n", true, " LF", "/t/a.txt", false, "",
                  "text\n"},
             Case{"attachment: ? /home/docs \r\ntext", false, "", "", true, "/home/docs", "text"},
             Case{"Attachment: ?\r\ntext", false, "", "", true, "", "text"},
             // One line without a line end is all text; a later header line is text too.
             Case{"Subject: only", false, "", "", false, "", "Subject: only"},
             Case{"Hi\r\nSubject: late", false, "", "", false, "", "Hi\r\nSubject: late"},
         }) {
        AutoReplyTemplate t = parseAutoReply(c.text, dir);
        EXPECT_EQ(t.hasSubject, c.hasSubject) << c.text;
        EXPECT_EQ(t.subject, c.subject) << c.text;
        EXPECT_EQ(t.attachment, c.attachment) << c.text;
        EXPECT_EQ(t.chooseAttachment, c.choose) << c.text;
        EXPECT_EQ(t.chooseFrom, c.chooseFrom) << c.text;
        EXPECT_EQ(t.text, c.body) << c.text;
    }

    // Through the menu: the subject, the chooser, the text at the caret.
    MkMissingDir(autoReplyFolder());
    writeFile(autoReplyFolder() + "Thanks.txt", "Subject: Got it\r\nAttachment: ?\r\nThank you.");
    email_->WriteNewMessage("");
    ASSERT_EQ(email_->AutoReplyMenu().size(), 1u);
    EXPECT_EQ(email_->AutoReplyMenu()[0].Name, "Thanks");
    view_.chosen = {"/tmp/a.pdf"};
    email_->Fields().caret = 0;
    email_->InsertAutoReply(email_->AutoReplyMenu()[0].Key);
    EXPECT_EQ(email_->Fields().subject, " Got it");
    EXPECT_EQ(view_.chooser, (std::vector<std::string>{"Select file(s) to attach|"}));
    EXPECT_EQ(email_->Fields().attachments.at(0).Key, "/tmp/a.pdf");
    EXPECT_EQ(email_->Fields().body, "Thank you.\r\n");
    EXPECT_EQ(email_->Fields().caret, 10u);
    EXPECT_TRUE(email_->TextChanged());
}

TEST_F(ComposerTest, InsertsRoundTripAndGoInAtTheCaret) {
    writeFile(DataFolder + "Inserts.txt",
              "Greeting\r\ngreet.txt\r\n  \r\nlost.txt\r\nBye\r\nbye.txt\r\n");
    clsInserts inserts;
    inserts.loadinserts();
    ASSERT_EQ(inserts.Count(), 2);
    EXPECT_EQ(inserts.Insert(2).Title, "Bye");
    ASSERT_TRUE(inserts.saveinserts());
    EXPECT_EQ(readFile(DataFolder + "Inserts.txt"), "Greeting\r\ngreet.txt\r\nBye\r\nbye.txt\r\n");

    writeFile(DataFolder + "greet.txt", "X");
    email_->WriteNewMessage("");
    ASSERT_EQ(email_->InsertMenu().size(), 2u);
    for (auto [caret, selection, expected] :
         {std::tuple{0u, 0u, "XAB"}, {2u, 0u, "ABX"}, {1u, 0u, "AXB"}, {0u, 1u, "XB"}}) {
        email_->Fields().body = "AB";
        email_->Fields().caret = caret;
        email_->Fields().selectionLength = selection;
        email_->InsertFile("greet.txt");
        EXPECT_EQ(email_->Fields().body, expected);
        EXPECT_EQ(email_->Fields().caret, caret + 1);
    }
    email_->InsertFile("bye.txt");
    EXPECT_EQ(platform_.prompts_.messages.back(), "bye.txt is either missing or empty");
}

TEST_F(ComposerTest, ShortcutsMacrosAndTheirKeys) {
    frmShortcuts shortcuts;
    shortcuts.Form_Load();
    EXPECT_EQ(shortcuts.Text(10), "Shortcut 10");
    shortcuts.setText(3, "Kind regards");
    shortcuts.setText(10, "ten");
    shortcuts.cmdOK_Click();
    EXPECT_EQ(sget("Shortcut_10").toText(), "ten");

    email_->ReadMessage(stored("From: b@x.test\r\nSubject: s\r\n", "q"));
    EXPECT_FALSE(email_->TB1_KeyDown(3, true, false)); // only while writing
    email_->WriteNewMessage("");
    email_->Fields().body.clear();
    email_->Fields().caret = 0;
    EXPECT_TRUE(email_->TB1_KeyDown(3, true, false));
    EXPECT_TRUE(email_->TB1_KeyDown(0, true, false));
    EXPECT_FALSE(email_->TB1_KeyDown(3, false, false));
    EXPECT_EQ(email_->Fields().body, "Kind regardsShortcut 0");

    writeFile(DataFolder + "macros.txt", "brb be right back\r\nty thank you\r\n");
    clsMacros macros;
    EXPECT_EQ(macros.SwapWord(" TY "), "thank you");
    EXPECT_EQ(macros.SwapWord("nope"), "");

    email_->Command("readaloud"); // no speech engine here
    EXPECT_EQ(platform_.prompts_.messages.back(), NoSpeechEngineText);
}

TEST_F(ComposerTest, SendChecksKeepTheWindowOpen) {
    struct Case {
        int sender;
        std::string to;
        platform::Answer answer;
        std::string said;
        bool sent;
    };
    for (const Case& c : {
             Case{1, "x@y.test", platform::Answer::Ok, "Please choose a valid sender account",
                  false},
             Case{0, "  ", platform::Answer::Ok, "Please enter a 'To:' address", false},
             Case{0, "bob", platform::Answer::Cancel,
                  "'To:' email address (bob) does not seem to be valid. Click 'Cancel' to change "
                  "it or 'OK' to continue.",
                  false},
             Case{0, "bob", platform::Answer::Ok,
                  "'To:' email address (bob) does not seem to be valid. Click 'Cancel' to change "
                  "it or 'OK' to continue.",
                  true},
         }) {
        platform_.prompts_.messages.clear();
        platform_.prompts_.answer = c.answer;
        email_->WriteNewMessage("");
        email_->Fields().sender = c.sender;
        email_->Fields().to = c.to;
        EXPECT_EQ(email_->Send(), c.sent) << c.to;
        EXPECT_EQ(platform_.prompts_.messages.empty() ? "" : platform_.prompts_.messages[0],
                  c.said);
    }
    EXPECT_EQ(view_.closed, 1);
    EXPECT_EQ(frmEmail::cleanCopyList("a@x, b@y ; c@z"), "a@x;b@y;c@z");
}

TEST_F(ComposerTest, AttachmentsContactsAndClosing) {
    email_->WriteNewMessage("bob@x.test");
    view_.chosen = {"/tmp/a.pdf", "/tmp/b.txt", "/tmp/a.pdf", "/tmp/c.doc"};
    email_->Command("attach");
    EXPECT_EQ(view_.chooser, (std::vector<std::string>{"Select file(s) to attach|"}));
    email_->RemoveAttachments({1, 0, 1});
    ASSERT_EQ(email_->Fields().attachments.size(), 1u);
    EXPECT_EQ(email_->Fields().attachments[0].Name, "c.doc");
    EXPECT_EQ(email_->Fields().attachments[0].Key, "/tmp/c.doc");

    email_->cmdPicTo_Click(false);
    email_->cmdPicTo_Click(true);
    EXPECT_EQ(email_->Fields().to, "bob@x.test; Carl <carl@x.test>");
    EXPECT_EQ(email_->Fields().cc, "Carl <carl@x.test>");

    // Only a composition typed in asks before it closes; No keeps it open.
    EXPECT_TRUE(email_->QueryUnload());
    email_->TB1_KeyPress();
    for (platform::Answer answer : {platform::Answer::No, platform::Answer::Yes}) {
        platform_.prompts_.answer = answer;
        EXPECT_EQ(email_->QueryUnload(), answer == platform::Answer::Yes);
    }
    EXPECT_EQ(
        platform_.prompts_.messages,
        std::vector<std::string>(2, "You will lose any changes to this message. Are you sure?"));
}

TEST_F(ComposerTest, SendingAReplyMarksTheOriginalOnce) {
    auto m = stored("From: b@x.test\r\nSubject: s\r\n", "q", "ORIG.EML");
    for (int round = 0; round < 2; ++round) {
        email_->ReplyToMessage(readfullmessage(m->Filename()), false, false);
        email_->Fields().cc = "a@x, b@y ; c@z";
        email_->Fields().bcc = round == 1;
        std::string before = readFile(m->Filename());
        ASSERT_TRUE(email_->Send());
        if (round == 1) {
            EXPECT_EQ(readFile(m->Filename()), before); // already replied
        }
        EXPECT_NE(readFile(m->Filename()).find("X-Message-Replied: 1"), std::string::npos);
    }
    EXPECT_EQ(replied_.files, (std::vector<std::string>(2, m->Filename())));
    std::vector<std::string> spooled;
    FillFiles(MessageFolder + "Outbox", "eml", spooled);
    ASSERT_EQ(spooled.size(), 2u);
    std::sort(spooled.begin(), spooled.end());
    const std::string first = readFile(MessageFolder + "Outbox/" + spooled[0]);
    const std::string second = readFile(MessageFolder + "Outbox/" + spooled[1]);
    EXPECT_NE(first.find("Cc: "), std::string::npos);
    EXPECT_EQ(second.find("Cc: "), std::string::npos); // the copies went blind
}

TEST_F(ComposerTest, ComposedMessageArrivesAsSpooled) {
    SmtpServer server;
    ASSERT_TRUE(server.running());
    sset("SMTP0", "127.0.0.1");
    sset("SMTPPort0", server.port());
    sset("DisplayName0", "Ann");
    writeFile(MessageFolder + "sig.txt", "-- Ann");
    email_->WriteNewMessage("Bob <bob@x.test>");
    email_->Fields().subject = "Plans";
    email_->Fields().caret = 0;
    email_->InsertAtCaret("See you at 8.\nBring .dots\r\n.");
    ASSERT_TRUE(email_->Send());

    std::vector<std::string> files;
    FillFiles(MessageFolder + "Outbox", "eml", files);
    ASSERT_EQ(files.size(), 1u);
    const std::string spooled = readFile(MessageFolder + "Outbox/" + files[0]);
    // The spool already doubles a leading dot, and the upload doubles it again.
    EXPECT_NE(spooled.find("\r\n\r\nSee you at 8.\r\nBring .dots\r\n..\r\n-- Ann\r\n"),
              std::string::npos);

    frmSendMailWrapper wrapper;
    wrapper.UploadSpooledMail();
    ASSERT_TRUE(
        platform::current().eventLoop().runUntil([&] { return !wrapper.Uploading(); }, 20000));
    const std::string wire = server.received(1);
    const std::string data = "DATA\r\n";
    size_t at = wire.find(data);
    ASSERT_NE(at, std::string::npos) << wire;
    std::string rest = wire.substr(at + data.size());
    std::smatch date;
    ASSERT_TRUE(std::regex_search(rest, date, std::regex("^Date: [^\r]*\r\n")));
    rest = rest.substr(static_cast<size_t>(date.length()));
    // The spooled text without its last line ends, then the end of data; the
    // upload doubles the spool's doubled dot once more, as it always has.
    std::string stuffed = Replace(spooled, "\r\n..\r\n", "\r\n....\r\n");
    while (EndsWith(stuffed, "\r\n")) stuffed.resize(stuffed.size() - 2);
    EXPECT_EQ(rest, stuffed + "\r\n\r\n.\r\nQUIT\r\n");
    EXPECT_EQ(server.envelope(1), "ann@example.com\nbob@x.test\n");
}

TEST_F(ComposerTest, TicketFromTheSelectionOnlyInCmsMode) {
    email_->ReadMessage(stored("From: bob@x.test\r\nSubject: Help\r\n", "It broke."));
    struct Case {
        bool cms;
        std::string selected;
        size_t tickets;
    };
    for (const Case& c : {Case{false, "It broke", 0}, Case{true, "", 0}, Case{true, "It", 1}}) {
        sset("CMSMODE", c.cms);
        view_.selected = c.selected;
        email_->Command("cms");
        EXPECT_EQ(view_.tickets.size(), c.tickets) << c.cms << c.selected;
    }
    ASSERT_FALSE(view_.tickets.empty());
    EXPECT_EQ(view_.tickets.back(), "Help|It");
}

} // namespace
