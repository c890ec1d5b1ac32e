// The commands end to end: the corva executable in a child process with a
// program folder of its own, against a private Dovecot and a recording SMTP
// server, checked by what it prints, what it leaves on disk and what the
// servers saw.
#include "app/CommandLine.h"
#include "AppRunner.h"
#include "core/DateTime.h"
#include "core/FileSubs.h"
#include "core/Startup.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "support/DovecotServer.h"
#include "support/EmlFiles.h"
#include "support/SmtpServer.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace corva::test {
namespace {

namespace fs = std::filesystem;

std::string mail(const std::string& from, const std::string& subject) {
    return "From: " + from + "\r\nTo: ann@example.org\r\nSubject: " + subject +
           "\r\nMessage-ID: <" + subject + "@example>\r\n\r\nHello.\r\n";
}

class CommandLine : public ::testing::Test {
protected:
    // The settings a user would have made, in the file's own form.
    void settings(const std::string& lines) { writeFile(home_.file("Corva.ini"), lines); }
    Outcome run(std::vector<std::string> args, const std::vector<std::string>& env = {},
                const std::string& input = "", bool stderrOnTerminal = false) {
        args.insert(args.begin(), {"--home", home_.path()});
        return corva(args, env, input, stderrOnTerminal);
    }
    std::string messages(const std::string& folder) const {
        return home_.file("Messages/" + folder);
    }

    TempDir home_;
};

// Set up as the README says, without a window; then scanned in every output
// form, and fetched.
TEST_F(CommandLine, ScanThenFetchStoresWhatPassesAndDeletesWhatIsBlocked) {
    if (!DovecotServer::available()) GTEST_SKIP() << "Dovecot is not installed";
    DovecotServer pop;
    pop.addUser("ann", "secret");
    pop.addMessage("ann", mail("Friend <friend@example.org>", "=?utf-8?B?THVuY2ggR3LDvMOfZQ==?="));
    pop.addMessage("ann", mail("Pills <offers@junk.example>", "Cheap"));
    pop.addMessage("ann", mail("Boss <boss@example.org>", "Report"));
    settings("MAILTIMEOUT,20\r\n");
    Outcome added = run({"account", "add", "--title", "Work", "--server", pop.address(), "--user",
                         "ann", "--password", "-", "--address", "ann@example.org"},
                        {}, "secret\n");
    ASSERT_EQ(added.status, 0) << added.err;
    EXPECT_EQ(added.out, "Added account 0: Work\n");

    Outcome blocked = run({"block", "sender", "offers@junk.example"});
    ASSERT_EQ(blocked.status, 0) << blocked.err;

    // A scan lists all three with their verdicts and changes nothing. With
    // --tabs standard output holds the rows alone, each field whole.
    Outcome scan = run({"scan", "--tabs"});
    ASSERT_EQ(scan.status, 0) << scan.err;
    std::vector<std::string> rows = SplitLines(scan.out);
    ASSERT_EQ(rows.size(), 3u) << scan.out;
    for (const std::string& row : rows) EXPECT_EQ(std::count(row.begin(), row.end(), '\t'), 8);
    for (const char* subject : {"Lunch Grüße", "Cheap", "Report"})
        EXPECT_NE(scan.out.find(subject), std::string::npos) << scan.out;
    EXPECT_NE(scan.err.find("Seen: 3"), std::string::npos) << scan.err;
    EXPECT_EQ(pop.messageCount("ann"), 3);
    EXPECT_TRUE(emlFilesIn(messages("Inbox")).empty());

    // The table fits the width it is given; progress off a terminal is the
    // summary alone, and every step with --verbose.
    Outcome narrow = run({"scan"}, {"COLUMNS=60"});
    ASSERT_EQ(narrow.status, 0) << narrow.err;
    for (const std::string& line : SplitLines(narrow.out))
        if (!StartsWith(line, "Seen:")) {
            EXPECT_LE(displayWidth(line), 60u) << line;
        }
    EXPECT_EQ(narrow.err, "");
    EXPECT_EQ(narrow.out.find('\x1b'), std::string::npos);
    Outcome terminal = run({"scan"}, {"TERM=xterm"}, "", true);
    EXPECT_NE(terminal.err.find("\r\x1b[K"), std::string::npos) << terminal.err;
    EXPECT_EQ(std::count(terminal.err.begin(), terminal.err.end(), '\n'), 0) << terminal.err;
    // A row printed takes the line away and puts it back, so it never stands
    // blank while the next message is read.
    const size_t last = terminal.err.find("message 3 of 3");
    EXPECT_NE(terminal.err.find("message 3 of 3", last + 1), std::string::npos) << terminal.err;
    Outcome verbose = run({"scan", "--verbose", "--color=always"});
    EXPECT_GT(SplitLines(verbose.err).size(), 3u) << verbose.err;
    EXPECT_NE(verbose.out.find("\x1b["), std::string::npos) << verbose.out;

    Outcome json = run({"scan", "--json"});
    ASSERT_EQ(json.status, 0) << json.err;
    EXPECT_NE(json.out.find("\"subject\": \"Lunch Grüße\""), std::string::npos) << json.out;
    EXPECT_NE(json.out.find("\"status\": \"BLOCK\""), std::string::npos) << json.out;
    EXPECT_NE(json.out.find("\"seen\": 3"), std::string::npos) << json.out;

    Outcome missing = run({"scan", "--account", "1"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_NE(missing.err.find("no account 1"), std::string::npos) << missing.err;

    // Retrieving with delete: the blocked one goes on the server and is never
    // stored; the other two are stored once and stay on the server.
    Outcome fetch = run({"fetch", "--delete", "--quiet"});
    EXPECT_EQ(fetch.err, "");
    ASSERT_EQ(fetch.status, 0) << fetch.err;
    EXPECT_EQ(pop.messageCount("ann"), 2);
    std::vector<std::string> stored = emlFilesIn(messages("Inbox"));
    ASSERT_EQ(stored.size(), 2u) << fetch.out;
    for (const std::string& name : stored) EXPECT_EQ(name, UCase(name)); // unread
    Outcome list = run({"list", "Inbox"});
    ASSERT_EQ(list.status, 0) << list.err;
    EXPECT_NE(list.out.find("Lunch Grüße"), std::string::npos) << list.out;
    EXPECT_NE(list.out.find("Report"), std::string::npos) << list.out;
    EXPECT_EQ(list.out.find("Cheap"), std::string::npos) << list.out;
}

TEST_F(CommandLine, ComposedMessageIsSentAndFiledInSentItems) {
    SmtpServer smtp;
    ASSERT_TRUE(smtp.running()) << "aiosmtpd did not start";
    settings("SMTP0,127.0.0.1\r\nSMTPPORT0," + std::to_string(smtp.port()) +
             "\r\nREPLYADDRESS0,ann@example.com\r\nDISPLAYNAME0,Ann\r\nMAILTIMEOUT,20\r\n");
    writeFile(home_.file("body.txt"), "First line.\n.hidden dot line\nLast line.\n");

    Outcome compose = run({"compose", "--account", "0", "--to", "bob@example.net", "--subject",
                           "Hello Bob", "--body-file", home_.file("body.txt")});
    ASSERT_EQ(compose.status, 0) << compose.err;
    ASSERT_EQ(emlFilesIn(messages("Outbox")).size(), 1u);
    EXPECT_EQ(smtp.messageCount(), 0); // spooling never sends

    Outcome send = run({"send"});
    ASSERT_EQ(send.status, 0) << send.err;
    EXPECT_EQ(smtp.messageCount(), 1);
    const std::string wire = smtp.received(1);
    EXPECT_NE(wire.find("RCPT TO: <bob@example.net>"), std::string::npos) << wire;
    EXPECT_NE(wire.find("Subject: Hello Bob\r\n"), std::string::npos) << wire;
    EXPECT_NE(wire.find("\r\nFirst line.\r\n"), std::string::npos) << wire;
    EXPECT_TRUE(emlFilesIn(messages("Outbox")).empty());
    EXPECT_EQ(emlFilesIn(messages("Sent Items")).size(), 1u);

    // A reply takes the composer's texts and marks the message answered.
    const std::string original = messages("Inbox/LUNCH.EML");
    writeFile(original, "From: Bob <bob@example.net>\r\nSubject: Lunch\r\n\r\nFriday?\r\n");
    Outcome reply = run({"compose", "--reply", original, "--body-file", home_.file("body.txt")});
    ASSERT_EQ(reply.status, 0) << reply.err;
    const std::string spooled = readFile(reply.out.substr(0, reply.out.find('\n')));
    for (const char* text : {"To: \"Bob\" <bob@example.net>\r\n", "Subject: Re: Lunch\r\n",
                             "\r\n\r\nFirst line.\r\n", "Bob wrote: \r\n\r\n> Friday?\r\n> \r\n"})
        EXPECT_NE(spooled.find(text), std::string::npos) << text << spooled;
    EXPECT_NE(readFile(original).find("X-Message-Replied: 1"), std::string::npos);
}

// An event today with an alarm: the pane's lines, and after sends on the same
// day exactly one reminder mail at the server; events added and removed.
TEST_F(CommandLine, RemindersShowTodayAndMailEachAlarmOnce) {
    SmtpServer smtp;
    ASSERT_TRUE(smtp.running()) << "aiosmtpd did not start";
    settings("SMTP0,127.0.0.1\r\nSMTPPORT0," + std::to_string(smtp.port()) +
             "\r\nREPLYADDRESS0,ann@example.com\r\nMAILTIMEOUT,20\r\n");
    const std::string today = DateTime::today().format("yyyymmdd");
    writeFile(home_.file("reminders.ics"),
              "BEGIN:VCALENDAR\nVERSION:2.0\nBEGIN:VEVENT\nUID:rent@example\nDTSTART;VALUE=DATE:" +
                  today +
                  "\nSUMMARY:Pay rent\nBEGIN:VALARM\nACTION:DISPLAY\nTRIGGER:PT0M\n"
                  "END:VALARM\nEND:VEVENT\nEND:VCALENDAR\n");
    Outcome list = run({"reminders", "list"});
    ASSERT_EQ(list.status, 0) << list.err;
    EXPECT_EQ(list.out.rfind("TODAY: Pay rent\n", 0), 0u) << list.out;
    EXPECT_TRUE(emlFilesIn(messages("Outbox")).empty()) << "listing writes nothing";

    for (int i = 0; i < 2; ++i) {
        Outcome send = run({"send"});
        ASSERT_EQ(send.status, 0) << send.err;
    }
    ASSERT_EQ(smtp.messageCount(), 1);
    EXPECT_NE(smtp.message(1).find("Subject: Reminder: Pay rent"), std::string::npos);
    EXPECT_NE(smtp.envelope(1).find("ann@example.com"), std::string::npos);

    Outcome add = run({"reminders", "add", "--title", "Dentist", "--at", "2030-01-02 09:30",
                       "--repeat", "weekly", "--alarm", "15"});
    ASSERT_EQ(add.status, 0) << add.err;
    const std::string uid = add.out.substr(0, add.out.find('\n'));
    EXPECT_NE(run({"reminders", "list"}).out.find(uid + "\t2030-01-02 09:30\tweekly\t15\tDentist"),
              std::string::npos);
    EXPECT_EQ(run({"reminders", "remove", uid}).status, 0);
    EXPECT_NE(run({"reminders", "list"}).out.find("1 event\n"), std::string::npos);
    EXPECT_EQ(run({"reminders", "add", "--title", "x", "--at", "2030-02-30"}).status, 2);
}

// A stranger's subject carrying terminal escapes (set the title, colour, then
// move the cursor) is shown, never obeyed, by every command that prints it;
// the program folder given as --home=DIR serves the commands as --home DIR does.
TEST_F(CommandLine, EscapesInASubjectNeverReachTheTerminal) {
    if (!DovecotServer::available()) GTEST_SKIP() << "Dovecot is not installed";
    // "\x1b]0;owned\x07\x1b[31mRed\x1b[2J" in an encoded word, and a raw ESC too.
    const std::string subject = "=?utf-8?B?G10wO293bmVkBxtbMzFtUmVkG1sySg==?= \x1b[5mblink";
    DovecotServer pop;
    pop.addUser("ann", "secret");
    pop.addMessage("ann", mail("Eve <eve@example.org>", subject));
    settings("SERVER0," + pop.address() + "\r\nUNAME0,ann\r\nPWD0,secret\r\nMAILTIMEOUT,20\r\n");
    writeFile(home_.file("hostile.eml"), mail("Eve <eve@example.org>", subject));

    const std::string joined = "--home=" + home_.path();
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {joined, "scan"},
             {joined, "scan", "--tabs"},
             {joined, "fetch"},
             {joined, "list", "Inbox"},
             {joined, "check", home_.file("hostile.eml")},
             {joined, "parse", home_.file("hostile.eml")},
         }) {
        SCOPED_TRACE(Join(args, " "));
        Outcome o = corva(args);
        EXPECT_EQ(o.status, 0) << o.err;
        EXPECT_NE(o.out.find("\\x1b]0;owned\\x07"), std::string::npos) << o.out;
        EXPECT_EQ(o.out.find('\x1b'), std::string::npos) << o.out;
        EXPECT_EQ(o.err.find('\x1b'), std::string::npos) << o.err;
        EXPECT_EQ(o.out.find('\x07'), std::string::npos) << o.out;
    }
    EXPECT_EQ(emlFilesIn(messages("Inbox")).size(), 1u) << "fetch used the same program folder";
}

// The windows and the commands read the same arguments the same way.
TEST(CommandLineWords, OneParserForBothFaces) {
    using Face = app::Invocation::Face;
    struct Case {
        std::vector<std::string> args;
        Face face;
        std::string home, startLine, first;
    };
    const Case cases[] = {
        {{}, Face::Windows, "", "", ""},
        {{"--home=/h"}, Face::Windows, "/h", "", ""},
        {{"--home", "/h"}, Face::Windows, "/h", "", ""},
        {{"--home=/h", "/mailto:b@x.org"}, Face::Windows, "/h", "/mailto:b@x.org", ""},
        {{"mailto:b@x.org", "--home", "/h"}, Face::Windows, "/h", "mailto:b@x.org", ""},
        {{"/tmp/A Letter.EML"}, Face::Windows, "", "/tmp/A Letter.EML", ""},
        {{"scan", "--home=/h", "--tabs"}, Face::Command, "/h", "", "scan"},
        {{"--home", "/h", "check", "x.eml"}, Face::Command, "/h", "", "check"},
        {{"help", "scan"}, Face::Help, "", "", "scan"},
        {{"--version"}, Face::Version, "", "", ""},
        {{"scan", "--home"}, Face::Error, "", "", ""},
        {{"--home="}, Face::Error, "", "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Join(c.args, " "));
        app::Invocation call = app::ParseCommandLine(c.args);
        EXPECT_EQ(call.face, c.face);
        EXPECT_EQ(call.home, c.home);
        EXPECT_EQ(call.startLine, c.startLine);
        EXPECT_EQ(call.words.empty() ? "" : call.words.front(), c.first);
    }
    EXPECT_EQ(app::ParseCommandLine({"scan", "--home=/h", "--tabs"}).words,
              (std::vector<std::string>{"scan", "--tabs"}));
}

// Wrong words get a clear error and status 2, never a crash, and touch no
// server and no file.
TEST_F(CommandLine, BadArgumentsAreRefusedPlainly) {
    settings("SERVER0,127.0.0.1:9\r\nREPLYADDRESS0,ann@example.org\r\n");
    const std::string before = readFile(home_.file("Corva.ini"));
    struct Case {
        std::vector<std::string> args;
        const char* says;
    };
    for (const Case& c : std::vector<Case>{
             {{"frobnicate"}, "frobnicate"},
             {{"scan", "--account", "25"}, "0 to 19"},
             {{"scan", "--account", "3"}, "no account 3"},
             {{"check", "--account", "4", home_.file("m.eml")}, "no account 4"},
             {{"scan", "--color=sometimes"}, "auto, always or never"},
             {{"list", "No Such Folder"}, "no folder \"No Such Folder\""},
             {{"move", "Nowhere\x1b[2J", "x.eml"}, "no folder \"Nowhere\\x1b[2J\""},
             {{"dupes", "Nowhere"}, "no folder \"Nowhere\""},
             {{"block", "sender", "notanaddress"}, "\"notanaddress\" is not an address"},
             {{"block", "domain", "two words"}, "is not a domain"},
             {{"contacts", "add", "Bob", "bob"}, "is not an address"},
             {{"compose", "--account", "0", "--subject", "x"}, "--to"},
             {{"compose", "--account", "0", "--to", "bob", "--subject", "x"}, "not an address"},
             {{"account", "set", "0", "--bogus", "x"}, "no account key \"bogus\""},
             {{"account", "set", "0", "--reply"}, "no account key"},
             {{"account", "set", "0", "--Address", "fred"}, "Please specify a valid email"},
             {{"account", "set", "7", "--title", "x"}, "no account 7"},
             {{"account", "add", "--title", "T", "--user", "u", "--password", "p", "--address",
               "a@b.example"},
              "missing --server"},
             {{"account", "add", "--title", "T", "--server", "", "--user", "u", "--password", "p",
               "--address", "a@b.example"},
              "Please specify an Inbound Mail Server"},
         }) {
        SCOPED_TRACE(Join(c.args, " "));
        Outcome o = run(c.args);
        EXPECT_EQ(o.status, 2) << o.err;
        EXPECT_NE(o.err.find(c.says), std::string::npos) << o.err;
        EXPECT_EQ(readFile(home_.file("Corva.ini")), before);
    }
    // A key typed by hand in lower case is never read: said, and the file left as it is.
    settings("SERVER0,127.0.0.1:9\r\nreplyaddress0,ann@example.org\r\n");
    Outcome lower = run({"folders"});
    EXPECT_NE(lower.err.find("\"replyaddress0\" is not read"), std::string::npos) << lower.err;
    EXPECT_NE(readFile(home_.file("Corva.ini")).find("replyaddress0"), std::string::npos);
    Outcome unreadable = run({"parse", home_.file("no-such.eml")});
    EXPECT_EQ(unreadable.status, 1);
    EXPECT_NE(unreadable.err.find("no-such.eml"), std::string::npos) << unreadable.err;
}

// The rule editor's and the training window's work without a window: what
// an import adds reaches the file, and the thresholds reach Corva.ini.
TEST_F(CommandLine, RulesAndThresholdsWithoutAWindow) {
    settings("SERVER0,127.0.0.1:9\r\n");
    writeFile(home_.file("in.txt"),
              "Filtername, Casino\r\nFilterField, Subject:\r\nFilterComparison, cnt\r\n"
              "FilterString, casino\r\nFilterAction, 0\r\nFilter_Category, 1\r\n"
              "Filtername, Empty\r\nFilterAction, 1\r\n");
    EXPECT_EQ(run({"rules", "import", home_.file("in.txt")}).out, "Imported 2 of 2 filters\n");
    EXPECT_EQ(run({"rules", "import", home_.file("in.txt")}).out, "Imported 0 of 2 filters\n");
    EXPECT_EQ(run({"rules", "list"}).out,
              "1\tCasino\tDelete from server\n2\tEmpty\tMark as suspicious\n");
    Outcome check = run({"rules", "validate"});
    EXPECT_EQ(check.status, 1);
    EXPECT_EQ(check.out, "2\tEmpty\thas no conditions and never fires\n");
    EXPECT_EQ(run({"rules", "export", home_.file("out.txt"), "--shared"}).status, 0);
    EXPECT_EQ(readFile(home_.file("out.txt")).find("Casino"), std::string::npos);
    EXPECT_EQ(run({"rules", "show", "3"}).status, 2);

    // A first install has no SPAM? band until one is set.
    EXPECT_NE(run({"thresholds"}).out.find("200%"), std::string::npos);
    EXPECT_EQ(run({"thresholds", "--save-to-spam", "80", "--word-count", "3"}).status, 0);
    std::string ini = readFile(home_.file("Corva.ini"));
    EXPECT_NE(ini.find("SAVETOSPAMSCORE, 0.8"), std::string::npos) << ini;
    EXPECT_NE(run({"thresholds", "--reset"}).out.find("SaveToSpamScore\t70%"), std::string::npos);
    EXPECT_EQ(run({"thresholds", "--spam", "0"}).status, 2);
}

// The desktop's language never reaches the numbers of the files: a German
// locale would otherwise write and read "0,98".
TEST_F(CommandLine, NumbersKeepTheirPointOnAGermanDesktop) {
    const std::string locales = home_.file("locales");
    fs::create_directories(locales);
    if (std::system(
            ("localedef -i de_DE -f UTF-8 " + locales + "/de_DE.UTF-8 2>/dev/null").c_str()) != 0)
        GTEST_SKIP() << "no de_DE locale source to build";
    const std::vector<std::string> german{"LOCPATH=" + locales, "LC_ALL=de_DE.UTF-8"};
    settings("DELAY,0\r\n");
    ASSERT_EQ(run({"thresholds", "--spam", "98"}, german).status, 0);
    EXPECT_NE(readFile(home_.file("Corva.ini")).find("SPAMMINESS, 0.98 "), std::string::npos);
    EXPECT_EQ(run({"thresholds"}, german).out.substr(0, 15), "Spamminess\t98%\t");
}

// Accounts are added, changed and removed with the wizard's tests; a key
// typed in another case, on the command line or in the file, is the same key.
TEST_F(CommandLine, AccountsAreSetUpWithoutAWindow) {
    settings("MAILTIMEOUT,20\r\nserver3,typo.example\r\n");
    const std::vector<std::string> first{
        "account", "add", "--title",    "Work",   "--server",  "pop.example.com:1100",
        "--user",  "ann", "--password", "secret", "--address", "ann@example.org"};
    ASSERT_EQ(run(first).status, 0);
    Outcome second =
        run({"account", "add", "--title=Home", "--server", "pop.home.example", "--user", "bob",
             "--password", "pw", "--address", "bob@home.example", "--name", "Bob", "--smtp",
             "smtp.home.example:587", "--smtp-user", "bob", "--smtp-password", "pw2"});
    ASSERT_EQ(second.status, 0) << second.err;
    EXPECT_EQ(second.out, "Added account 1: Home\n");
    Outcome set =
        run({"account", "set", "1", "--Title", "House", "--STOPATLAST", "yes", "--smtp-port=2525"});
    ASSERT_EQ(set.status, 0) << set.err;
    const std::string ini = readFile(home_.file("Corva.ini"));
    for (const char* line :
         {"SERVER0,pop.example.com:1100\r\n", "UNAME0,ann\r\n", "PWD0,secret\r\n",
          "REPLYADDRESS0,ann@example.org\r\n", "TITLE1,House\r\n", "SMTP1,smtp.home.example\r\n",
          "SMTPPORT1, 2525 \r\n", "SMTPUNAME1,bob\r\n", "DISPLAYNAME1,Bob\r\n",
          "STOPATLAST1,True\r\n"})
        EXPECT_NE(ini.find(line), std::string::npos) << line << " in\n" << ini;

    Outcome listed = run({"account", "list", "--json"});
    ASSERT_EQ(listed.status, 0) << listed.err;
    EXPECT_NE(listed.out.find("\"title\": \"House\""), std::string::npos) << listed.out;
    EXPECT_NE(listed.out.find("\"smtpPort\": 2525"), std::string::npos) << listed.out;
    EXPECT_EQ(listed.out.find("secret"), std::string::npos) << listed.out;
    EXPECT_NE(listed.out.find("\"server\": \"typo.example\""), std::string::npos) << listed.out;

    ASSERT_EQ(run({"account", "remove", "0"}).status, 0);
    EXPECT_EQ(readFile(home_.file("Corva.ini")).find("SERVER0"), std::string::npos);
    Outcome rows = run({"account", "list", "--tabs"});
    EXPECT_EQ(rows.out.substr(0, 7), "1\tHouse") << rows.out;
    EXPECT_EQ(SplitLines(rows.out).size(), 2u) << rows.out;
}

// Many files in one process, names from the arguments or standard input;
// JSON carries decoded text unless bytes are asked for.
TEST_F(CommandLine, BulkFilesAndJsonForScripts) {
    settings("DELAY,0\r\n");
    const std::string a = home_.file("a.eml"), b = home_.file("b.eml");
    writeFile(a, mail("Ann <ann@example.org>", "=?utf-8?B?R3LDvMOfZQ==?="));
    writeFile(b, mail("Bob <bob@example.org>", "Plain"));
    // A folder or a pipe among the names is refused at once, never waited on;
    // a name in another case still finds its file.
    const std::string pipe = home_.file("pipe.eml"), folder = home_.file("folder.eml");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    ASSERT_EQ(::mkdir(folder.c_str(), 0700), 0);
    Outcome scored = run({"score", a, home_.file("B.EML"), home_.file("gone.eml"), folder, pipe});
    EXPECT_EQ(scored.status, 1);
    const std::vector<std::string> lines = SplitLines(scored.out);
    ASSERT_EQ(lines.size(), 2u) << scored.out;
    EXPECT_EQ(lines[0].substr(0, a.size() + 1), a + "\t");
    for (const std::string& bad : {home_.file("gone.eml"), folder, pipe})
        EXPECT_NE(scored.err.find("Can't read " + bad), std::string::npos) << scored.err;

    Outcome piped = run({"check", "--json", "-"}, {}, a + "\n" + b + "\n");
    ASSERT_EQ(piped.status, 0) << piped.err;
    ASSERT_EQ(SplitLines(piped.out).size(), 2u) << piped.out;
    EXPECT_NE(piped.out.find("\"subject\": \"Grüße\""), std::string::npos) << piped.out;
    EXPECT_NE(piped.out.find("\"verdict\": \"PASS\""), std::string::npos) << piped.out;

    EXPECT_NE(run({"parse", "--json", a}).out.find("\"Subject\": \"Grüße\""), std::string::npos);
    EXPECT_NE(run({"parse", "--json", "--bytes", a}).out.find("=?utf-8?B?R3LDvMOfZQ==?="),
              std::string::npos);
    Outcome folders = run({"folders", "--json"});
    EXPECT_NE(
        folders.out.find("{\"name\": \"Folders\", \"path\": \"\", \"depth\": 0, \"count\": 0}"),
        std::string::npos)
        << folders.out;
    EXPECT_EQ(run({"contacts", "list", "--json"}).out, "[]\n");
}

// corva scores and trains on its own, without the full program's libraries;
// for anything else it needs that program, and says so when it is missing.
TEST_F(CommandLine, BulkCommandsNeedNoFullProgram) {
    TempDir alone;
    const std::string exe = alone.file("corva");
    ASSERT_TRUE(fs::copy_file(CORVA_EXE, exe));
    settings("DELAY,0\r\n");
    fs::create_directories(home_.file("Messages/Inbox"));
    writeFile(home_.file("Messages/Inbox/A.EML"), mail("Ann <ann@example.org>", "Lunch"));
    writeFile(home_.file("m.eml"), mail("Ann <ann@example.org>", "Lunch"));
    auto shell = [&](const std::string& args) {
        return runShell(exe + " --home '" + home_.path() + "' " + args, true);
    };
    const Outcome trained = shell("-q train");
    EXPECT_EQ(trained.status, 0) << trained.out;
    const Outcome scored = shell("score " + home_.file("m.eml"));
    EXPECT_EQ(scored.status, 0) << scored.out;
    EXPECT_EQ(scored.out.substr(0, 7), "Score: ") << scored.out;
    for (const char* args : {"scan", "--help", "score --help", ""}) {
        const Outcome o = shell(args);
        EXPECT_EQ(o.status, 1) << args;
        EXPECT_NE(o.out.find("corva-qt is missing); reinstall Corva."), std::string::npos) << o.out;
    }
}

TEST_F(CommandLine, HelpTellsTheRealFormats) {
    const std::string usage = corva({"--help"}).out;
    const size_t heading = usage.find("Developer commands:");
    ASSERT_NE(heading, std::string::npos) << usage;
    EXPECT_GT(usage.find("ssl2-test"), heading);
    EXPECT_LT(usage.find("account"), heading);
    const std::string fetch = corva({"help", "fetch"}).out;
    EXPECT_EQ(fetch.find("DELETEONRETRIEVE=1"), std::string::npos);
    EXPECT_NE(fetch.find("DELETEONRETRIEVE,1"), std::string::npos);
    EXPECT_NE(corva({"help", "scan"}).out.find("\"msgNum\""), std::string::npos);
}

// A command that only reads writes nothing in the program folder, not even a
// log or an empty Corva.ini, so a fresh folder still gets the first-run wizard.
TEST_F(CommandLine, ReadOnlyCommandsLeaveAFreshFolderEmpty) {
    TempDir elsewhere;
    writeFile(elsewhere.file("m.eml"), mail("Friend <friend@example.org>", "Lunch"));
    const std::string eml = elsewhere.file("m.eml");
    for (const auto& args : std::vector<std::vector<std::string>>{{"check", eml},
                                                                  {"score", eml},
                                                                  {"parse", eml},
                                                                  {"list", "Inbox"},
                                                                  {"folders"},
                                                                  {"contacts", "list"},
                                                                  {"scan"}}) {
        Outcome o = run(args);
        EXPECT_LE(o.status, 2) << Join(args, " ") << ": " << o.err; // 2: no Inbox yet
    }
    std::vector<std::string> left;
    for (const auto& e : fs::recursive_directory_iterator(home_.path()))
        left.push_back(e.path().string());
    EXPECT_TRUE(left.empty()) << Join(left, "\n");
}

// An editor stripped the blanks after empty fields and left a CR-only part;
// one line means nothing to the book. Every command leaves the file as it
// was, and the one that would save over it refuses and keeps a copy.
TEST_F(CommandLine, ContactsTheBookCannotFullyReadSurviveEveryCommand) {
    settings("DELAY,5\r\n");
    const std::string book = "<contact>\r\nname Ann\r\nemail ann@example.org\r\nmobile\r\n"
                             "<contact>\rname Bob\remail bob@example.org\rhomefax\r"
                             "birthday 1 May\r\n";
    writeFile(home_.file("contacts.txt"), book);
    writeFile(home_.file("m.eml"), mail("Ann <ann@example.org>", "Hi"));
    Outcome listed = run({"contacts", "list"});
    EXPECT_NE(listed.out.find("Ann <ann@example.org>"), std::string::npos) << listed.out;
    EXPECT_NE(listed.out.find("Bob <bob@example.org>"), std::string::npos) << listed.out;
    for (const auto& args :
         std::vector<std::vector<std::string>>{{"check", home_.file("m.eml")},
                                               {"folders"},
                                               {"block", "sender", "x@junk.example"},
                                               {"unblock", "sender", "x@junk.example"}}) {
        Outcome o = run(args);
        EXPECT_EQ(o.status, 0) << Join(args, " ") << ": " << o.err;
        EXPECT_EQ(readFile(home_.file("contacts.txt")), book) << Join(args, " ");
    }
    Outcome added = run({"contacts", "add", "Cy", "cy@example.org"});
    EXPECT_EQ(added.status, 1);
    EXPECT_EQ(readFile(home_.file("contacts.txt")), book);
    EXPECT_EQ(readFile(home_.file("contacts.txt.bak")), book);
}

// The composer's signatures and shortcut texts, set and shown without a window.
TEST_F(CommandLine, SignatureAndShortcutsAsTheComposerUsesThem) {
    settings("DELAY,5\r\n");
    ASSERT_EQ(run({"signature", "--set", "-"}, {}, "Ann\nExample Ltd\n").status, 0);
    EXPECT_EQ(readFile(messages("sig.txt")), "Ann\r\nExample Ltd\r\n");
    Outcome inbox = run({"signature", "--folder", "inbox"});
    EXPECT_EQ(inbox.out, "Ann\nExample Ltd\n");
    EXPECT_NE(inbox.err.find("take the default"), std::string::npos) << inbox.err;
    EXPECT_EQ(run({"signature", "--folder", "Nowhere"}).status, 2);

    Outcome set = run({"shortcuts", "--set", "10", "Kind regards"});
    EXPECT_EQ(set.status, 0) << set.err;
    EXPECT_NE(set.out.find("1   Shortcut 1\n"), std::string::npos) << set.out;
    EXPECT_NE(set.out.find("10  Kind regards\n"), std::string::npos) << set.out;
    for (const char* wrong : {"0", "11", "x"})
        EXPECT_EQ(run({"shortcuts", "--set", wrong, "t"}).status, 2) << wrong;
}

// While another process holds the program folder, a command that would
// write refuses and changes nothing; one that only reads still works.
TEST_F(CommandLine, ASecondWriterIsRefused) {
    settings("DELAY,5\r\n");
    FolderClaim window = ClaimProgramFolder(home_.path());
    ASSERT_TRUE(window.ok());
    Outcome o = run({"block", "sender", "x@junk.example"});
    EXPECT_EQ(o.status, 1);
    EXPECT_NE(o.err.find("Another Corva (process " + std::to_string(::getpid())), std::string::npos)
        << o.err;
    EXPECT_EQ(run({"folders"}).status, 0);
    window.lock.reset();
    EXPECT_EQ(run({"block", "sender", "x@junk.example"}).status, 0);
    EXPECT_EQ(fs::status(home_.path()).permissions() & fs::perms::all, fs::perms::owner_all);
    for (const auto& e : fs::recursive_directory_iterator(home_.path())) {
        auto mode = e.status().permissions() & fs::perms::all;
        EXPECT_EQ(mode, e.is_directory() ? fs::perms::owner_all
                                         : (fs::perms::owner_read | fs::perms::owner_write))
            << e.path();
    }
}

// On a full disk the settings stay whole and the command says it failed.
TEST_F(CommandLine, AFullDiskKeepsTheOldSettingsAndFails) {
    TempDir mountPoint;
    if (::mount("tmpfs", mountPoint.path().c_str(), "tmpfs", 0, "size=256k,mode=0700") != 0)
        GTEST_SKIP() << "can't mount a small tmpfs here: " << std::strerror(errno);
    const std::string home = mountPoint.path();
    const std::string ini = "SERVER0,127.0.0.1\r\nZPAD," + std::string(20000, 'p') + "\r\n";
    writeFile(home + "Corva.ini", ini);
    {
        FILE* filler = std::fopen((home + "filler").c_str(), "wb");
        std::string block(4096, 'f');
        while (filler && std::fwrite(block.data(), 1, block.size(), filler) == block.size() &&
               std::fflush(filler) == 0) {
        }
        if (filler) std::fclose(filler);
    }
    Outcome o = corva({"--home", home, "block", "sender", "x@junk.example"});
    EXPECT_NE(o.status, 0) << o.out;
    EXPECT_EQ(readFile(home + "Corva.ini"), ini);
    ::umount2(mountPoint.path().c_str(), MNT_DETACH);
}

} // namespace
} // namespace corva::test
