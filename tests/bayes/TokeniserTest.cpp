// The tokeniser: which tokens a message gives, under which prefixes.
#include "bayes/modHash.h"

#include "message/clsMessage.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

using namespace corva;

namespace {

// Every token in byte order, separated by " | ", with " xN" when counted N > 1 times.
template <typename Hash> std::string tokensIn(Hash hash) {
    clsHashTable table;
    table.InitSmall();
    hash(table);
    std::map<std::string, float> sorted;
    for (int32_t i = 1; i <= table.MaxIndex; ++i)
        if (!table.KeyAt(i).empty()) sorted[table.KeyAt(i)] = table.ValueAt(i);
    std::string out;
    for (const auto& [key, count] : sorted)
        out += (out.empty() ? "" : " | ") + key +
               (count == 1 ? "" : " x" + std::to_string(static_cast<int>(count)));
    return out;
}
std::string tokensOf(const clsMessage& msg, bool headersOnly = true) {
    return tokensIn([&](clsHashTable& t) { hashmessage(t, msg, headersOnly); });
}
std::string tokensOf(std::string_view text, std::string_view prefix) {
    return tokensIn([&](clsHashTable& t) { BreakAndHash(t, text, prefix); });
}

} // namespace

// Short words only live in the phrase; a one-word subject gives none, and an
// address gives its whole self and its domain.
TEST(Tokeniser, SubjectAndSender) {
    const struct {
        const char *subject, *from, *tokens;
    } cases[] = {
        {"Hello", "", "SB-LN*Hello | SUB*Hello"},
        {"Win 500 dollars ok", "",
         "SB-LN*Win_500_dollars_ok | SB-ND*Win__dollars_ok | SUB*500 | SUB*Win | "
         "SUB*Win 500 dollars ok | SUB*dollars"},
        {"", "\"Ann Smith\" <Ann.Smith@Example.COM>",
         "FRM*Ann | FRM*Ann Smith | FRM*Smith | FRM*ann.smith@example.com | FRM*example.com"},
    };
    for (const auto& c : cases) {
        clsMessage msg;
        msg.Subject = c.subject;
        msg.From = c.from;
        EXPECT_EQ(tokensOf(msg), c.tokens);
    }
}

TEST(Tokeniser, TextUnderAPrefix) {
    const std::string word35(35, 'y');
    const struct {
        const char* why;
        std::string text, prefix, tokens;
    } cases[] = {
        {"repeats count, case makes two",
         "free FREE free stuff here and there and more words to pass fifty", "XMLR*",
         "XMLR*FREE | XMLR*and x2 | XMLR*fifty | XMLR*free x2 | XMLR*here | XMLR*more | "
         "XMLR*pass | XMLR*stuff | XMLR*there | XMLR*words"},
        {"a long word stands between helo and the host",
         "helo " + std::string(36, 'x') + " host.example.net by", "RCT*", ""},
        {"35 characters are not long", word35, "UA*", "UA*" + word35},
        {"Received: the from host and the helo name, no prefix, dots kept",
         " from mail.example.com (HELO relay.example.org) by mx.local with SMTP", "RCT*",
         "from mail.example.com | relay.example.org"},
        {"Received without host names",
         " from network; Mon, 1 Jan 2024 10:00:00 +0000 (UTC) by mx.local", "RCT*", ""},
        {"numbers are dropped", "+44-555", "TO*", ""},
        {"numbers are dropped", "12345", "TO*", ""},
        {"except in the subject", "12345", "SUB*", "SUB*12345"},
        {"a header block skips names, boundaries and numbers",
         "Subject: cheap\r\nX-Mailer: Blaster 2000\r\nContent-Type: multipart; "
         "boundary=abcdef\r\n\tcontinued line",
         "HDR*", "HDR*Blaster | HDR*cheap | HDR*continued | HDR*line | HDR*multipart;"},
        {"content types keep only media types", "text/html charset=us-ascii", "CT*",
         "CT*text/html | CT*text/html charset=us-ascii"},
        {"HTML comments are one token", "<!--abc--> <!--xyz-->", "HDR*",
         "HDR*<!--abc--> <!--xyz--> | HDR*HTMLCOMMENT x2"},
        {"tabs, a lone CR and CR LF are blanks; control bytes leave the words",
         "lunch\tat\rnoon\r\nfriday\x0b!", "SUB*",
         "SUB*friday! | SUB*lunch | SUB*lunch at noon friday\x0b! | SUB*noon"},
    };
    for (const auto& c : cases) EXPECT_EQ(tokensOf(c.text, c.prefix), c.tokens) << c.why;
}

TEST(Tokeniser, LinksGiveHostsOnlyAndOnlyWhenAsked) {
    clsMessage msg;
    msg.StrippedBody = "Click http://user@evil.example.com/path?x=1 now";
    EXPECT_EQ(tokensOf(msg, true), "");
    EXPECT_EQ(tokensOf(msg, false), "URL*evil.example.com");
    msg.HtmlStrippedBody = "see https://secure.test.org/login";
    EXPECT_EQ(tokensOf(msg, false), "URL*secure.test.org") << "the stripped HTML is preferred";
    EXPECT_EQ(tokensOf(clsMessage(), false), "");
    msg.HtmlStrippedBody.clear();
    msg.StrippedBody = "Caf\xC9 \xC4WWW.Example.COM/x and more text after it";
    EXPECT_EQ(tokensOf(msg, false), "URL*.example.com") << "upper case beside bytes above 127";
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
