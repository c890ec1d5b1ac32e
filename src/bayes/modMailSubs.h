// Marking commands shared by the scanner and the mailer: they gather messages
// and hand them to the program's one classifier.
#pragma once

#include "bayes/frmBayesFilter.h"

#include <functional>
#include <memory>
#include <vector>

namespace corva {

class clsMessage;
class clsMessages;

// The program's one classifier, made on first use.
frmBayesFilter& BayesFilter();
// The start-up step: loads the word table (once) and makes the classifier the
// scorer of the message check.
frmBayesFilter& StartBayesFilter();
// The same without loading: the first score loads the table. For commands,
// most of which never score, or train, which makes the table anew.
frmBayesFilter& InstallBayesFilter();

// Asks, then teaches the program's classifier; the two entries the menus use.
void MarkMessagesJunkOrNot(clsMessages& messages, bool asJunk);
void MarkMessagesAsJunk(clsMessages& messages);
void MarkMessagesAsGood(clsMessages& messages);

// The scanner's "reinforce": orange and pink lines are marked as junk, every
// other line as good, each side with its own confirmation, then the list is
// checked again through rescan. False when the user declined the first question.
bool ReinforceUsingVisible(frmBayesFilter& filter,
                           const std::vector<std::shared_ptr<clsMessage>>& lines,
                           const std::function<void()>& rescan);

} // namespace corva
