// The mailer window on real mail: 300 messages retrieved from a Dovecot
// server, then opened, clicked, deleted and dragged as a user would.
#include "ui/UiFixture.h"

#include "support/EmlFiles.h"

#include "core/Strings.h"
#include "mailer/frmMailer.h"
#include "store/modTags.h"
#include "support/DovecotServer.h"
#include "ui/MailerListModel.h"
#include "ui/MailerWindow.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QPalette>
#include <QStyleFactory>
#include <QTreeView>
#include <QTreeWidget>

#include <filesystem>

namespace corva::test {
namespace {

namespace fs = std::filesystem;

// Stored messages end their lines as the store does.
std::string crlf(const std::string& text) {
    return Replace(text, "\n", "\r\n");
}

class MailerWindowTest : public ScannerFixture {
protected:
    static void SetUpTestSuite() {
        if (!DovecotServer::available()) return;
        server = std::make_unique<DovecotServer>();
        server->addUser("ann", "secret");
        for (int i = 1; i <= 300; ++i)
            server->addMessage("ann",
                               mailText("sender" + std::to_string(i % 17) + "@example.org",
                                        "ann@a.test", "message number " + std::to_string(i)));
    }
    static void TearDownTestSuite() { server.reset(); }

    void SetUp() override {
        if (!server) GTEST_SKIP() << "Dovecot is not installed";
        ScannerFixture::SetUp();
        start();
        setAccount(0, server->address(), "ann", "Ann");
    }

    static std::unique_ptr<DovecotServer> server;
};

std::unique_ptr<DovecotServer> MailerWindowTest::server;

TEST_F(MailerWindowTest, RetrievedMailIsListedDeletedAndDragged) {
    CycleRequest request;
    request.retrieve = true;
    ASSERT_TRUE(main->checkmail(request));
    ASSERT_TRUE(
        platform::current().eventLoop().runUntil([&] { return !main->CycleRunning(); }, 60000));
    const std::string inbox = MessageFolder + "Inbox/";
    ASSERT_EQ(emlFilesIn(inbox).size(), 300u);

    ui::MailerWindow* w = window->openMailer();
    ASSERT_NE(w, nullptr);
    frmMailer& mailer = w->mailer();
    ASSERT_TRUE(mailer.Loaded());
    EXPECT_EQ(w->listModel().rowCount(), 300);
    EXPECT_EQ(w->nodeItem(mailer.FindNode("Inbox"))->text(0), QStringLiteral("Inbox (300)"));
    EXPECT_EQ(w->statusText(), QStringLiteral("300 messages in Inbox, 300 unread"));

    // A click on the tree lists the folder again; the last message is selected.
    w->folderTree().setCurrentItem(w->nodeItem(mailer.FindNode("Outbox")));
    EXPECT_EQ(w->listModel().rowCount(), 0);
    w->folderTree().setCurrentItem(w->nodeItem(mailer.FindNode("Inbox")));
    ASSERT_EQ(w->listModel().rowCount(), 300);
    EXPECT_EQ(w->SelectedRows(), (std::vector<long>{299}));
    EXPECT_EQ(w->listModel().data(w->listModel().index(0, 0), Qt::FontRole).value<QFont>().bold(),
              true);

    // Select a message and press Delete.
    w->listView().setCurrentIndex(w->listModel().index(10, 1));
    const std::string doomed = mailer.Row(10).Subject;
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Delete, Qt::NoModifier);
    QKeyEvent release(QEvent::KeyRelease, Qt::Key_Delete, Qt::NoModifier);
    QApplication::sendEvent(&w->listView(), &press);
    QApplication::sendEvent(&w->listView(), &release);
    EXPECT_EQ(w->listModel().rowCount(), 299);
    EXPECT_EQ(emlFilesIn(inbox).size(), 299u);
    auto deleted = emlFilesIn(MessageFolder + "Deleted/");
    ASSERT_EQ(deleted.size(), 1u);
    EXPECT_EQ(deleted[0], LCase(deleted[0])) << "mail in Deleted is read";
    EXPECT_NE(readFile(MessageFolder + "Deleted/" + deleted[0]).find(doomed), std::string::npos);
    EXPECT_EQ(readunreadtag(inbox), 299);
    EXPECT_EQ(w->SelectedRows(), (std::vector<long>{10}));

    // Drag one into a new folder.
    platform_.prompts_.input = "Keep";
    mailer.Command("newfolder");
    int keep = mailer.FindNode("Keep");
    ASSERT_GT(keep, 0);
    EXPECT_TRUE(fs::is_directory(inbox + "Keep"));
    EXPECT_EQ(w->listModel().rowCount(), 299) << "the open folder stays open";
    w->listView().setCurrentIndex(w->listModel().index(20, 1));
    const std::string moved = mailer.Row(20).Subject;
    auto* mime = w->listModel().mimeData({w->listModel().index(20, 1)});
    ASSERT_NE(mime, nullptr);
    delete mime;
    w->dropOnNode(keep);
    auto kept = emlFilesIn(inbox + "Keep/");
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_NE(readFile(inbox + "Keep/" + kept[0]).find(moved), std::string::npos);
    EXPECT_EQ(readunreadtag(inbox + "Keep/"), 1);
    EXPECT_EQ(readunreadtag(inbox), 298);
    EXPECT_EQ(w->nodeItem(keep)->text(0), QStringLiteral("Keep (1)"));
    EXPECT_EQ(w->listModel().rowCount(), 298);

    // Sorting by the sender, then the size; the list follows without losing rows.
    w->listView().header()->sectionClicked(1);
    EXPECT_EQ(w->listModel().rowCount(), 298);
    EXPECT_LE(mailer.Row(0).Who, mailer.Row(297).Who);

    w->resize(1100, 720);
    saveScreenshot(*w, QStringLiteral("mailer"));

    // Subjects in the charsets their encoded words name.
    writeFile(inbox + "Keep/KOI8.EML",
              mailText("ivan@example.ru", "ann@a.test", "=?koi8-r?B?8NLJ18XULCDNydI=?="));
    writeFile(inbox + "Keep/JIS.EML",
              crlf(mailText("taro@example.jp", "ann@a.test",
                            "=?ISO-2022-JP?B?GyRCJDMkcyRLJEEkT0AkMyYbKEI=?=")));
    mailer.ClickedRescanFolders();
    w->folderTree().setCurrentItem(w->nodeItem(keep));
    QStringList subjects;
    for (int r = 0; r < w->listModel().rowCount(); ++r)
        subjects << w->listModel().data(w->listModel().index(r, 2), Qt::DisplayRole).toString();
    EXPECT_TRUE(subjects.contains(QString::fromUtf8("Привет, мир")))
        << subjects.join("|").toStdString();
    EXPECT_TRUE(subjects.contains(QString::fromUtf8("こんにちは世界")))
        << subjects.join("|").toStdString();
    saveScreenshot(*w, QStringLiteral("mailer-charsets"));
    w->folderTree().setCurrentItem(w->nodeItem(mailer.FindNode("Inbox")));

    const QPalette before = QApplication::palette();
    QApplication::setPalette(darkPalette());
    QApplication::processEvents();
    saveScreenshot(*w, QStringLiteral("mailer-dark"));
    QApplication::setPalette(before);
}

} // namespace
} // namespace corva::test
