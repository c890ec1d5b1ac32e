// The events of clsMailer, for the mailer view that owns it.
#pragma once

#include "message/clsMessage.h"

#include <string>

namespace corva {

class MailerListener {
public:
    virtual ~MailerListener() = default;
    virtual void ClearFolders() {}
    // The root of the tree comes first, as "Folders" with an empty parent.
    virtual void AddFolder(const std::string& NodeText, const std::string& NodeParentText) {
        (void)NodeText;
        (void)NodeParentText;
    }
    virtual void FinishedAddingFolders() {}
    virtual void ClearMessages() {}
    virtual void AddMessage(clsMessage& message, long CurrentCount, long TotalCount) {
        (void)message;
        (void)CurrentCount;
        (void)TotalCount;
    }
    virtual void SomeUnreadMessages() {}
    virtual void NoUnreadMessages() {}
    // MostRecentUnread is a whole day number, 0 when nothing was unread.
    virtual void FinishedAddingMessages(long UnreadCount, long MostRecentUnread) {
        (void)UnreadCount;
        (void)MostRecentUnread;
    }
    virtual void FolderMessageCount(long MessageCount) { (void)MessageCount; }
};

} // namespace corva
