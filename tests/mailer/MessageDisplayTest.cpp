// The preview pane's logic through a recording view: what the strip, the text
// and the attachment menu show, and where clicks and attachments go.
#include "mailer/MessageDisplay.h"
#include "mailer/AttachmentFiles.h"
#include "platform/Platform.h"
#include "support/RecordingPlatform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>

namespace corva {
namespace {

using test::TempDir;

class RecordingView : public MessageDisplayView {
public:
    bool headerLineFits(const std::string& line) override { return line.size() <= width; }
    void showHeader(const std::vector<std::string>& l, const std::string& w) override {
        lines = l;
        warning = w;
    }
    void showText(const std::string& t, const std::vector<TextRange>& l) override {
        text = t;
        links = l;
    }
    void setAttachmentMenu(const std::vector<std::string>& e) override { menu = e; }
    void setButtonVisible(const std::string& key, bool visible) override { buttons[key] = visible; }
    std::optional<std::string> askSavePath(const std::string& name) override {
        askedName = name;
        return savePath;
    }
    std::optional<std::string> askFolder(const std::string& title, const std::string&) override {
        askedFolderTitle = title;
        return folder;
    }
    void openReader(const std::string& path) override { readers.push_back(path); }
    AttachAnswer showAttachWarning(const AttachWarningForm& f) override {
        forms.push_back(f);
        return answer;
    }

    size_t width = 1000;
    std::vector<std::string> lines, menu, readers;
    std::string warning, text, askedName, askedFolderTitle;
    std::vector<TextRange> links;
    std::map<std::string, bool> buttons;
    std::optional<std::string> savePath, folder;
    std::vector<AttachWarningForm> forms;
    AttachAnswer answer = AttachAnswer::Cancel;
};

std::shared_ptr<clsMessage> parse(const std::string& text) {
    auto m = std::make_shared<clsMessage>();
    m->CreateFromText(text, false);
    return m;
}

std::string withAttachments(const std::vector<std::pair<std::string, std::string>>& files) {
    std::string text = "From: Ann <ann@example.com>\r\nTo: bob@example.com\r\nSubject: Files\r\n"
                       "MIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=\"b1\"\r\n\r\n"
                       "--b1\r\nContent-Type: text/plain\r\n\r\nSee attached.\r\n";
    for (const auto& [name, body] : files)
        text += "--b1\r\nContent-Type: application/octet-stream; name=\"" + name +
                "\"\r\nContent-Disposition: attachment; filename=\"" + name + "\"\r\n\r\n" + body +
                "\r\n";
    return text + "--b1--\r\n";
}

std::vector<std::string> linkTexts(const std::string& text) {
    std::vector<std::string> out;
    for (const TextRange& r : UnderlineLinks(text)) out.push_back(text.substr(r.start, r.length));
    return out;
}

class MessageDisplayTest : public ::testing::Test {
protected:
    MessageDisplayTest() : scoped_(platform_) {}
    test::ShellRecordingPlatform platform_;
    platform::ScopedPlatform scoped_;
    RecordingView view;
    MessageDisplay display{view};
};

TEST(UnderlineLinks, FindsLinksAndAddressesWithoutTheirPunctuation) {
    struct Case {
        std::string text;
        std::vector<std::string> links;
    };
    const std::vector<Case> cases = {
        {"nothing to see here, just words.", {}},
        {"Write to <ann@example.com> today", {"ann@example.com"}},
        {"See http://example.com/page.", {"http://example.com/page"}},
        {"(www.example.org), then", {"www.example.org"}},
        {"'https://q.example/a' and @handle", {"https://q.example/a"}},
        {"go to \"http://x.example/\"now", {"http://x.example/"}},
        {"end http://a.example\r\nnext www.b.example]", {"http://a.example", "www.b.example"}},
    };
    for (const Case& c : cases) EXPECT_EQ(linkTexts(c.text), c.links) << c.text;
}

TEST_F(MessageDisplayTest, PreviewShowsStripTextAndAttachmentMenu) {
    display.showMessage(
        parse(withAttachments({{"notes.txt", std::string(1500, 'n')}, {"photo.jpg", "jpg"}})));
    ASSERT_EQ(view.lines.size(), 2u);
    EXPECT_EQ(view.lines[0], "From: Ann <ann@example.com> To: bob@example.com");
    EXPECT_EQ(view.lines[1], "Subject: Files");
    EXPECT_EQ(view.text.rfind("See attached.", 0), 0u);
    EXPECT_EQ(view.menu, (std::vector<std::string>{"notes.txt (2kb)", "photo.jpg (1kb)"}));
    EXPECT_TRUE(view.buttons["attachments"]);
    EXPECT_FALSE(view.buttons["warning"]);

    // The strip falls back to bare addresses when too narrow, and to the
    // return path when there is no sender; an empty Cc is left out.
    view.width = 30;
    display.showMessage(
        parse("Return-Path: <bounce@lists.example>\r\nTo: \"Bob Long Name\" "
              "<bob@example.com>\r\nCc: c@example.com\r\nSubject: x\r\n\r\nhi\r\n"));
    EXPECT_EQ(view.lines[0], "From: bounce@lists.example To: bob@example.com Cc: c@example.com");
    EXPECT_TRUE(view.menu.empty());
    EXPECT_FALSE(view.buttons["attachments"]);
}

TEST_F(MessageDisplayTest, SuspiciousCodeIsLookedForOnlyUpTo250Kilobytes) {
    for (float size : {250.0f, 251.0f}) {
        auto m = parse("From: a@b.example\r\nSubject: s\r\n\r\n<p>&#1;Your bank</p>\r\n");
        m->Size = size;
        display.showMessage(m);
        bool tested = size <= 250;
        EXPECT_EQ(display.suspicious(), tested) << size;
        EXPECT_EQ(view.buttons["warning"], tested) << size;
        EXPECT_EQ(view.warning.empty(), !tested) << size;
    }
    display.showchar1warning();
    EXPECT_EQ(platform_.prompts_.messages.back().find("This message contains a suspicious piece of "
                                                      "HTML code.\r\nIf it's asking"),
              0u);
}

TEST_F(MessageDisplayTest, LinkNamingAnotherHostRaisesTheWarning) {
    display.showMessage(
        parse("From: a@b.example\r\nSubject: s\r\nContent-Type: text/html\r\n\r\n<html><body>"
              "<a href=\"http://203.0.113.9/login\">www.mybank.example</a> "
              "<a href='https://www.shop.example/x'>shop.example</a></body></html>\r\n"));
    EXPECT_TRUE(view.buttons["warning"]);
    EXPECT_NE(view.warning.find("Click the [!] button"), std::string::npos);
    display.showchar1warning();
    EXPECT_NE(platform_.prompts_.messages.back().find(
                  "A link shows www.mybank.example but leads to 203.0.113.9."),
              std::string::npos);
    EXPECT_EQ(platform_.prompts_.messages.back().find("shop.example"), std::string::npos);
}

TEST_F(MessageDisplayTest, ClicksOpenLinksAndAddresses) {
    display.showMessage(
        parse("From: a@b.example\r\nSubject: s\r\n\r\nVisit www.example.org or mail "
              "<ann@example.com> or mailto:bob@example.com\r\n"));
    auto clickOn = [&](const std::string& word) {
        display.txtMessage_MouseUp(view.text.find(word) + 1);
    };
    clickOn("www.example.org");
    clickOn("mailto:bob");
    EXPECT_EQ(platform_.shell_.opened,
              (std::vector<std::string>{"www.example.org", "mailto:bob@example.com"}));
    clickOn("ann@");
    EXPECT_EQ(platform_.prompts_.messages.back(),
              "Work in progress - should be in the next version.");
    std::string composedTo;
    display.setComposer([&](const std::string& a) { composedTo = a; });
    clickOn("ann@");
    clickOn("Visit");
    EXPECT_EQ(composedTo, "ann@example.com");
    EXPECT_EQ(platform_.shell_.opened.size(), 2u);
}

TEST_F(MessageDisplayTest, AttachmentsAskByKindAndOpenInAPrivateFolder) {
    TempDir dir;
    display.showMessage(parse(withAttachments({{"setup.EXE", "MZ"},
                                               {"readme.txt", "read me"},
                                               {"report.pdf", "%PDF"},
                                               {"fwd.eml", "Subject: in\r\n\r\nx"}})));
    ASSERT_EQ(view.menu.size(), 4u);

    // A program can only be saved, under a clean default name.
    view.answer = AttachAnswer::Run;
    view.savePath = dir.file("saved.exe");
    display.OpenAttachment(0);
    ASSERT_EQ(view.forms.size(), 1u);
    EXPECT_TRUE(view.forms[0].FrameExe);
    EXPECT_FALSE(view.forms[0].optRunEnabled);
    EXPECT_FALSE(std::filesystem::exists(dir.file("saved.exe")));
    view.answer = AttachAnswer::Save;
    display.OpenAttachment(0);
    EXPECT_EQ(view.askedName, "setup.EXE");
    EXPECT_EQ(test::readFile(dir.file("saved.exe")), "MZ");

    // Text runs without a question; others ask and may run.
    display.OpenAttachment(1);
    EXPECT_EQ(view.forms.size(), 2u);
    view.answer = AttachAnswer::Run;
    display.OpenAttachment(2);
    ASSERT_EQ(view.forms.size(), 3u);
    EXPECT_TRUE(view.forms[2].FrameNonExe && view.forms[2].optRunEnabled);
    ASSERT_EQ(platform_.shell_.opened.size(), 2u);
    EXPECT_EQ(test::readFile(platform_.shell_.opened[0]), "read me");
    EXPECT_EQ(std::filesystem::path(platform_.shell_.opened[1]).filename(), "report.pdf");
    const std::string temp = platform::current().files().privateTempFolder();
    for (const std::string& opened : platform_.shell_.opened)
        EXPECT_EQ(opened.rfind(temp, 0), 0u) << opened;

    // An attached message opens a reader, with no question.
    display.OpenAttachment(3);
    EXPECT_EQ(view.forms.size(), 3u);
    ASSERT_EQ(view.readers.size(), 1u);
    EXPECT_NE(test::readFile(view.readers[0]).find("Subject: in"), std::string::npos);
}

TEST_F(MessageDisplayTest, SaveAllAndViewSource) {
    TempDir dir;
    display.showMessage(parse(withAttachments({{"a.txt", "A"}, {"a.txt", "B"}})));
    display.mnusaveattach_click(); // cancelled: nothing
    EXPECT_EQ(view.askedFolderTitle, "Save attachments");
    EXPECT_TRUE(platform_.prompts_.messages.empty());
    view.folder = dir.path() + "out";
    std::filesystem::create_directory(*view.folder);
    display.mnusaveattach_click();
    EXPECT_EQ(test::readFile(dir.file("out/a.txt")), "A");
    EXPECT_EQ(test::readFile(dir.file("out/a (2).txt")), "B");
    EXPECT_EQ(platform_.prompts_.messages.back(), "All attachments saved to:\r\n" + *view.folder);

    display.mnuviewsource_click();
    ASSERT_EQ(platform_.shell_.opened.size(), 1u);
    EXPECT_TRUE(platform_.shell_.opened[0].ends_with(".txt"));
    EXPECT_NE(test::readFile(platform_.shell_.opened[0]).find("Subject: Files"), std::string::npos);
}

TEST(AttachmentNames, NeverLeaveTheChosenFolder) {
    struct Case {
        std::string name, expected;
    };
    const std::vector<Case> cases = {
        {"../../etc/passwd", "passwd"},
        {"..\\..\\boot.ini", "boot.ini"},
        {"/etc/cron.d/job", "job"},
        {"C:\\Windows\\evil.dll", "evil.dll"},
        {std::string("a\0b.txt", 7), "ab.txt"},
        {"..", "attachment"},
        {"....", "attachment"},
        {"", "attachment"},
        {"dir/", "attachment"},
        {"re: what?.txt", "re_ what_.txt"},
        {"plain.pdf", "plain.pdf"},
    };
    for (const Case& c : cases) EXPECT_EQ(safeAttachmentName(c.name), c.expected) << c.name;

    std::string longName = std::string(5000, 'x') + ".pdf";
    std::string cut = safeAttachmentName(longName);
    EXPECT_EQ(cut.size(), AttachmentNameLimit);
    EXPECT_TRUE(cut.ends_with(".pdf"));
    // A cut never splits a character.
    std::string wide;
    for (int i = 0; i < 2000; ++i) wide += "\xc3\xa9";
    EXPECT_TRUE(platform::isValidUtf8(safeAttachmentName(wide)));

    // Saved for real, every such name lands inside the folder.
    TempDir dir;
    std::vector<std::pair<std::string, std::string>> files;
    for (const Case& c : cases)
        if (c.name.find('\0') == std::string::npos) files.emplace_back(c.name, "x");
    files.emplace_back(longName, "x");
    auto m = parse(withAttachments(files));
    std::string folder = dir.path() + "in";
    std::filesystem::create_directory(folder);
    std::vector<std::string> written = saveAllAttachments(*m, folder);
    EXPECT_FALSE(written.empty());
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.path()))
        if (entry.path() != folder) {
            EXPECT_EQ(entry.path().parent_path(), std::filesystem::path(folder)) << entry.path();
        }
}

TEST(DisplayCharsets, TextAndSubjectDecodeByTheirDeclaredCharset) {
    struct Case {
        const char* charset;
        std::string bytes;
        std::string utf8;
    };
    const std::vector<Case> cases = {
        {"iso-8859-2", "\x5a\x61\xbf\xf3\xb3\xe6\x20\x67\xea\xb6\x6c\xb1", "Zażółć gęślą"},
        {"iso-8859-5", "\xbf\xe0\xd8\xd2\xd5\xe2\x20\xdc\xd8\xe0", "Привет мир"},
        {"iso-8859-7", "\xca\xe1\xeb\xe7\xec\xdd\xf1\xe1", "Καλημέρα"},
        {"iso-8859-15", "\x50\x72\x69\x78\x20\x35\x20\xa4", "Prix 5 €"},
        {"windows-1250", "\x50\xf8\xed\x6c\x69\x9a\x20\x9e\x6c\x75\x9d\x6f\x75\xe8\x6b\xfd",
         "Příliš žluťoučký"},
        {"windows-1251", "\xc4\xee\xe1\xf0\xfb\xe9\x20\xe4\xe5\xed\xfc", "Добрый день"},
        {"windows-1253", "\xc3\xe5\xe9\xdc\x20\xf3\xef\xf5", "Γειά σου"},
        {"KOI8-R", "\xf3\xdf\xc5\xdb\xd8\x20\xd6\xc5\x20\xc5\xdd\xa3", "Съешь же ещё"},
        {"ISO-2022-JP",
         "\x1b\x24\x42\x24\x33\x24\x73\x24\x4b\x24\x41\x24\x4f\x40\x24\x33\x26\x1b\x28\x42",
         "こんにちは世界"},
        {"Shift_JIS", "\x93\xfa\x96\x7b\x8c\xea\x82\xcc\x83\x65\x83\x4c\x83\x58\x83\x67",
         "日本語のテキスト"},
        {"gb2312", "\xbc\xf2\xcc\xe5\xd6\xd0\xce\xc4", "简体中文"},
        {"GBK", "\xd6\xd0\xce\xc4\xb2\xe2\xca\xd4", "中文测试"},
        {"big5", "\xc1\x63\xc5\xe9\xa4\xa4\xa4\xe5", "繁體中文"},
        {"utf-8", "\x6e\x61\xc3\xaf\x76\x65\x20\x63\x61\x66\xc3\xa9", "naïve café"},
        // Undeclared: UTF-8 when valid, else Windows-1252.
        {"", "caf\xe9", "café"},
    };
    for (const Case& c : cases) {
        std::string q;
        for (unsigned char b : c.bytes)
            q += "=" + std::string(1, "0123456789ABCDEF"[b >> 4]) + "0123456789ABCDEF"[b & 15];
        std::string subject =
            *c.charset ? "=?" + std::string(c.charset) + "?Q?" + q + "?=" : c.bytes;
        std::string type =
            *c.charset ? "text/plain; charset=\"" + std::string(c.charset) + "\"" : "text/plain";
        auto m = parse("From: a@b.example\r\nSubject: " + subject +
                       "\r\nMIME-Version: 1.0\r\nContent-Type: " + type +
                       "\r\nContent-Transfer-Encoding: 8bit\r\n\r\n" + c.bytes + "\r\n");
        PreviewContent shown = buildPreview(*m);
        EXPECT_EQ(shown.headerLines.at(1), "Subject: " + c.utf8) << c.charset;
        EXPECT_EQ(shown.text.substr(0, c.utf8.size()), c.utf8) << c.charset;
    }
}

} // namespace
} // namespace corva
