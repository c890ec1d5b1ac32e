// "corva move FOLDER FILE...": a drop of stored messages on another folder.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/MailerCommands.h"

#include <iostream>

namespace corva::app {
namespace {

int run(CommandArgs& args) {
    const std::string usage = "corva move FOLDER FILE...";
    if (auto status = args.refused(usage, 2)) return *status;
    std::string target = args.rest().front();
    CommandArgs fileArgs({args.rest().begin() + 1, args.rest().end()}, args.command());
    std::vector<std::string> names;
    if (auto status = fileNames(fileArgs, usage, names)) return *status;
    HeadlessSession session;
    frmMailer& mailer = *session.main().Mailer();
    CommandMailerView view;
    mailer.setView(&view);
    const std::string targetFolder = folderArgument(target);
    mailer.OpenFolder(targetFolder);
    const int node = mailer.NodeOfFolder(targetFolder);
    if (node <= 0) {
        mailer.setView(nullptr);
        return NoSuchFolder("move", target);
    }
    std::vector<std::string> missing;
    const long moved =
        takeFiles(mailer, view, names, missing,
                  [&](const std::string& folder, const std::vector<std::string>& files) {
                      if (view.selection.empty()) return;
                      if (!mailer.treeview1_oledragover(node)) {
                          std::cerr << "Can't move from " << folder << " into " << target << "\n";
                          missing.insert(missing.end(), files.begin(), files.end());
                          return;
                      }
                      mailer.treeview1_oledragdrop(node);
                  });
    mailer.setView(nullptr);
    for (const auto& m : missing) std::cerr << "Not moved: " << m << "\n";
    std::cout << "Moved " << moved << (moved == 1 ? " message" : " messages") << " to " << target
              << "\n";
    return missing.empty() ? 0 : 1;
}

const CommandRegistration registration({
    "move",
    "corva move FOLDER FILE...",
    "Move stored messages to another mail folder",
    "FOLDER is a mail folder under the message folder, as corva folders lists\n"
    "it (\"Inbox/Work\"). Each message gets a fresh name there and keeps its read\n"
    "state; an unread one takes its count along. The Outbox takes no messages\n"
    "this way. \"-\" reads the file names from standard input.",
    run,
});

} // namespace
} // namespace corva::app
