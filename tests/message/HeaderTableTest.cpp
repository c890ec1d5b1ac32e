// The header table: which lines set which field, how folding is read, what a
// second parse keeps, and the size and header-length limits.
#include "core/mSHAREDLogging.h"
#include "message/MessageText.h"
#include "message/clsMessage.h"
#include "support/LastActions.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace corva {
namespace {

using test::crlf;

class HeaderTable : public ::testing::Test {
protected:
    void SetUp() override { dir.makeProgramFolder(); }
    clsMessage parse(const std::string& text, bool headerOnly = true) {
        clsMessage m;
        m.CreateFromText(text, headerOnly);
        return m;
    }
    test::TempDir dir;
};

TEST_F(HeaderTable, FillsFieldsDecodingAddressesAndSubject) {
    clsMessage m =
        parse(crlf({"Return-Path: <bounce@y.org>", "Received: from a",
                    "To: =?utf-8?B?Sm9l?= <joe@x.com>", "From: \"Ann\" <ann@y.org>",
                    "Subject: =?iso-8859-1?Q?caf=E9?=", "Date: Sat, 1 Jan 2000 10:00:00 -",
                    "X-Receive-Date: 2000-01-02 03:04:05 ", "Cc: c@x", "Received: from b",
                    "Message-ID: <id@x>", "X-Mailer: Tool 1", "X-Spam-Tests-Failed: T1",
                    "X-Envelope-To: env@x", "", "Body"}));
    EXPECT_EQ(m.To_Email, "Joe <joe@x.com>");
    EXPECT_EQ(m.From, "Ann <ann@y.org>"); // quotes go, as accepted
    EXPECT_EQ(m.Subject, "caf\xE9");
    EXPECT_EQ(m.SendDate, "Sat, 1 Jan 2000 10:00:00");
    EXPECT_EQ(m.ReceiveDate, "2000-01-02 03:04:05");
    EXPECT_EQ(m.Received, " from a from b");
    EXPECT_EQ(m.ReturnPath, "<bounce@y.org>");
    EXPECT_EQ(m.CC, "c@x");
    EXPECT_EQ(m.MessageID, "<id@x>");
    EXPECT_EQ(m.XMailer, "Tool 1");
    EXPECT_EQ(m.SpamTestsFailed, "T1");
    EXPECT_EQ(m.XEnvelopeTo, "env@x");
    EXPECT_TRUE(m.MessageTo.empty()); // the parser never fills it
    EXPECT_EQ(m.MessageBody, "Body");
    EXPECT_EQ(m.Headers.substr(0, 13), "Return-Path: ");
    EXPECT_EQ(m.Headers.find("\r\n\r\n"), std::string::npos);
}

TEST_F(HeaderTable, FoldedLinesReplaceExceptForTheJoinedFields) {
    clsMessage m = parse(crlf({"To: a@x,", " b@y", "Subject: one", "\ttwo", "X-Spam-Status: No,",
                               " score=1", "X-Spam-Report: r1", " r2", "", "x"}));
    EXPECT_EQ(m.To_Email, "b@y");
    EXPECT_EQ(m.Subject, "one \ttwo"); // only blanks are trimmed
    EXPECT_EQ(m.XSpamStatus, "No,score=1");
    EXPECT_EQ(m.XSpamReport, "r1r2");
}

TEST_F(HeaderTable, RepeatsNamesAndContinuationsDecideTheField) {
    // A continuation with a colon starts an unknown header.
    EXPECT_EQ(parse(crlf({"Subject: one", " two: three", " four", "", "x"})).Subject, "one");
    // A second subject joins only when adjacent.
    EXPECT_EQ(parse(crlf({"Subject: a", "Subject: b", "", "x"})).Subject, "a b");
    EXPECT_EQ(parse(crlf({"Subject: a", "To: t", "Subject: b", "", "x"})).Subject, "b");
    // Names are lower-cased but not trimmed.
    EXPECT_EQ(parse(crlf({"ReCeIvEd: x", "", "b"})).Received, " x");
    EXPECT_EQ(parse(crlf({"Received : x", "", "b"})).Received, "");
    // The first content type wins, without its semicolon.
    EXPECT_EQ(parse(crlf({"Content-Type: multipart/mixed;", " boundary=abc",
                          "Content-Type: text/plain", "", "b"}))
                  .ContentTypeMain,
              "multipart/mixed");
    // A DomainKey keeps its folded list of signed headers, which is no Received line.
    clsMessage m = parse(crlf(
        {"DomainKey-Signature: a=rsa;", " h=Received:From:To;", " b=xyz", "Subject: s", "", "x"}));
    EXPECT_EQ(m.DomainKey, "a=rsa;From:To;b=xyz");
    EXPECT_EQ(m.Received, "");
}

TEST_F(HeaderTable, FlagLinesCountOnlyExactlyOne) {
    EXPECT_FALSE(parse(crlf({"X-Message-Read: 2", "", "b"})).Read);
    EXPECT_TRUE(parse(crlf({"X-Message-Read: 1", "", "b"})).Read);
    EXPECT_FALSE(parse(crlf({"X-Message-Read: 1", "X-Message-Read: 0", "", "b"})).Read);
    clsMessage m = parse(crlf({"X-Message-HighPriority: 1", "X-Message-Replied: 1", "", "b"}));
    EXPECT_TRUE(m.HighPriority);
    EXPECT_TRUE(m.Replied);
}

TEST_F(HeaderTable, SecondParseKeepsWhatTheResetDoesNotCover) {
    clsMessage m;
    m.CreateFromText(crlf({"Cc: first@x", "Received: r1", "X-Message-Replied: 1",
                           "X-Message-Read: 1", "Content-Type: text/html", "", "b"}),
                     true);
    m.CreateFromText(crlf({"Subject: second", "", "b"}), true);
    EXPECT_EQ(m.CC, "first@x");
    EXPECT_TRUE(m.Replied);
    EXPECT_FALSE(m.Read);
    EXPECT_EQ(m.Received, "");
    EXPECT_EQ(m.ContentTypeMain, "");
    EXPECT_EQ(m.Subject, "second");
}

TEST_F(HeaderTable, EmptyBodyParsesAndHeaderOnlyLeavesPartsAlone) {
    clsMessage m = parse("Subject: x\r\n\r\n", false);
    EXPECT_EQ(m.Subject, "x");
    EXPECT_EQ(m.MessageBody, "");
    EXPECT_EQ(m.Messagetext, "Subject: x\r\n\r\n");

    clsMessage head = parse(crlf({"Content-Type: text/plain", "", "hello"}), true);
    EXPECT_TRUE(head.HeaderOnly);
    EXPECT_EQ(head.MimePartCount(), 0);
    EXPECT_EQ(head.StrippedBody, "");
    clsMessage full = parse(crlf({"Content-Type: text/plain", "", "hello"}), false);
    EXPECT_EQ(full.MimePartCount(), 1);
    EXPECT_EQ(full.StrippedBody, "hello");
}

// ---- Size and limits ----

TEST_F(HeaderTable, SizeRoundsKilobytesToEvenWithAFloorOfOne) {
    auto sized = [&](size_t bytes) {
        std::string text = "Subject: s\r\n\r\n";
        text.resize(bytes, 'x');
        return parse(text).Size;
    };
    EXPECT_FLOAT_EQ(sized(100), 1.0f);
    EXPECT_FLOAT_EQ(sized(1536), 2.0f); // 1.5 goes to the even 2
    EXPECT_FLOAT_EQ(sized(2560), 2.0f); // 2.5 goes to the even 2
    EXPECT_FLOAT_EQ(sized(3584), 4.0f);
    EXPECT_FLOAT_EQ(sized(3000), 3.0f);
}

TEST_F(HeaderTable, TextWithoutBlankLineIsInvalidButKeepsSize) {
    ResetLastActions();
    clsMessage m = parse("Subject: nothing after\r\nFrom: a@b\r\n");
    EXPECT_EQ(m.Subject, "");
    EXPECT_EQ(m.Headers, "");
    EXPECT_FLOAT_EQ(m.Size, 1.0f);
    EXPECT_TRUE(test::lastActionsHold("Invalid message format"));
    // The raw text is kept all the same.
    EXPECT_NE(m.RawMessage().find("Subject: nothing after"), std::string::npos);
}

TEST_F(HeaderTable, HeaderBlockOf32767CharactersIsInvalid) {
    auto withHeaderLength = [](size_t n) {
        std::string header = "Subject: " + std::string(n - 9, 'x');
        return header + "\r\n\r\nbody";
    };
    clsMessage ok = parse(withHeaderLength(32766));
    EXPECT_EQ(ok.Subject.size(), 32766u - 9);
    EXPECT_EQ(ok.MessageBody, "body");

    ResetLastActions();
    clsMessage tooLong = parse(withHeaderLength(32767));
    EXPECT_EQ(tooLong.Subject, "");
    EXPECT_EQ(tooLong.MessageBody, "");
    EXPECT_TRUE(test::lastActionsHold("Invalid message format"));
    EXPECT_TRUE(test::lastActionsHold("Overflow"));
}

} // namespace
} // namespace corva
