// The desktop keyring for real: a private session bus and gnome-keyring's
// Secret Service in a throw-away home. A password goes in, is read, replaced
// and erased through the platform keyring, and corva fetch logs in with an
// account password that only the keyring holds.
#include "AppRunner.h"
#include "platform/Keyring.h"
#include "support/DovecotServer.h"
#include "support/ServerProcess.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace corva::test {
namespace {

constexpr const char* BusDaemon = "/usr/bin/dbus-daemon";
constexpr const char* KeyringDaemon = "/usr/bin/gnome-keyring-daemon";
constexpr const char* BusTool = "/usr/bin/dbus-send";

class KeyringService : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* tool : {BusDaemon, KeyringDaemon, BusTool})
            if (::access(tool, X_OK) != 0)
                GTEST_SKIP() << tool
                             << " is missing: install dbus-daemon, dbus-bin and gnome-keyring";
        const std::string run = root_.file("run/"), home = root_.file("home");
        ::mkdir(run.c_str(), 0700);
        ::mkdir(home.c_str(), 0700);
        // Set here, so that both daemons, corva and this process's keyring find the bus.
        for (const auto& [name, value] :
             {std::pair<const char*, std::string>{"DBUS_SESSION_BUS_ADDRESS",
                                                  "unix:path=" + run + "bus"},
              {"HOME", home},
              {"XDG_RUNTIME_DIR", run}}) {
            const char* before = std::getenv(name);
            saved_.emplace_back(name, before ? std::optional<std::string>(before) : std::nullopt);
            ::setenv(name, value.c_str(), 1);
        }
        bus_ = startServerProcess(
            BusDaemon,
            {"dbus-daemon", "--session", "--nofork", "--address=unix:path=" + run + "bus"},
            root_.file("bus.log"));
        // The password on standard input makes and unlocks the login keyring.
        keyringDaemon_ =
            startServerProcess("/bin/sh",
                               {"sh", "-c",
                                std::string("printf %s test-password | exec ") + KeyringDaemon +
                                    " --foreground --unlock --components=secrets"},
                               root_.file("keyring.log"));
        ASSERT_TRUE(waitForService())
            << readFile(root_.file("bus.log")) << readFile(root_.file("keyring.log"));
    }
    void TearDown() override {
        stopServerProcess(keyringDaemon_);
        stopServerProcess(bus_);
        for (const auto& [name, value] : saved_)
            value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
    }

private:
    static bool waitForService() {
        const std::string ask =
            std::string(BusTool) +
            " --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus "
            "org.freedesktop.DBus.NameHasOwner string:org.freedesktop.secrets 2>/dev/null";
        for (int i = 0; i < 100; ++i) {
            if (FILE* p = ::popen(ask.c_str(), "r")) {
                char buf[512];
                std::string reply;
                while (size_t n = std::fread(buf, 1, sizeof buf, p)) reply.append(buf, n);
                ::pclose(p);
                if (reply.find("boolean true") != std::string::npos) return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }

    TempDir root_;
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
    pid_t bus_ = -1;
    pid_t keyringDaemon_ = -1;
};

TEST_F(KeyringService, KeepsReplacesAndErasesAndFetchLogsInFromIt) {
    platform::Keyring& keyring = platform::keyring();
    const std::string service = "Corva test", key = "PWD0";
    for (const std::string secret : {"first", "Gr\xc3\xbc\xc3\x9f"
                                              " with spaces"}) {
        const platform::KeyringResult stored = keyring.store(service, key, secret);
        ASSERT_TRUE(stored.ok) << stored.error;
        const platform::KeyringResult read = keyring.read(service, key);
        EXPECT_TRUE(read.ok) << read.error;
        EXPECT_EQ(read.secret, secret);
    }
    const platform::KeyringResult erased = keyring.erase(service, key);
    EXPECT_TRUE(erased.ok) << erased.error;
    const platform::KeyringResult gone = keyring.read(service, key);
    EXPECT_FALSE(gone.ok);
    EXPECT_TRUE(gone.notFound) << gone.error;

    if (!DovecotServer::available()) GTEST_SKIP() << "Dovecot is not installed: no fetch";
    DovecotServer dovecot;
    dovecot.addUser("ann", "s3cret");
    dovecot.addMessage("ann", "From: Bob <bob@example.org>\r\nSubject: Kept safe\r\n\r\nHi.\r\n");
    TempDir home;
    writeFile(home.file("Corva.ini"),
              "MAILTIMEOUT,10\r\nTITLE0,Work\r\nSERVER0," + dovecot.address() +
                  "\r\nUNAME0,ann\r\nPWD0,s3cret\r\nREPLYADDRESS0,ann@example.org\r\n");
    const Outcome moved = corva({"--home", home.path(), "account", "set", "0", "--keyring", "1"});
    ASSERT_EQ(moved.status, 0) << moved.out << moved.err;
    const std::string ini = readFile(home.file("Corva.ini"));
    EXPECT_EQ(ini.find("s3cret"), std::string::npos) << ini;
    const Outcome fetched = corva({"--home", home.path(), "fetch"});
    EXPECT_EQ(fetched.status, 0) << fetched.out << fetched.err << dovecot.log();
    EXPECT_NE(fetched.out.find("Kept safe"), std::string::npos) << fetched.out << fetched.err;
}

} // namespace
} // namespace corva::test
