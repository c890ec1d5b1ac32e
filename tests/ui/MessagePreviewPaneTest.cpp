// The preview pane under the offscreen platform: what it shows, and a click on
// a link. Printing is checked through `corva print`.
#include "ui/MessagePreviewPane.h"
#include "ui/UiFixture.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QTextEdit>
#include <gtest/gtest.h>

namespace corva {
namespace {

using test::TempDir;

std::string qEncoded(const std::string& charset, const std::string& bytes) {
    std::string word = "=?" + charset + "?Q?";
    for (unsigned char b : bytes) {
        word += '=';
        word += "0123456789ABCDEF"[b >> 4];
        word += "0123456789ABCDEF"[b & 15];
    }
    return word + "?=";
}

class PaneTest : public ::testing::Test {
protected:
    PaneTest() : scoped_(platform_) {
        pane.resize(760, 420);
        pane.show();
    }
    void show(const std::string& text) {
        std::string path = dir.file("m.eml");
        test::writeFile(path, text);
        pane.showMessage(path);
    }
    test::ShellRecordingPlatform platform_;
    platform::ScopedPlatform scoped_;
    TempDir dir;
    ui::MessagePreviewPane pane;
};

TEST_F(PaneTest, ShowsAttachmentsAndOpensLinksOnClick) {
    show("From: Ann Example <ann@example.com>\r\nTo: bob@example.com\r\nSubject: Trip photos\r\n"
         "MIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n"
         "Content-Type: text/plain\r\n\r\nHi Bob,\r\n\r\nthe photos are attached, more at "
         "http://photos.example/trip.\r\n\r\nAnn\r\n--b\r\nContent-Type: image/jpeg; "
         "name=beach.jpg\r\nContent-Disposition: attachment; filename=beach.jpg\r\n\r\n" +
         std::string(3000, 'j') + "\r\n--b--\r\n");
    EXPECT_EQ(pane.headerLines().at(1), QStringLiteral("Subject: Trip photos"));
    EXPECT_TRUE(pane.attachmentsButton()->isVisible());
    EXPECT_FALSE(pane.warningButton()->isVisible());
    ASSERT_GE(pane.attachmentMenu()->actions().size(), 1);
    EXPECT_EQ(pane.attachmentMenu()->actions()[0]->text(), QStringLiteral("beach.jpg (3kb)"));

    pane.attachmentMenu()->popup(pane.mapToGlobal(QPoint(pane.width() - 220, 40)));
    QCoreApplication::processEvents();
    test::saveScreenshot(pane, QStringLiteral("preview-attachments"), pane.attachmentMenu());
    pane.attachmentMenu()->hide();

    // A click on the underlined link hands it to the desktop.
    QTextEdit* box = pane.textBox();
    int at = box->toPlainText().indexOf(QStringLiteral("photos.example")) + 2;
    QTextCursor cursor(box->document());
    cursor.setPosition(at);
    QPoint point = box->cursorRect(cursor).center();
    QMouseEvent release(QEvent::MouseButtonRelease, point, box->viewport()->mapToGlobal(point),
                        Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(box->viewport(), &release);
    EXPECT_EQ(platform_.shell_.opened, std::vector<std::string>{"http://photos.example/trip"});

    // The pane prints what it shows; `corva print` reads the pages back.
    EXPECT_GE(pane.display().printMessage(platform::PrintTarget::Pdf, dir.file("m.pdf")), 1);
}

TEST_F(PaneTest, WarnsOfSuspiciousCodeAndDecodesSubjects) {
    show("From: Security <alert@bank.example>\r\nTo: you@example.com\r\nSubject: Verify your "
         "account\r\nContent-Type: text/html\r\n\r\n<html><body><p>&#1;Please confirm your "
         "login at <a href=\"http://203.0.113.9/x\">www.bank.example</a></p></body></html>\r\n");
    EXPECT_TRUE(pane.warningButton()->isVisible());
    EXPECT_TRUE(
        pane.warningLabel()->text().startsWith(QStringLiteral("Message contains suspicious")));
    test::saveScreenshot(pane, QStringLiteral("preview-warning"));

    const struct {
        const char* charset;
        std::string bytes;
        QString shown;
        QString file;
    } subjects[] = {
        {"koi8-r", "\xf3\xdf\xc5\xdb\xd8\x20\xd6\xc5\x20\xc5\xdd\xa3",
         QStringLiteral("Съешь же ещё"), QStringLiteral("preview-koi8r")},
        {"iso-2022-jp",
         "\x1b\x24\x42\x24\x33\x24\x73\x24\x4b\x24\x41\x24\x4f\x40\x24\x33\x26\x1b\x28\x42",
         QStringLiteral("こんにちは世界"), QStringLiteral("preview-iso2022jp")},
    };
    for (const auto& s : subjects) {
        show(
            "From: a@example.com\r\nTo: b@example.com\r\nSubject: " + qEncoded(s.charset, s.bytes) +
            "\r\nContent-Type: text/plain; charset=" + s.charset + "\r\n\r\n" + s.bytes + "\r\n");
        EXPECT_EQ(pane.headerLines().at(1), QStringLiteral("Subject: ") + s.shown);
        EXPECT_TRUE(pane.textBox()->toPlainText().startsWith(s.shown));
        test::saveScreenshot(pane, s.file);
    }
}

} // namespace
} // namespace corva
