// The cycle's state table, driven by hand: each state meets each event, with
// the session's events raised as the session raises them. What counts is
// where the cycle stands afterwards and how often its ending ran.
#include "cycle/CycleFixture.h"

#include "message/clsMessage.h"
#include "support/FakeServer.h"

namespace corva::test {
namespace {

enum class Ev {
    Scan,
    ScanOne,
    Fetch,
    Finished,
    NoMailServer,
    TimedOut,
    Cancelled,
    NoConnection,
    Message
};

const char* name(Ev e) {
    const char* names[] = {"Scan",     "ScanOne",   "Fetch",        "Finished", "NoMailServer",
                           "TimedOut", "Cancelled", "NoConnection", "Message"};
    return names[static_cast<int>(e)];
}

struct Row {
    std::vector<Ev> events;
    // The last event arrives while the ending of the one before it runs.
    bool lastInsideEnding;
    CycleState state;
    int account;
    std::vector<std::string> endings; // what the mailer was told, besides "Done"
};

class CycleTableTest : public CycleFixture {
protected:
    void raise(Ev e) {
        frmGetMailEvents& session = main->sessionEvents();
        CycleRequest one;
        one.accounts = AccountSet::one(0);
        CycleRequest fetch = one;
        fetch.specific = 3;
        clsMessage msg;
        switch (e) {
        case Ev::Scan:
            main->checkmail({});
            break;
        case Ev::ScanOne:
            main->checkmail(one);
            break;
        case Ev::Fetch:
            main->checkmail(fetch);
            break;
        case Ev::Message:
            session.SpecificMessage(msg);
            break;
        case Ev::Finished:
            session.Finished();
            break;
        case Ev::NoMailServer:
            session.NoMailServer();
            break;
        case Ev::TimedOut:
            session.TimedOut(1);
            break;
        case Ev::Cancelled:
            session.Cancelled();
            break;
        case Ev::NoConnection:
            session.NoConnection();
            break;
        }
    }
};

TEST_F(CycleTableTest, EachStateTakesEachEventAsTheTableSays) {
    using S = CycleState;
    const std::string Short = "Finished getting mail";
    const std::string Long = "Process complete";
    const std::vector<Row> rows = {
        // Idle: only a request moves it.
        {{Ev::Scan}, false, S::Account, 0, {}},
        {{Ev::Finished}, false, S::Idle, -1, {}},
        {{Ev::NoMailServer}, false, S::Idle, -1, {}},
        {{Ev::TimedOut}, false, S::Idle, -1, {}},
        {{Ev::Cancelled}, false, S::Idle, -1, {}},
        {{Ev::NoConnection}, false, S::Idle, -1, {}},
        // Account 0 of a full cycle.
        {{Ev::Scan, Ev::Scan}, false, S::Account, 0, {}},
        {{Ev::Scan, Ev::Finished}, false, S::Account, 1, {}},
        {{Ev::Scan, Ev::NoMailServer}, false, S::Account, 1, {}},
        {{Ev::Scan, Ev::TimedOut}, false, S::Account, 1, {}},
        {{Ev::Scan, Ev::Cancelled}, false, S::Idle, -1, {Short}},
        {{Ev::Scan, Ev::NoConnection}, false, S::Account, -1, {}},
        {{Ev::Scan, Ev::NoConnection, Ev::Finished}, false, S::Idle, -1, {Short}},
        // The last account with a server: the rest are passed over and the cycle ends the long way.
        {{Ev::Scan, Ev::Finished, Ev::Finished}, false, S::Idle, -1, {Long}},
        {{Ev::ScanOne, Ev::Finished}, false, S::Idle, -1, {Short}},
        // A fetched message ends its request when it arrives, and what follows finds it Idle.
        {{Ev::Fetch}, false, S::Account, 0, {}},
        {{Ev::Fetch, Ev::Scan}, false, S::Account, 0, {}},
        {{Ev::Fetch, Ev::Message, Ev::Finished}, false, S::Idle, -1, {Short}},
        {{Ev::Fetch, Ev::Cancelled}, false, S::Idle, -1, {Short}},
        {{Ev::Message}, false, S::Idle, -1, {}},
        {{Ev::Scan, Ev::Message}, false, S::Account, 0, {}},
        // A failed account's three end events end the cycle once.
        {{Ev::Scan, Ev::Cancelled, Ev::Finished, Ev::TimedOut}, false, S::Idle, -1, {Short}},
        // Ending: nothing moves it, and no request starts.
        {{Ev::Scan, Ev::Cancelled, Ev::Scan}, true, S::Idle, -1, {Short}},
        {{Ev::Scan, Ev::Cancelled, Ev::Finished}, true, S::Idle, -1, {Short}},
        {{Ev::Scan, Ev::Cancelled, Ev::NoMailServer}, true, S::Idle, -1, {Short}},
        {{Ev::Scan, Ev::Cancelled, Ev::TimedOut}, true, S::Idle, -1, {Short}},
        {{Ev::Scan, Ev::Cancelled, Ev::Cancelled}, true, S::Idle, -1, {Short}},
        {{Ev::Scan, Ev::Cancelled, Ev::NoConnection}, true, S::Idle, -1, {Short}},
    };

    start();
    view.mailerLoaded = true;
    sset("REPLYADDRESS0", "ann@example.test");
    for (const Row& row : rows) {
        std::string trace;
        for (Ev e : row.events) trace += std::string(name(e)) + " ";
        SCOPED_TRACE(trace + (row.lastInsideEnding ? "(inside the ending)" : ""));
        // Silent servers: the session connects and waits, and the test speaks for it.
        FakeServer first({Silence()});
        FakeServer second({Silence()});
        setAccount(0, first.address(), "ann", "Ann");
        setAccount(1, second.address(), "bob", "Bob");
        view.mailerNotices.clear();
        const long finishedBefore = main->CyclesFinished();

        const size_t last = row.events.size() - 1;
        bool raised = false;
        for (size_t i = 0; i < last; ++i) {
            if (row.lastInsideEnding && i + 1 == last)
                view.onMailerNotice = [&](const std::string& text) {
                    if (text != "Done" || main->State() != CycleState::Ending || raised) return;
                    raised = true;
                    raise(row.events[last]);
                };
            raise(row.events[i]);
        }
        view.onMailerNotice = nullptr;
        if (!raised) {
            raised = !row.lastInsideEnding;
            raise(row.events[last]);
        }

        EXPECT_TRUE(raised);
        EXPECT_EQ(main->State(), row.state);
        EXPECT_EQ(main->Checking(), row.state == CycleState::Account);
        EXPECT_EQ(main->CurrentAccount(), row.account);
        std::vector<std::string> endings;
        for (const auto& text : view.mailerNotices)
            if (text != "Done") endings.push_back(text);
        EXPECT_EQ(endings, row.endings);
        const bool fetched = row.events.front() == Ev::Fetch; // no cycle to count
        EXPECT_EQ(main->CyclesFinished() - finishedBefore,
                  fetched ? 0 : static_cast<long>(row.endings.size()));
        if (row.state == CycleState::Idle) {
            EXPECT_EQ(view.toolbarImage, "sendreceive");
        }

        // Back to Idle through the session itself, for the next row.
        if (main->Checking()) main->cancelcheck();
        ASSERT_EQ(main->State(), CycleState::Idle);
    }
}

} // namespace
} // namespace corva::test
