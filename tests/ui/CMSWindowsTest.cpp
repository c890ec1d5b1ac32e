// The ticket windows: the ticket shows and reads back its fields, the list
// shows the tickets of the index, the settings keep what OK was given.
#include "ui/CMSWindows.h"

#include "smtp/frmSendMailWrapper.h"
#include "tickets/modCMS.h"
#include "ui/UiFixture.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTextCursor>
#include <QTreeWidget>

namespace corva::test {
namespace {

class CMSWindowsTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir.makeProgramFolder();
        UseDefaultFolders(dir.path());
        ResetCMSSettings();
    }
    void TearDown() override { ResetCMSSettings(); }
    TempDir dir;
};

TEST_F(CMSWindowsTest, TicketShowsItsFieldsAndReadsThemBack) {
    CMSTicketFields f;
    f.ticketnum = 12;
    f.priorityIndex = 0;
    f.type = "Bug";
    f.category = "Corva";
    f.from = "Ann Lee <ann@example.org>";
    f.email = "ann@example.org";
    f.subject = "Printer jammed";
    f.date = "Mon, 2 Jan 2023 10:00:00 +0000";
    f.version = "1.2";
    f.details = "It jams on page two.\r\nEvery time.";
    f.comment = "Try the rear tray.";
    f.users = {"ann@example.org", "boss@example.org"};
    f.closed = true;
    ui::CMSTicketDialog dialog;
    dialog.setFields(f);
    dialog.show();
    saveScreenshot(dialog, QStringLiteral("cms_ticket"));
    EXPECT_EQ(dialog.cmbPriority->currentText(), QStringLiteral("1 - High"));
    EXPECT_EQ(dialog.lstUsers->count(), 2);

    // TB1's selection goes into the version field through its menu entry.
    QTextCursor cursor = dialog.TB1->textCursor();
    cursor.setPosition(0);
    cursor.setPosition(2, QTextCursor::KeepAnchor);
    dialog.TB1->setTextCursor(cursor);
    dialog.mnuInsertIntoVer();
    CMSTicketFields back = dialog.fields();
    EXPECT_EQ(back.version, "It");
    EXPECT_EQ(back.details, f.details);
    EXPECT_EQ(back.category, "Corva");
    EXPECT_EQ(back.users, f.users);
    EXPECT_TRUE(back.closed);
    EXPECT_FALSE(back.notify);
}

TEST_F(CMSWindowsTest, ListAndSettingsShowWhatIsStored) {
    for (int n = 1; n <= 3; ++n) {
        clsCMSTicket t;
        t.ticketnum = n;
        t.isnew = true;
        t.desc = "Question " + std::to_string(n);
        t.priority = static_cast<int16_t>(n * 3);
        t.closed = n == 2;
        t.Save();
    }
    frmSendMailWrapper wrapper;
    ui::CMSTicketListWindow list(wrapper);
    list.show();
    ASSERT_EQ(list.lvTickets->topLevelItemCount(), 3);
    EXPECT_EQ(list.lvTickets->topLevelItem(1)->text(3), QStringLiteral("closed"));
    list.list().SortBy(0);
    list.list().SortBy(0);
    EXPECT_EQ(list.lvTickets->topLevelItem(0)->text(0), QStringLiteral("3"));
    saveScreenshot(list, QStringLiteral("cms_ticket_list"));

    ui::CMSSettingsDialog settings;
    settings.show();
    EXPECT_EQ(settings.txtWebpath->text(), QStringLiteral("W:\\Cms"));
    saveScreenshot(settings, QStringLiteral("cms_settings"));
    settings.txtWebpath->setText(QString::fromStdString(dir.path()));
    settings.txtInitial->setPlainText(QStringLiteral("Thanks.\nTicket [ticket]."));
    settings.accept();
    EXPECT_EQ(readFile(dir.file("CMS/ResponseInitial.txt")), "Thanks.\r\nTicket [ticket].");
    ResetCMSSettings();
    EXPECT_EQ(CMSSettings().RetrieveSetting("Webpath").toText(), dir.path());
}

} // namespace
} // namespace corva::test
