// The tag files kept in each folder's directory so that the tree can show
// unread counts without opening a message: Unread.tag, LastMsg.tag and
// ShowUnreadOnly.tag. Their names are matched without regard to case.
#pragma once

#include "message/clsMessage.h"

#include <cstdint>
#include <string>

namespace corva {

inline constexpr const char* UnreadTagName = "Unread.tag";
inline constexpr const char* LastMsgTagName = "LastMsg.tag";
inline constexpr const char* ShowUnreadOnlyTagName = "ShowUnreadOnly.tag";

// The tag's path in the folder: the spelling already on disk if there is one,
// else the name as given, so that a folder never holds two spellings.
std::string tagpath(const std::string& folder, const std::string& tagName);

// The unread count; a missing, empty or unreadable tag is 0.
int readunreadtag(const std::string& folder);
// The day number of the most recent unread message; 0 when missing or empty.
long readlastmessagetag(const std::string& folder);

// Adds delta (0 means 1) to the count, which must stay a 16-bit number.
void addtounreadtag(const std::string& folder, int delta);
// Takes n (0 means 1) from the count.
void removefromunreadtag(const std::string& folder, int n);
void createunreadtag(const std::string& folder, int count);
void CreateLastMessageTag(const std::string& folder, long value);
void DeleteUnreadTag(const std::string& folder);
void DeleteLastMessageTag(const std::string& folder);
// Moves LastMsg.tag forward to the message's day if it is unread and newer.
void AddToLastMessageTag(const std::string& folder, const clsMessage& message);

bool ShowUnreadOnly(const std::string& folder);
void SetShowUnreadOnly(const std::string& folder, bool on);

// The whole day number of a date text ("2024-03-01 10:00:00", a header date, or
// a bare day number); throws RunError 13 when the text is no date.
long daynumber(const std::string& dateText);

} // namespace corva
