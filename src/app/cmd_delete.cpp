// "corva delete FILE...": the mailer's Delete key on stored messages.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/MailerCommands.h"

#include <iostream>

namespace corva::app {
namespace {

int run(CommandArgs& args) {
    const std::string usage = "corva delete FILE...";
    std::vector<std::string> names;
    if (auto status = fileNames(args, usage, names)) return *status;
    HeadlessSession session;
    frmMailer& mailer = *session.main().Mailer();
    CommandMailerView view;
    mailer.setView(&view);
    std::vector<std::string> missing;
    const long deleted = takeFiles(mailer, view, names, missing,
                                   [&](const auto&, const auto&) { mailer.DeleteSelected(); });
    mailer.setView(nullptr);
    for (const auto& m : missing) std::cerr << "Not a message in a mail folder: " << m << "\n";
    std::cout << "Deleted " << deleted << (deleted == 1 ? " message" : " messages") << "\n";
    return missing.empty() ? 0 : 1;
}

const CommandRegistration registration({
    "delete",
    "corva delete FILE...",
    "Delete stored messages as the mailer's Delete key does",
    "Each message moves to the Deleted folder under its own name (with \"_1\",\n"
    "\"_2\" ... before the extension when the name is taken) and is marked read\n"
    "there; a message already in Deleted is erased for good. Unread counts and\n"
    "folder caches follow. \"-\" reads the file names from standard input.",
    run,
});

} // namespace
} // namespace corva::app
