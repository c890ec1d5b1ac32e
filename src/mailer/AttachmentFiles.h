// Names for attachment files. A name is chosen by whoever sent the mail, so it
// is cleaned before it becomes part of a path: nothing it holds may lead the
// file out of the folder it is saved into.
#pragma once

#include <string>

namespace corva {

// Longest file name written, in bytes; file systems stop at 255.
inline constexpr size_t AttachmentNameLimit = 200;

// The file's own name only: no folder part ("/" or "\"), no NUL or other
// control character, none of the characters other systems refuse, at most
// AttachmentNameLimit bytes with the extension kept, and never "", "." or "..":
// a name with nothing left becomes "attachment".
std::string safeAttachmentName(const std::string& name);

// folder + "/" + the safe name.
std::string attachmentPath(const std::string& folder, const std::string& name);

} // namespace corva
