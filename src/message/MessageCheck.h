// The check a POP3 session runs on each message between two commands of its
// dialogue. The filters implement it; the session only knows this interface.
#pragma once

namespace corva {

class clsMessage;

class MessageCheck {
public:
    virtual ~MessageCheck() = default;
    // Writes the verdict into the message: Colour, FilterReason, Deleted,
    // BlockedSender, BlockedRecip, Ignored, Suspicious, Bayes, DestFolder.
    virtual void CheckMessage(clsMessage& msg, bool CheckBayes) = 0;
};

} // namespace corva
