// The tokeniser: which tokens a message gives, under which prefixes.
#include "bayes/modHash.h"

#include "message/clsMessage.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

using namespace corva;

namespace {

using Tokens = std::map<std::string, float>;

// Every token with its count.
template <typename Hash> Tokens tokensIn(Hash hash) {
    clsHashTable table;
    table.InitSmall();
    hash(table);
    Tokens out;
    for (int32_t i = 1; i <= table.MaxIndex; ++i)
        if (!table.KeyAt(i).empty()) out[table.KeyAt(i)] = table.ValueAt(i);
    return out;
}
Tokens tokensOf(const clsMessage& msg, bool headersOnly = true) {
    return tokensIn([&](clsHashTable& t) { hashmessage(t, msg, headersOnly); });
}
Tokens tokensOf(std::string_view text, std::string_view prefix) {
    return tokensIn([&](clsHashTable& t) { BreakAndHash(t, text, prefix); });
}

} // namespace

TEST(Tokeniser, OneWordSubjectGivesNoPhrase) {
    clsMessage msg;
    msg.Subject = "Hello";
    EXPECT_EQ(tokensOf(msg), (Tokens{{"SUB*Hello", 1}, {"SB-LN*Hello", 1}}));
}

TEST(Tokeniser, SubjectWithNumberGivesPhraseWordsJoinedAndDigitFreeForms) {
    clsMessage msg;
    msg.Subject = "Win 500 dollars ok";
    EXPECT_EQ(tokensOf(msg), (Tokens{{"SUB*Win 500 dollars ok", 1},
                                     {"SUB*Win", 1},
                                     {"SUB*500", 1},
                                     {"SUB*dollars", 1},
                                     {"SB-LN*Win_500_dollars_ok", 1},
                                     {"SB-ND*Win__dollars_ok", 1}}))
        << "short words only live in the phrase";
}

TEST(Tokeniser, RepeatedWordsCountAndCaseMakesTwoTokens) {
    EXPECT_EQ(tokensOf("free FREE free stuff here and there and more words to pass fifty", "XMLR*"),
              (Tokens{{"XMLR*free", 2},
                      {"XMLR*FREE", 1},
                      {"XMLR*stuff", 1},
                      {"XMLR*here", 1},
                      {"XMLR*and", 2},
                      {"XMLR*there", 1},
                      {"XMLR*more", 1},
                      {"XMLR*words", 1},
                      {"XMLR*pass", 1},
                      {"XMLR*fifty", 1}}));
}

TEST(Tokeniser, LongWordsAreDroppedButStayThePreviousWord) {
    std::string word36(36, 'x');
    EXPECT_EQ(tokensOf("helo " + word36 + " host.example.net by", "RCT*"), Tokens{})
        << "the long word stands between helo and the host";
    std::string word35(35, 'y');
    EXPECT_EQ(tokensOf(word35, "UA*"), (Tokens{{"UA*" + word35, 1}}));
}

TEST(Tokeniser, ReceivedGivesOnlyTheFromHostAndTheHeloName) {
    EXPECT_EQ(
        tokensOf(" from mail.example.com (HELO relay.example.org) by mx.local with SMTP", "RCT*"),
        (Tokens{{"from mail.example.com", 1}, {"relay.example.org", 1}}))
        << "no prefix, dots kept";
    EXPECT_EQ(tokensOf(" from network; Mon, 1 Jan 2024 10:00:00 +0000 (UTC) by mx.local", "RCT*"),
              Tokens{});
}

TEST(Tokeniser, NumbersDroppedExceptInTheSubject) {
    EXPECT_EQ(tokensOf("+44-555", "TO*"), Tokens{});
    EXPECT_EQ(tokensOf("12345", "TO*"), Tokens{});
    EXPECT_EQ(tokensOf("12345", "SUB*"), (Tokens{{"SUB*12345", 1}}));
}

TEST(Tokeniser, HeaderBlockSkipsNamesBoundariesAndNumbers) {
    std::string headers = "Subject: cheap\r\nX-Mailer: Blaster 2000\r\nContent-Type: multipart; "
                          "boundary=abcdef\r\n\tcontinued line";
    EXPECT_EQ(tokensOf(headers, "HDR*"), (Tokens{{"HDR*cheap", 1},
                                                 {"HDR*Blaster", 1},
                                                 {"HDR*multipart;", 1},
                                                 {"HDR*continued", 1},
                                                 {"HDR*line", 1}}));
}

TEST(Tokeniser, AddressGivesWholeAddressAndDomain) {
    clsMessage msg;
    msg.From = "\"Ann Smith\" <Ann.Smith@Example.COM>";
    EXPECT_EQ(tokensOf(msg), (Tokens{{"FRM*Ann Smith", 1},
                                     {"FRM*Ann", 1},
                                     {"FRM*Smith", 1},
                                     {"FRM*ann.smith@example.com", 1},
                                     {"FRM*example.com", 1}}));
}

TEST(Tokeniser, ContentTypeKeepsOnlyMediaTypes) {
    EXPECT_EQ(tokensOf("text/html charset=us-ascii", "CT*"),
              (Tokens{{"CT*text/html charset=us-ascii", 1}, {"CT*text/html", 1}}));
}

TEST(Tokeniser, HtmlCommentsAreOneToken) {
    EXPECT_EQ(tokensOf("<!--abc--> <!--xyz-->", "HDR*"),
              (Tokens{{"HDR*<!--abc--> <!--xyz-->", 1}, {"HDR*HTMLCOMMENT", 2}}));
}

TEST(Tokeniser, LinksGiveHostsOnlyAndOnlyWhenAsked) {
    clsMessage msg;
    msg.StrippedBody = "Click http://user@evil.example.com/path?x=1 now";
    EXPECT_EQ(tokensOf(msg, true), Tokens{});
    EXPECT_EQ(tokensOf(msg, false), (Tokens{{"URL*evil.example.com", 1}}));
    msg.HtmlStrippedBody = "see https://secure.test.org/login";
    EXPECT_EQ(tokensOf(msg, false), (Tokens{{"URL*secure.test.org", 1}}))
        << "the stripped HTML is preferred";
    clsMessage empty;
    EXPECT_EQ(tokensOf(empty, false), Tokens{});
    // Upper case in a long body, letters beside bytes above 127, and tabs and
    // line ends among the header words read as blanks do.
    msg.HtmlStrippedBody.clear();
    msg.StrippedBody = "Caf\xC9 \xC4WWW.Example.COM/x and more text after it";
    EXPECT_EQ(tokensOf(msg, false), (Tokens{{"URL*www.example.com", 1}}));
    EXPECT_EQ(tokensOf("lunch\tat\rnoon\r\nfriday\x0b!", "SUB*"),
              (Tokens{{"SUB*lunch at noon friday\x0b!", 1},
                      {"SUB*lunch", 1},
                      {"SUB*noon", 1},
                      {"SUB*friday!", 1}}));
}

TEST(Tokeniser, WordHelpers) {
    EXPECT_EQ(cleanthisword(" <[(\"hi~there\")]>\x01\x1e "), "hithere");
    EXPECT_TRUE(allnumerics(""));
    EXPECT_TRUE(allnumerics("+1-2"));
    EXPECT_FALSE(allnumerics("12a"));
    EXPECT_EQ(CleanNumbers("a1b22c"), "abc");
    EXPECT_EQ(extractifurl("plain.word"), "plain.word");
    EXPECT_EQ(extractifurl("xHTTP://a.b/c/d"), "HTTP://a.b");
    EXPECT_EQ(extractifurl("http://www.shop.biz/x"), "www.shop.biz");
    EXPECT_EQ(extractifurl("go.www.Site.net/a@b"), "www.Site.net");
    size_t position = 0;
    getlowest(1, "ab>cd>", ">", position);
    EXPECT_EQ(position, 3u);
    position = 9;
    getlowest(1, "https://x", "https://", position);
    EXPECT_EQ(position, 8u) << "the end of the needle, not its start";
    position = 2;
    getlowest(1, "a>b", ">", position);
    EXPECT_EQ(position, 2u);
}
