// What the mailer's commands do to the store: marking messages read or unread,
// deleting into the Deleted folder, moving between folders. Files, tags and
// folder caches change together; the view only repaints its rows and nodes.
#pragma once

#include "store/FolderCaches.h"

#include <string>
#include <vector>

namespace corva {

class ReplacedFiles;

// Marks the files of a folder read or unread (each file renamed to the case of
// its new state) and writes the folder's unread count. Gives the new paths, in
// the order given. The old files are set aside in replaced when given.
std::vector<std::string> MarkMessagesReadUnread(FolderCaches& caches, const std::string& folder,
                                                const std::vector<std::string>& files, bool read,
                                                ReplacedFiles* replaced = nullptr);

// The Delete key: in the Deleted folder a file goes for good; elsewhere it
// moves to Deleted under its own name ("_1", "_2" ... before the extension on a
// clash) and is marked read there.
void DeleteMessages(FolderCaches& caches, const std::string& folder,
                    const std::vector<std::string>& files);

// Moves files to another folder under fresh names; an unread one takes its
// count along. Gives the new paths ("" where a move failed).
std::vector<std::string> MoveMessages(FolderCaches& caches, const std::string& sourceFolder,
                                      const std::string& targetFolder,
                                      const std::vector<std::string>& files);

} // namespace corva
