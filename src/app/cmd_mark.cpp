// "corva mark --junk|--good FILE...": teaches the classifier, as the windows'
// "Mark as Junk" and "Mark as Good" commands do.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "bayes/modMailSubs.h"
#include "core/FileSubs.h"
#include "message/clsMessages.h"
#include "platform/Platform.h"
#include "store/modMessageFiles.h"

#include <iostream>

namespace corva::app {
namespace {

// Says yes to the confirmation (--yes); everything else is the platform's own.
class AnswerYes : public platform::Platform {
public:
    explicit AnswerYes(platform::Platform& inner) : inner_(inner), yes_(inner.prompts()) {}
    platform::Prompts& prompts() override { return yes_; }
    platform::EventLoop& eventLoop() override { return inner_.eventLoop(); }
    platform::Clock& clock() override { return inner_.clock(); }

private:
    class YesPrompts : public platform::Prompts {
    public:
        explicit YesPrompts(platform::Prompts& inner) : inner_(inner) {}
        platform::Answer messageBox(const std::string&, platform::Buttons, platform::Icon,
                                    const std::string&) override {
            return platform::Answer::Yes;
        }
        platform::PasswordReply askPassword(const std::string& prompt) override {
            return inner_.askPassword(prompt);
        }
        std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                            const std::string& defaultText) override {
            return inner_.inputBox(prompt, title, defaultText);
        }
        void setCursor(platform::Cursor cursor) override { inner_.setCursor(cursor); }

    private:
        platform::Prompts& inner_;
    };

    platform::Platform& inner_;
    YesPrompts yes_;
};

int run(CommandArgs& args) {
    const bool junk = args.flag("--junk");
    const bool good = args.flag("--good");
    const bool yes = args.flag("--yes");
    if (junk == good) args.problem("give one of --junk and --good");
    if (auto status = args.refused("corva mark --junk|--good [--yes] FILE...", 1)) return *status;
    clsMessages selection;
    for (const auto& file : args.rest()) {
        if (!FileExists(file)) {
            std::cerr << "Can't read " << file << "\n";
            return 1;
        }
    }

    HeadlessSession session;
    frmBayesFilter& filter = StartBayesFilter();
    for (const auto& file : args.rest()) selection.Add(readfullmessage(file));
    const long count = selection.Count();
    std::optional<AnswerYes> answerYes;
    std::optional<platform::ScopedPlatform> installed;
    if (yes) {
        answerYes.emplace(platform::current());
        installed.emplace(*answerYes);
    }
    filter.MarkMessagesJunkOrNot(selection, junk);
    installed.reset();
    if (selection.Count() > 0) {
        std::cout << "Nothing marked.\n";
        return 1;
    }
    std::cout << "Marked " << count << (count == 1 ? " message" : " messages") << " as "
              << (junk ? "junk" : "good") << "; the word table was rebuilt in "
              << frmBayesFilter::wordfilename() << "\n";
    return 0;
}

const CommandRegistration registration({
    "mark",
    "corva mark --junk|--good [--yes] FILE...",
    "Teach the classifier that messages are junk or good",
    "Adds each message's header tokens to the spam (--junk) or good (--good)\n"
    "counts and rebuilds the word table, writing HashBad.dat, HashGood.dat and\n"
    "HashTable.dat. Asks for confirmation first unless --yes is given. Marking a\n"
    "message twice counts it twice; marking it good later doesn't undo junk.",
    run,
});

} // namespace
} // namespace corva::app
