// The MIME reader: flat leaves from nested multiparts, names and extensions of
// attachments, the header extractors, and the bodies built for word tests and
// for the plain view.
#include "core/mSHAREDSettings.h"
#include "message/MessageText.h"
#include "message/clsMessage.h"
#include "message/modMIME.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace corva {
namespace {

using test::crlf;

class MimeTree : public ::testing::Test {
protected:
    void SetUp() override { dir.makeProgramFolder(); }
    clsMessage parse(const std::string& text) {
        clsMessage m;
        m.CreateFromText(text, false);
        return m;
    }
    // A multipart/mixed message on boundary "b", its first delimiter written.
    clsMessage mixed(std::initializer_list<std::string> rest) {
        std::string text = "Content-Type: multipart/mixed; boundary=\"b\"\r\n\r\n--b";
        for (const auto& line : rest) text += "\r\n" + line;
        return parse(text);
    }
    clsMessage parseFile(const std::string& name) {
        return parse(test::readFile(test::dataFile("message/" + name)));
    }
    test::TempDir dir;
};

TEST_F(MimeTree, NestedMultipartGivesLeavesInOrderAndNumbersForwardedMail) {
    clsMessage m = parseFile("nested-multipart-leaves-in-order.eml");
    ASSERT_EQ(m.MimePartCount(), 5);
    EXPECT_EQ(m.MimePart(1).ContentType, "text/plain");
    EXPECT_EQ(m.MimePart(1).Content, "Caf\xE9 at noon?");
    EXPECT_EQ(m.MimePart(1).Encoding, "");
    EXPECT_EQ(m.MimePart(1).Size, 13);

    // The unnamed HTML part becomes an attachment and stays encoded.
    EXPECT_EQ(m.MimePart(2).SectionName, "View email as web page.html");
    EXPECT_EQ(m.MimePart(2).Encoding, "quoted-printable");
    EXPECT_EQ(m.MimePart(2).Content, "<p>Caf=E9 at <b>noon</b>?</p>");

    EXPECT_EQ(m.MimePart(3).SectionName, "Attached_Msg 1.eml");
    EXPECT_EQ(m.MimePart(3).Content, "Subject: first forwarded\r\n\r\none");
    EXPECT_EQ(m.MimePart(4).SectionName, "minutes.doc");
    EXPECT_EQ(m.MimePart(4).Encoding, "base64");
    EXPECT_EQ(DecodedPartText(m, 4), "Hello Word");
    EXPECT_EQ(m.MimePart(5).SectionName, "Attached_Msg 2.eml");

    EXPECT_TRUE(m.HasAttachment);
    EXPECT_EQ(m.AttachmentNames(),
              (std::vector<std::string>{"View email as web page.html", "Attached_Msg 1.eml",
                                        "minutes.doc", "Attached_Msg 2.eml"}));
    EXPECT_EQ(extractplainmessage(m), "Caf\xE9 at noon?");
    EXPECT_EQ(m.StrippedBody, "Caf\xE9 at noon?");

    // A second parse starts the numbering and the lists afresh.
    m.CreateFromText(test::readFile(test::dataFile("message/nested-multipart-leaves-in-order.eml")),
                     false);
    EXPECT_EQ(m.MimePart(3).SectionName, "Attached_Msg 1.eml");
    EXPECT_EQ(m.AttachmentNames().size(), 4u);
}

TEST_F(MimeTree, UnquotedBoundaryKeepsItsParametersAndFindsNothing) {
    clsMessage m = parseFile("boundary-with-parameters-finds-no-parts.eml");
    EXPECT_EQ(clsMessage::extractboundarystring("Content-Type: multipart/mixed; boundary=abc; "
                                                "charset=x\r\n\r\n"),
              "abc; charset=x");
    EXPECT_EQ(m.MimePartCount(), 0);
    EXPECT_EQ(m.HtmlStrippedBody, "");
    EXPECT_NE(extractplainmessage(m).find("never found"), std::string::npos);
}

// A boundary that reads as empty makes every "--" a delimiter, so the part
// between the two delimiters still comes out.
TEST_F(MimeTree, BoundaryReadAsEmptySplitsAtTheDashes) {
    for (const char* type : {"multipart/mixed; Boundary=\"b\"", "multipart/mixed; BOUNDARY=\"b\"",
                             "multipart/mixed; boundary= \"b\""}) {
        SCOPED_TRACE(type);
        clsMessage m = parse(crlf({std::string("Content-Type: ") + type, "", "--b",
                                   "Content-Type: text/plain", "", "x", "--b--", ""}));
        ASSERT_EQ(m.MimePartCount(), 1);
        EXPECT_EQ(m.MimePart(1).ContentType, "text/plain");
        EXPECT_EQ(m.MimePart(1).Content, "x");
        EXPECT_EQ(extractplainmessage(m), "x");
    }
    EXPECT_EQ(mixed({"Content-Type: text/plain", "", "never closed"}).MimePartCount(), 0);
}

TEST_F(MimeTree, Base64BodyPartIsDecodedAndLosesItsEncoding) {
    // Unpadded data of a length that is a multiple of three: the last byte must survive.
    clsMessage m = mixed({"Content-Type: text/plain", "Content-Transfer-Encoding: base64", "",
                          "SGVsbG8h", "--b--", ""});
    ASSERT_EQ(m.MimePartCount(), 1);
    EXPECT_EQ(m.MimePart(1).Content, "Hello!");
    EXPECT_EQ(m.MimePart(1).Encoding, "");
    EXPECT_FALSE(m.HasAttachment);
}

TEST_F(MimeTree, ExtensionsFollowTheTypeOnlyWhenTheNameHasNone) {
    EXPECT_EQ(clsMessage::appendextension("report", "application/msword"), "report.doc");
    EXPECT_EQ(clsMessage::appendextension("report.rtf", "application/msword"), "report.rtf");
    EXPECT_EQ(clsMessage::appendextension("photo", "image/pjpeg"), "photo.jpg");
    EXPECT_EQ(clsMessage::appendextension("fwd", "message/rfc822"), "fwd.eml");
    EXPECT_EQ(clsMessage::appendextension("data", "application/octet-stream"), "data");
    EXPECT_EQ(clsMessage::appendextension("a:b/c.txt", "text/plain"), "a b c.txt");
}

TEST_F(MimeTree, FileNamesAreWalkedLoosely) {
    const std::string cases[][3] = {
        {"Content-Type: text/plain; name=\"a=b.txt\"", "", "ab.txt"},
        {"Content-Disposition: attachment; filename=Notes.TXT; size=3", "", "Notes.TXT"},
        {"Content-Disposition: attachment;\r\n filename*1=\"x.pdf\"", "", "x.pdf"},
        {"X: name=\"Attachment: plan.doc\"", "", "plan.doc"},
        {"Content-Type: text/html", "text/html", "View email as web page.html"},
        {"Content-Type: text/plain", "text/plain", ""},
        // A name behind the blank line belongs to the body.
        {"Content-Type: text/html\r\n\r\nname=x", "text/html", ""},
    };
    for (const auto& [header, type, name] : cases) {
        SCOPED_TRACE(header);
        EXPECT_EQ(clsMessage::extractfilename(header + "\r\n\r\n", type), name);
    }
}

TEST_F(MimeTree, ContentTypeAndEncodingExtraction) {
    EXPECT_EQ(clsMessage::extractcontenttype("Content-Type: Text/HTML; charset=x\r\n\r\n"),
              "text/html");
    // A filter on the way may have moved the true type aside.
    EXPECT_EQ(clsMessage::extractcontenttype(
                  "Content-Type: text/plain\r\nPrev-Content-Type: text/html\r\n\r\n"),
              "text/html");
    EXPECT_EQ(clsMessage::extractcontenttype("Content-Type: \r\n\tmultipart/mixed\r\n\r\n"), "");
    EXPECT_EQ(clsMessage::extractcontenttype("Subject: x\r\n\r\nContent-Type: text/html\r\n"), "");
    EXPECT_EQ(
        clsMessage::extractcontentencoding("Content-Transfer-Encoding: base64\r\n"
                                           "Content-Transfer-Encoding: \"Quoted-Printable\"\r\n"
                                           "\r\n"),
        "quoted-printable");

    std::string type, encoding, boundary;
    clsMessage::decodeheader("Subject: x\r\n\r\n", type, encoding, boundary);
    EXPECT_EQ(type, "text/plain");
    clsMessage::decodeheader("Content-Transfer-Encoding: 7bit\r\n\r\n", type, encoding, boundary);
    EXPECT_EQ(type, "");
    EXPECT_EQ(encoding, "7bit");
}

TEST_F(MimeTree, AddMimePartStripsTheCallersTextToo) {
    clsMessage m;
    std::string content = "text \r\n--";
    m.AddMimePart("text/plain", content, "", "base64\r");
    EXPECT_EQ(content, "text");
    EXPECT_EQ(m.MimePart(1).Encoding, "base64");
    EXPECT_EQ(m.MimePart(1).Size, 4);
}

// ---- Stripped bodies ----

// The body for word tests keeps tags; the other loses them.
TEST_F(MimeTree, StrippedBodiesForWordTests) {
    const struct {
        std::string text, stripped, htmlStripped;
    } cases[] = {
        {crlf({"Subject: s", "", "=41bc", "line &amp; two"}), "Abc line & two", "Abcline & two"},
        {crlf({"Content-Type: text/html", "", "<style>p{}</style><p>Hi&amp;", "<b>you</b></p>"}),
         "<style>p{}</style><p>Hi& <b>you</b></p>", "Hi&you"},
        // A blank first part falls through to the decoded Base64 one.
        {crlf({"Content-Type: multipart/alternative; boundary=\"b\"", "", "--b",
               "Content-Type: text/plain", "", "   ", "--b", "Content-Type: text/html",
               "Content-Transfer-Encoding: base64", "", test::encode64("<i>found</i>"), "--b--",
               ""}),
         "<i>found</i>", "found"},
        // Nothing but tags: the word tests fall back on the body with its tags.
        {crlf({"Content-Type: text/html", "", "<p></p>"}), "<p></p>", ""},
        {crlf({"Content-Type: image/gif", "", "GIF89a"}), "GIF89a", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        clsMessage m = parse(c.text);
        EXPECT_EQ(m.StrippedBody, c.stripped);
        EXPECT_EQ(m.HtmlStrippedBody, c.htmlStripped);
        // Training builds only the body the word tests read.
        clsMessage counted;
        counted.CreateForWordCount(c.text);
        EXPECT_EQ(counted.HtmlStrippedBody.empty() ? counted.StrippedBody
                                                   : counted.HtmlStrippedBody,
                  c.htmlStripped.empty() ? c.stripped : c.htmlStripped);
    }
}

TEST_F(MimeTree, WithoutPartsOnlyTheStrippedBodyIsBuiltAndHugeBodiesAreSkipped) {
    clsMessage m;
    m.CreateFromText(crlf({"Subject: s", "", "plain <b>text</b>"}), true);
    m.CreateStripped();
    EXPECT_EQ(m.StrippedBody, "plain <b>text</b>");
    EXPECT_EQ(m.HtmlStrippedBody, "");

    m.CreateFromText("Subject: s\r\n\r\n" + std::string(50001, 'w'), true);
    m.CreateStripped();
    EXPECT_EQ(m.StrippedBody, "");
}

// ---- The plain view ----

TEST_F(MimeTree, PlainViewPicksItsParts) {
    // HTML first with plain before the last part: both, joined.
    EXPECT_EQ(extractplainmessage(
                  mixed({"Content-Type: text/html", "", "<p>Top</p>", "--b",
                         "Content-Type: text/plain", "", "Second", "--b",
                         "Content-Type: application/pdf; name=\"a.pdf\"", "", "PDF", "--b--", ""})),
              "Top\r\n\r\nSecond");
    // An empty plain part stops the search for plain text.
    EXPECT_EQ(extractplainmessage(
                  mixed({"Content-Type: text/plain", "", "", "--b", "Content-Type: text/plain", "",
                         "second plain", "--b", "Content-Type: text/html", "", "from <b>html</b>",
                         "--b--", ""})),
              "from html");
}

TEST_F(MimeTree, HtmlConversionKeepsLinkTargetsAndCutsQuotes) {
    clsMessage m;
    std::string html = "<blockquote>a\rb</blockquote>";
    m.AddMimePart("text/html", html, "", "");
    EXPECT_EQ(HtmlPartToPlainText(m, 1), "a"); // the quote loses three characters per CR

    clsMessage links;
    std::string text = "Go<br>to <A HREF=\"http://x.org/\">site</a> now";
    links.AddMimePart("text/html", text, "", "");
    EXPECT_EQ(HtmlPartToPlainText(links, 1), "Go\r\nto  http://x.org/\">site  now");
}

TEST_F(MimeTree, GroupsFootersGoOnlyWithTweaks) {
    clsMessage m = parse(crlf({"Subject: s", "", "Real text", "Yahoo! Groups Links", "junk"}));
    EXPECT_NE(extractplainmessage(m).find("junk"), std::string::npos);
    sset("Tweaks", true);
    EXPECT_EQ(extractplainmessage(m), "Real text\r\n");
    sset("Tweaks", false);
}

} // namespace
} // namespace corva
