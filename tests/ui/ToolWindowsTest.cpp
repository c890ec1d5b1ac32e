// The mail tools' windows driven as a user would: fields filled, buttons
// clicked, what they show read back, and a screenshot of each.
#include "ui/UiFixture.h"

#include "core/Strings.h"
#include "store/modFolders.h"
#include "ui/ToolWindows.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>

namespace corva::test {
namespace {

std::string stored(const std::string& subject, const std::string& received) {
    return "From: Ann <ann@example.com>\r\nTo: bob@example.com\r\nSubject: " + subject +
           "\r\nX-Message-Read: 1\r\nX-Receive-Date: " + received + "\r\n\r\nHello " + subject +
           ".\r\n";
}

class ToolWindowsTest : public ::testing::Test {
protected:
    ToolWindowsTest() : scoped_(platform_) {}
    void SetUp() override {
        dir_.makeProgramFolder();
        Settings().DeleteAllSettings();
        PathsStore().DeleteAllSettings();
        readmessagefolder();
        writeFile(MessageFolder + "Inbox/invoice.eml",
                  stored("Invoice May", "2024-05-02 09:00:00"));
        writeFile(MessageFolder + "Inbox/lunch.eml",
                  stored("Lunch on Friday", "2026-11-20 12:00:00"));
    }
    void TearDown() override {
        Settings().DeleteAllSettings();
        PathsStore().DeleteAllSettings();
    }

    UiPlatform platform_;
    platform::ScopedPlatform scoped_;
    TempDir dir_;
};

TEST_F(ToolWindowsTest, SearchListsMatchesAndOpensOneInTheReader) {
    std::string opened;
    ui::SearchWindow window([&](const std::string& path) { opened = path; });
    window.show();
    window.field("txtSubject").setText(QStringLiteral("LUNCH"));
    window.clickSearch();
    ASSERT_EQ(window.results().topLevelItemCount(), 1);
    EXPECT_EQ(window.results().topLevelItem(0)->text(0), QStringLiteral("Lunch on Friday"));
    EXPECT_EQ(window.statusText(), QStringLiteral("Search Complete. Results listed below."));
    emit window.results().itemDoubleClicked(window.results().topLevelItem(0), 0);
    EXPECT_EQ(fileonly(opened), "lunch.eml");
    window.field("txtSubject").clear();
    window.field("txtFrom").setText(QStringLiteral("ann"));
    window.field("txtMessage").setText(QStringLiteral("hello;may"));
    window.clickSearch();
    EXPECT_EQ(window.results().topLevelItemCount(), 1);
    saveScreenshot(window, QStringLiteral("tools-search"));
}

TEST_F(ToolWindowsTest, ArchiveAsksAndReportsWhatMoved) {
    ui::ArchiveDialog dialog;
    dialog.show();
    dialog.choose(2025, 2, 31);
    platform_.prompts_.answer = platform::Answer::Yes;
    dialog.clickArchive();
    EXPECT_EQ(platform_.prompts_.messages.back(), "Move old messages into the Archive folder?");
    EXPECT_EQ(dialog.statusText(), QStringLiteral("Archiving Complete. 1 file(s) moved"));
    EXPECT_TRUE(FileExists(MessageFolder + "Inbox/lunch.eml"));
    saveScreenshot(dialog, QStringLiteral("tools-archive"));
}

TEST_F(ToolWindowsTest, ImportRemembersItsSourceAndTellsTheCount) {
    writeFile(dir_.file("export.mbox"), "From a Mon Jan  1 00:00:00 2024\nSubject: one\n\nx\n\n"
                                        "From b Mon Jan  1 00:00:00 2024\nSubject: two\n\ny\n");
    {
        ui::ImportDialog dialog;
        dialog.source().setText(QString::fromStdString(dir_.file("export.mbox")));
        dialog.clickImport();
        EXPECT_EQ(dialog.statusText(), QStringLiteral("Import Complete. 2 message(s) imported"));
    }
    ui::ImportDialog again;
    again.show();
    EXPECT_EQ(again.source().text().toStdString(), dir_.file("export.mbox"));
    saveScreenshot(again, QStringLiteral("tools-import"));
}

TEST_F(ToolWindowsTest, MailMergeDialogChecksItsFilesBeforeGoingOn) {
    frmMailMerge merge;
    merge.DataFile = dir_.file("names.csv");
    merge.TemplateFile = dir_.file("letter.txt");
    ui::MailMergeDialog dialog(merge);
    dialog.show();
    dialog.clickGo();
    EXPECT_EQ(platform_.prompts_.messages.back(), "Name list file not found");
    EXPECT_NE(dialog.result(), QDialog::Accepted);
    saveScreenshot(dialog, QStringLiteral("tools-mailmerge"));
    writeFile(merge.DataFile, "$NAME,$EMAIL\r\nJo,jo@x.org\r\nAl,al@x.org\r\nKim,k@x.org\r\n");
    writeFile(merge.TemplateFile, "Subject: Hi $NAME\r\n\r\nDear $NAME\r\n");
    dialog.clickGo();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(sget("MergeTemplateFile", "").toText(), merge.TemplateFile);

    // While it spools, the progress window offers Stop, which ends the merge
    // after the row under way.
    ui::MailMergeProgress progress;
    QTimer::singleShot(0, &progress, [&] {
        EXPECT_TRUE(progress.isVisible());
        EXPECT_EQ(progress.statusText(), QStringLiteral("Merging 1/3"));
        saveScreenshot(progress, QStringLiteral("tools-mailmerge-progress"));
        progress.stopButton().click();
    });
    const MergeOutcome outcome = DoMailMerge(merge, progress);
    EXPECT_TRUE(outcome.Stopped);
    EXPECT_EQ(outcome.Saved, 1);
    EXPECT_EQ(outcome.Report.rfind("Mail merge stopped.\r\nProcessed 1 name(s)", 0), 0u);
    EXPECT_FALSE(progress.stopButton().isEnabled());
}

} // namespace
} // namespace corva::test
