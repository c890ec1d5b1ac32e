// Folder population: the events a view sees, age colours, stopping half-way,
// the cooperative yield, and containers in a folder.
#include "StoreFixture.h"

#include "core/DateTime.h"
#include "core/Globals.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "platform/Platform.h"
#include "store/clsCache.h"
#include "store/clsMailer.h"
#include "store/modQBX.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <thread>

using namespace corva;
using namespace corva::test;
namespace fs = std::filesystem;

namespace {

struct Recorder : MailerListener {
    std::vector<std::string> log;
    std::vector<std::pair<std::string, int32_t>> rows; // subject, colour
    std::function<void(clsMessage&)> onAdd;
    std::function<void()> onCount;
    long unread = -1, mostRecent = -1;
    void ClearMessages() override { log.push_back("clear"); }
    void FolderMessageCount(long n) override {
        log.push_back("count " + std::to_string(n));
        if (onCount) onCount();
    }
    void AddMessage(clsMessage& m, long current, long total) override {
        log.push_back("add " + std::to_string(current) + "/" + std::to_string(total));
        rows.emplace_back(m.Subject, m.Colour);
        if (onAdd) onAdd(m);
    }
    void SomeUnreadMessages() override { log.push_back("some"); }
    void NoUnreadMessages() override { log.push_back("none"); }
    void FinishedAddingMessages(long u, long r) override {
        log.push_back("finished");
        unread = u;
        mostRecent = r;
    }
};

// A mailer that tells the recorder; fill(n) makes unread messages m0, m1 ...
// received yesterday, and the inbox's cache over them.
class MailerTest : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        mailer.setListener(&r);
    }
    void fill(int n) {
        for (int i = 0; i < n; ++i)
            addMessage("Inbox/", "M" + std::to_string(i) + ".EML",
                       dated("m" + std::to_string(i), 1, false));
        cache.fillcache(nullptr, inbox(), "Inbox");
    }
    clsCache cache;
    clsMailer mailer;
    Recorder r;
};

// An event loop whose yield runs a hook, to stand for a click arriving mid-population.
class HookedLoop : public platform::EventLoop {
public:
    std::function<void()> hook;
    int yields = 0;
    void yield() override {
        ++yields;
        if (hook) hook();
    }
    void sleepMs(int ms) override { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }
    bool runUntil(const std::function<bool()>& done, int) override { return done(); }
};

// A clock that moves only when the test says, so a slow message costs no time.
class StoppedClock : public platform::Clock {
public:
    std::chrono::system_clock::time_point at = std::chrono::system_clock::now();
    std::chrono::system_clock::time_point now() const override { return at; }
    int standardBiasMinutes() const override { return 0; }
};

class HookedPlatform : public platform::Platform {
public:
    HookedLoop loop;
    StoppedClock time;
    platform::EventLoop& eventLoop() override { return loop; }
    platform::Clock& clock() override { return time; }
};

} // namespace

TEST_F(MailerTest, UnreadOnlyInAFolderOfReadMailShowsNothingAndSaysSo) {
    addMessage("Inbox/", "A.EML", dated("a", 2, true));
    addMessage("Inbox/", "B.EML", dated("b", 3, true));
    cache.fillcache(nullptr, inbox(), "Inbox");
    mailer.PopulateFromCache(cache, true);
    EXPECT_EQ(r.log, (std::vector<std::string>{"clear", "count 2", "none", "finished"}));
    EXPECT_EQ(r.unread, 0);
    EXPECT_EQ(r.mostRecent, 0);
    EXPECT_FALSE(mailer.Busy());
}

TEST_F(MailerTest, ListColoursFollowTheAgeOfEachMessage) {
    addMessage("Inbox/", "A0.EML", dated("age0", 30, true));
    addMessage("Inbox/", "A01.EML", dated("past0", 31, true));
    addMessage("Inbox/", "A1.EML", dated("age1", 14, false));
    addMessage("Inbox/", "A2.EML", dated("age2", 1, false));
    addMessage("Inbox/", "NEW.EML", dated("today", 0, true));
    MessageSpec bad = dated("bad date", 0, false);
    bad.receiveDate = "whenever";
    addMessage("Inbox/", "BAD.EML", bad);

    ResetLastActions();
    mailer.PopulateMessageList(inbox(), false);
    std::map<std::string, int32_t> colour(r.rows.begin(), r.rows.end());
    EXPECT_EQ(colour["age0"], AgeColourOlder) << "exactly Age0 days is not yet before it";
    EXPECT_EQ(colour["past0"], AgeColourOldest);
    EXPECT_EQ(colour["age1"], AgeColourOlder);
    EXPECT_EQ(colour["age2"], AgeColourRecent);
    EXPECT_EQ(colour["today"], AgeColourNew);
    // The unparsable date is logged and the message still listed.
    EXPECT_EQ(colour.count("bad date"), 1u);
    EXPECT_TRUE(lastActionsHold("in addmessage"));
    EXPECT_EQ(r.unread, 3);
    EXPECT_EQ(r.mostRecent, today() - 1);
    EXPECT_EQ(std::count(r.log.begin(), r.log.end(), "some"), 1);
}

TEST_F(MailerTest, StoppingEndsAPopulationWithoutItsFinish) {
    fill(5);

    r.onCount = [&] { mailer.StopPopulating(); };
    mailer.PopulateFromCache(cache, false);
    EXPECT_EQ(r.log, (std::vector<std::string>{"clear", "count 5"}));
    EXPECT_FALSE(mailer.Busy());

    r.log.clear();
    r.onCount = nullptr;
    bool busyInside = false;
    r.onAdd = [&](clsMessage&) {
        busyInside = mailer.Busy();
        if (r.rows.size() == 2) mailer.StopPopulating();
    };
    mailer.PopulateMessageList(inbox(), false);
    EXPECT_TRUE(busyInside);
    EXPECT_EQ(r.rows.size(), 2u);
    EXPECT_EQ(std::count(r.log.begin(), r.log.end(), "finished"), 0);
}

TEST_F(MailerTest, LongPopulationYieldsAndAClickThereCanStopIt) {
    fill(6);

    HookedPlatform hooked;
    platform::ScopedPlatform installed(hooked);
    // A slow first message: the quarter-second yield comes right after it.
    auto slowFirst = [&](clsMessage&) {
        if (r.rows.size() == 1) hooked.time.at += std::chrono::milliseconds(300);
    };
    r.onAdd = slowFirst;
    int yieldsBefore = hooked.loop.yields;
    hooked.loop.hook = [&] {
        if (mailer.Busy()) mailer.StopPopulating();
    };
    mailer.PopulateFromCache(cache, false);
    EXPECT_GT(hooked.loop.yields, yieldsBefore);
    EXPECT_EQ(r.rows.size(), 1u) << "the click in the yield stopped the loop at its next test";
    EXPECT_EQ(std::count(r.log.begin(), r.log.end(), "finished"), 0);

    // A new population started from inside a yield supersedes the running one.
    Recorder inner;
    clsMailer shared;
    r = Recorder();
    r.onAdd = slowFirst;
    shared.setListener(&r);
    bool started = false;
    hooked.loop.hook = [&] {
        if (started || !shared.Busy()) return;
        started = true;
        shared.setListener(&inner);
        shared.PopulateFromCache(cache, false);
        shared.setListener(&r);
    };
    shared.PopulateFromCache(cache, false);
    EXPECT_EQ(inner.rows.size(), 6u);
    EXPECT_EQ(r.rows.size(), 1u);
    EXPECT_FALSE(shared.Busy());
}

TEST_F(MailerTest, ContainerInAFolderListsItsIndexedMessages) {
    for (int i = 0; i < 3; ++i)
        addMessage("Inbox/", "Q" + std::to_string(i) + ".EML",
                   dated("q" + std::to_string(i), 2, i == 1));
    fs::create_directories(MessageFolder + "Packed");
    std::string qbx = MessageFolder + "Packed/testqbx.qbx";
    CombineToQBXFile(inbox(), qbx, false);

    mailer.PopulateMessageList(MessageFolder + "Packed/", false);
    // Three messages, and the last has no following record to bound it.
    EXPECT_EQ(r.rows.size(), 2u);
    EXPECT_EQ(r.log[1], "count 1");
    EXPECT_EQ(r.log[2], "add 1/1");
}
