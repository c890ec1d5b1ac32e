// The whole road: mail on a real POP3 server becomes tickets when corva
// fetches it in CMS mode, the acknowledgements reach a real SMTP server on
// corva send, and the published pages open in a real browser, where a
// subject holding markup shows as text.
#include "app/AppRunner.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "support/DovecotServer.h"
#include "support/SmtpServer.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corva::test {
namespace {

constexpr const char* Chromium = "/usr/bin/chromium";

class TicketsEndToEnd : public ::testing::Test {
protected:
    Outcome corva(const std::string& args) {
        return runShell(std::string(CORVA_EXE) + " --home " + home_.path() + " " + args);
    }
    // Chromium headless as a private, quiet profile: no network of its own.
    Outcome chromium(const std::string& args) {
        return runShell(std::string(Chromium) + " --headless --no-sandbox --disable-gpu " +
                        "--disable-quic --no-first-run --disable-background-networking " +
                        "--disable-component-update --disable-sync --user-data-dir=" +
                        profile_.path() + " " + args);
    }
    TempDir home_, profile_;
};

TEST_F(TicketsEndToEnd, FetchedMailBecomesAcknowledgedPublishedTickets) {
    if (!DovecotServer::available()) GTEST_SKIP() << "Dovecot is not installed";
    DovecotServer pop;
    pop.addUser("desk", "secret");
    const std::vector<std::pair<std::string, std::string>> senders{
        {"ann@example.org", "Printer jammed"},
        {"bob@example.org", "<script>document.title='owned'</script>Login fails"},
        {"cy@example.org", "Invoice & \"quotes\""}};
    for (const auto& [from, subject] : senders)
        pop.addMessage("desk", "From: " + from + "\nTo: desk@example.org\nSubject: " + subject +
                                   "\nDate: Mon, 2 Jan 2023 10:00:00 +0000\nMessage-ID: <" + from +
                                   ">\n\nPlease help with " + from + ".\n");
    SmtpServer smtp;
    ASSERT_TRUE(smtp.running());
    writeFile(home_.file("Corva.ini"), "CMSMODE,TRUE\r\nMAILTIMEOUT,20\r\n");
    ASSERT_EQ(corva("account add --title Desk --server " + pop.address() +
                    " --user desk --password secret --address desk@example.org --smtp 127.0.0.1:" +
                    std::to_string(smtp.port()))
                  .status,
              0);
    const std::string web = home_.file("web/");
    MkMissingDir(web);
    writeFile(home_.file("CMS/settings.ini"), "WEBPATH," + web + "\r\n");

    ASSERT_EQ(corva("fetch --quiet").status, 0);
    EXPECT_EQ(readFile(home_.file("CMS/Tickets.txt")),
              "ticket_1.txt\r\nticket_2.txt\r\nticket_3.txt\r\n");
    for (int n = 1; n <= 3; ++n) {
        const std::string record = readFile(home_.file("CMS/Tickets/ticket_" + Str(n) + ".txt"));
        EXPECT_NE(record.find("owneremail:" + senders[n - 1].first), std::string::npos) << record;
        EXPECT_NE(readFile(home_.file("CMS/Desc/desc_" + Str(n) + ".txt")).find("Please help"),
                  std::string::npos);
    }
    // A key typed by hand in another case is named, not ignored in silence.
    AppendToTextFile(home_.file("CMS/settings.ini"), "Sendername,Desk\r\n");
    Outcome list = test::corva({"--home", home_.path(), "tickets", "list"});
    EXPECT_EQ(list.status, 0);
    EXPECT_EQ(SplitLines(list.out).size(), 3u) << list.out;
    EXPECT_NE(list.err.find("\"Sendername\" is not read"), std::string::npos) << list.err;
    EXPECT_EQ(corva("tickets show 9").status, 2);
    EXPECT_EQ(corva("tickets close 3").out, "Closed ticket 3\nPage: " + web + "T_3.html\n");

    ASSERT_EQ(corva("send").status, 0);
    ASSERT_EQ(smtp.messageCount(), 3);
    for (int n = 1; n <= 3; ++n) {
        EXPECT_NE(smtp.envelope(n).find(senders[n - 1].first), std::string::npos);
        EXPECT_NE(smtp.message(n).find("ticket number " + Str(n)), std::string::npos)
            << smtp.message(n);
    }

    if (!FileExists(Chromium)) GTEST_SKIP() << "Chromium is not installed";
    for (int n = 1; n <= 3; ++n) {
        Outcome dom = chromium("--dump-dom file://" + web + "T_" + Str(n) + ".html");
        ASSERT_EQ(dom.status, 0);
        EXPECT_NE(dom.out.find("Please help with " + senders[n - 1].first), std::string::npos)
            << dom.out;
        if (n == 2) {
            // The markup arrives as text: escaped in the DOM, no script ran.
            EXPECT_NE(dom.out.find("&lt;script&gt;document.title="), std::string::npos) << dom.out;
            EXPECT_EQ(dom.out.find("<script>"), std::string::npos) << dom.out;
            EXPECT_EQ(dom.out.find("<title>owned"), std::string::npos) << dom.out;
        }
    }
    MkMissingDir(CORVA_BINARY_DIR "/screenshots");
    const std::string shot = CORVA_BINARY_DIR "/screenshots/ticket_page.png";
    EraseFile(shot);
    chromium("--screenshot=" + shot + " --window-size=900,700 file://" + web + "T_2.html");
    EXPECT_GT(FileSize(shot), 1000);
}

} // namespace
} // namespace corva::test
