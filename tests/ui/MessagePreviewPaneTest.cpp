// The preview pane under the offscreen platform: what it shows, a click on a
// link, and a message printed to PDF read back with pdftotext.
#include "ui/MessagePreviewPane.h"
#include "support/RecordingPlatform.h"
#include "support/TempDir.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QProcess>
#include <QRegularExpression>
#include <QTextEdit>
#include <gtest/gtest.h>

namespace corva {
namespace {

using test::TempDir;

void screenshot(QWidget& widget, const QString& name, QMenu* menu = nullptr) {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    QPixmap picture = widget.grab();
    // An open menu is a window of its own: draw it where it stands.
    if (menu) {
        QPainter painter(&picture);
        painter.drawPixmap(widget.mapFromGlobal(menu->pos()), menu->grab());
    }
    QDir dir(QStringLiteral(CORVA_BINARY_DIR "/screenshots"));
    dir.mkpath(QStringLiteral("."));
    EXPECT_TRUE(picture.save(dir.filePath(name + QStringLiteral(".png"))));
}

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
    screenshot(pane, QStringLiteral("preview-attachments"), pane.attachmentMenu());
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
}

TEST_F(PaneTest, WarnsOfSuspiciousCodeAndDecodesSubjects) {
    show("From: Security <alert@bank.example>\r\nTo: you@example.com\r\nSubject: Verify your "
         "account\r\nContent-Type: text/html\r\n\r\n<html><body><p>&#1;Please confirm your "
         "login at <a href=\"http://203.0.113.9/x\">www.bank.example</a></p></body></html>\r\n");
    EXPECT_TRUE(pane.warningButton()->isVisible());
    EXPECT_TRUE(
        pane.warningLabel()->text().startsWith(QStringLiteral("Message contains suspicious")));
    screenshot(pane, QStringLiteral("preview-warning"));

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
        screenshot(pane, s.file);
    }
}

QString run(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(30000);
    return QString::fromUtf8(process.readAllStandardOutput());
}

TEST_F(PaneTest, PrintsHeaderAndEveryLineToPdf) {
    std::string body;
    for (int i = 1; i <= 150; ++i) body += "Body line " + std::to_string(i) + " of the letter\r\n";
    body += std::string(40, 'w') + " " + std::string(300, 'x') + " tail-of-long-line\r\n";
    show("From: Ann <ann@example.com>\r\nTo: bob@example.com\r\nCc: carol@example.com\r\n"
         "Date: Mon, 2 Jan 2023 10:00:00 +0000\r\nSubject: Minutes\r\n\r\n" +
         body);
    const QString pdf = QString::fromStdString(dir.file("m.pdf"));
    const int pages = pane.display().printMessage(platform::PrintTarget::Pdf, pdf.toStdString());
    ASSERT_GT(pages, 1);

    const QString text = run(QStringLiteral("pdftotext"), {pdf, QStringLiteral("-")});
    for (const char* line :
         {"From: Ann <ann@example.com>", "To: bob@example.com", "Cc: carol@example.com",
          "Date: Mon, 2 Jan 2023 10:00:00 +0000", "Subject: Minutes", "tail-of-long-line"})
        EXPECT_TRUE(text.contains(QString::fromUtf8(line))) << line;
    for (int i = 1; i <= 150; ++i)
        EXPECT_TRUE(text.contains(QStringLiteral("Body line %1 of the letter").arg(i))) << i;

    const QString info = run(QStringLiteral("pdfinfo"), {pdf});
    EXPECT_TRUE(info.contains(QRegularExpression(QStringLiteral("Pages:\\s+%1\\n").arg(pages))));
    const QStringList sheets = text.split(QLatin1Char('\f'), Qt::SkipEmptyParts);
    ASSERT_EQ(sheets.size(), pages);
    for (int p = 0; p < pages; ++p)
        EXPECT_TRUE(sheets[p].contains(QStringLiteral("Page %1 of %2").arg(p + 1).arg(pages)));

    show("From: a@example.com\r\nSubject: Short\r\n\r\nOne line.\r\n");
    EXPECT_EQ(pane.display().printMessage(platform::PrintTarget::Pdf, pdf.toStdString()), 1);
}

} // namespace
} // namespace corva
