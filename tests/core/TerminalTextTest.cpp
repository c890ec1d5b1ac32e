// Text on its way to a terminal: nothing in a mail may drive the terminal, and
// columns are cut in cells, never inside a character.
#include "core/TerminalText.h"
#include "platform/TextDecoder.h"

#include <gtest/gtest.h>

using namespace corva;

TEST(TerminalText, ControlCharactersBecomeVisibleEscapes) {
    struct Case {
        std::string bytes, shown;
    };
    const Case cases[] = {
        {"\x1b[31mred\x1b[0m", "\\x1b[31mred\\x1b[0m"},
        {"bell\x07 back\x08 del\x7f", "bell\\x07 back\\x08 del\\x7f"},
        {"tab\tand\r\nline end\n", "tab\tand\nline end\n"},
        {"lone\rCR", "lone\\x0dCR"},
        {"C1 \xc2\x9b"
         "31m",
         "C1 \\u009b31m"},                            // CSI as a UTF-8 character
        {"caf\xe9 \x9b", "caf\xc3\xa9 \xe2\x80\xba"}, // Windows-1252: no C1 at all
        {std::string("nul\0end", 7), "nul\\x00end"},
    };
    for (const Case& c : cases) EXPECT_EQ(terminalText(c.bytes), c.shown) << c.shown;
    EXPECT_EQ(terminalLine("one\r\ntwo\tthree\x1b"), "one  two three\\x1b");
}

TEST(TerminalText, DeclaredCharsetWinsWhenTheBytesFitIt) {
    const std::string koi8 = "\xf0\xd2\xc9\xd7\xc5\xd4"; // "Привет"
    EXPECT_EQ(terminalText(koi8, "KOI8-R"), "\xd0\x9f\xd1\x80\xd0\xb8\xd0\xb2\xd0\xb5\xd1\x82");
    EXPECT_EQ(terminalText("caf\xe9", "utf-8"), "caf\xc3\xa9") << "a wrong label falls back";
    EXPECT_EQ(terminalText("\xc3\xa9", "iso-8859-1"), "\xc3\x83\xc2\xa9");
    EXPECT_EQ(terminalText("N/A", "utf-16"), "N/A") << "plain text can't hold two-byte charsets";
    // The plain decoder, used where no platform is installed, knows the fallback.
    platform::TextDecoder plain;
    EXPECT_EQ(plain.toUtf8("\x80 \xc3\xa9", ""), "\xe2\x82\xac \xc3\x83\xc2\xa9");
    EXPECT_EQ(plain.toUtf8("\xc3\xa9", "x-unknown"), "\xc3\xa9");

    EXPECT_EQ(headerCharset("From: a\r\nSubject: =?KOI8-R?B?8NLJ18XU?=\r\n", "subject"), "KOI8-R");
    EXPECT_EQ(headerCharset("Subject: plain\r\n =?utf-8*en?Q?x?=\r\n", "Subject"), "utf-8");
    EXPECT_EQ(headerCharset("X-Subject: =?a?Q?x?=\r\nSubject: none\r\n", "Subject"), "");
}

TEST(TerminalText, WidthsAndCutsFollowCellsNotBytes) {
    struct Case {
        std::string text;
        size_t width;
        std::string cut;
        size_t cells;
    };
    const Case cases[] = {
        {"abcdef", 3, "abc", 6},
        {"\xc3\xa9t\xc3\xa9", 2, "\xc3\xa9t", 3},           // é is two bytes, one cell
        {"\xe6\x97\xa5\xe6\x9c\xac", 3, "\xe6\x97\xa5", 4}, // 日本: wide, never half
        {"\xe6\x97\xa5\xe6\x9c\xac", 1, "", 4},
        {"a\xf0\x9f\x98\x80z", 2, "a", 4}, // emoji, four bytes, two cells
        {"e\xcc\x81x", 1, "e\xcc\x81", 2}, // combining accent stays on
        {"", 5, "", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(displayWidth(c.text), c.cells);
        std::string cut = cutToWidth(c.text, c.width);
        EXPECT_EQ(cut, c.cut);
        EXPECT_TRUE(platform::isValidUtf8(cut));
        std::string fitted = fitToWidth(c.text, c.width);
        EXPECT_EQ(displayWidth(fitted), c.width);
        EXPECT_TRUE(platform::isValidUtf8(fitted));
    }
    EXPECT_EQ(fitToWidth("\xe6\x97\xa5\xe6\x9c\xac", 4), "\xe6\x97\xa5\xe6\x9c\xac");
    EXPECT_EQ(fitToWidth("\xe6\x97\xa5\xe6\x9c\xac"
                         "x",
                         4),
              "\xe6\x97\xa5~ ");
}
