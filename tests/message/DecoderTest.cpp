// The transfer decoders and the header-word decoder, each with the rules
// real senders forced on them.
#include "message/Base64.h"
#include "message/MessageText.h"
#include "message/modMIME.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace corva {
namespace {

// ---- quoted-printable ----

TEST(QuotedPrintable, HexEscapesDecodeInEitherCaseAndOddEqualsStay) {
    EXPECT_EQ(quotedprintabledecode("plain text"), "plain text");
    EXPECT_EQ(quotedprintabledecode("a=41b"), "aAb");
    EXPECT_EQ(quotedprintabledecode("=3d and =3D"), "= and =");
    EXPECT_EQ(quotedprintabledecode("ends with ="), "ends with =");
    EXPECT_EQ(quotedprintabledecode("=G1 =4"), "=G1 =4");
    EXPECT_EQ(quotedprintabledecode("=e9t=E9"), "\xE9t\xE9");
    EXPECT_EQ(quotedprintabledecode("a=00b"), std::string("a\0b", 3)); // NULs are kept
}

TEST(QuotedPrintable, OrdinarySoftBreakStaysALineBreak) {
    EXPECT_EQ(quotedprintabledecode("line one=\r\nline two"), "line one\r\nline two");
}

TEST(QuotedPrintable, NamedSendersGetTheirLinesJoined) {
    EXPECT_EQ(quotedprintabledecode("Hester Wray says=\r\nhello"), "Hester Wray sayshello");
    // The eBay branch: "=3D" stays a literal "=" that the hex walk must not touch.
    EXPECT_EQ(quotedprintabledecode("ebay link=\r\nhttp://x?a=3D41&b=20\r\nc=09d"),
              "ebay linkhttp://x?a=41&b cd");
}

TEST(QuotedPrintable, EncodedLineEndsReplaceTheRealOnes) {
    EXPECT_EQ(quotedprintabledecode("a=0D\r\nb=0D\r\nc"), "a\r\nb\r\nc");
}

TEST(QuotedPrintable, StraySoftBreakBeforeLoneCRGoes) {
    EXPECT_EQ(quotedprintabledecode("x=\ry"), "x\ry");
}

// ---- Base64 ----

TEST(Base64, DecodesPaddedUnpaddedAndFoldedText) {
    EXPECT_EQ(vbDecodeMime64("SGVsbG8="), "Hello");
    EXPECT_EQ(vbDecodeMime64("SGVs\r\nbG8="), "Hello");
    EXPECT_EQ(vbDecodeMime64("SGk"), "Hi");
    EXPECT_EQ(vbDecodeMime64("SGVsbG8h"), "Hello!"); // last byte of an unpadded text survives
    EXPECT_EQ(vbDecodeMime64("SGk?="), "Hi");        // trailing junk of an encoded word
}

TEST(Base64, TooShortTextComesBackUndecoded) {
    EXPECT_EQ(vbDecodeMime64(""), "");
    EXPECT_EQ(vbDecodeMime64("Q"), "Q");
    EXPECT_EQ(vbDecodeMime64("\r\nQ"), "Q");
}

TEST(Base64, EveryByteRoundTripsAtEveryLength) {
    std::string all;
    for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
    for (size_t len : {2u, 3u, 4u, 5u, 100u, 256u}) {
        std::string bytes = all.substr(256 - len);
        EXPECT_EQ(vbDecodeMime64(test::encode64(bytes)), bytes) << len;
        EXPECT_EQ(vbDecodeMime64(test::encode64(bytes, 0)), bytes) << len;
    }
}

TEST(Base64, StopsAtTheFirstCharacterOutsideTheAlphabet) {
    unsigned char out[16] = {};
    const unsigned char in[] = "QUJD?=RUZH";
    EXPECT_EQ(cDecode64(in, out, sizeof(in) - 2), 3);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(out), 3), "ABC");
    EXPECT_EQ(cDecode64(in, out, -1), 0);
}

// ---- Encoded header words ----

TEST(IsoDecode, DecodesBAndQWords) {
    EXPECT_EQ(isodecode("=?utf-8?B?SGVsbG8=?="), "Hello");
    EXPECT_EQ(isodecode("=?UTF-8?b?SGk=?= there"), "Hi there");
    EXPECT_EQ(isodecode("=?koi8-r?B?SGk=?="), "Hi"); // charset it doesn't name
    EXPECT_EQ(isodecode("=?iso-8859-1?Q?caf=E9_au_lait?="), "caf\xE9_au_lait");
    EXPECT_EQ(isodecode("=?windows-1252?Q?Price=3A_=8010?="), "Price:_\x80"
                                                              "10");
}

TEST(IsoDecode, PlainTextLosesOnlyWhatTheChainTakes) {
    EXPECT_EQ(isodecode("Re: meeting"), "Re: meeting");
    EXPECT_EQ(isodecode("\"Ann\" <ann@x>"), "Ann <ann@x>");
    EXPECT_EQ(isodecode("Why q? Because"), "Because");
    EXPECT_EQ(isodecode(std::string("ab\x11"
                                    "c\0def",
                                    8)),
              "abc");
    EXPECT_EQ(isodecode("  padded  "), "padded");
}

TEST(IsoDecode, FarMarkerOverflowsAndLeavesTheWordAlone) {
    std::string text = "utf-8 " + std::string(40000, 'x') + "?B?SGk=";
    std::string out = isodecode(text);
    EXPECT_EQ(out.find("Hi"), std::string::npos);
}

// ---- Writing parts to disk ----

TEST(WriteFile, DecodesByEncodingAndReplacesTheOldFile) {
    test::TempDir dir;
    std::string path = dir.file("part.bin");
    test::writeFile(path, std::string(1000, 'z'));
    EXPECT_TRUE(writefile(path, "SGVsbG8=", "base64"));
    EXPECT_EQ(test::readFile(path), "Hello");
    EXPECT_TRUE(writefile(path, "a=41", "quoted-printable"));
    EXPECT_EQ(test::readFile(path), "aA");
    EXPECT_TRUE(writefile(path, "a=41", "7bit"));
    EXPECT_EQ(test::readFile(path), "a=41");
    EXPECT_TRUE(writefile(path, "a=41", "x-unknown"));
    EXPECT_EQ(test::readFile(path), "a=41");
    EXPECT_FALSE(writefile(dir.file("missing/folder/x"), "a", "7bit"));
}

} // namespace
} // namespace corva
