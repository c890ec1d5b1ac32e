// fetch, scan --delete and send as a user runs them against real secure
// servers: each works, and each fails with its reason on a wrong password or
// on a certificate that can't be verified, until corva trust trusts it.
#include "AppRunner.h"
#include "core/Strings.h"
#include "support/DovecotServer.h"
#include "support/EximServer.h"
#include "support/SmtpServer.h"
#include "support/TempDir.h"
#include "support/TestCertificates.h"

#include <gtest/gtest.h>

#include <atomic>
#include <iterator>
#include <map>
#include <memory>
#include <thread>
#include <vector>

namespace corva::test {
namespace {

enum class Server { PopImplicit, PopStls, SmtpImplicit, SmtpStartTls, Exim };
enum class Cert { Good, SelfSigned, Expired, WrongHost };

const ServerCertificate& certificate(Cert c) {
    const TestCertificates& all = TestCertificates::get();
    switch (c) {
    case Cert::SelfSigned:
        return all.selfSigned;
    case Cert::Expired:
        return all.expired;
    case Cert::WrongHost:
        return all.wrongHost;
    default:
        return all.good;
    }
}

// Every server a row needs, started at its first use and kept for the suite.
struct Fixtures {
    std::map<Cert, std::unique_ptr<DovecotServer>> dovecot;
    std::map<std::pair<bool, Cert>, std::unique_ptr<SmtpServer>> aiosmtpd;
    std::map<Cert, std::unique_ptr<EximServer>> exim;

    // The port of the server, 0 when it could not start. A POP3 row has a
    // mailbox of its own (user), so rows on one server can run side by side.
    int port(Server s, Cert c, const std::string& user) {
        const ServerCertificate& cert = certificate(c);
        switch (s) {
        case Server::PopImplicit:
        case Server::PopStls: {
            auto& d = dovecot[c];
            if (!d) d = std::make_unique<DovecotServer>(cert.chain, cert.key);
            d->addUser(user, "secret");
            d->addMessage(user, "From: Bob <bob@example.org>\r\nSubject: Hello\r\n\r\nHi.\r\n");
            return s == Server::PopImplicit ? d->securePort() : d->port();
        }
        case Server::SmtpImplicit:
        case Server::SmtpStartTls: {
            const bool implicit = s == Server::SmtpImplicit;
            auto& a = aiosmtpd[{implicit, c}];
            if (!a)
                a = std::make_unique<SmtpServer>(
                    "ann", "secret", implicit ? "implicit" : "starttls", cert.chain, cert.key);
            return a->port();
        }
        case Server::Exim: {
            auto& e = exim[c];
            if (!e) e = std::make_unique<EximServer>("ann", "secret", cert.chain, cert.key);
            return e->running() ? e->port() : 0;
        }
        }
        return 0;
    }
};

class SecureCommands : public ::testing::Test {
protected:
    static void SetUpTestSuite() { fixtures_ = new Fixtures; }
    static void TearDownTestSuite() {
        delete fixtures_;
        fixtures_ = nullptr;
    }
    Outcome run(const TempDir& home, std::vector<std::string> args, const std::string& input = "") {
        args.insert(args.begin(), {"--home", home.path()});
        return corva(args, {}, input);
    }
    void runRow(Cert cert, const char* failure, bool pop, int security, int port,
                const std::string& user, const char* password);
    static Fixtures* fixtures_;
};
Fixtures* SecureCommands::fixtures_ = nullptr;

// One row: the commands as a user runs them, failing as expected and, for a
// certificate that fails, passing once trusted.
void SecureCommands::runRow(Cert cert, const char* failure, bool pop, int security, int port,
                            const std::string& user, const char* password) {
    TempDir home;
    const std::string at = "localhost:" + Str(port);
    writeFile(home.file("Corva.ini"),
              "MAILTIMEOUT,10\r\nCONNECTRETRY,1\r\nTITLE0,Work\r\nUNAME0," + user +
                  "\r\nREPLYADDRESS0,ann@example.org\r\n" +
                  (pop ? "SERVER0," + at + "\r\nPWD0," + password + "\r\nPOPSECURITY0," +
                             Str(security) + "\r\n"
                       : "SERVER0,\r\nSMTP0," + at + "\r\nSMTPSECURITY0," + Str(security) +
                             "\r\nSMTPAUTH0,TRUE\r\nSMTPUNAME0,ann\r\nSMTPPWD0," + password +
                             "\r\n"));
    // What each server's commands are, and what tells that they worked.
    auto attempt = [&](bool expectOk) {
        if (pop) {
            for (std::vector<std::string> args : {std::vector<std::string>{"scan", "--delete"},
                                                  std::vector<std::string>{"fetch"}}) {
                Outcome o = run(home, args);
                EXPECT_EQ(o.status, expectOk ? 0 : 1) << args[0] << ": " << o.out << o.err;
                if (!expectOk) {
                    EXPECT_NE((o.out + o.err).find(failure), std::string::npos)
                        << args[0] << ": " << o.out << o.err;
                    // A refusal's lines stay apart.
                    if (cert != Cert::Good) {
                        EXPECT_NE(o.out.find("accepted.\n   Subject: "), std::string::npos)
                            << o.out;
                    }
                }
            }
            return;
        }
        Outcome composed = run(home,
                               {"compose", "--account", "0", "--to", "bob@example.net", "--subject",
                                "Secure", "--body-file", "-"},
                               "Hello.\n");
        ASSERT_EQ(composed.status, 0) << composed.err;
        Outcome sent = run(home, {"send"});
        EXPECT_EQ(sent.status, expectOk ? 0 : 1) << sent.out << sent.err;
        EXPECT_NE(sent.out.find(expectOk ? " sent, 0 left" : "left in Outbox"), std::string::npos)
            << sent.out;
        if (!expectOk) {
            EXPECT_NE((sent.out + sent.err).find(failure), std::string::npos)
                << sent.out << sent.err;
        }
    };
    attempt(*failure == '\0');
    if (cert == Cert::Good) return;
    // Commands never trust by themselves, but say how; trust makes it pass.
    Outcome trust = run(home, {"trust", "--account", "0"});
    ASSERT_EQ(trust.status, 0) << trust.out << trust.err;
    EXPECT_NE(trust.out.find("Trusted from now on"), std::string::npos) << trust.out;
    attempt(true);
}

TEST_F(SecureCommands, WorkFailWithTheReasonAndPassOnceTrusted) {
    if (!DovecotServer::available() || !EximServer::available())
        GTEST_SKIP() << "Dovecot or Exim is not installed";
    ASSERT_TRUE(TestCertificates::get().ok());
    const struct {
        Server server;
        Cert cert;
        const char* password;
        const char* failure; // "" when the commands work
    } rows[] = {
        {Server::PopImplicit, Cert::Good, "secret", ""},
        {Server::PopStls, Cert::Good, "secret", ""},
        {Server::SmtpImplicit, Cert::Good, "secret", ""},
        {Server::SmtpStartTls, Cert::Good, "secret", ""},
        {Server::Exim, Cert::Good, "secret", ""},
        {Server::PopImplicit, Cert::Good, "wrong", "Authentication failed"},
        {Server::PopStls, Cert::Good, "wrong", "Authentication failed"},
        {Server::SmtpImplicit, Cert::Good, "wrong", "Login refused: 5.7.8 Authentication"},
        {Server::SmtpStartTls, Cert::Good, "wrong", "Login refused: 5.7.8 Authentication"},
        {Server::Exim, Cert::Good, "wrong", "Login refused: Incorrect authentication data"},
        {Server::PopImplicit, Cert::SelfSigned, "secret", "self-signed"},
        {Server::PopStls, Cert::Expired, "secret", "expired"},
        {Server::PopImplicit, Cert::WrongHost, "secret", "host name did not match"},
        {Server::SmtpImplicit, Cert::SelfSigned, "secret", "self-signed"},
        {Server::SmtpStartTls, Cert::Expired, "secret", "expired"},
        {Server::Exim, Cert::SelfSigned, "secret", "self-signed"},
        {Server::Exim, Cert::Expired, "secret", "expired"},
        {Server::Exim, Cert::WrongHost, "secret", "host name did not match"},
    };
    // Each row is a user's few commands, mostly waiting on a server or a
    // timer: a few rows at a time keep the machine busy instead.
    const size_t count = std::size(rows);
    std::vector<int> ports(count);
    for (size_t i = 0; i < count; ++i)
        ports[i] = fixtures_->port(rows[i].server, rows[i].cert, "ann" + Str(i));
    std::atomic<size_t> next{0};
    auto work = [&] {
        for (size_t i; (i = next++) < count;) {
            const auto& row = rows[i];
            const int port = ports[i];
            const std::string user = "ann" + Str(i);
            const bool pop = row.server == Server::PopImplicit || row.server == Server::PopStls;
            const int security =
                row.server == Server::PopImplicit || row.server == Server::SmtpImplicit ? 1 : 2;
            SCOPED_TRACE(std::string(pop ? "POP3 " : "SMTP ") + Str(security) + " port " +
                         Str(port) + " password " + row.password + " expecting '" + row.failure +
                         "'");
            if (port == 0) {
                ADD_FAILURE() << "the server did not start";
                continue;
            }
            runRow(row.cert, row.failure, pop, security, port, user, row.password);
        }
    };
    std::vector<std::thread> workers;
    for (int n = 0; n < 3; ++n) workers.emplace_back(work);
    for (std::thread& w : workers) w.join();
}

// With no keyring service running (as here), asking for the keyring says so
// and the password stays in Corva.ini, so the account keeps working.
TEST_F(SecureCommands, KeyringWithoutAServiceKeepsThePasswordInTheFile) {
    TempDir home;
    writeFile(home.file("Corva.ini"), "TITLE0,Work\r\nSERVER0,pop.example.org\r\nUNAME0,ann\r\n"
                                      "PWD0,secret\r\nREPLYADDRESS0,ann@example.org\r\n");
    Outcome o = corva({"--home", home.path(), "account", "set", "0", "--keyring", "1"},
                      {"DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent"});
    EXPECT_EQ(o.status, 1) << o.out << o.err;
    EXPECT_NE(o.err.find("the passwords stay in Corva.ini"), std::string::npos) << o.err;
    const std::string ini = readFile(home.file("Corva.ini"));
    EXPECT_NE(ini.find("PWD0,secret"), std::string::npos) << ini;
    EXPECT_EQ(ini.find("KEYRING0"), std::string::npos) << ini;
}

} // namespace
} // namespace corva::test
