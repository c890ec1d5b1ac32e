// Feeds the mailer view: the folder list and a folder's messages, one event
// at a time, so that a long folder shows while it is read and can be left
// half-way. It yields to pending events now and then, so a click can arrive
// in the middle of a population; Stop is tested around every message.
#pragma once

#include "store/AgeColours.h"
#include "store/MailerListener.h"

#include <string>

namespace corva {

class clsCache;

class clsMailer {
public:
    void setListener(MailerListener* listener) { listener_ = listener; }

    // The tree from folders.ini (rebuilt from the directories when missing,
    // or always with rebuild).
    void PopulateFolders(bool rebuild);
    // A folder's messages from a filled cache.
    void PopulateFromCache(clsCache& cache, bool unreadOnly);
    // A folder's messages straight from its files (.eml and .qbx containers).
    void PopulateMessageList(const std::string& folderPath, bool unreadOnly);
    // Doesn't wait: the running population ends at its next test.
    void StopPopulating() { stop_ = true; }

    bool Stop() const { return stop_; }
    bool Busy() const { return busy_; }

private:
    // The running values of one population.
    struct Run {
        bool unreadOnly = false;
        long mostRecentUnread = 0;
        long unreadCount = 0;
        bool someUnreadSeen = false;
        AgeColours ages;
    };
    void AddMessage(clsMessage& message, long current, long total, Run& run);
    void finish(Run& run);

    MailerListener* listener_ = nullptr;
    MailerListener none_;
    MailerListener& events() { return listener_ ? *listener_ : none_; }
    bool stop_ = false;
    bool busy_ = false;
    // A population started from within another's yield supersedes it, so the
    // older loop must not carry on once the newer one has cleared Stop.
    unsigned long generation_ = 0;
};

} // namespace corva
