// The raw text the store writes back: flag lines, the receive date, the spam
// tag, and the read state carried by the case of the file's own name.
#include "message/MessageText.h"
#include "message/clsMessage.h"
#include "message/clsMessages.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <regex>

namespace corva {
namespace {

using test::crlf;
using test::occurrences;

class RawText : public ::testing::Test {
protected:
    void SetUp() override { dir.makeProgramFolder(); }
    clsMessage parse(const std::string& text) {
        clsMessage m;
        m.CreateFromText(text, true);
        return m;
    }
    test::TempDir dir;
};

TEST_F(RawText, NewLinesStandLastInHeaderInFixedOrder) {
    clsMessage m = parse(crlf({"Subject: a", "", "body"}));
    m.Read = true;
    m.Replied = true;
    m.HighPriority = true;
    std::string raw = m.RawMessage();
    std::regex shape("Subject: a\r\nX-Message-Read: 1\r\nX-Message-Replied: 1\r\n"
                     "X-Receive-Date: \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\r\n"
                     "X-Message-HighPriority: 1\r\n\r\nbody");
    EXPECT_TRUE(std::regex_match(raw, shape)) << raw;
    // Computed on each call, never stored.
    m.Read = m.Replied = m.HighPriority = false;
    EXPECT_EQ(occurrences(m.RawMessage(), "X-Message-"), 0u);
    EXPECT_EQ(m.Messagetext, crlf({"Subject: a", "", "body"}));
}

// Lines already there are not doubled, a cleared flag takes its line out even
// from the body, and a text without a blank line gets no lines at all.
TEST_F(RawText, FlagLinesAreWrittenOnlyWhereTheyChangeSomething) {
    const struct {
        std::string text;
        bool read, replied, priority;
        std::string raw; // empty: the text as it was
    } cases[] = {
        {crlf({"X-Message-Read: 1", "X-Receive-Date: 2001-02-03 04:05:06", "", "b"}), true, false,
         false, ""},
        {crlf({"X-Message-Replied: 1", "X-Receive-Date: d", "",
               "quoted: X-Message-Replied: 1 here"}),
         false, false, false, crlf({"X-Receive-Date: d", "", "quoted:  here"})},
        {"just one line\r\n", true, false, true, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        clsMessage m = parse(c.text);
        m.Read = c.read;
        m.Replied = c.replied;
        m.HighPriority = c.priority;
        EXPECT_EQ(m.RawMessage(), c.raw.empty() ? c.text : c.raw);
    }
    clsMessage none = parse("just one line\r\n");
    EXPECT_EQ(none.MimePart(5).ContentType, "");
    EXPECT_TRUE(none.AttachmentNames().empty());
}

TEST_F(RawText, TagAsSpamTagsEverySubjectLineOnce) {
    clsMessage m = parse(crlf({"Subject: hi", "X-Receive-Date: d", "", "Subject: in body"}));
    m.TagAsSpam();
    EXPECT_EQ(m.RawMessage(),
              crlf({"Subject: SPAM: hi", "X-Receive-Date: d", "", "Subject: SPAM: in body"}));
    EXPECT_EQ(m.Subject, "hi");
    EXPECT_EQ(m.Headers, crlf({"Subject: hi", "X-Receive-Date: d"}));

    clsMessage tagged = parse(crlf({"Subject: SPAM: hi", "X-Receive-Date: d", "", "Subject: x"}));
    tagged.TagAsSpam();
    EXPECT_EQ(tagged.RawMessage(), tagged.Messagetext);
}

TEST_F(RawText, RemoveReceiveDateDropsThePlantedLine) {
    clsMessage m =
        parse(crlf({"Subject: a", "X-Receive-Date: 1999-01-01 00:00:00", "To: b", "", "x"}));
    m.RemoveReceiveDate();
    std::string raw = m.RawMessage();
    EXPECT_EQ(raw.find("1999"), std::string::npos);
    EXPECT_EQ(occurrences(raw, "X-Receive-Date: "), 1u); // the fresh stamp
    EXPECT_EQ(raw.substr(0, 19), "Subject: a\r\nTo: b\r\n");
    EXPECT_EQ(raw.substr(raw.size() - 5), "\r\n\r\nx");
}

TEST_F(RawText, ReplaceRawMessageParsesNothing) {
    clsMessage m = parse(crlf({"Subject: old", "X-Receive-Date: d", "", "b"}));
    m.ReplaceRawMessage(crlf({"Subject: new", "X-Receive-Date: d", "", "c"}));
    EXPECT_EQ(m.Subject, "old");
    EXPECT_EQ(m.RawMessage(), crlf({"Subject: new", "X-Receive-Date: d", "", "c"}));
}

TEST_F(RawText, FilenameCaseCarriesReadStateInTheFileNameOnly) {
    clsMessage m;
    m.setFilename("/Home/Mail/Inbox/Hello World (1).eml");
    m.Read = true;
    EXPECT_EQ(m.Filename(), "/Home/Mail/Inbox/hello world (1).eml");
    m.Read = false;
    EXPECT_EQ(m.Filename(), "/Home/Mail/Inbox/HELLO WORLD (1).EML");
    m.setFilename("Inbox\\Mixed.eml");
    EXPECT_EQ(m.Filename(), "Inbox\\MIXED.EML");
}

TEST(Messages, KeepsOrderAndFindsByKeyIgnoringCase) {
    clsMessages list;
    auto a = std::make_shared<clsMessage>();
    auto b = std::make_shared<clsMessage>();
    auto c = std::make_shared<clsMessage>();
    EXPECT_EQ(list.Add(a, "Key1"), a);
    list.Add(b);
    list.Add(c, "k3");
    EXPECT_EQ(list.Count(), 3);
    EXPECT_EQ(list.Item(2), b);
    EXPECT_EQ(list.Item("KEY1"), a);
    EXPECT_EQ(list.Item("missing"), nullptr);
    EXPECT_EQ(list.Item(4), nullptr);

    list.Add(std::make_shared<clsMessage>(), "key1"); // a taken key adds nothing
    EXPECT_EQ(list.Count(), 3);

    list.Remove("key1");
    EXPECT_EQ(list.Count(), 2);
    EXPECT_EQ(list.Item(1), b);
    EXPECT_EQ(list.Item("key1"), nullptr);
    list.Remove(2);
    EXPECT_EQ(list.Item("k3"), nullptr);
    std::vector<clsMessages::Ptr> seen(list.begin(), list.end());
    EXPECT_EQ(seen, std::vector<clsMessages::Ptr>{b});
}

} // namespace
} // namespace corva
