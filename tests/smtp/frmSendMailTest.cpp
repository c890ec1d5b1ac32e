// The engine without a server: encoders, line preparation, the checks before
// a transfer, properties, and the layout of a spooled file.
#include "SendTestSupport.h"

#include "core/AppInfo.h"
#include "core/mSHAREDLogging.h"
#include "smtp/frmSendMail.h"
#include "support/LastActions.h"

#include <QByteArray>

namespace corva::test {
namespace {

std::string bytesUpTo(int n) {
    std::string s;
    for (int i = 0; i < n; ++i) s += static_cast<char>(i & 0xFF);
    return s;
}

TEST(SendMailEncoders, Base64LinesAndPadding) {
    EXPECT_EQ(frmSendMail::encodebase64byte("a"), "YQ==\r\n");
    EXPECT_EQ(frmSendMail::encodebase64byte("ab"), "YWI=\r\n");
    EXPECT_EQ(frmSendMail::encodebase64byte(""), "\r\n");
    // 57 bytes fill one line of 76 characters exactly; no empty line follows.
    std::string one = frmSendMail::encodebase64byte(bytesUpTo(57));
    EXPECT_EQ(one.size(), 78u);
    EXPECT_EQ(one.find("\r\n"), 76u);
    std::string two = frmSendMail::encodebase64byte(bytesUpTo(58));
    EXPECT_EQ(two.substr(76, 2), "\r\n");
    EXPECT_EQ(two.substr(78), "OQ==\r\n");
    // A block of 11,400 bytes is 200 full lines, so blocks join seamlessly.
    std::string block = frmSendMail::encodebase64byte(bytesUpTo(11400));
    EXPECT_EQ(block.size(), 200u * 78u);
    QByteArray decoded = QByteArray::fromBase64(QByteArray::fromStdString(block));
    EXPECT_EQ(decoded.toStdString(), bytesUpTo(11400));
}

TEST(SendMailEncoders, Base64DecodesChallengesAndStopsAtPadding) {
    EXPECT_EQ(frmSendMail::decodebase64string("VXNlcm5hbWU6"), "Username:");
    EXPECT_EQ(frmSendMail::decodebase64string("UGFzc3dvcmQ6"), "Password:");
    EXPECT_EQ(frmSendMail::decodebase64string("YQ==YWI="), "a");
    EXPECT_EQ(frmSendMail::encodebase64string("ann"), "YW5u\r\n");
}

TEST(SendMailEncoders, UuencodeLines) {
    // 45 bytes make a full line: length character "M" and 60 characters.
    std::string full = frmSendMail::uuencodestring(std::string(45, 'A'));
    EXPECT_EQ(full.size(), 61u);
    EXPECT_EQ(full[0], 'M');
    EXPECT_EQ(frmSendMail::uuencodestring(std::string(64, 'A')), "");
    EXPECT_EQ(frmSendMail::uuencodestring(std::string(63, 'A')).size(), 85u);
    // Zero bits are written as "`", never as a blank.
    EXPECT_EQ(frmSendMail::uuencodestring(std::string(3, '\0')), "#````");
    EXPECT_EQ(frmSendMail::uuencodestring("Cat"), "#0V%T");
    // A short last group carries the encoder's own marks.
    EXPECT_EQ(frmSendMail::uuencodestring("C"), "!0P==");
    EXPECT_EQ(frmSendMail::uuencodestring("Ca"), "\"0V$=");
}

TEST(SendMailEncoders, TimeZoneFromStandardBias) {
    EXPECT_EQ(frmSendMail::timeZoneText(-570), "+0930");
    EXPECT_EQ(frmSendMail::timeZoneText(60), "-0100");
    EXPECT_EQ(frmSendMail::timeZoneText(0), "+0000");
    EXPECT_EQ(frmSendMail::timeZoneText(300), "-0500");
    EXPECT_EQ(frmSendMail::timeZoneText(-330), "+0530");
}

TEST(SendMailFormat, DotStuffingAddsOneDotPerPass) {
    frmSendMail mail;
    EXPECT_EQ(mail.FormatMail("a\r\n.x\r\nb"), "a\r\n..x\r\nb");
    EXPECT_EQ(mail.FormatMail(mail.FormatMail(".x\r\n.")), "...x\r\n...");
    EXPECT_EQ(mail.FormatMail("a\r.b\rc"), "a\r..b\rc");
    // LF alone is no line end: only the very start counts.
    EXPECT_EQ(mail.FormatMail(".a\n.b"), "..a\n.b");
}

TEST(SendMailFormat, LongLinesWrapAt998) {
    frmSendMail mail;
    std::string exact(998, 'x');
    EXPECT_EQ(mail.FormatMail(exact), exact);
    std::string over(999, 'x');
    EXPECT_EQ(mail.FormatMail(over), std::string(998, 'x') + "\r\nx");
    // The last blank within the first 998 characters is where it breaks.
    std::string words = std::string(600, 'a') + " " + std::string(600, 'b');
    EXPECT_EQ(mail.FormatMail("top\r\n" + words),
              "top\r\n" + std::string(600, 'a') + " \r\n" + std::string(600, 'b'));
    // A text with LF only is one line: wrapping inserts CRLF into it.
    std::string lfOnly = std::string(500, 'a') + "\n" + std::string(600, 'b');
    std::string wrapped = mail.FormatMail(lfOnly);
    EXPECT_EQ(wrapped, lfOnly.substr(0, 998) + "\r\n" + lfOnly.substr(998));
    // A piece that would start with a dot is stuffed, or it would end the data.
    std::string dotAfter = std::string(998, 'x') + ".y";
    EXPECT_EQ(mail.FormatMail(dotAfter), std::string(998, 'x') + "\r\n..y");
}

class SpoolTest : public SendFixture {
protected:
    void SetUp() override {
        SendFixture::SetUp();
        setAccount(0, 2525, "ann@example.com");
        mail_.setListener(&events_);
        mail_.Initialise(0);
    }
    std::string spool() {
        std::string path = home_.file("out.eml");
        return mail_.SpoolToFile(path) ? readFile(path) : std::string("<none>");
    }
    EngineEvents events_;
    frmSendMail mail_;
};

TEST_F(SpoolTest, RecipientLimitCountsUpperBoundsPlusThree) {
    auto addresses = [](int n) {
        std::string list;
        for (int i = 0; i < n; ++i) list += (i ? ";" : "") + ("r" + std::to_string(i) + "@x.org");
        return list;
    };
    mail_.setRecipient(addresses(100));
    EXPECT_NE(spool(), "<none>");
    mail_.setRecipient(addresses(101));
    EXPECT_EQ(spool(), "<none>");
    ASSERT_EQ(events_.failures.size(), 1u);
    EXPECT_EQ(events_.failures[0], "Too many recipients");
    // 98 + 1 + 1 addresses: upper bounds 97 + 0 + 0, plus 3, is 100.
    mail_.setRecipient(addresses(98));
    mail_.setCcRecipient("c@x.org");
    mail_.setBccRecipient("b@x.org");
    EXPECT_NE(spool(), "<none>");
    mail_.setBccRecipient("b@x.org;d@x.org");
    EXPECT_EQ(spool(), "<none>");
}

TEST_F(SpoolTest, ErrorsGatherAndComeOutTogether) {
    mail_.setEncodeType(1);
    mail_.setAsHTML(true);
    EXPECT_EQ(spool(), "<none>");
    ASSERT_EQ(events_.failures.size(), 1u);
    EXPECT_EQ(events_.failures[0],
              "Sending HTML requires MIME encoding\r\nNo Recipient E-mail Address Specified");
    EXPECT_TRUE(mail_.Errors().empty());
    EXPECT_FALSE(FileExists(home_.file("out.eml")));
    EXPECT_FALSE(FileExists(home_.file("out.eml.tmp")));
}

TEST_F(SpoolTest, MissingAttachmentStopsTheSpool) {
    writeFile(home_.file("a.txt"), "x");
    mail_.setRecipient("bob@example.net");
    mail_.setAttachment(home_.file("a.txt") + "; " + home_.file("gone.txt"));
    EXPECT_EQ(mail_.Errors(),
              std::vector<std::string>{"The file you tried to attach does not exist"});
    // A good assignment clears the error again.
    mail_.setAttachment(" " + home_.file("a.txt") + " ");
    EXPECT_TRUE(mail_.Errors().empty());
    mail_.setAttachment(home_.file("a.txt") + ";");
    EXPECT_EQ(spool(), "<none>");
    ASSERT_EQ(events_.failures.size(), 1u);
    EXPECT_EQ(events_.failures[0], "The file you tried to attach does not exist");
}

// A send that failed leaves the engine aborted; the next spool must still
// carry every attachment, since nothing can stop writing a file.
TEST_F(SpoolTest, SpoolAfterAFailedSendKeepsItsAttachments) {
    writeFile(home_.file("a.txt"), "attached");
    mail_.setConnectRetry(1);
    mail_.setConnectTimeout(1);
    mail_.setRecipient("bob@example.net");
    EXPECT_FALSE(mail_.Send(false)); // nothing listens on the port
    ASSERT_TRUE(mail_.Aborted());
    mail_.setAttachment(home_.file("a.txt"));
    const std::string text = spool();
    EXPECT_NE(text.find("filename=\"a.txt\""), std::string::npos) << text;
    EXPECT_NE(text.find(MailComposer::encodebase64byte("attached")), std::string::npos);
}

TEST_F(SpoolTest, PropertyLimitsAndSavedKeys) {
    mail_.setSMTPPort(0);
    EXPECT_EQ(mail_.SMTPPort(), 2525);
    EXPECT_EQ(mail_.Errors(), std::vector<std::string>{"Invalid Remote Port"});
    mail_.setSMTPPort(587);
    EXPECT_TRUE(mail_.Errors().empty());
    EXPECT_EQ(sget("RemotePort", 0).toInt(), 587);

    mail_.setConnectTimeout(121);
    EXPECT_EQ(mail_.ConnectTimeout(), 10);
    EXPECT_EQ(sget("ConnectTimeout", 0).toInt(), 121);
    mail_.setConnectRetry(0);
    EXPECT_EQ(mail_.ConnectRetry(), 1); // from the fixture's settings
    mail_.setMessageTimeout(-45);
    EXPECT_EQ(mail_.MessageTimeout(), 45);
    mail_.setDelimiter(",;");
    EXPECT_EQ(mail_.Delimiter(), ",");
    mail_.setRecipient("a@x,b@y");
    EXPECT_EQ(mail_.Recipient(), "a@x,b@y");

    mail_.setContentBase("www.example.com\\pages");
    EXPECT_EQ(mail_.ContentBase(), "http://www.example.com/pages/");
    mail_.setContentBase("http://example.com/");
    EXPECT_EQ(mail_.ContentBase(), "http://example.com/");

    // A port saved by the engine wins over the account's own on the next start.
    frmSendMail other;
    other.Initialise(0);
    EXPECT_EQ(other.SMTPPort(), 587);
}

TEST_F(SpoolTest, SendBeforeInitialiseIsRefused) {
    frmSendMail fresh;
    ResetLastActions();
    EXPECT_FALSE(fresh.Send(false));
    EXPECT_TRUE(lastActionsHold("Sendmail not initialised"));
}

// The whole spooled file, byte for byte, for a message with every header.
TEST_F(SpoolTest, SpooledFileLayout) {
    mail_.setFromDisplayName("");
    mail_.setRecipient("bob@example.net;carl@example.net");
    mail_.setRecipientDisplayName("Bob B");
    mail_.setCcRecipient("dee@example.net");
    mail_.setBccRecipient("eve@example.net;fay@example.net");
    mail_.setReplyToAddress("replies@example.com");
    mail_.setSubject("Plans");
    mail_.setPriority(5);
    mail_.setReceipt(true);
    mail_.setMessage("Hello\r\n.hidden\r\nBye");
    std::string file = spool();
    EXPECT_EQ(file, filled("From: \"ann@example.com\" <ann@example.com>\r\n"
                           "To: \"Bob B\" <bob@example.net>, \r\n"
                           "    \"carl@example.net\" <carl@example.net>\r\n"
                           "Cc: \"dee@example.net\" <dee@example.net>\r\n"
                           "Bcc: <eve@example.net>, \r\n"
                           "     <fay@example.net>\r\n"
                           "Reply-to: <replies@example.com>\r\n"
                           "Subject: Plans\r\n"
                           "MIME-Version: 1.0\r\n"
                           "X-Priority: 5\r\n"
                           "X-MSMail-Priority: Low\r\n"
                           "X-Mailer: Corva {V}\r\n"
                           "Disposition-Notification-To: \"ann@example.com\" <ann@example.com>\r\n"
                           "Content-Type: text/plain;\r\n"
                           "\tcharset=\"iso-8859-1\"\r\n"
                           "Content-Transfer-Encoding: 7bit\r\n"
                           "\r\n"
                           "Hello\r\n..hidden\r\nBye\r\n\r\n",
                           {{"{V}", AppVersion()}}));
}

TEST_F(SpoolTest, UuencodedMessageHasNoMimeHeaders) {
    writeFile(home_.file("data.bin"), std::string(50, 'Z'));
    mail_.setEncodeType(1);
    mail_.setRecipient("bob@example.net");
    mail_.setSubject("Old style");
    mail_.setMessage("caf\xe9");
    mail_.setAttachment(home_.file("data.bin"));
    std::string file = spool();
    EXPECT_EQ(file.find("MIME-Version"), std::string::npos);
    EXPECT_EQ(file.find("Content-Type"), std::string::npos);
    std::string tail = "caf\xe9\r\n\r\nbegin 600 data.bin\r\n" +
                       frmSendMail::uuencodestring(std::string(45, 'Z')) + "\r\n" +
                       frmSendMail::uuencodestring(std::string(5, 'Z')) + "\r\nend\r\n";
    ASSERT_GE(file.size(), tail.size());
    EXPECT_EQ(file.substr(file.size() - tail.size()), tail);
}

TEST_F(SpoolTest, EightBitBodyAndHtml) {
    mail_.setRecipient("bob@example.net");
    mail_.setAsHTML(true);
    mail_.setContentBase("example.com");
    mail_.setMessage("<p>caf\xe9</p>");
    std::string file = spool();
    EXPECT_NE(file.find("Content-Type: text/html;\r\n\tcharset=\"iso-8859-1\"\r\n"
                        "Content-Transfer-Encoding: 8bit\r\n"
                        "Content-Base: \"http://example.com/\"\r\n\r\n"),
              std::string::npos);
}

TEST(SendMailEngine, ContentTypeFallsBackToTheGivenType) {
    frmSendMail mail;
    EXPECT_EQ(mail.GetContentType("noextension", "application/octet-stream"),
              "application/octet-stream");
    EXPECT_EQ(mail.GetContentType("x.corva-no-such-type", "application/octet-stream"),
              "application/octet-stream");
    EXPECT_EQ(mail.GetContentType("photo.jpg", "application/octet-stream"), "image/jpeg");
    EXPECT_FALSE(mail.GetIPHost().empty());
    EXPECT_FALSE(mail.GetIPAddress().empty());
}

} // namespace
} // namespace corva::test
