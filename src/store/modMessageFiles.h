// Message files: one .eml file per message, the raw text with the store's
// X-Message-* and X-Receive-Date lines. The case of the file's own name is the
// read state: upper case unread, lower case read.
#pragma once

#include "message/clsMessage.h"

#include <memory>
#include <string>
#include <vector>

namespace corva {

class ReplacedFiles;

// Longest part of a file a header read looks at, so that listing a folder of
// large attachments never touches the bodies.
inline constexpr long long HeaderReadLimit = 10000;

// A new message from a file; empty (and Filename unset) when the file is
// missing, empty or can't be read.
std::shared_ptr<clsMessage> readmessage(const std::string& path, bool headerOnly);
std::shared_ptr<clsMessage> readmessageheader(const std::string& path);
std::shared_ptr<clsMessage> readfullmessage(const std::string& path);
// The whole text with only the header parsed: enough to change the store's
// flag lines and save it again, without decoding the body.
std::shared_ptr<clsMessage> readmessageforsaving(const std::string& path);
// What training counts (clsMessage::CreateForWordCount), for a name exactly as a
// folder listing gives it: one open, no look for its other spellings, no
// dates. A name that doesn't open as given reads as readfullmessage reads it.
std::shared_ptr<clsMessage> readmessageforwordcount(const std::string& path);

// Writes the message under its Filename, whose case follows Read, and removes
// the file's other spelling: marking read or unread renames the file. An empty
// message removes the file and writes nothing.
void savemessage(const clsMessage& message);
// savemessage for many messages, written together at about the disk's cost of
// one; a message whose text could not be written keeps its old file. The old
// spellings of the names are set aside when given somewhere to go, else removed.
void savemessages(const std::vector<const clsMessage*>& messages,
                  ReplacedFiles* replaced = nullptr);

} // namespace corva
