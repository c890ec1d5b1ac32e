// The marking entries and the scanner's reinforcement.
#include "bayes/modMailSubs.h"

#include "core/modSubs.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"
#include "message/clsMessages.h"
#include "platform/Platform.h"

namespace corva {

namespace {
constexpr int32_t Orange = 33023;
constexpr int32_t Pink = 0x8080FF;
} // namespace

frmBayesFilter& BayesFilter() {
    static frmBayesFilter filter;
    return filter;
}

frmBayesFilter& StartBayesFilter() {
    frmBayesFilter& filter = BayesFilter();
    if (!filter.WordLoaded()) filter.LoadWordHash();
    filter.Install();
    return filter;
}

frmBayesFilter& InstallBayesFilter() {
    frmBayesFilter& filter = BayesFilter();
    filter.Install();
    return filter;
}

void MarkMessagesJunkOrNot(clsMessages& messages, bool asJunk) {
    BayesFilter().MarkMessagesJunkOrNot(messages, asJunk);
}

void MarkMessagesAsJunk(clsMessages& messages) {
    MarkMessagesJunkOrNot(messages, true);
}
void MarkMessagesAsGood(clsMessages& messages) {
    MarkMessagesJunkOrNot(messages, false);
}

bool ReinforceUsingVisible(frmBayesFilter& filter,
                           const std::vector<std::shared_ptr<clsMessage>>& lines,
                           const std::function<void()>& rescan) {
    auto answer = platform::current().prompts().messageBox(
        gettranslation("This will allocate all orange messages to 'spam', and all green messages "
                       "to 'good'. Check them carefully first! Are you sure?"),
        platform::Buttons::YesNo, platform::Icon::Question);
    if (answer != platform::Answer::Yes) return false;
    clsMessages spam, good;
    busymouse();
    for (const auto& msg : lines) {
        if (!msg) continue;
        // Grey lines count as good, whatever the question says.
        if (msg->Colour == Orange || msg->Colour == Pink)
            spam.Add(msg);
        else
            good.Add(msg);
    }
    normalmouse();
    if (spam.Count() > 0) filter.MarkMessagesJunkOrNot(spam, true);
    if (good.Count() > 0) filter.MarkMessagesJunkOrNot(good, false);
    spam.Clear();
    good.Clear();
    if (rescan) rescan();
    return true;
}

} // namespace corva
