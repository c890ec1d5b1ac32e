// Mail as it arrives in the wild: odd bytes, odd line ends, huge parts, deep
// nesting and broken structure. Each must parse without crash or hang; how fast
// is measured in bench/.
#include "message/MessageText.h"
#include "message/clsMessage.h"
#include "message/modMIME.h"
#include "message/modTextConvert.h"
#include "support/TempDir.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <random>

namespace corva {
namespace {

using test::crlf;

class Robustness : public ::testing::Test {
protected:
    void SetUp() override { dir.makeProgramFolder(); }
    test::TempDir dir;
};

TEST_F(Robustness, EightBitBytesAndNulsPassThrough) {
    std::string text = crlf({"Subject: gr\xFC\xDF"
                             "e \x80\xFF",
                             "From: \xE9t\xE9 <a@b>", "", ""});
    const char body[] = "body\0with\0nuls \xFE\xFF";
    text += std::string(body, sizeof body - 1);
    clsMessage m;
    m.CreateFromText(text, false);
    EXPECT_EQ(m.Subject, "gr\xFC\xDF"
                         "e \x80\xFF");
    EXPECT_EQ(m.MessageBody.size(), 17u);
    ASSERT_EQ(m.MimePartCount(), 1);
    EXPECT_EQ(m.MimePart(1).Content.size(), 17u);
    // A NUL in a header word ends it.
    m.CreateFromText(std::string("Subject: ab\0cd\r\n\r\nx", 19), true);
    EXPECT_EQ(m.Subject, "ab");
}

TEST_F(Robustness, BareCrOrLfLineEndsMakeNoHeaderBlock) {
    for (const char* end : {"\r", "\n"}) {
        std::string e = end;
        std::string text = "Subject: s" + e + "From: f" + e + e + "body" + e;
        clsMessage m;
        m.CreateFromText(text, false);
        EXPECT_EQ(m.Subject, "");
        EXPECT_EQ(m.MimePartCount(), 0);
        EXPECT_FLOAT_EQ(m.Size, 1.0f);
        EXPECT_EQ(extractplainmessage(m), "");
    }
}

TEST_F(Robustness, MixedLineEndsInsideTheHeaderBlock) {
    clsMessage m;
    m.CreateFromText("Subject: a\nb\r\nTo: t\r\r\n\r\nbody", false);
    EXPECT_EQ(m.Subject, "ab"); // header words lose CR and LF
    EXPECT_EQ(m.To_Email, "t");
    EXPECT_EQ(m.MessageBody, "body");
}

TEST_F(Robustness, TwentyMegabyteAttachmentDecodesWhole) {
    // Random blocks of whole encoded lines, repeated: encoding the block once
    // keeps the set-up cheap, and its odd size lines up with no buffer.
    std::mt19937 rng(1);
    std::string block(57 * 1021, '\0');
    for (char& c : block) c = static_cast<char>(rng());
    const std::string encodedBlock = test::encode64(block);
    std::string payload, encoded;
    for (int i = 0; i < 270; ++i) {
        payload += block;
        encoded += encodedBlock;
    }
    ASSERT_GT(encoded.size(), 20u * 1000 * 1000);
    std::string text = crlf({"Subject: big", "Content-Type: multipart/mixed; boundary=\"zz\"", "",
                             "--zz", "Content-Type: text/plain", "", "see attached", "--zz",
                             "Content-Type: application/octet-stream; name=\"big.bin\"",
                             "Content-Transfer-Encoding: base64", "", encoded, "--zz--", ""});
    clsMessage m;
    m.CreateFromText(text, false);
    ASSERT_EQ(m.MimePartCount(), 2);
    EXPECT_EQ(m.MimePart(2).SectionName, "big.bin");
    EXPECT_EQ(m.StrippedBody, "see attached");

    std::string decoded = DecodedPartText(m, 2);
    EXPECT_EQ(decoded.size(), payload.size());
    EXPECT_TRUE(decoded == payload);
}

TEST_F(Robustness, TenDeepMultipartReachesItsLeaf) {
    std::string inner = crlf({"Content-Type: text/plain", "", "deepest leaf"});
    for (int level = 10; level >= 1; --level) {
        // Boundaries of one length, so none is the start of another.
        std::string b = std::string("lvl") + static_cast<char>('A' + level);
        inner = crlf({"Content-Type: multipart/mixed; boundary=\"" + b + "\"", "", "--" + b, inner,
                      "--" + b + "--", ""});
    }
    clsMessage m;
    m.CreateFromText("Subject: deep\r\n" + inner, false);
    ASSERT_EQ(m.MimePartCount(), 1);
    EXPECT_EQ(m.MimePart(1).Content, "deepest leaf");
}

TEST_F(Robustness, ThousandsDeepNestingStopsSafely) {
    // The leaf lies far below any depth a mail program produces; the reader
    // gives up on such a tree instead of running out of stack.
    auto b = [](int level) {
        char name[16];
        std::snprintf(name, sizeof name, "b%05d", level);
        return std::string(name);
    };
    std::string text;
    for (int level = 0; level < 5000; ++level)
        text += "Content-Type: multipart/mixed; boundary=\"" + b(level) + "\"\r\n\r\n--" +
                b(level) + "\r\n";
    text += "Content-Type: text/plain\r\n\r\nleaf";
    for (int level = 4999; level >= 0; --level) text += "\r\n--" + b(level) + "--";
    clsMessage m;
    m.CreateFromText("Subject: s\r\n" + text, false);
    EXPECT_EQ(m.MimePartCount(), 0);
}

TEST_F(Robustness, ManyPartsAndEmptyPartsAreKeptInOrder) {
    std::string body;
    for (int i = 0; i < 2000; ++i)
        body += "--q\r\nContent-Type: text/plain\r\n\r\npart " + std::to_string(i) + "\r\n";
    body += "--q\r\n\r\n--q--\r\n";
    clsMessage m;
    m.CreateFromText("Content-Type: multipart/mixed; boundary=q\r\n\r\n" + body, false);
    ASSERT_EQ(m.MimePartCount(), 2001);
    EXPECT_EQ(m.MimePart(1).Content, "part 0");
    EXPECT_EQ(m.MimePart(2000).Content, "part 1999");
    EXPECT_EQ(m.MimePart(2001).Content, ""); // the empty part between the last two delimiters
}

TEST_F(Robustness, ConvertersFinishOnHostileText) {
    const size_t n = 4 * 1024 * 1024;
    std::string refs;
    for (int i = 0; refs.size() < n; ++i) refs += "&#" + std::to_string(300 + i % 100000) + ";x";
    std::string tags = ">" + std::string(n, '<');
    std::string styles;
    while (styles.size() < n) styles += "<style>";
    std::string qp;
    while (qp.size() < n) qp += "=\r\n=3D=";
    std::string words;
    while (words.size() < n) words += "=?utf-8?q? ";

    htmlconsttochar(refs);
    striphtml(tags);
    striphtml(styles);
    (void)quotedprintabledecode(qp);
    (void)isodecode(words);
    std::string h = std::string(n / 8, '&') + "amp;";
    htmltochar(h);
    EXPECT_EQ(refs.find("&#"), std::string::npos);
}

} // namespace
} // namespace corva
