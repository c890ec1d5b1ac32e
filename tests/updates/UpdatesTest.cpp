// The update check: the status file, the weekly rule, and checks, details and
// downloads against a real web server, a real proxy and a real FTP server,
// with scripted FTP servers for the reply corners.
#include "core/AppInfo.h"
#include "core/DateTime.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/Variant.h"
#include "core/mSHAREDSettings.h"
#include "cycle/UpdateCheckLink.h"
#include "cycle/frmMainView.h"
#include "platform/Crypto.h"
#include "support/FakeServer.h"
#include "support/HttpServer.h"
#include "support/RecordingPlatform.h"
#include "support/TempDir.h"
#include "updates/FtpReply.h"
#include "updates/fSHAREDProxy.h"
#include "updates/fSHAREDUpdater.h"

#include <QString>
#include <QtGlobal>
#include <gtest/gtest.h>

namespace corva {
namespace {

TEST(UpdateStatus, ReadsVersionAddressAndDigest) {
    const std::string digest(64, 'A');
    struct Case {
        std::string text;
        bool read;
        long major, minor, revision;
        std::string suffix, address, sha256;
    } cases[] = {
        {"1.00.0091\r\nhttp-address-@@@.exe", true, 1, 0, 91, "", "http-address-1091.exe", ""},
        {"2.3.4b\r\nhttp://x/c-@@@.deb\r\n", true, 2, 3, 4, "b", "http://x/c-234b.deb", ""},
        {"2.3.4rc2\nu", true, 2, 3, 4, "", "u", ""}, // ends in a digit: no suffix
        {"2.3.40\nu", true, 2, 3, 40, "", "u", ""},
        {"1.2.3\nhttps://h/c.deb " + digest, true, 1, 2, 3, "", "https://h/c.deb",
         std::string(64, 'a')},
        {"1.2.3\nhttps://h/c.deb abc", true, 1, 2, 3, "", "https://h/c.deb abc", ""},
        {"no version here", false, 0, 0, 0, "", "", ""},
        {"1.2.3", true, 1, 2, 3, "", "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const UpdateVersion v = ExtractVersion(c.text);
        EXPECT_EQ(v.read, c.read);
        EXPECT_EQ(v.major, c.major);
        EXPECT_EQ(v.minor, c.minor);
        EXPECT_EQ(v.revision, c.revision);
        EXPECT_EQ(v.suffix, c.suffix);
        EXPECT_EQ(v.address, c.address);
        EXPECT_EQ(v.sha256, c.sha256);
    }
}

TEST(UpdateStatus, ComparesVersionsAndSuffixes) {
    auto newer = [](const char* a, const char* b) {
        return IsNewerVersion(ExtractVersion(a), ExtractVersion(b));
    };
    EXPECT_TRUE(newer("1.2.3b", "1.2.3"));
    EXPECT_FALSE(newer("1.2.3", "1.2.3b"));
    EXPECT_FALSE(newer("1.2.3", "1.2.3"));
    EXPECT_TRUE(newer("2.0.0", "1.9.9"));
    EXPECT_TRUE(newer("1.3.0", "1.2.9"));
    EXPECT_TRUE(newer("1.2.10", "1.2.9")); // numbers, not text
    EXPECT_FALSE(newer("1.1.9", "1.2.0"));
    EXPECT_FALSE(newer("0.9.9", "1.0.0"));
}

TEST(UpdateStatus, ChecksWeeklyFromTheLastCheck) {
    const DateTime today = DateTime::fromParts(2026, 11, 24);
    const double day = today.serial();
    struct Case {
        Variant last;
        bool due;
    } cases[] = {
        {Variant(), true}, // a new install checks at once
        {day, false},          {day - 6, false},
        {day - 7, true},       {"18/Nov/2026", false}, // the older form with "/"
        {"17/Nov/2026", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.last.toText());
        EXPECT_EQ(UpdateCheckLink::UpdateCheckDue(c.last, today), c.due);
    }
}

TEST(FtpReplies, AssemblesRepliesAndReadsTheirNumbers) {
    FtpReplyReader reader;
    reader.feed("220-Welcome\r\n220-to 220 this\r\n 220 indented\r\n220 ready\r\n230 in");
    auto first = reader.next();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->code, 220);
    EXPECT_EQ(first->text, "220-Welcome\r\n220-to 220 this\r\n 220 indented\r\n220 ready\r\n");
    EXPECT_FALSE(reader.next()); // "230 in" has no line end yet
    reader.feed("\r\nno code\n");
    EXPECT_EQ(reader.next()->code, 230);
    EXPECT_EQ(reader.next()->code, 0);
    reader.feed(std::string(FtpReplyReader::MaxReply + 1, 'x'));
    EXPECT_EQ(reader.next()->code, 0); // a line without end is cut, not kept forever

    EXPECT_EQ(ParsePasv("227 Entering Passive Mode (10,9,8,7,4,1)")->port, 1025);
    EXPECT_EQ(ParsePasv("227 =10,9,8,7,0,21")->host, "10.9.8.7");
    EXPECT_FALSE(ParsePasv("227 (10,9,8,7,4)"));
    EXPECT_FALSE(ParsePasv("227 (10,9,8,700,4,1)"));
    EXPECT_EQ(ParseEpsv("229 Extended (|||6446|)"), 6446);
    EXPECT_FALSE(ParseEpsv("229 Extended (|||99999|)"));
    EXPECT_EQ(ParseSize("213 300000"), 300000);
    EXPECT_FALSE(ParseSize("550 no"));

    struct Case {
        const char* url;
        bool ok;
        std::string user, password, host;
        int port;
        std::string folder, file;
    } cases[] = {
        {"ftp://h/pub/corva/c.deb", true, "anonymous", "corva@", "h", 21, "pub/corva", "c.deb"},
        {"FTP.example.org/c%20d.deb", true, "anonymous", "corva@", "FTP.example.org", 21, "",
         "c d.deb"},
        {"ftp://ann:p%40ss@h:2121//srv/c.deb", true, "ann", "p@ss", "h", 2121, "/srv", "c.deb"},
        {"ftp://h//c.deb", true, "anonymous", "corva@", "h", 21, "/", "c.deb"},
        {"ftp://h/pub/", false, "", "", "", 0, "", ""},
        {"ftp://h:99999/c.deb", false, "", "", "", 0, "", ""},
        {"ftp://h/c%0d%0aDELE%20x", false, "", "", "", 0, "", ""},
        {"http://h/c.deb", false, "", "", "", 0, "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.url);
        const auto a = ParseFtpAddress(c.url);
        ASSERT_EQ(a.has_value(), c.ok);
        if (!a) continue;
        EXPECT_EQ(a->user, c.user);
        EXPECT_EQ(a->password, c.password);
        EXPECT_EQ(a->host, c.host);
        EXPECT_EQ(a->port, c.port);
        EXPECT_EQ(a->folder, c.folder);
        EXPECT_EQ(a->file, c.file);
    }
}

// What the updater showed, and a file it is told to save to.
struct RecordingView : fSHAREDUpdaterView {
    void ShowStatus(const std::string& text) override { statuses.push_back(text); }
    void ShowDetails(const std::string& text) override { details = text; }
    void ShowProgress(long long received, long long) override { progressed = received; }
    std::string ChooseSaveFile(const std::string& suggested) override {
        suggestedName = suggested;
        return target;
    }
    bool showed(const std::string& text) const {
        return std::find(statuses.begin(), statuses.end(), text) != statuses.end();
    }
    std::vector<std::string> statuses;
    std::string details, target, suggestedName;
    long long progressed = 0;
};

struct RecordingEvents : UpdaterEvents {
    void Updater_Status(const std::string& text) override { status = text; }
    void Updater_InstallFile(const std::string& path) override { installed = path; }
    std::string status, installed;
};

class UpdateServer : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server_.running());
        home_.makeProgramFolder();
        Settings().DeleteAllSettings();
        sset("UpdateServer", server_.url());
        view_.target = home_.file("saved.bin");
    }
    void TearDown() override { Settings().DeleteAllSettings(); }
    // Publishes a build as NAME-900.deb and a status file that names it with
    // its digest; a build given as cut short is served that way.
    void publish(const std::string& name, const std::string& build, const std::string& digest,
                 bool cutShort = false) {
        server_.put("files/" + name + "-900.deb" + (cutShort ? ".short" : ""), build);
        server_.put("versions/QBX_current.txt",
                    "9.0.0\r\n" + server_.url() + "files/" + name + "-@@@.deb " + digest + "\r\n");
    }

    test::HttpServer server_;
    test::TempDir home_;
    test::ShellRecordingPlatform platform_;
    platform::ScopedPlatform installed_{platform_};
    RecordingView view_;
    RecordingEvents events_;
    fSHAREDUpdater updater_{&view_, &events_};
};

TEST_F(UpdateServer, ChecksTheStatusFile) {
    struct Case {
        std::string status;
        UpdateCheckResult result;
        std::string shown;
        bool dated;
    } cases[] = {
        {AppVersion() + "\r\nhttp://h/c-@@@.deb", UpdateCheckResult::UpToDate,
         "Latest available version is " + AppVersion(), true},
        {AppVersion() + "b\r\nhttp://h/c-@@@.deb", UpdateCheckResult::Newer,
         "Version " + AppVersion() + "b is available!", true},
        {"<html><body>Server error</body></html>", UpdateCheckResult::Failed,
         "Could not retrieve update status", false},
        {"garbage", UpdateCheckResult::Unreadable, "Could not read update status from file", false},
        {"9.0.0", UpdateCheckResult::NoAddress,
         "Update check failed, could not read download filename", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.status);
        Settings().DeleteAllSettings();
        sset("UpdateServer", server_.url());
        server_.put("versions/QBX_current.txt", c.status);
        EXPECT_EQ(updater_.CheckForUpdate(true), c.result);
        EXPECT_TRUE(view_.showed(c.shown));
        EXPECT_EQ(sget("LastUpdateCheck", "").toText(),
                  c.dated ? DateTime::today().format("dd/mmm/yyyy") : "");
    }
    EXPECT_EQ(events_.status, "Version " + AppVersion() + "b is available!");
    EXPECT_TRUE(platform_.prompts_.messages.empty()); // a quiet check asks nothing
}

TEST_F(UpdateServer, ShowsDetailsOrSaysTheyAreMissing) {
    EXPECT_FALSE(updater_.cmdShowDetail()); // a 404
    EXPECT_EQ(updater_.LastStatus(), "Unable to read data from server. Please check your "
                                     "internet settings and try again.");
    server_.put("versions/QBX_details.txt", "What is new:\r\n- faster\r\n");
    EXPECT_TRUE(updater_.cmdShowDetail());
    EXPECT_EQ(view_.details, "What is new:\r\n- faster\r\n");
}

TEST_F(UpdateServer, DownloadsOnlyWhatArrivedWholeAndMatches) {
    const std::string build(300000, 'x');
    const std::string good = platform::sha256Hex(build);
    struct Case {
        const char* name;
        std::string file, digest;
        bool cutShort, ok;
        std::string shown;
    } cases[] = {
        {"complete", build, good, false, true, "File saved to " + view_.target},
        {"short", build, good, true, false, "Error - Downloaded file is incomplete. Please retry"},
        {"html", "<HTML><body>Not here</body></HTML>", good, false, false,
         "Error - File not found on server."},
        {"mismatch", build + "!", good, false, false,
         "Error - The download does not match its published SHA-256 digest and was deleted. "
         "Please retry later."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EraseFile(view_.target);
        publish(c.name, c.file, c.digest, c.cutShort);
        ASSERT_EQ(updater_.CheckForUpdate(true), UpdateCheckResult::Newer);
        EXPECT_EQ(updater_.cmdDownload(), c.ok);
        EXPECT_EQ(updater_.LastStatus(), c.shown);
        EXPECT_EQ(FileExists(view_.target), c.ok);
    }
    EXPECT_EQ(view_.suggestedName, "mismatch-900.deb");
    EXPECT_GT(view_.progressed, 0);
}

TEST_F(UpdateServer, InstallsOnlyACheckedDownload) {
    const std::string build(5000, 'y');
    publish("corva", build, platform::sha256Hex(build));
    platform_.prompts_.answer = platform::Answer::Yes;
    ASSERT_EQ(updater_.CheckForUpdate(true), UpdateCheckResult::Newer);
    EXPECT_TRUE(updater_.cmdDownloadInstall());
    EXPECT_EQ(events_.installed, AppPath() + "corva-900.deb");

    // Without a digest the file is kept for the user to judge, never handed on.
    events_.installed.clear();
    server_.put("versions/QBX_current.txt", "9.0.0\r\n" + server_.url() + "files/corva-@@@.deb");
    ASSERT_EQ(updater_.CheckForUpdate(true), UpdateCheckResult::Newer);
    EXPECT_FALSE(updater_.cmdDownloadInstall());
    EXPECT_EQ(events_.installed, "");
    EXPECT_TRUE(FileExists(AppPath() + "corva-900.deb"));
}

TEST_F(UpdateServer, TheTimerChecksOnceWhenDueAndShowsANewVersionInTheStatusBar) {
    struct Panels : frmMainView {
        void SetStatusPanel(int panel, const std::string& text) override {
            if (panel == 3) updater = text;
        }
        std::string updater;
    } panels;
    server_.put("versions/QBX_current.txt", "9.0.0\r\nhttp://h/c-@@@.deb");
    const std::string today = DateTime::today().format("dd/mmm/yyyy");
    const std::string lastWeek = DateTime::today().addDays(-7).format("dd/mmm/yyyy");
    struct Case {
        bool disabled;
        std::string last, shown, stored;
    } cases[] = {
        {true, lastWeek, "", lastWeek},
        {false, today, "", today},
        {false, lastWeek, "Version 9.0.0 is available!", today},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.last);
        panels.updater.clear();
        sset("DisableAutoUpdateCheck", c.disabled);
        sset("LastUpdateCheck", c.last);
        UpdateCheckLink link(panels);
        link.StartTimer();
        link.TimerUpdateCheck_Timer();
        EXPECT_FALSE(link.TimerEnabled()); // once only
        EXPECT_EQ(panels.updater, c.shown);
        EXPECT_EQ(sget("LastUpdateCheck", "").toText(), c.stored);
    }
}

TEST_F(UpdateServer, GoesThroughTheManualProxyWithItsLogin) {
    test::HttpProxy proxy("alice", "s3cret");
    ASSERT_TRUE(proxy.running());
    ProxySettings s;
    s.type = ProxySettings::Manual;
    s.server = "127.0.0.1";
    s.port = std::to_string(proxy.port());
    s.user = "alice";
    s.password = "wrong";
    EXPECT_EQ(fSHAREDProxy::cmdOK(s, "s3cret"), "Your passwords don't match.  Please retype them.");
    EXPECT_EQ(sget("ProxyType", 0).toLong(), 0);
    s.password = "s3cret";
    EXPECT_EQ(fSHAREDProxy::cmdOK(s, "s3cret"), "");
    EXPECT_EQ(fSHAREDProxy::Load().password, "s3cret"); // no keyring here: kept in the file

    server_.put("versions/QBX_current.txt", AppVersion() + "\r\nhttp://h/c.deb");
    EXPECT_EQ(updater_.CheckForUpdate(true), UpdateCheckResult::UpToDate);
    EXPECT_NE(proxy.log().find("GET " + server_.url() + "versions/QBX_current.txt"),
              std::string::npos);
}

// Every state the transfers raise, in order.
struct StateLog : cSHAREDInternetEvents {
    void Internet_StateChanged(const std::string& state) override { states.push_back(state); }
    std::vector<std::string> states;
};

// Qt's warnings while a test runs: a transfer stopped cleanly prints none.
std::string* qtWarnings = nullptr;
void keepQtWarning(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (qtWarnings && type != QtDebugMsg && type != QtInfoMsg) *qtWarnings += text.toStdString();
}

TEST_F(UpdateServer, HttpTransfersReportEveryStateAndStopQuietly) {
    StateLog log;
    updater_.Internet().addListener(&log);
    server_.put("files/a.bin", "abc");
    EXPECT_TRUE(updater_.DownloadFile(server_.url() + "files/a.bin", view_.target));
    EXPECT_EQ(log.states,
              (std::vector<std::string>{"Resolving Host", "Host Resolved", "Connected",
                                        "Requesting", "Request Sent", "Receiving Response",
                                        "ResponseReceived", "Response Completed"}));

    // A server that takes the request and says nothing, until the user stops
    // the transfer or the wait without data ends it. Qt complains, if at all,
    // once the server has gone.
    for (const bool byUser : {true, false}) {
        SCOPED_TRACE(byUser ? "cancelled" : "timed out");
        std::string warnings;
        qtWarnings = &warnings;
        const QtMessageHandler before = qInstallMessageHandler(keepQtWarning);
        {
            test::FakeServer silent({test::SkipPast("\r\n\r\n"), test::Silence()});
            std::unique_ptr<platform::Timer> stop = platform::current().createTimer();
            // The user stops it once the request is out, however slow the machine.
            stop->setInterval(20);
            stop->setCallback([&] {
                if (log.states.empty() || log.states.back() != "Request Sent") return;
                stop->setEnabled(false);
                updater_.StopAll();
            });
            stop->setEnabled(byUser);
            updater_.Internet().Inet().setIdleTimeoutMs(byUser ? 60000 : 200);
            log.states.clear();
            EXPECT_FALSE(
                updater_.DownloadFile("http://" + silent.address() + "/f.bin", view_.target));
        }
        platform::current().eventLoop().runUntil([] { return false; }, 200);
        qInstallMessageHandler(before);
        qtWarnings = nullptr;
        EXPECT_EQ(warnings, "");
        EXPECT_EQ(updater_.LastStatus(),
                  byUser ? "Download cancelled" : "Download timed out. Please try again.");
        std::vector<std::string> states{"Resolving Host", "Host Resolved", "Connected",
                                        "Requesting", "Request Sent"};
        if (byUser) states.insert(states.end(), {"Error", "Disconnecting", "Disconnected"});
        EXPECT_EQ(log.states, states);
    }
    updater_.Internet().removeListener(&log);
}

TEST_F(UpdateServer, DownloadsOverFtpWithTheChecksOfHttp) {
    test::FtpServer ftp;
    ASSERT_TRUE(ftp.running());
    const std::string build(300000, 'z');
    ftp.put("pub/corva-900.deb", build);
    ftp.put("pub/cut.deb.short", build);
    StateLog log;
    updater_.Internet().addListener(&log);
    const std::string local = "127.0.0.1:" + ftp.url().substr(16); // "host:port/"
    struct Case {
        std::string url;
        bool ok;
        std::string shown;
    } cases[] = {
        {ftp.url() + "pub/corva-900.deb", true, "Downloaded 292 kb (100%)"},
        {"ftp://ann:pw@" + local + "pub/corva-900.deb", true, "Downloaded 292 kb (100%)"},
        {ftp.url() + "pub/cut.deb", false, "Error - Downloaded file is incomplete. Please retry"},
        {ftp.url() + "pub/missing.deb", false, "Error - File not found on server."},
        {ftp.url() + "nofolder/corva-900.deb", false, "Error - File not found on server."},
        {"ftp://ann:wrong@" + local + "pub/corva-900.deb", false, "Error - Download failed."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.url);
        log.states.clear();
        EXPECT_EQ(updater_.DownloadFile(c.url, view_.target), c.ok);
        EXPECT_EQ(updater_.LastStatus(), c.shown);
        EXPECT_EQ(FileExists(view_.target) ? LoadTextFile(view_.target) : "", c.ok ? build : "");
    }
    EXPECT_EQ(log.states, (std::vector<std::string>{"Resolving Host", "Host Resolved", "Connected",
                                                    "Error", "Disconnecting", "Disconnected"}));

    // An address in the status file goes the same way, checked against its digest.
    log.states.clear();
    server_.put("versions/QBX_current.txt", "9.0.0\r\n" + ftp.url() + "pub/corva-@@@.deb " +
                                                platform::sha256Hex(build) + "\r\n");
    ASSERT_EQ(updater_.CheckForUpdate(true), UpdateCheckResult::Newer);
    log.states.clear();
    EXPECT_TRUE(updater_.cmdDownload());
    EXPECT_EQ(log.states,
              (std::vector<std::string>{"Resolving Host", "Host Resolved", "Connected",
                                        "Requesting", "Request Sent", "Receiving Response",
                                        "Response Completed", "Disconnecting", "Disconnected"}));
    updater_.Internet().removeListener(&log);
}

TEST_F(UpdateServer, FollowsTheFtpDialogueThroughItsCorners) {
    using namespace test;
    const std::string login = "USER anonymous\r\n";
    struct Case {
        const char* name;
        std::vector<ScriptStep> greeting; // up to USER
        bool epsv;                        // else PASV, naming another host
        std::vector<ScriptStep> data;
        std::vector<ScriptStep> retr; // after RETR, up to QUIT
        std::string shown, file;
    } cases[] = {
        {"multi-line replies, split",
         {Say("220-Welcome\r\n220-"), Pause(50), Say("mirror\r\n220 ready\r\n")},
         true,
         {Say("payload"), Drop()},
         {Say("150 Opening\r\n"), Pause(50), Say("226-Done\r\n226 Bye\r\n")},
         "Downloaded 0 kb (100%)",
         "payload"},
        {"no such file",
         {Say("220 ready\r\n")},
         true,
         {Silence()},
         {Say("550 f.bin: No such file or directory\r\n")},
         "Error - File not found on server.",
         ""},
        {"passive reply naming another host",
         {Say("220 ready\r\n")},
         false,
         {Say("payload"), Drop()},
         {Say("150 Opening\r\n226 Done\r\n")},
         "Downloaded 0 kb (100%)",
         "payload"},
        {"data connection closed early",
         {Say("220 ready\r\n")},
         true,
         {Say("pay"), Drop()},
         {Say("150 Opening\r\n"), Pause(50), Say("426 Connection closed; transfer aborted\r\n")},
         "Error - Downloaded file is incomplete. Please retry",
         ""},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.name);
        FakeServer data(c.data);
        const std::string port = std::to_string(data.port());
        std::vector<ScriptStep> script = c.greeting;
        for (ScriptStep step :
             {Expect(login), Say("331 Guest login ok\r\n"), Expect("PASS corva@\r\n"),
              Say("230 Logged in\r\n"), Expect("TYPE I\r\n"), Say("200 Binary\r\n"),
              Expect("CWD pub\r\n"), Say("250 ok\r\n"), Expect("SIZE f.bin\r\n"), Say("213 7\r\n"),
              Expect("EPSV\r\n")})
            script.push_back(step);
        if (c.epsv) {
            script.push_back(Say("229 Extended Passive Mode (|||" + port + "|)\r\n"));
        } else {
            script.push_back(Say("500 EPSV not understood\r\n"));
            script.push_back(Expect("PASV\r\n"));
            // Another loopback address: a client that followed it would find
            // nobody there, and the test never leaves the machine.
            script.push_back(Say("227 Passive (127,9,8,7," + std::to_string(data.port() / 256) +
                                 "," + std::to_string(data.port() % 256) + ")\r\n"));
        }
        script.push_back(Expect("RETR f.bin\r\n"));
        script.insert(script.end(), c.retr.begin(), c.retr.end());
        script.push_back(Expect("QUIT\r\n"));
        script.push_back(Say("221 Bye\r\n"));
        FakeServer control(script);
        EraseFile(view_.target);
        EXPECT_EQ(updater_.DownloadFile("ftp://" + control.address() + "/pub/f.bin", view_.target),
                  !c.file.empty());
        EXPECT_EQ(updater_.LastStatus(), c.shown);
        EXPECT_EQ(FileExists(view_.target) ? LoadTextFile(view_.target) : "", c.file);
        // The client has the goodbye only once the server read its QUIT.
        EXPECT_TRUE(EndsWith(control.received(), "QUIT\r\n"));
        EXPECT_EQ(control.problems(), "");
    }

    // A manual proxy is a web proxy: the address goes to it as a GET.
    FakeServer proxy({Expect("GET ftp://ftp.example.org/pub/f.bin HTTP/1.0\r\n"
                             "Host: ftp.example.org\r\n\r\n"),
                      Say("HTTP/1.0 200 OK\r\nContent-Length: 7\r\n\r\npay"), Pause(50),
                      Say("load"), Drop()});
    sset("ProxyType", 2);
    sset("ProxyServer", "127.0.0.1");
    sset("ProxyPort", std::to_string(proxy.port()));
    EXPECT_TRUE(updater_.DownloadFile("ftp.example.org/pub/f.bin", view_.target));
    EXPECT_EQ(LoadTextFile(view_.target), "payload");
    EXPECT_EQ(proxy.problems(), "");
}

} // namespace
} // namespace corva
