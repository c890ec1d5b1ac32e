// What the POP3 tests share: a program folder with empty settings, prompts
// that answer as told, a listener that writes every event down, and a wait
// for the session to go idle.
#pragma once

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/mSHAREDSettings.h"
#include "message/MessageCheck.h"
#include "message/clsMessage.h"
#include "platform/qt/QtPlatform.h"
#include "pop3/frmGetMail.h"
#include "support/FakeServer.h"
#include "support/LastActions.h"
#include "support/RecordingPlatform.h"
#include "support/TempDir.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace corva::test {

using ScriptedPrompts = RecordingPrompts;

struct Header {
    long number;
    float size;
    std::string from;
    std::string subject;
};

// Every event as one line ("Finished", "Progress: ..."), and the messages handed over.
class EventLog : public frmGetMailEvents {
public:
    void HeaderReceived(clsMessage& m) override {
        add("HeaderReceived");
        headers.push_back({m.MessageNumThisAcc, m.Size, m.From, m.Subject});
    }
    void MessageReceived(clsMessage& m) override {
        add("MessageReceived");
        messages.push_back(m);
        if (onMessage) onMessage(m);
    }
    void SpecificMessage(clsMessage& m) override {
        add("SpecificMessage");
        messages.push_back(m);
    }
    void Progress(const std::string& t) override {
        add("Progress: " + t);
        progress.push_back(t);
    }
    void POPError(const std::string& t) override { add("POPError: " + t); }
    void DoingServer(const std::string& t) override { add("DoingServer: " + t); }
    void TimedOut(int s) override { add("TimedOut: " + std::to_string(s)); }
    void Finished() override {
        add("Finished");
        ++finished;
        if (onFinished) onFinished();
    }
    void Cancelled() override { add("Cancelled"); }
    void NoMailServer() override {
        add("NoMailServer");
        ++finished; // nothing more will come: the wait may end
    }
    void DeletedSpam(int n) override {
        add("DeletedSpam: " + std::to_string(n));
        if (onDeleted) onDeleted();
    }
    void DeletionsUnconfirmed(const std::string& t, int counted) override {
        add("DeletionsUnconfirmed: " + std::to_string(counted));
        unconfirmed.push_back(t);
    }
    void NoMail(const std::string& t) override { add("NoMail: " + t); }
    void NoConnection() override { add("NoConnection"); }

    // The events without the Progress lines, which tests check on their own.
    std::vector<std::string> outline() const {
        std::vector<std::string> out;
        for (const auto& e : events)
            if (e.rfind("Progress: ", 0) != 0) out.push_back(e);
        return out;
    }
    bool saw(const std::string& event) const {
        return std::find(events.begin(), events.end(), event) != events.end();
    }
    bool said(const std::string& line) const {
        return std::find(progress.begin(), progress.end(), line) != progress.end();
    }

    std::vector<std::string> events;
    std::vector<std::string> progress;
    std::vector<Header> headers;
    std::vector<clsMessage> messages;
    std::vector<std::string> unconfirmed;
    int finished = 0;
    std::function<void()> onFinished;
    std::function<void()> onDeleted;
    std::function<void(clsMessage&)> onMessage;
    void note(std::string e) { add(std::move(e)); }

private:
    void add(std::string e) { events.push_back(std::move(e)); }
};

// A rule check that judges by the subject, so a test's messages say their own verdict.
class SubjectRules : public MessageCheck {
public:
    void CheckMessage(clsMessage& msg, bool CheckBayes) override {
        calls.push_back(msg.Subject + (CheckBayes ? " +bayes" : ""));
        if (msg.Subject.find("[delete]") != std::string::npos) {
            msg.Deleted = true;
            msg.FilterReason = "rule says delete";
        }
        if (msg.Subject.find("[ignore]") != std::string::npos) msg.Ignored = true;
        if (msg.Subject.find("[folder]") != std::string::npos) msg.DestFolder = "Lists";
    }
    std::vector<std::string> calls;
};

// A program folder with empty settings and the platform's prompts scripted.
class Pop3Test : public ::testing::Test {
protected:
    void SetUp() override {
        home_.makeProgramFolder();
        UseDefaultFolders(home_.path());
        MkMissingDir(MessageFolder);
        Settings().DeleteAllSettings();
        platform_.setPrompts(&prompts);
    }
    void TearDown() override { Settings().DeleteAllSettings(); }

    void account(int n, const std::string& server, const std::string& user,
                 const std::string& password, const std::string& title = "Test") {
        const std::string i = std::to_string(n);
        sset("SERVER" + i, server);
        sset("UNAME" + i, user);
        sset("PWD" + i, password);
        sset("TITLE" + i, title);
    }

    // Runs events until the session has finished `times` times (or the time is up).
    bool waitFinished(EventLog& log, int ms, int times = 1) {
        return platform::current().eventLoop().runUntil([&] { return log.finished >= times; }, ms);
    }

    TempDir home_;
    ScriptedPrompts prompts;
    platform::qt::QtPlatform platform_;
    platform::ScopedPlatform installed_{platform_};
};

// A session of account 0 ("ann", "pw") against a scripted server.
class ScriptedServerTest : public Pop3Test {
protected:
    void SetUp() override {
        Pop3Test::SetUp();
        pop.setListener(&log);
    }
    void start(const std::vector<ScriptStep>& steps) {
        server = std::make_unique<FakeServer>(steps);
        account(0, server->address(), "ann", "pw");
    }
    // Checks that the client kept to the script and closed.
    void expectKeptToScript() {
        EXPECT_TRUE(server->waitClosed(3000));
        EXPECT_EQ(server->problems(), "");
    }

    EventLog log;
    frmGetMail pop;
    std::unique_ptr<FakeServer> server;
};

inline std::string message(const std::string& from, const std::string& subject,
                           const std::string& body = "Hello.\r\n") {
    return "From: " + from + "\r\nSubject: " + subject + "\r\n\r\n" + body;
}

// Pieces of a scripted dialogue of account 0 ("ann", "pw").
using Steps = std::vector<ScriptStep>;
using Outline = std::vector<std::string>;

inline Steps operator+(Steps a, const Steps& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline Steps credentials(const std::string& password = "pw") {
    return {Expect("USER ann\r\n"), Say("+OK\r\n"), Expect("PASS " + password + "\r\n"),
            Say("+OK logged in\r\n")};
}

inline Steps login(const std::string& password = "pw") {
    return Steps{Say("+OK ready\r\n")} + credentials(password);
}

// LIST and STAT for a mailbox of messages of the given sizes.
inline Steps listing(const std::vector<int>& sizes) {
    std::string list = "+OK " + std::to_string(sizes.size()) + " messages\r\n";
    int total = 0;
    for (size_t i = 0; i < sizes.size(); ++i) {
        list += std::to_string(i + 1) + " " + std::to_string(sizes[i]) + "\r\n";
        total += sizes[i];
    }
    return {Expect("LIST\r\n"), Say(list + ".\r\n"), Expect("STAT\r\n"),
            Say("+OK " + std::to_string(sizes.size()) + " " + std::to_string(total) + "\r\n")};
}

inline Steps top(int n, const std::string& text) {
    return {Expect("TOP " + std::to_string(n) + " 1\r\n"), Say("+OK\r\n" + text + ".\r\n")};
}

inline Steps quit() {
    return {Expect("QUIT\r\n"), Say("+OK bye\r\n")};
}

} // namespace corva::test
