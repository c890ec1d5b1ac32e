// The transfer decoders and the header-word decoder, each with the rules
// real senders forced on them.
#include "message/Base64.h"
#include "message/MessageText.h"
#include "message/modMIME.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace corva {
namespace {

using Cases = std::vector<std::pair<std::string, std::string>>;

TEST(QuotedPrintable, EscapesAndSoftBreaksAsSendersUseThem) {
    for (const auto& [in, out] : Cases{
             {"plain text", "plain text"},
             {"a=41b", "aAb"},
             {"=3d and =3D", "= and ="},
             {"ends with =", "ends with ="},
             {"=G1 =4", "=G1 =4"},
             {"=e9t=E9", "\xE9t\xE9"},
             {"a=00b", std::string("a\0b", 3)},                 // NULs are kept
             {"line one=\r\nline two", "line one\r\nline two"}, // an ordinary soft break stays
             {"Hester Wray says=\r\nhello", "Hester Wray sayshello"}, // named senders are joined
             // The eBay branch: "=3D" stays a literal "=" that the hex walk must not touch.
             {"ebay link=\r\nhttp://x?a=3D41&b=20\r\nc=09d", "ebay linkhttp://x?a=41&b cd"},
             {"a=0D\r\nb=0D\r\nc", "a\r\nb\r\nc"}, // encoded line ends replace the real ones
             {"x=\ry", "x\ry"},                    // a stray soft break before a lone CR goes
         }) {
        SCOPED_TRACE(in);
        EXPECT_EQ(quotedprintabledecode(in), out);
    }
}

TEST(Base64, DecodesPaddedUnpaddedFoldedAndLeavesTooShortText) {
    for (const auto& [in, out] : Cases{
             {"SGVsbG8=", "Hello"},
             {"SGVs\r\nbG8=", "Hello"},
             {"SGk", "Hi"},
             {"SGVsbG8h", "Hello!"}, // last byte of an unpadded text survives
             {"SGk?=", "Hi"},        // trailing junk of an encoded word
             {"", ""},
             {"Q", "Q"},
             {"\r\nQ", "Q"},
         }) {
        SCOPED_TRACE(in);
        EXPECT_EQ(vbDecodeMime64(in), out);
    }
    // The encoder pads, and breaks lines only when asked, after whole groups.
    EXPECT_EQ(cEncode64("ann:s\xe9"
                        "cret"),
              "YW5uOnPpY3JldA==");
    EXPECT_EQ(cEncode64("Hello!", 1), "SGVs\r\nbG8h\r\n");
    EXPECT_EQ(vbDecodeMime64(cEncode64(std::string(100, '\xff'), 19)), std::string(100, '\xff'));
}

TEST(IsoDecode, DecodesWordsAndPlainTextLosesOnlyWhatTheChainTakes) {
    for (const auto& [in, out] : Cases{
             {"=?utf-8?B?SGVsbG8=?=", "Hello"},
             {"=?UTF-8?b?SGk=?= there", "Hi there"},
             {"=?koi8-r?B?SGk=?=", "Hi"}, // a charset it doesn't name
             {"=?iso-8859-1?Q?caf=E9_au_lait?=", "caf\xE9_au_lait"},
             {"=?windows-1252?Q?Price=3A_=8010?=", "Price:_\x80"
                                                   "10"},
             {"Re: meeting", "Re: meeting"},
             {"\"Ann\" <ann@x>", "Ann <ann@x>"},
             {"Why q? Because", "Because"},
             {std::string("ab\x11"
                          "c\0def",
                          8),
              "abc"},
             {"  padded  ", "padded"},
         }) {
        SCOPED_TRACE(in);
        EXPECT_EQ(isodecode(in), out);
    }
}

TEST(IsoDecode, FarMarkerOverflowsAndLeavesTheWordAlone) {
    std::string text = "utf-8 " + std::string(40000, 'x') + "?B?SGk=";
    EXPECT_EQ(isodecode(text).find("Hi"), std::string::npos);
}

TEST(WriteFile, DecodesByEncodingAndReplacesTheOldFile) {
    test::TempDir dir;
    std::string path = dir.file("part.bin");
    test::writeFile(path, std::string(1000, 'z'));
    for (const auto& [encoding, in, out] : std::vector<std::array<std::string, 3>>{
             {"base64", "SGVsbG8=", "Hello"},
             {"quoted-printable", "a=41", "aA"},
             {"7bit", "a=41", "a=41"},
             {"x-unknown", "a=41", "a=41"},
         }) {
        SCOPED_TRACE(encoding);
        EXPECT_TRUE(writefile(path, in, encoding));
        EXPECT_EQ(test::readFile(path), out);
    }
    EXPECT_FALSE(writefile(dir.file("missing/folder/x"), "a", "7bit"));
}

} // namespace
} // namespace corva
