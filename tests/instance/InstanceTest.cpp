// The hand-over between a second start and the running copy, over a scripted
// channel and a timer the test ticks, and the mail links it carries.
#include "instance/InstanceCheck.h"
#include "instance/MailLink.h"
#include "instance/frmRunner.h"
#include "instance/modRunnerMail.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <functional>

namespace corva {
namespace {

struct LinkCase {
    const char* text;
    const char* to;
    const char* cc;
    const char* bcc;
    const char* subject;
    const char* body;
};

TEST(MailLink, ReadsRfc6068Links) {
    const LinkCase cases[] = {
        {"mailto:a@b.test?subject=Hi", "a@b.test", "", "", "Hi", ""},
        {"/mailto: a@b.test ", "a@b.test", "", "", "", ""},
        {"MAILTO:a%40b.test,c@d.test?Subject=caf%C3%A9+x&cc=e@f.test&body=one%0Atwo%0D%0Athree",
         "a@b.test;c@d.test", "e@f.test", "", "caf\xC3\xA9+x", "one\r\ntwo\r\nthree"},
        {"mailto:?to=a@b.test&to=c@d.test&bcc=z@y.test&in-reply-to=%3Cx%3E&subject=1&subject=2",
         "a@b.test;c@d.test", "", "z@y.test", "1", ""},
        // A line end in the subject would add a header of its own to the mail.
        {"mailto:a@b.test?subject=Hi%0D%0ABcc:%20evil@x.test", "a@b.test", "", "",
         "Hi  Bcc: evil@x.test", ""},
        {"mailto:a@b.test?subject=100%&body=%zz%4", "a@b.test", "", "", "100%", "%zz%4"},
        {"mailto:", "", "", "", "", ""},
    };
    for (const LinkCase& c : cases) {
        SCOPED_TRACE(c.text);
        std::optional<MailLink> link = ParseMailLink(c.text);
        ASSERT_TRUE(link);
        EXPECT_EQ(link->to, c.to);
        EXPECT_EQ(link->cc, c.cc);
        EXPECT_EQ(link->bcc, c.bcc);
        EXPECT_EQ(link->subject, c.subject);
        EXPECT_EQ(link->body, c.body);
    }
    EXPECT_FALSE(ParseMailLink("/home/ann/Mail/Hi.eml"));
}

TEST(InstanceCheck, HandOverTextAndChannelName) {
    EXPECT_EQ(HandOverText("", "/w"), "SHOW");
    EXPECT_EQ(HandOverText("   ", "/w"), "SHOW");
    EXPECT_EQ(HandOverText("\"Mail/Re Hi.EML\"", "/home/ann"), "/home/ann/Mail/Re Hi.EML");
    EXPECT_EQ(HandOverText("/abs/X.eml", "/home/ann"), "/abs/X.eml");
    EXPECT_EQ(HandOverText("mailto:a@b.test", "/home/ann"), "mailto:a@b.test");

    const std::string name = RunnerChannelName("ann", "/home/ann/corva/");
    EXPECT_EQ(name, RunnerChannelName("ann", "/home/ann/corva"));
    EXPECT_NE(name, RunnerChannelName("bob", "/home/ann/corva/"));
    EXPECT_NE(name, RunnerChannelName("ann", "/home/ann/corva2/"));
    EXPECT_EQ(RunnerChannelName("../x y", "/f").find_first_of("/ ."), std::string::npos);
}

// A channel whose peers the test plays, and a timer it ticks.
class ScriptedChannel : public platform::LocalChannel {
public:
    void setListener(platform::LocalChannelListener* l) override { listener = l; }
    bool listen(const std::string& name) override {
        listening = name;
        return true;
    }
    void reply(int peer, const std::string& data) override { replies.push_back({peer, data}); }
    bool served(const std::string&) override { return false; }
    platform::HandOverResult handOver(const std::string&, const std::string& data, int) override {
        if (record) *record = data;
        return answer;
    }
    platform::LocalChannelListener* listener = nullptr;
    std::string listening;
    std::vector<std::pair<int, std::string>> replies;
    // Where the hand-over is also kept, for a channel its caller destroys.
    std::string* record = nullptr;
    platform::HandOverResult answer;
};

class TickedTimer : public platform::Timer {
public:
    void setCallback(std::function<void()> tick) override { tick_ = std::move(tick); }
    void setInterval(int) override {}
    int interval() const override { return 100; }
    void setEnabled(bool on) override { on_ = on; }
    bool enabled() const override { return on_; }
    // One tick, if the timer runs; false when it is off.
    bool tick() {
        if (!on_) return false;
        tick_();
        return true;
    }

private:
    std::function<void()> tick_;
    bool on_ = false;
};

class ScriptedPlatform : public platform::Platform {
public:
    std::unique_ptr<platform::LocalChannel> createLocalChannel() override {
        auto made = std::make_unique<ScriptedChannel>();
        made->answer = answer;
        made->record = &handedOver;
        channel = made.get();
        return made;
    }
    std::unique_ptr<platform::Timer> createTimer() override {
        auto made = std::make_unique<TickedTimer>();
        timer = made.get();
        return made;
    }
    ScriptedChannel* channel = nullptr;
    TickedTimer* timer = nullptr;
    std::string handedOver;
    // What a hand-over over the next channel made comes to.
    platform::HandOverResult answer;
};

class RecordingEvents : public RunnerEvents {
public:
    void Runner_ShowMail(const std::string& text) override {
        acted.push_back(text);
        if (during) std::exchange(during, nullptr)();
    }
    void Runner_ShowWindow() override { acted.push_back("(window)"); }
    std::vector<std::string> acted;
    // Runs inside the next event, as a text arriving while the copy is busy.
    std::function<void()> during;
};

class RunnerTest : public ::testing::Test {
protected:
    void SetUp() override { home.makeProgramFolder(); }
    void send(int peer, const std::string& bytes) {
        platform.channel->listener->channelData(peer, bytes);
    }
    void tickAll() {
        while (platform.timer->tick()) {
        }
    }
    test::TempDir home;
    ScriptedPlatform platform;
    platform::ScopedPlatform installed{platform};
    RecordingEvents events;
    frmRunner runner{events};
};

TEST_F(RunnerTest, HeldUntilStartedThenActsInTurn) {
    ASSERT_TRUE(runner.Listen("corva-ann-1"));
    EXPECT_EQ(platform.channel->listening, "corva-ann-1");
    send(1, std::string("mail"));
    send(1, std::string("to:a@b.test ", 12) + '\0');
    send(2, std::string("", 0) + '\0');
    EXPECT_FALSE(platform.timer->tick());
    EXPECT_TRUE(events.acted.empty());
    runner.Hold(false);
    tickAll();
    EXPECT_EQ(events.acted, (std::vector<std::string>{"mailto:a@b.test", "(window)"}));
    EXPECT_EQ(platform.channel->replies,
              (std::vector<std::pair<int, std::string>>{{1, "BUSY\n"}, {2, "BUSY\n"}}));
    EXPECT_EQ(runner.txtRunner(), "RUNNER");
}

TEST_F(RunnerTest, TextsArrivingWhileBusyWaitTheirTurn) {
    runner.Hold(false);
    send(1, std::string(" SHOW ") + '\0');
    send(2, std::string("/home/ann/A.eml") + '\0');
    // Arrives while the second is being opened.
    events.during = [&] {
        EXPECT_EQ(runner.txtRunner(), "/home/ann/A.eml");
        send(3, std::string("mailto:c@d.test") + '\0');
        EXPECT_EQ(events.acted.size(), 2u);
    };
    tickAll();
    EXPECT_EQ(events.acted,
              (std::vector<std::string>{"(window)", "/home/ann/A.eml", "mailto:c@d.test"}));
    EXPECT_EQ(platform.channel->replies, (std::vector<std::pair<int, std::string>>{
                                             {1, "RUNNER\n"}, {2, "BUSY\n"}, {3, "BUSY\n"}}));
}

TEST_F(RunnerTest, CutOffAndOversizedTextsAreNotActedOn) {
    runner.Hold(false);
    send(1, "/home/ann/Half");
    platform.channel->listener->channelClosed(1);
    send(2, std::string(RunnerWire::MaxText + 1, 'x'));
    send(2, std::string(1, '\0'));
    send(3, std::string("SHOW") + '\0' + "mailto:extra" + '\0');
    tickAll();
    EXPECT_EQ(events.acted, (std::vector<std::string>{"(window)"}));
    EXPECT_EQ(platform.channel->replies,
              (std::vector<std::pair<int, std::string>>{{2, "REFUSED\n"}, {3, "RUNNER\n"}}));
}

TEST(InstanceCheck, ReadsTheRunningCopysAnswer) {
    struct Case {
        platform::HandOverResult answer;
        bool end, busy;
        size_t logLines;
    };
    const Case cases[] = {
        {{false, "", ""}, false, false, 0},            // nobody runs: start normally
        {{true, "RUNNER", ""}, true, false, 0},        // taken at once
        {{true, "", ""}, true, true, 0},               // written, no answer in time
        {{true, "BUSY", ""}, true, true, 0},           // taken behind others
        {{true, "REFUSED", ""}, false, false, 2},      // served, but not taken
        {{false, "", "Broken pipe"}, false, false, 2}, // served, write failed
    };
    for (const Case& c : cases) {
        ScriptedPlatform own;
        own.answer = c.answer;
        platform::ScopedPlatform scope(own);
        const InstanceCheckResult result = InstanceCheck("", "corva-ann-1", "/home/ann");
        EXPECT_EQ(own.handedOver, std::string("SHOW") + '\0');
        EXPECT_EQ(result.endProcess, c.end);
        EXPECT_EQ(result.busy, c.busy);
        EXPECT_EQ(result.log.size(), c.logLines);
    }
}

class RecordingMailView : public RunnerMailView {
public:
    bool MailerLoaded() const override { return mailerLoaded; }
    void ShowMailer() override { calls.push_back("mailer"); }
    bool MainVisible() const override { return mainVisible; }
    void BringMainForward() override { calls.push_back("forward"); }
    void ShowMain() override { calls.push_back("show"); }
    void OpenComposer(const MailLink& link) override {
        calls.push_back("compose " + link.to + " | " + link.subject);
    }
    void OpenMessageFile(const std::string& path) override { calls.push_back("read " + path); }
    bool mailerLoaded = false;
    bool mainVisible = false;
    std::vector<std::string> calls;
};

TEST_F(RunnerTest, ShowsWindowsOpensLinksAndFilesKeepingTheirCase) {
    const std::string file = home.file("Mail/Re Hi.EML");
    test::writeFile(file, "Subject: Hi\r\n\r\nbody\r\n");
    RecordingMailView view;
    Runner_ShowWindow(view);
    view.mainVisible = true;
    Runner_ShowWindow(view);
    view.mailerLoaded = true;
    Runner_ShowWindow(view);
    Runner_ShowMail("/mailto:a@b.test?subject=Hi", view);
    Runner_ShowMail("\"" + file + "\"", view);
    Runner_ShowMail(home.file("Mail/missing.eml"), view);
    Runner_ShowMail("--frobnicate", view);
    EXPECT_EQ(view.calls, (std::vector<std::string>{"show", "forward", "mailer",
                                                    "compose a@b.test | Hi", "read " + file}));
}

} // namespace
} // namespace corva
