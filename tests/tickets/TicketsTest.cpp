// Tickets as records on disk, as pages and as acknowledgements, and the
// ticket windows' logic driven through recording views.
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "mailer/frmMailer.h"
#include "message/clsMessage.h"
#include "smtp/frmSendMailWrapper.h"
#include "store/modFolders.h"
#include "support/RecordingPlatform.h"
#include "support/TempDir.h"
#include "tickets/frmCMSSettings.h"
#include "tickets/frmCMSTicket.h"
#include "tickets/frmCMSTicketList.h"
#include "tickets/modCMS.h"
#include "tickets/modCMSMail.h"

#include <gtest/gtest.h>

#include <functional>

namespace corva::test {
namespace {

// Answers the ticket window as the operator would, and keeps what it was shown.
struct RecordingTicketView : frmCMSTicketView {
    bool ShowModal(CMSTicketFields& fields) override {
        shown = fields;
        if (edit) edit(fields);
        return save;
    }
    CMSTicketFields shown;
    std::function<void(CMSTicketFields&)> edit;
    bool save = true;
};

class Tickets : public ::testing::Test {
protected:
    Tickets() : scoped_(platform_) {}
    void SetUp() override {
        dir.makeProgramFolder();
        UseDefaultFolders(dir.path());
        Settings().DeleteAllSettings();
        ResetCMSSettings();
        webFolder = dir.file("web/");
        MkMissingDir(webFolder);
        CMSSettings().StoreSetting("Webpath", webFolder);
    }
    void TearDown() override {
        Settings().DeleteAllSettings();
        ResetCMSSettings();
    }
    std::string cms(const std::string& name) const { return dir.file("CMS/" + name); }
    std::string log() {
        FlushLog();
        return readFile(dir.file("log.txt"));
    }
    clsMessage mail(const std::string& from, const std::string& subject, const std::string& body) {
        clsMessage m;
        m.CreateFromText("From: " + from + "\r\nTo: desk@example.org\r\nSubject: " + subject +
                             "\r\nDate: Mon, 2 Jan 2023 10:00:00 +0000\r\n\r\n" + body,
                         false);
        return m;
    }

    TempDir dir;
    std::string webFolder;
    RecordingPlatform platform_;
    platform::ScopedPlatform scoped_;
};

TEST_F(Tickets, RecordsReadBackAndNewTicketsStepOverTakenNumbers) {
    CMSSettings().StoreSetting("LastTicket", 41);
    writeFile(cms("Tickets/ticket_42.txt"), "ticketnum:42\r\n");
    clsCMSTicket t;
    t.LoadWithMessage(mail("Ann Lee <ann@example.org>", "Printer: jammed", "  It jams.  "), "");
    t.ticketnum = 42;
    t.version = "1.2";
    t.Save();
    EXPECT_EQ(t.ticketnum, 43);
    EXPECT_FALSE(t.isnew);
    EXPECT_EQ(readFile(cms("Tickets.txt")), "ticket_43.txt\r\n");
    ResetCMSSettings(); // read back from settings.ini
    EXPECT_EQ(CMSSettings().RetrieveSetting("LastTicket").toLong(), 43);
    // The body is stored trimmed; no comment, so no comment file but its line stays.
    EXPECT_EQ(readFile(cms("Desc/desc_43.txt")), "It jams.");
    EXPECT_FALSE(FileExists(cms("Comments/comment_43.txt")));
    EXPECT_EQ(readFile(cms("Tickets/ticket_43.txt")),
              "owneremail:ann@example.org\r\nownername:Ann Lee <ann@example.org>\r\n"
              "desc:Printer: jammed\r\nticketnum:43\r\npriority:5\r\nclosed:0\r\nnotify:0\r\n"
              "interested:ann@example.org\r\ntype:\r\ncategory:\r\nversion:1.2\r\n"
              "descfile:desc_43.txt\r\ncomment:comment_43.txt\r\n");

    clsCMSTicket back;
    ASSERT_TRUE(back.Load(43));
    EXPECT_EQ(back.desc, "Printer: jammed"); // only the first ":" splits
    EXPECT_EQ(back.ownername, "Ann Lee <ann@example.org>");
    EXPECT_EQ(back.bodytext, "It jams.");
    EXPECT_EQ(back.comment, "");
    EXPECT_EQ(back.interested, std::vector<std::string>{"ann@example.org"});

    // Hand-edited records: numbers by value, flags compared as numbers,
    // unknown keys logged and dropped, nonsense numbers read as 0.
    writeFile(cms("Tickets/ticket_9.txt"),
              "ticketnum: 9 \nclosed:1.0\nnotify:yes\nfoo:1\nno colon here\n"
              "priority:99999999\ndescfile:../../Corva.ini\n");
    clsCMSTicket odd;
    ASSERT_TRUE(odd.Load(9));
    EXPECT_EQ(odd.ticketnum, 9);
    EXPECT_TRUE(odd.closed);
    EXPECT_FALSE(odd.notify);
    EXPECT_EQ(odd.priority, 0);
    EXPECT_EQ(odd.bodytext, "");
    EXPECT_NE(log().find("Unknown field: foo in " + cms("Tickets/ticket_9.txt")),
              std::string::npos);
    EXPECT_FALSE(odd.Load(77));

    // A line end inside a field from mail can't start a key of the sender's choosing.
    clsCMSTicket forged;
    forged.isnew = true;
    forged.ticketnum = 50;
    forged.desc = "Hi\rclosed:1";
    forged.ownername = "Eve\r\ninterested:boss@example.org";
    forged.Save();
    ASSERT_TRUE(back.Load(50));
    EXPECT_FALSE(back.closed);
    EXPECT_EQ(back.desc, "Hi closed:1");
    EXPECT_TRUE(back.interested.empty());
}

TEST_F(Tickets, PublishedPagesEscapeMailTextAndFollowTheTemplate) {
    writeFile(cms("webtemplate.txt"), "<h1><$ticketnumber> <$desc></h1>\r\n\r\n<p><$fromname>"
                                      "</p><pre><$bodytext></pre><$comment>|<$closed>|"
                                      "<$category>|<$type>|<$version>|<$date>|<$unknown>");
    clsCMSTicket t;
    t.ticketnum = 5;
    t.desc = "<script>alert(1)</script> & \"x\"";
    t.ownername = "Ev\xe9 <eve@example.org>"; // Latin-1 from mail: the page is UTF-8
    t.bodytext = "one\r\ntwo\r\n\r\nthree <$comment>";
    t.comment = "it's done";
    t.closed = true;
    t.category = "Corva";
    t.PublishToWeb();
    EXPECT_EQ(
        readFile(webFolder + "T_5.html"),
        "<h1>5 &lt;script&gt;alert(1)&lt;/script&gt; &amp; &quot;x&quot;</h1><BR>\r\n"
        "<p>Ev\xc3\xa9 &lt;eve@example.org&gt;</p><pre>one\r\ntwo<BR>\r\nthree &lt;$comment&gt;"
        "</pre>it&#39;s done|Closed|Corva||||<$unknown>");

    // No Webpath: nothing written, nothing logged. A Webpath that isn't there:
    // one log line, and the ticket itself is still saved.
    CMSSettings().StoreSetting("Webpath", "");
    t.ticketnum = 6;
    t.PublishToWeb();
    EXPECT_FALSE(FileExists(webFolder + "T_6.html"));
    EXPECT_EQ(log().find("Cannot save to web"), std::string::npos);
    CMSSettings().StoreSetting("Webpath", dir.file("nowhere/"));
    t.isnew = true;
    t.Save();
    EXPECT_TRUE(FileExists(cms("Tickets/ticket_6.txt")));
    EXPECT_NE(log().find("Cannot save to web, folder " + dir.file("nowhere/") + " not found"),
              std::string::npos);
}

TEST_F(Tickets, EditSavesOnlyOnSaveAndAcknowledgesOnYes) {
    sset("REPLYADDRESS0", "desk@example.org");
    sset("DISPLAYNAME0", "Help Desk");
    sset("SMTP0", "127.0.0.1");
    writeFile(cms("ResponseInitial.txt"), "Ticket [ticket] for [version]. [quotedorig]");
    frmSendMailWrapper wrapper;
    RecordingTicketView view;
    clsCMSTicket t;
    t.LoadWithMessage(mail("Bob <bob@example.org>", "Crash", "It crashed."), "the selection");

    view.save = false;
    EXPECT_FALSE(frmCMSTicket::Edit(t, view, wrapper));
    EXPECT_EQ(view.shown.ticketnum, 1);
    EXPECT_EQ(view.shown.details, "the selection");
    EXPECT_EQ(view.shown.priorityIndex, 4);
    EXPECT_FALSE(FileExists(cms("Tickets/ticket_1.txt")));
    EXPECT_TRUE(platform_.prompts_.messages.empty());

    view.save = true;
    view.edit = [](CMSTicketFields& f) {
        f.priorityIndex = 0;
        f.version = "2.0";
        f.comment = "  Fixed in 2.1.  ";
        f.closed = true;
        f.users.push_back("boss@example.org");
    };
    platform_.prompts_.answer = platform::Answer::Yes;
    EXPECT_TRUE(frmCMSTicket::Edit(t, view, wrapper));
    EXPECT_EQ(platform_.prompts_.messages, std::vector<std::string>{"Send acknowledgement?"});
    clsCMSTicket back;
    ASSERT_TRUE(back.Load(1));
    EXPECT_EQ(back.priority, 1);
    EXPECT_TRUE(back.closed);
    EXPECT_EQ(back.comment, "Fixed in 2.1.");
    EXPECT_EQ(back.interested, (std::vector<std::string>{"bob@example.org", "boss@example.org"}));

    std::vector<std::string> spooled;
    FillFiles(frmSendMailWrapper::outboxfolder(), "eml", spooled);
    ASSERT_EQ(spooled.size(), 1u);
    const std::string sent = readFile(frmSendMailWrapper::outboxfolder() + spooled[0]);
    EXPECT_NE(sent.find("Subject: Re: Crash"), std::string::npos) << sent;
    EXPECT_NE(sent.find("bob@example.org"), std::string::npos) << sent;
    EXPECT_NE(sent.find("desk@example.org"), std::string::npos) << sent;
    EXPECT_NE(sent.find("Ticket 1 for 2.0. [quotedorig]\r\n\r\nYour Query: \r\nthe selection"
                        "\r\n\r\nResponse: Fixed in 2.1."),
              std::string::npos)
        << sent;

    // No account to send from: the operator is told, nothing is spooled.
    Settings().DeleteAllSettings();
    EXPECT_EQ(SendAcknowledgement(back, wrapper), "");
    EXPECT_EQ(platform_.prompts_.messages.back(),
              "Please set up an email account before using this feature");
}

TEST_F(Tickets, RetrievedMailBecomesATicketOnlyInCmsModeAndNotFromTheDesk) {
    sset("REPLYADDRESS0", "desk@example.org");
    frmSendMailWrapper wrapper;
    const clsMessage customer = mail("Cy <cy@example.org>", "Help", "Please.");
    EXPECT_EQ(TicketFromRetrievedMail(customer, wrapper), 0);
    sset("CMSMODE", "True");
    clsMessage spam = customer;
    spam.DestFolder = "SpamBayes";
    struct Case {
        clsMessage message;
        long ticket;
    } cases[] = {
        {customer, 1}, {spam, 0}, {mail("desk@example.org", "Re: Help", "x"), 0}, {customer, 2}};
    for (const Case& c : cases) EXPECT_EQ(TicketFromRetrievedMail(c.message, wrapper), c.ticket);
    EXPECT_EQ(readFile(cms("Tickets.txt")), "ticket_1.txt\r\nticket_2.txt\r\n");
    EXPECT_TRUE(FileExists(webFolder + "T_2.html"));
}

TEST_F(Tickets, ListSortsFlippingAndSettingsKeepTheirFields) {
    for (int n : {3, 10, 9}) {
        clsCMSTicket t;
        t.ticketnum = n;
        t.isnew = true;
        t.desc = "Ticket " + Str(n);
        t.closed = n == 9;
        t.Save();
    }
    frmCMSTicketList list;
    list.Load();
    ASSERT_EQ(list.RowCount(), 3);
    EXPECT_EQ(list.Row(2).status, "closed");
    auto numbers = [&] {
        std::string out;
        for (int r = 0; r < list.RowCount(); ++r) out += list.Row(r).number + " ";
        return out;
    };
    list.SortBy(0);
    EXPECT_EQ(numbers(), "3 9 10 ");
    list.SortBy(0);
    EXPECT_EQ(numbers(), "10 9 3 ");
    list.SortBy(3);
    EXPECT_EQ(list.Row(2).status, "closed");

    EraseFile(webFolder + "T_9.html");
    list.ExportSelected({2, 7});
    EXPECT_TRUE(FileExists(webFolder + "T_9.html"));

    // Presets until saved, the account's identity before them; OK keeps all.
    ResetCMSSettings();
    CMSSettingsFields f = frmCMSSettings::Load();
    EXPECT_EQ(f.returnEmail, "cms@");
    EXPECT_EQ(f.senderName, "CorvaCMS");
    EXPECT_EQ(f.webpath, webFolder);
    sset("REPLYADDRESS0", "desk@example.org");
    EXPECT_EQ(frmCMSSettings::Load().returnEmail, "desk@example.org");
    f.senderName = "Desk";
    f.closed = "Closed [ticket].";
    ASSERT_TRUE(frmCMSSettings::Save(f));
    ResetCMSSettings();
    EXPECT_EQ(frmCMSSettings::Load().senderName, "Desk");
    EXPECT_EQ(readFile(cms("ResponseClosed.txt")), "Closed [ticket].");
}

// The mailer offers "Open in CMS" and the "CMS" button only in CMS mode, and
// hands the window the selected message's file.
TEST_F(Tickets, MailerOpensTicketsOnlyInCmsMode) {
    struct View : frmMailerView {
        std::vector<long> SelectedRows() const override { return {0}; }
        void OpenInCMS(const std::string& path) override { opened.push_back(path); }
        void ShowTicketList() override { opened.push_back("list"); }
        std::vector<std::string> opened;
    } view;
    readmessagefolder();
    const std::string path = MessageFolder + "Inbox/HELP.eml";
    writeFile(path, "From: Cy <cy@example.org>\r\nSubject: Help\r\n\r\nPlease.\r\n");
    generatefolderini();
    FolderCaches caches;
    frmMailer mailer(caches);
    mailer.setView(&view);
    mailer.Open();
    ASSERT_EQ(mailer.RowCount(), 1);
    auto offersCms = [&] {
        for (const MailerMenuEntry& e : mailer.ContextMenu())
            if (e.caption == "Open in CMS") return true;
        return false;
    };
    for (const char* mode : {"FALSE", "TRUE"}) {
        sset("CMSMODE", mode);
        const bool on = std::string(mode) == "TRUE";
        EXPECT_EQ(offersCms(), on);
        mailer.ContextCommand("openincms");
        mailer.Command("cms");
        EXPECT_EQ(view.opened.size(), on ? 2u : 0u);
    }
    EXPECT_EQ(view.opened, (std::vector<std::string>{mailer.Row(0).Path, "list"}));
}

} // namespace
} // namespace corva::test
