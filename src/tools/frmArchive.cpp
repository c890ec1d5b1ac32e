#include "tools/frmArchive.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"
#include "platform/Platform.h"
#include "store/modMessageFiles.h"

#include <cstdio>
#include <filesystem>
#include <unordered_map>
#include <unordered_set>

namespace corva {
namespace {
constexpr const char* kModule = "frmArchive";

// Names taken in each target folder, learned once per folder, so that a run
// of thousands of files costs no listing per file.
class TargetNames {
public:
    bool taken(const std::string& folder, const std::string& lowerName) {
        auto [it, added] = names_.try_emplace(folder);
        if (added) {
            std::vector<std::string> present;
            FillFiles(folder, "EML", present);
            for (const auto& name : present) it->second.insert(LCase(name));
        }
        return it->second.count(lowerName) > 0;
    }
    void take(const std::string& folder, const std::string& name) {
        names_[folder].insert(LCase(name));
    }

private:
    std::unordered_map<std::string, std::unordered_set<std::string>> names_;
};

// The name is known to be free (the folder's names are learned once), so the
// file is renamed straight there: movefile would look the new name up without
// regard to case, a walk over the target folder for every file moved.
bool moveInto(const std::string& source, const std::string& destination) {
    std::error_code ec;
    std::filesystem::rename(source, destination, ec);
    return !ec || movefile(source, destination);
}

} // namespace

DateTime frmArchive::LimitDate(int year, int month, int day) {
    DateTime date = DateTime::fromParts(year, month, day);
    while (day > 1 && date.month() != month) date = DateTime::fromParts(year, month, --day);
    return date;
}

std::string frmArchive::TargetFolder(const DateTime& received, const std::string& fromFolder) {
    std::string folder = MessageFolder + ArchiveFolder + "/Y" + std::to_string(received.year()) +
                         "/M" + TwoDigits(received.month());
    if (InStr(LCase(fromFolder), "sent items/") == 1) folder += " Sent Items";
    return folder + "/";
}

bool frmArchive::SkippedFolder(const std::string& relative) {
    const std::string lower = LCase(ToSlashes(relative));
    for (const char* skip : {"bayes/", "archive/", "outbox/", "deleted/"})
        if (lower.find(skip) != std::string::npos) return true;
    return false;
}

std::string frmArchive::ShortenedBase(const std::string& name) {
    std::string base = LCase(name);
    while (base.find("re re") != std::string::npos) base = Replace(base, "re re", "re");
    base += std::string(50, ' ');
    return fileroot(base.substr(0, 35));
}

bool frmArchive::cmdOK_click(int year, int month, int day) {
    auto answer = platform::current().prompts().messageBox(
        gettranslation("Move old messages into the Archive folder?"), platform::Buttons::YesNo,
        platform::Icon::Question, gettranslation("Mail Archival"));
    if (answer != platform::Answer::Yes) return false;
    archivemail(LimitDate(year, month, day));
    return true;
}

ArchiveOutcome frmArchive::archivemail(const DateTime& limit) {
    outcome_ = {};
    guarded("archivemail", kModule, [&] {
        MkMissingDir(MessageFolder + ArchiveFolder);
        listener_->SetBusy(true);
        const DateTime before = limit.dateOnly().addDays(1);
        std::vector<std::string> folders{MessageFolder};
        fillfoldersrecursed(MessageFolder, folders);
        TargetNames targets;
        std::unordered_set<std::string> made;
        for (const auto& folder : folders) {
            const std::string relative = folder.substr(MessageFolder.size());
            if (SkippedFolder(relative)) continue;
            listener_->Status(gettranslation("Archiving ") + relative);
            std::vector<std::string> names;
            FillFiles(folder, "EML", names);
            const long total = static_cast<long>(names.size());
            for (long i = 0; i < total && !outcome_.Stopped; ++i) {
                std::string path = folder + names[static_cast<size_t>(i)];
                guarded("archivemail", kModule, [&] {
                    if (FileSize(path) == 0) {
                        if (EraseFile(path)) ++outcome_.Erased;
                        return;
                    }
                    const std::string name = fileonly(path);
                    const bool lower = name == LCase(name);
                    if (name.size() > 65) {
                        std::string shorter = getunusedfilename(
                            lower, folder, ShortenedBase(name), ".EML",
                            [&](const std::string& n) { return targets.taken(folder, n); });
                        if (moveInto(path, shorter)) {
                            targets.take(folder, fileonly(shorter));
                            path = shorter;
                        }
                    }
                    auto message = readmessageheader(path);
                    auto received = ParseDate(message->ReceiveDate);
                    if (!message->Read || !received || !(*received < before)) return;
                    const std::string target = TargetFolder(*received, relative);
                    if (made.insert(target).second) MkMissingDir(target);
                    std::string destination = getunusedfilename(
                        lower, target, fileroot(path), ".EML",
                        [&](const std::string& n) { return targets.taken(target, n); });
                    if (moveInto(path, destination)) {
                        targets.take(target, fileonly(destination));
                        ++outcome_.Moved;
                    }
                });
                if ((i + 1) % 25 == 0)
                    listener_->Status(gettranslation("File ") + std::to_string(i + 1) + "/" +
                                      std::to_string(total));
                DoEvents();
                if (listener_->StopRequested()) outcome_.Stopped = true;
            }
            if (outcome_.Stopped) break;
        }
        listener_->SetBusy(false);
        listener_->Status((outcome_.Stopped ? gettranslation("Archiving stopped. ")
                                            : gettranslation("Archiving Complete. ")) +
                          std::to_string(outcome_.Moved) + gettranslation(" file(s) moved"));
    });
    return outcome_;
}

} // namespace corva
