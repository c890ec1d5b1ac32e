// Spooled mail against a real SMTP server: what reaches the wire byte for byte,
// one connection per account, and the move to Sent Items.
#include "SendTestSupport.h"

#include "core/AppInfo.h"
#include "support/FakeServer.h"
#include "support/SmtpServer.h"

#include <regex>

namespace corva::test {
namespace {

const std::regex WireDate(
    R"(Date: (Sun|Mon|Tue|Wed|Thu|Fri|Sat), \d{1,2} (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) \d{4} \d\d:\d\d:\d\d [+-]\d{4}\r\n)");
const std::regex SentDate(R"(\r\nDate: \d{4}-\d\d-\d\d \d\d:\d\d:\d\d\r\n)");

size_t count(const std::string& hay, const std::string& needle) {
    size_t n = 0;
    for (size_t at = hay.find(needle); at != std::string::npos; at = hay.find(needle, at + 1)) ++n;
    return n;
}

class UploadTest : public SendFixture {
protected:
    void SetUp() override {
        SendFixture::SetUp();
        ASSERT_TRUE(server_.running()) << "aiosmtpd did not start";
        wrapper_.setListener(&events_);
    }
    SmtpServer server_;
    UploadEvents events_;
    frmSendMailWrapper wrapper_;
};

TEST_F(UploadTest, TwoAttachmentsArriveInTheExactLayout) {
    setAccount(0, server_.port(), "ann@example.com", "Ann Example");
    writeFile(home_.file("notes.txt"), "hello world\n");
    std::string binary;
    for (int i = 0; i < 200; ++i) binary += static_cast<char>(i);
    writeFile(home_.file("data.bin"), binary);

    clsMessage m =
        composed(0, "Bob <bob@example.net>", "Two files", "Hi Bob,\r\nsee attached.\r\n");
    m.CC = "Carl <carl@example.net>;dee@example.net";
    m.AddAttachment(home_.file("notes.txt"));
    m.AddAttachment(home_.file("data.bin"));
    std::string spooled = wrapper_.SpoolMessage(m);
    ASSERT_EQ(spooled, outbox() + "00_outbound_0.eml");
    const std::string file = readFile(spooled);

    std::smatch found;
    ASSERT_TRUE(std::regex_search(file, found, std::regex(R"(----_=_NextPart_000_\d{8}\.\d{8})")));
    const std::string b = found.str();
    // The encoder's own lines are pinned with the encoder.
    std::string dataLines = frmSendMail::encodebase64byte(binary);
    // {B} is the boundary, {V} the version, {D} the attachment's lines.
    const std::string expected = filled("From: \"Ann Example\" <ann@example.com>\r\n"
                                        "To: \"Bob\" <bob@example.net>\r\n"
                                        "Cc: \"Carl\" <carl@example.net>, \r\n"
                                        "    \"dee@example.net\" <dee@example.net>\r\n"
                                        "Subject: Two files\r\n"
                                        "MIME-Version: 1.0\r\n"
                                        "X-Priority: 3\r\n"
                                        "X-MSMail-Priority: \r\n"
                                        "X-Mailer: Corva {V}\r\n"
                                        "Content-Type: multipart/mixed;\r\n"
                                        "\tboundary=\"{B}\"\r\n"
                                        "\r\n"
                                        "This is a multi-part message in MIME format.\r\n"
                                        "\r\n"
                                        "--{B}\r\n"
                                        "Content-Type: text/plain;\r\n"
                                        "\tcharset=\"iso-8859-1\"\r\n"
                                        "Content-Transfer-Encoding: 7bit\r\n"
                                        "\r\n"
                                        "Hi Bob,\r\nsee attached.\r\n\r\n\r\n"
                                        "--{B}\r\n"
                                        "Content-Type: text/plain;\r\n"
                                        "\tname=\"notes.txt\"\r\n"
                                        "Content-Transfer-Encoding: base64\r\n"
                                        "Content-Disposition: attachment;\r\n"
                                        "\tfilename=\"notes.txt\"\r\n"
                                        "\r\n"
                                        "aGVsbG8gd29ybGQK\r\n"
                                        "\r\n"
                                        "--{B}\r\n"
                                        "Content-Type: application/octet-stream;\r\n"
                                        "\tname=\"data.bin\"\r\n"
                                        "Content-Transfer-Encoding: base64\r\n"
                                        "Content-Disposition: attachment;\r\n"
                                        "\tfilename=\"data.bin\"\r\n"
                                        "\r\n"
                                        "{D}\r\n"
                                        "--{B}--\r\n",
                                        {{"{B}", b}, {"{V}", AppVersion()}, {"{D}", dataLines}});
    EXPECT_EQ(file, expected);

    // Every recipient on the folded Cc lines is offered, not only the last.
    ASSERT_TRUE(upload(wrapper_));
    ASSERT_EQ(server_.connectionCount(), 1) << Join(events_.progress, " | ");
    const std::string wire = server_.received(1);
    const std::string dialogue = "HELO example.com\r\n"
                                 "MAIL FROM: <ann@example.com>\r\n"
                                 "RCPT TO: <bob@example.net>\r\n"
                                 "RCPT TO: <carl@example.net>\r\n"
                                 "RCPT TO: <dee@example.net>\r\n"
                                 "DATA\r\n";
    ASSERT_EQ(wire.substr(0, dialogue.size()), dialogue);
    std::string rest = wire.substr(dialogue.size());
    ASSERT_TRUE(std::regex_search(rest, found, WireDate, std::regex_constants::match_continuous));
    rest = rest.substr(found.length());
    // The spooled text without its final line end, then two line ends and the dot.
    EXPECT_EQ(rest, expected.substr(0, expected.size() - 2) + "\r\n\r\n.\r\nQUIT\r\n");
    EXPECT_EQ(server_.envelope(1),
              "ann@example.com\nbob@example.net\ncarl@example.net\ndee@example.net\n");
}

TEST_F(UploadTest, OneAccountsMessagesShareOneConnection) {
    setAccount(0, server_.port(), "ann@example.com");
    for (int i = 1; i <= 3; ++i)
        ASSERT_FALSE(wrapper_
                         .SpoolMessage(composed(0, "bob@example.net", "Note " + std::to_string(i),
                                                "Body " + std::to_string(i)))
                         .empty());
    EXPECT_EQ(filesIn(outbox()), (std::vector<std::string>{"00_outbound_0.eml", "00_outbound_1.eml",
                                                           "00_outbound_2.eml"}));
    ASSERT_TRUE(upload(wrapper_));

    EXPECT_EQ(server_.connectionCount(), 1);
    EXPECT_EQ(server_.messageCount(), 3);
    const std::string wire = server_.received(1);
    EXPECT_EQ(count(wire, "HELO "), 1u);
    EXPECT_EQ(count(wire, "MAIL FROM:"), 3u);
    EXPECT_EQ(count(wire, "QUIT\r\n"), 1u);
    EXPECT_TRUE(EndsWith(wire, ".\r\nQUIT\r\n"));
    EXPECT_EQ(events_.finished, 1);
    EXPECT_TRUE(events_.said("Sent Note 2 to bob@example.net <bob@example.net>"))
        << Join(events_.progress, " | ");

    EXPECT_TRUE(filesIn(outbox()).empty());
    std::vector<std::string> sent = filesIn(sentItems());
    ASSERT_EQ(sent.size(), 3u);
    for (const std::string& name : sent) {
        SCOPED_TRACE(name);
        EXPECT_EQ(name, LCase(name)); // read, so the name is in lower case
        std::string text = readFile(sentItems() + name);
        std::string header = text.substr(0, text.find("\r\n\r\n") + 2);
        EXPECT_TRUE(std::regex_search(header, SentDate)) << header;
        EXPECT_NE(header.find("X-Message-Read: 1\r\n"), std::string::npos);
    }
}

// A message of megabytes is moved and rewritten beside itself rather than in
// place: the copy must still be whole, with its Date line.
TEST_F(UploadTest, BigMessageLandsWholeInSentItems) {
    setAccount(0, server_.port(), "ann@example.com");
    std::string binary(1536 * 1024, '\0');
    for (size_t i = 0; i < binary.size(); ++i) binary[i] = static_cast<char>(i * 131 + i / 977);
    writeFile(home_.file("big.bin"), binary);
    clsMessage m = composed(0, "bob@example.net", "Big", "See attached.\r\n");
    m.AddAttachment(home_.file("big.bin"));
    const std::string spooled = readFile(wrapper_.SpoolMessage(m));
    ASSERT_GT(spooled.size(), 2u * 1024 * 1024);
    ASSERT_TRUE(upload(wrapper_));

    EXPECT_TRUE(filesIn(outbox()).empty());
    std::vector<std::string> sent = filesIn(sentItems());
    ASSERT_EQ(sent.size(), 1u);
    const std::string copy = readFile(sentItems() + sent[0]);
    const size_t blank = copy.find("\r\n\r\n");
    ASSERT_NE(blank, std::string::npos);
    EXPECT_TRUE(std::regex_search(copy.substr(0, blank + 2), SentDate));
    // Everything behind the header is the spooled text, byte for byte.
    EXPECT_EQ(copy.substr(blank), spooled.substr(spooled.find("\r\n\r\n")));
    EXPECT_FALSE(FileExists(sentItems() + sent[0] + ".part"));
}

TEST_F(UploadTest, OnlyAccountsWithMailAndAServerAreConnected) {
    SmtpServer third, otherAccounts;
    ASSERT_TRUE(third.running() && otherAccounts.running());
    setAccount(0, server_.port(), "ann@example.com");
    setAccount(1, otherAccounts.port(), "one@example.com");
    setAccount(2, otherAccounts.port(), "two@example.com");
    setAccount(3, third.port(), "three@example.com");
    ASSERT_FALSE(wrapper_.SpoolMessage(composed(0, "bob@example.net", "From 0", "x")).empty());
    ASSERT_FALSE(wrapper_.SpoolMessage(composed(3, "bob@example.net", "From 3", "y")).empty());
    sset("ReplyAddress4", "four@example.com"); // and no server
    ASSERT_FALSE(wrapper_.SpoolMessage(composed(4, "bob@example.net", "Nowhere", "z")).empty());
    // Files no account sends: they are skipped and stay.
    writeFile(outbox() + "21_outbound_0.eml", "To: bob@example.net\r\nSubject: 21\r\n\r\nx");
    writeFile(outbox() + "ab_outbound_0.eml", "To: bob@example.net\r\nSubject: ab\r\n\r\nx");
    ASSERT_TRUE(upload(wrapper_));

    EXPECT_EQ(server_.connectionCount(), 1);
    EXPECT_EQ(third.connectionCount(), 1);
    EXPECT_EQ(otherAccounts.connectionCount(), 0);
    EXPECT_EQ(server_.messageCount(), 1);
    EXPECT_EQ(third.messageCount(), 1);
    EXPECT_NE(third.received(1).find("MAIL FROM: <three@example.com>"), std::string::npos);
    EXPECT_EQ(events_.failed,
              std::vector<std::string>{"Please specify SMTP server #5 in the settings"});
    EXPECT_EQ(filesIn(outbox()), (std::vector<std::string>{"04_outbound_0.eml", "21_outbound_0.eml",
                                                           "ab_outbound_0.eml"}));
    EXPECT_EQ(filesIn(sentItems()).size(), 2u);
}

// Each pass of the line preparation adds a dot: once on spooling, twice on upload.
TEST_F(UploadTest, DotLinesAreStuffedOnEveryPass) {
    setAccount(0, server_.port(), "ann@example.com");
    std::string path =
        wrapper_.SpoolMessage(composed(0, "bob@example.net", "Dots", "first\r\n.x\r\nlast"));
    ASSERT_FALSE(path.empty());
    EXPECT_NE(readFile(path).find("\r\n\r\nfirst\r\n..x\r\nlast\r\n"), std::string::npos);
    ASSERT_TRUE(upload(wrapper_));
    EXPECT_NE(server_.received(1).find("\r\nfirst\r\n....x\r\nlast\r\n"), std::string::npos);
    ASSERT_EQ(server_.messageCount(), 1);
    EXPECT_NE(server_.message(1).find("\r\nfirst\r\n...x\r\nlast\r\n"), std::string::npos);
}

TEST_F(UploadTest, DirectSendWritesBareAddressesAndCloses) {
    setAccount(0, server_.port(), "ann@example.com");
    clsMessage m = composed(0, "bob@example.net", "Direct", "Hello");
    EXPECT_TRUE(wrapper_.Sendmail(m, false, "", ""));
    ASSERT_EQ(server_.connectionCount(), 1);
    const std::string wire = server_.received(1);
    EXPECT_NE(wire.find("\r\nFrom: <ann@example.com>\r\nTo: "), std::string::npos);
    EXPECT_NE(wire.find("\r\nSubject: Direct\r\n"), std::string::npos);
    EXPECT_TRUE(EndsWith(wire, "Hello\r\n\r\n.\r\nQUIT\r\n"));
    EXPECT_TRUE(filesIn(outbox()).empty());
}

TEST_F(UploadTest, EmptyOutboxAndRunsThatOverlap) {
    setAccount(0, server_.port(), "ann@example.com");
    ASSERT_TRUE(upload(wrapper_));
    EXPECT_TRUE(events_.said("No mail to send"));
    EXPECT_EQ(events_.noMail, 1);
    EXPECT_FALSE(wrapper_.Uploading());

    ASSERT_FALSE(wrapper_.SpoolMessage(composed(0, "bob@example.net", "One", "x")).empty());
    wrapper_.UploadSpooledMail();
    ASSERT_TRUE(wrapper_.Uploading());
    wrapper_.UploadSpooledMail();
    EXPECT_TRUE(events_.said("Already sending mail."));
    ASSERT_TRUE(
        platform::current().eventLoop().runUntil([&] { return !wrapper_.Uploading(); }, 20000));
    EXPECT_EQ(server_.messageCount(), 1);
    EXPECT_EQ(events_.finished, 1);
}

TEST_F(UploadTest, CancelStopsTheRunAndKeepsTheRest) {
    setAccount(0, server_.port(), "ann@example.com");
    for (int i = 1; i <= 3; ++i)
        ASSERT_FALSE(wrapper_.SpoolMessage(composed(0, "bob@example.net", "Note", "x")).empty());
    struct CancelAfterFirst : UploadEvents {
        frmSendMailWrapper* wrapper = nullptr;
        void messageSent(const std::string&, const clsMessage&) override { wrapper->CancelSend(); }
    } cancelling;
    cancelling.wrapper = &wrapper_;
    wrapper_.setListener(&cancelling);
    ASSERT_TRUE(upload(wrapper_));
    EXPECT_TRUE(cancelling.said("Send cancelled"));
    EXPECT_EQ(server_.messageCount(), 1);
    EXPECT_EQ(filesIn(outbox()),
              (std::vector<std::string>{"00_outbound_1.eml", "00_outbound_2.eml"}));
    EXPECT_EQ(filesIn(sentItems()).size(), 1u);
}

TEST(SpoolNames, AddressSplitterKeepsItsSettledShape) {
    std::string addresses, names;
    frmSendMailWrapper::splitaddresses("Ann <A@x.org>;b@y.org;\"\" <c@z.org>;\"Di\" <d@z.org>",
                                       addresses, names);
    EXPECT_EQ(addresses, "a@x.org;b@y.org;c@z.org;d@z.org");
    // A bare address is its own name; an empty name takes the addresses so far.
    EXPECT_EQ(names, "Ann;b@y.org;a@x.org;b@y.org;c@z.org;Di");
    frmSendMailWrapper::splitaddresses("", addresses, names);
    EXPECT_EQ(addresses, "");
    EXPECT_EQ(names, "");
}

class SpoolNameTest : public SendFixture {};

TEST_F(SpoolNameTest, SpoolsTakeTheNextFreeNumberPerAccount) {
    frmSendMailWrapper wrapper;
    sset("ReplyAddress3", "three@example.com");
    writeFile(outbox() + "03_outbound_0.eml", "taken");
    std::string first = wrapper.SpoolMessage(composed(3, "bob@example.net", "a", "x"));
    std::string second = wrapper.SpoolMessage(composed(3, "bob@example.net", "b", "x"));
    EXPECT_EQ(first, outbox() + "03_outbound_1.eml");
    EXPECT_EQ(second, outbox() + "03_outbound_2.eml");
    // A bad attachment leaves no file and no reservation behind.
    clsMessage bad = composed(3, "bob@example.net", "c", "x");
    bad.AddAttachment(home_.file("missing.bin"));
    EXPECT_EQ(wrapper.SpoolMessage(bad), "");
    std::vector<std::string> all;
    FillFiles(outbox(), "EML TMP", all);
    EXPECT_EQ(all.size(), 3u);
}

// Each credential goes out followed by an empty line. A server that reads the
// empty line as the answer to its next challenge refuses the login; a second
// connection with the standard exchange then gets the message through.
TEST_F(SendFixture, LoginAgainstARealServerFallsBackToTheStandardExchange) {
    SmtpServer server("ann", "secret");
    ASSERT_TRUE(server.running());
    setAccount(0, server.port(), "ann@example.com");
    setLogin(0, "ann", "secret");
    frmSendMailWrapper wrapper;
    UploadEvents events;
    wrapper.setListener(&events);
    ASSERT_FALSE(wrapper.SpoolMessage(composed(0, "bob@example.net", "Login", "x")).empty());
    ASSERT_TRUE(upload(wrapper));
    ASSERT_EQ(server.connectionCount(), 2);
    const std::string first = server.received(1);
    EXPECT_EQ(first.substr(0, 38), "EHLO example.com\r\nAUTH LOGIN\r\nYW5u\r\n\r\n")
        << visible(first);
    const std::string second = server.received(2);
    EXPECT_EQ(second.substr(0, 51), "EHLO example.com\r\nAUTH PLAIN AGFubgBzZWNyZXQ=\r\nMAIL")
        << visible(second);
    EXPECT_EQ(server.authLog(), "LOGIN 'ann' '' refused\nPLAIN 'ann' 'secret' ok\n");
    EXPECT_EQ(server.messageCount(), 1);
    EXPECT_TRUE(filesIn(outbox()).empty());
    EXPECT_EQ(filesIn(sentItems()).size(), 1u);
}

} // namespace
} // namespace corva::test
