// reminders.ics as calendar programs write it, the repeat rules, and what
// frmMain makes of the events: header pane lines, the reminder view, one
// mail per alarm per day.
#include "core/AppInfo.h"
#include "core/DateTime.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/mSHAREDSettings.h"
#include "cycle/CycleFixture.h"
#include "cycle/frmMainReminders.h"
#include "reminders/clsReminders.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>

namespace corva::test {
namespace {

// What a typical calendar program exports: a time zone block, folded and
// escaped text, a UTC event, a TZID one, an all-day one with a repeat.
const std::string Exported =
    "BEGIN:VCALENDAR\r\n"
    "PRODID:-//Example Corp//Calendar 7.1//EN\r\n"
    "VERSION:2.0\r\n"
    "BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\nBEGIN:STANDARD\r\nTZOFFSETFROM:+0200\r\n"
    "TZOFFSETTO:+0100\r\nDTSTART:19701025T030000\r\nEND:STANDARD\r\nEND:VTIMEZONE\r\n"
    "BEGIN:VEVENT\r\n"
    "UID:dentist-1@example.com\r\n"
    "DTSTAMP:20261101T120000Z\r\n"
    "DTSTART;TZID=Europe/Berlin:20261124T093000\r\n"
    "DURATION:PT45M\r\n"
    "SUMMARY:Dentist\\, Dr. Krause\r\n"
    "DESCRIPTION:Bring the card\\nand the form\\; both sig\r\n"
    " ned\r\n"
    "X-EXAMPLE-COLOUR:blue\r\n"
    "BEGIN:VALARM\r\nACTION:DISPLAY\r\nTRIGGER;RELATED=START:-PT30M\r\nEND:VALARM\r\n"
    "END:VEVENT\r\n"
    "BEGIN:VEVENT\r\n"
    "UID:call@example.com\r\n"
    "DTSTART:20261124T150000Z\r\n"
    "DTEND:20261124T160000Z\r\n"
    "SUMMARY:Call\r\n"
    "END:VEVENT\r\n"
    "BEGIN:VEVENT\r\n"
    "UID:bins@example.com\r\n"
    "DTSTART;VALUE=DATE:20261102\r\n"
    "DTEND;VALUE=DATE:20261103\r\n"
    "RRULE:FREQ=WEEKLY;INTERVAL=2;BYDAY=MO\r\n"
    "SUMMARY:Bins\r\n"
    "BEGIN:VALARM\r\nTRIGGER;VALUE=DATE-TIME:20261101T180000Z\r\nEND:VALARM\r\n"
    "END:VEVENT\r\n"
    "BEGIN:VEVENT\r\nSUMMARY:No start\r\nEND:VEVENT\r\n"
    "END:VCALENDAR\r\n";

WallMinutes at(int y, int m, int d, int h = 0, int mi = 0) {
    return WallFromParts(y, m, d, h, mi);
}

// The desktop's zone (TZ) for one scope.
class LocalZone {
public:
    explicit LocalZone(const char* zone) {
        if (const char* old = std::getenv("TZ")) before_ = old;
        ::setenv("TZ", zone, 1);
        ::tzset();
    }
    ~LocalZone() {
        if (before_)
            ::setenv("TZ", before_->c_str(), 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }

private:
    std::optional<std::string> before_;
};

TEST(IcsCalendar, ReadsAnExportAndWritesBackOnlyWhatChanged) {
    LocalZone berlin("Europe/Berlin");
    Calendar cal = ReadIcs(Exported);
    ASSERT_TRUE(cal.complete);
    ASSERT_EQ(cal.events.size(), 3u);
    EXPECT_EQ(cal.skipped, 1);
    const CalendarEvent& dentist = cal.events[0];
    EXPECT_EQ(dentist.summary, "Dentist, Dr. Krause");
    EXPECT_EQ(dentist.description, "Bring the card\nand the form; both signed");
    EXPECT_EQ(dentist.start, at(2026, 11, 24, 9, 30));
    EXPECT_EQ(dentist.end - dentist.start, 45);
    EXPECT_EQ(dentist.alarmMinutes, std::vector<int>{30});
    const CalendarEvent& bins = cal.events[2];
    EXPECT_TRUE(bins.allDay);
    EXPECT_EQ(bins.end - bins.start, 1440);
    ASSERT_EQ(bins.alarmMinutes.size(), 1u); // the evening before, in local time
    EXPECT_GT(bins.alarmMinutes[0], 0);

    // LF only, as some programs write: the same events.
    EXPECT_EQ(ReadIcs(Replace(Exported, "\r\n", "\n")).events.size(), 3u);

    // Untouched, every event and the time zone come back byte for byte.
    const std::string written = WriteIcs(cal);
    for (const char* kept :
         {"BEGIN:VTIMEZONE", "DTSTART;TZID=Europe/Berlin:20261124T093000",
          "DESCRIPTION:Bring the card\\nand the form\\; both sig\r\n ned", "SUMMARY:No start"})
        EXPECT_NE(written.find(kept), std::string::npos) << kept;

    // An edited event is written from its fields and keeps what it does not manage.
    cal.events[0].summary = "Dentist; moved";
    cal.events[0].start = at(2026, 11, 25, 8, 0);
    cal.events[0].changed = true;
    Calendar again = ReadIcs(WriteIcs(cal));
    ASSERT_EQ(again.events.size(), 3u);
    EXPECT_EQ(again.events[0].summary, "Dentist; moved");
    EXPECT_EQ(again.events[0].start, at(2026, 11, 25, 8, 0));
    EXPECT_EQ(again.events[0].alarmMinutes, std::vector<int>{30});
    EXPECT_NE(WriteIcs(again).find("X-EXAMPLE-COLOUR:blue"), std::string::npos);

    // Cut off inside an event: what was read is there, but the file is incomplete.
    Calendar cut = ReadIcs(Exported.substr(0, Exported.find("SUMMARY:Call")));
    EXPECT_FALSE(cut.complete);
    EXPECT_EQ(cut.events.size(), 1u);
    EXPECT_FALSE(ReadIcs("").complete);
    EXPECT_FALSE(ReadIcs("garbage\nBEGIN:VEVENT\n").complete);
}

TEST(IcsCalendar, RepeatRules) {
    // Days as yyyymmdd: the first occurrence, the window asked for, and every
    // occurrence in it, all at nine.
    struct Case {
        const char* rule;
        int start, from, to;
        std::vector<int> days;
    };
    const WallMinutes nine = 9 * 60;
    auto day = [](int ymd) { return at(ymd / 10000, ymd / 100 % 100, ymd % 100); };
    const Case cases[] = {
        {"FREQ=DAILY;COUNT=3", 20260130, 20260101, 20260301, {20260130, 20260131, 20260201}},
        {"FREQ=DAILY;INTERVAL=2;UNTIL=20260105",
         20260101,
         20260101,
         20260201,
         {20260101, 20260103, 20260105}},
        // Mondays and Fridays every other week, from a Monday.
        {"FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,FR",
         20260105,
         20260101,
         20260124,
         {20260105, 20260109, 20260119, 20260123}},
        // The 31st skips the months without one.
        {"FREQ=MONTHLY;COUNT=3", 20260131, 20260101, 20270101, {20260131, 20260331, 20260531}},
        {"FREQ=MONTHLY;BYDAY=-1FR", 20260130, 20260201, 20260401, {20260227, 20260327}},
        {"FREQ=MONTHLY;BYDAY=2TU", 20260113, 20260201, 20260301, {20260210}},
        {"FREQ=MONTHLY;BYMONTHDAY=-1", 20260131, 20260201, 20260301, {20260228}},
        // 29 February comes back only in leap years.
        {"FREQ=YEARLY", 20240229, 20250101, 20290101, {20280229}},
        // A rule that never ends stops at the window; one before it gives nothing.
        {"FREQ=DAILY", 20000101, 20260601, 20260602, {20260601}},
        {"FREQ=DAILY;COUNT=2", 20000101, 20260601, 20260602, {}},
    };
    for (const Case& c : cases) {
        CalendarEvent e;
        e.start = e.end = day(c.start) + nine;
        e.ruleText = c.rule;
        e.rule = ReadIcs("BEGIN:VCALENDAR\nBEGIN:VEVENT\nDTSTART:20260101T090000\nRRULE:" +
                         std::string(c.rule) + "\nEND:VEVENT\nEND:VCALENDAR\n")
                     .events.at(0)
                     .rule;
        std::vector<WallMinutes> expected;
        for (int d : c.days) expected.push_back(day(d) + nine);
        EXPECT_EQ(Occurrences(e, day(c.from), day(c.to)), expected) << c.rule;
    }
    // An exception date drops that one occurrence.
    Calendar cal = ReadIcs("BEGIN:VCALENDAR\nBEGIN:VEVENT\nDTSTART:20260101T090000\n"
                           "RRULE:FREQ=DAILY;COUNT=3\nEXDATE:20260102T090000\nEND:VEVENT\n"
                           "END:VCALENDAR\n");
    EXPECT_EQ(Occurrences(cal.events.at(0), at(2026, 1, 1), at(2026, 2, 1)),
              (std::vector<WallMinutes>{at(2026, 1, 1) + nine, at(2026, 1, 3) + nine}));
}

TEST(IcsCalendar, ZonedTimesShowAtTheirLocalTimeAcrossDaylightSaving) {
    // Weekly from the Monday before Europe moves its clocks (29 March 2026);
    // America moved on 8 March.
    const std::string ics =
        "BEGIN:VCALENDAR\r\n"
        "BEGIN:VEVENT\r\nUID:b\r\nDTSTART;TZID=Europe/Berlin:20260323T090000\r\n"
        "RRULE:FREQ=WEEKLY;COUNT=2\r\nEXDATE;TZID=Europe/Berlin:20260406T090000\r\n"
        "SUMMARY:Berlin\r\nEND:VEVENT\r\n"
        "BEGIN:VEVENT\r\nUID:n\r\nDTSTART;TZID=America/New_York:20260323T090000\r\n"
        "RRULE:FREQ=WEEKLY;COUNT=2\r\nSUMMARY:New York\r\nEND:VEVENT\r\n"
        "BEGIN:VEVENT\r\nUID:m\r\nDTSTART;TZID=Mars/Olympus:20260323T090000\r\n"
        "SUMMARY:Unknown zone\r\nEND:VEVENT\r\n"
        "END:VCALENDAR\r\n";
    struct Case {
        const char* tz;
        std::vector<WallMinutes> berlin, newYork;
    } cases[] = {
        {"America/New_York",
         {at(2026, 3, 23, 4), at(2026, 3, 30, 3)},
         {at(2026, 3, 23, 9), at(2026, 3, 30, 9)}},
        {"Europe/Berlin",
         {at(2026, 3, 23, 9), at(2026, 3, 30, 9)},
         {at(2026, 3, 23, 14), at(2026, 3, 30, 15)}},
        {"Asia/Tokyo",
         {at(2026, 3, 23, 17), at(2026, 3, 30, 16)},
         {at(2026, 3, 23, 22), at(2026, 3, 30, 22)}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.tz);
        LocalZone zone(c.tz);
        Calendar cal = ReadIcs(ics);
        ASSERT_EQ(cal.events.size(), 3u);
        EXPECT_EQ(Occurrences(cal.events[0], at(2026, 3, 1), at(2026, 5, 1)), c.berlin);
        EXPECT_EQ(Occurrences(cal.events[1], at(2026, 3, 1), at(2026, 5, 1)), c.newYork);
        EXPECT_EQ(cal.events[2].start, at(2026, 3, 23, 9));

        // An edited event keeps its zone, so its repeat keeps that clock.
        cal.events[0].summary = "Berlin, moved";
        cal.events[0].changed = true;
        const std::string written = WriteIcs(cal);
        EXPECT_NE(written.find("DTSTART;TZID=Europe/Berlin:20260323T090000"), std::string::npos);
        EXPECT_EQ(Occurrences(ReadIcs(written).events[0], at(2026, 3, 1), at(2026, 5, 1)),
                  c.berlin);
    }
}

class RecordingReminderView : public ReminderView {
public:
    void ClearHeaderPane() override { pane.clear(); }
    void SetHeaderLabel(const std::string& text) override { label = text; }
    void AddHeaderText(const std::string& text) override { pane += text; }
    void ShowEventReminder(const std::string& text) override { shown.push_back(text); }
    std::string pane, label;
    std::vector<std::string> shown;
};

class RemindersCycle : public CycleFixture {
protected:
    void startWith(const std::string& ics) {
        writeFile(AppPath() + "reminders.ics", ics);
        main = std::make_unique<frmMain>(&view);
        main->setReminderView(&pane);
        frmMain::StartOptions options;
        options.headless = true;
        options.autoScan = frmMain::AutoScan::Off;
        main->StartProgram(options);
    }
    static std::string today(const char* form) { return DateTime::today().format(form); }
    size_t outbox() {
        size_t n = 0;
        for (const auto& e : std::filesystem::directory_iterator(MessageFolder + "Outbox"))
            n += EndsWith(LCase(e.path().string()), ".eml");
        return n;
    }
    RecordingReminderView pane;
};

TEST_F(RemindersCycle, TodaysEventsFillThePaneAndEachAlarmIsMailedOnceADay) {
    writeFile(AppPath() + "Corva.ini", "REPLYADDRESS0,ann@example.com\r\n");
    const std::string tomorrow = DateTime::today().addDays(1).format("yyyymmdd");
    startWith(
        "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:a\r\nDTSTART;VALUE=DATE:" + today("yyyymmdd") +
        "\r\nSUMMARY:Pay rent\r\nBEGIN:VALARM\r\nTRIGGER:PT0M\r\nEND:VALARM\r\n"
        "END:VEVENT\r\nBEGIN:VEVENT\r\nUID:b\r\nDTSTART:" +
        today("yyyymmdd") + "T000000\r\nSUMMARY:Early\r\nEND:VEVENT\r\n" +
        "BEGIN:VEVENT\r\nUID:c\r\nDTSTART:" + tomorrow +
        "T090000\r\nSUMMARY:Dentist\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
    EXPECT_EQ(pane.label, "Events:");
    EXPECT_EQ(pane.pane, "TODAY: Pay rent\r\nTODAY: 00:00 Early\r\nUPCOMING: " +
                             DateTime::today().addDays(1).format("ddd d mmm") +
                             " 09:00 Dentist\r\n");
    ASSERT_EQ(pane.shown.size(), 1u);
    EXPECT_EQ(outbox(), 1u);
    const std::string key = "TKLALERT_a_" + today("yyyymmdd") + "0000_0";
    EXPECT_TRUE(sget(key, false).toBool()) << key;
    EXPECT_EQ(sget("TKLLastCleared", "").toText(), today("yyyy-mm-dd"));

    // A rescan the same day: the alarm was mailed, the view was shown.
    main->starttkl();
    EXPECT_EQ(outbox(), 1u);
    EXPECT_EQ(pane.shown.size(), 1u);

    // A new day forgets the mailed alerts: the alarm rings again.
    sset("TKLLastCleared", "2000-01-01");
    sset("TKLALERT_old", true);
    main->TKL_TodaysEvents({});
    EXPECT_FALSE(sget(key, false).toBool());
    EXPECT_FALSE(sget("TKLALERT_old", false).toBool());
    main->TKL_MailEvent("Reminder: Pay rent", "a_x", "Pay rent");
    main->TKL_MailEvent("Reminder: Pay rent", "a_x", "Pay rent");
    EXPECT_EQ(outbox(), 2u);
}

TEST_F(RemindersCycle, WithoutAReplyAddressTheAlarmWaitsUnmarked) {
    writeFile(AppPath() + "Corva.ini", "DELAY,5\r\n");
    startWith("BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n");
    main->TKL_MailEvent("Reminder: x", "x_1", "x");
    EXPECT_EQ(platform_.prompts_.messages,
              std::vector<std::string>{
                  "Cannot send Reminder mail. Account #1 must be configured to use this feature"});
    EXPECT_FALSE(sget("TKLALERT_x_1", false).toBool());
    EXPECT_EQ(outbox(), 0u);
}

TEST(Reminders, AFileThatCannotBeReadIsNeverRewritten) {
    TempDir dir;
    clsReminders r;
    r.setDataFolder(dir.path());
    const std::string cut = Exported.substr(0, Exported.size() - 40);
    writeFile(r.FilePath(), cut);
    CalendarEvent e;
    e.summary = "New";
    std::string why;
    EXPECT_EQ(r.AddEvent(e, why), "");
    EXPECT_FALSE(r.RemoveEvent("dentist-1@example.com", why));
    EXPECT_EQ(readFile(r.FilePath()), cut);

    // A whole file takes an event and gives one back.
    writeFile(r.FilePath(), Exported);
    e.start = e.end = at(2026, 12, 1, 10);
    const std::string uid = r.AddEvent(e, why);
    ASSERT_FALSE(uid.empty()) << why;
    EXPECT_EQ(r.Load().events.size(), 4u);
    EXPECT_TRUE(r.RemoveEvent(uid, why));
    EXPECT_EQ(r.Load().events.size(), 3u);
    EXPECT_NE(readFile(r.FilePath()).find("BEGIN:VTIMEZONE"), std::string::npos);
}

class SleepView : public EventReminderView {
public:
    void HideReminder() override { log += "hide "; }
    void ShowReminderInFront() override { log += "show "; }
    void UnloadReminder() override { log += "unload "; }
    std::string log;
};

TEST(Reminders, SleepShowsTheViewAgainAfterItsMinutes) {
    SleepView view;
    frmEventReminder f(view);
    f.txtSleep = "2";
    f.cmdSleep_Click();
    EXPECT_TRUE(f.Sleeping());
    for (int s = 0; s < 119; ++s) f.Timer1_Timer();
    EXPECT_EQ(view.log, "hide ");
    f.Timer1_Timer();
    EXPECT_EQ(view.log, "hide show ");
    EXPECT_FALSE(f.TimerEnabled());
    f.cmdClose_Click();
    EXPECT_EQ(view.log, "hide show unload ");
}

} // namespace
} // namespace corva::test
