// The suggestion lists: a small store of what users asked for, one text file
// per list in DB under the data folder. A message added to a list can be
// answered with a thank-you built from the AutoReply folder's template.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace corva {

class clsMessage;

// The names of the lists (their .TXT files without extension), sorted.
std::vector<std::string> FillSuggestionMenu();

// The file of a list.
std::string suggestionFile(const std::string& name);

// Appends the message (sender, return path, subject, its shown text and its
// Message-ID line) to the list and writes its attachments into
// DB/Attachments. False, with a log line, when the list holds the message already.
bool AddToSuggestions(const std::string& name, const clsMessage& message,
                      const std::string& shownText);

struct SuggestionReply {
    std::string to;
    std::string subject;
    std::string body;
};

// The thank-you for a message added to a list; none while the template
// "Good Suggestion.txt" is missing or empty.
std::optional<SuggestionReply> SuggestionReplyFor(const std::string& name,
                                                  const clsMessage& message,
                                                  const std::string& shownText);

} // namespace corva
