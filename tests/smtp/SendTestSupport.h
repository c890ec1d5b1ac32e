// What the sending tests share: a program folder with its mail folders and
// settings for a few accounts, message builders, and an upload run to the end.
#pragma once

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "message/clsMessage.h"
#include "platform/Platform.h"
#include "smtp/frmSendMail.h"
#include "smtp/frmSendMailWrapper.h"
#include "support/EmlFiles.h"
#include "support/FakeServer.h"
#include "support/TempDir.h"
#include "support/TestCertificates.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace corva::test {

// The text with each placeholder replaced, so that a wire layout reads as one block.
inline std::string filled(std::string text,
                          std::initializer_list<std::pair<std::string, std::string>> values) {
    for (const auto& [name, value] : values) text = Replace(text, name, value);
    return text;
}

// Records the engine's events in order.
struct EngineEvents : SendMailListener {
    std::vector<std::string> status;
    std::vector<std::string> failures;
    void Status(const std::string& text) override { status.push_back(text); }
    void SendFailed(const std::string& text) override { failures.push_back(text); }
    bool said(const std::string& text) const {
        return std::find(status.begin(), status.end(), text) != status.end();
    }
};

// Records the wrapper's events in order.
struct UploadEvents : SendMailWrapperListener {
    std::vector<std::string> progress;
    std::vector<std::string> failed;
    int noMail = 0;
    int finished = 0;
    void Progress(const std::string& text) override { progress.push_back(text); }
    void Failed(const std::string& text) override { failed.push_back(text); }
    void NoMailToSend() override { ++noMail; }
    void SendingFinished() override { ++finished; }
    bool said(const std::string& text) const {
        return std::find(progress.begin(), progress.end(), text) != progress.end();
    }
};

// A fresh program folder with Outbox and Sent Items, and short time-outs.
class SendFixture : public ::testing::Test {
protected:
    void SetUp() override {
        home_.makeProgramFolder();
        UseDefaultFolders(home_.path());
        Settings().DeleteAllSettings();
        MkMissingDir(outbox());
        MkMissingDir(sentItems());
        sset("MailTimeout", 2);
        sset("ConnectRetry", 1);
    }
    void TearDown() override { Settings().DeleteAllSettings(); }

    std::string outbox() const { return MessageFolder + "Outbox/"; }
    std::string sentItems() const { return MessageFolder + "Sent Items/"; }

    // An account whose mail goes to 127.0.0.1 on the port.
    static void setAccount(int account, int port, const std::string& address,
                           const std::string& name = "") {
        std::string n = std::to_string(account);
        sset("SMTP" + n, "127.0.0.1");
        sset("SMTPPort" + n, port);
        sset("ReplyAddress" + n, address);
        sset("DisplayName" + n, name);
    }

    // The account logs in with this name and password.
    static void setLogin(int account, const std::string& user, const std::string& password) {
        std::string n = std::to_string(account);
        sset("SMTPAuth" + n, true);
        sset("SMTPUname" + n, user);
        sset("SMTPPwd" + n, password);
    }

    static clsMessage composed(int account, const std::string& to, const std::string& subject,
                               const std::string& body, const std::string& cc = "") {
        clsMessage m;
        m.CC = cc;
        m.FromAccount = static_cast<int16_t>(account);
        m.To_Email = to;
        m.Subject = subject;
        m.MessageBody = body;
        return m;
    }

    static std::vector<std::string> filesIn(const std::string& folder) {
        return emlFilesIn(folder);
    }

    // Runs an upload to its end (or the time limit); true when it ended.
    bool upload(frmSendMailWrapper& wrapper, int ms = 20000) {
        wrapper.UploadSpooledMail();
        return platform::current().eventLoop().runUntil([&] { return !wrapper.Uploading(); }, ms);
    }

    TempDir home_;
};

using Steps = std::vector<ScriptStep>;

inline Steps operator+(Steps a, const Steps& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// The engine logging in to a scripted server as ann/secret.
class LoginTest : public SendFixture {
protected:
    // Connects over the security given (0 none, 1 TLS, 2 STARTTLS) and hangs up
    // again; true when the login went through. What the script found wrong is
    // left in problems.
    bool connectAndQuit(const Steps& steps, int security = 0,
                        const ServerCertificate* certificate = nullptr, int expectMs = 5000) {
        FakeServer fake(steps);
        fake.setExpectTimeout(expectMs);
        if (security) {
            if (!certificate) certificate = &TestCertificates::get().good;
            fake.useCertificate(certificate->chain, certificate->key);
        }
        setAccount(0, fake.port(), "ann@example.com");
        sset("SMTPSECURITY0", security);
        events = EngineEvents();
        frmSendMail mail;
        mail.setListener(&events);
        mail.Initialise(0);
        mail.setSMTPHost("127.0.0.1");
        mail.setUseAuthentication(true);
        mail.setUsername("ann");
        mail.setPassword("secret");
        bool ok = mail.Connect();
        mail.Disconnect();
        fake.waitClosed(3000);
        fake.stop();
        problems = fake.problems();
        return ok;
    }
    EngineEvents events;
    std::string problems;
};

} // namespace corva::test
