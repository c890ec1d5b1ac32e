// frmMain's side of the reminders: what the scanner shows of them, and the
// link that hands the reminder object's events to frmMain.
#pragma once

#include "reminders/clsReminders.h"

#include <string>

namespace corva {

class frmMain;

class ReminderView {
public:
    virtual ~ReminderView() = default;
    // The scanner's header pane and its label.
    virtual void ClearHeaderPane() {}
    virtual void SetHeaderLabel(const std::string& text) { (void)text; }
    virtual void AddHeaderText(const std::string& text) { (void)text; }
    // A frmEventReminder with these lines, shown without blocking.
    virtual void ShowEventReminder(const std::string& text) { (void)text; }
    // The window that adds, edits and deletes events.
    virtual void ShowRemindersEditor() {}
};

class ReminderLink : public RemindersEvents {
public:
    explicit ReminderLink(frmMain& main) : main_(main) {}
    void TKL_TodaysEvents(const std::vector<std::string>& events) override;
    void TKL_UpcomingEvents(const std::vector<std::string>& events) override;
    void TKL_MailEvent(const std::string& subject, const std::string& alertId,
                       const std::string& text) override;

private:
    frmMain& main_;
};

} // namespace corva
