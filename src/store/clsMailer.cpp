#include "store/clsMailer.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "platform/Platform.h"
#include "store/clsCache.h"
#include "store/modFolders.h"
#include "store/modMessageFiles.h"
#include "store/modQBX.h"
#include "store/modTags.h"

#include <chrono>

namespace corva {

namespace {

const char* kModule = "clsMailer";

// The loop hands control to pending events a quarter of a second after it
// starts and about once a second after that. Time is the platform's clock, so
// a test can let it pass without waiting.
class YieldClock {
public:
    void maybeYield() {
        const auto now = platform::current().clock().now();
        // A wall clock set back meanwhile would put the next yield hours away.
        if (now < next_ && now + std::chrono::seconds(2) > next_) return;
        next_ = now + std::chrono::seconds(1);
        DoEvents();
    }

private:
    std::chrono::system_clock::time_point next_ =
        platform::current().clock().now() + std::chrono::milliseconds(250);
};

// Adds items 1 to total, yielding now and then, and looks for a stop before
// and after each; false when stopped partway (the view is then told nothing
// more).
template <class Stopped, class AddOne> bool walkItems(long total, Stopped stopped, AddOne addOne) {
    YieldClock clock;
    for (long i = 1; i <= total; ++i) {
        if (stopped()) {
            DoEvents();
            return false;
        }
        addOne(i);
        if (stopped()) {
            DoEvents();
            return false;
        }
        clock.maybeYield();
    }
    return true;
}

} // namespace

void clsMailer::PopulateFolders(bool rebuild) {
    events().ClearFolders();
    guarded("populatefolders", kModule, [&] {
        if (rebuild) {
            EraseFile(FoldersIniPath);
            EraseFile(FolderListIniPath);
        }
        if (!FileExists(FoldersIniPath)) generatefolderini();
        events().AddFolder("Folders", "");
        // A file edited by hand may have lost its CRs.
        std::string text = Replace(LoadTextFile(FoldersIniPath), "\r\n", "\n");
        if (EndsWith(text, "\n")) text.pop_back();
        if (text.empty()) return;
        std::vector<std::string> lines = Split(text, "\n");
        // A file with an odd number of lines fails at the last pair's parent,
        // which ends the walk; the folders before it stand.
        for (size_t i = 0; i < lines.size(); i += 2) {
            if (Trim(lines[i]).empty()) continue;
            events().AddFolder(lines[i], lines.at(i + 1));
        }
    });
    events().FinishedAddingFolders();
}

void clsMailer::AddMessage(clsMessage& message, long current, long total, Run& run) {
    if (run.unreadOnly && message.Read) return;
    guarded("addmessage", kModule, [&] {
        long day = daynumber(message.ReceiveDate);
        if (!message.Read && day > run.mostRecentUnread) run.mostRecentUnread = day;
        // The list shows age, not the rule that once coloured the message.
        message.Colour = run.ages.colourFor(day);
    });
    events().AddMessage(message, current, total);
    if (!message.Read) {
        if (!run.someUnreadSeen) {
            events().SomeUnreadMessages();
            run.someUnreadSeen = true;
        }
        ++run.unreadCount;
    }
}

void clsMailer::finish(Run& run) {
    if (!run.someUnreadSeen) events().NoUnreadMessages();
    events().FinishedAddingMessages(run.unreadCount, run.mostRecentUnread);
}

void clsMailer::PopulateFromCache(clsCache& cache, bool unreadOnly) {
    stop_ = false;
    busy_ = true;
    const unsigned long generation = ++generation_;
    auto stopped = [&] { return stop_ || generation != generation_; };
    guarded("populatefromcache", kModule, [&] {
        events().ClearMessages();
        events().FolderMessageCount(cache.Count());
        Run run{unreadOnly, 0, 0, false, AgeColours::FromSettings()};
        const long total = cache.Count();
        // Entries are held by pointer, so a change of the cache during a yield
        // can't pull one from under the loop.
        bool whole = walkItems(total, stopped, [&](long i) {
            auto message = cache.Item(i);
            if (message) AddMessage(*message, i, total, run);
        });
        if (whole && !stopped()) finish(run);
    });
    if (generation == generation_) busy_ = false;
    DoEvents();
}

void clsMailer::PopulateMessageList(const std::string& folderPath, bool unreadOnly) {
    stop_ = false;
    busy_ = true;
    const unsigned long generation = ++generation_;
    auto stopped = [&] { return stop_ || generation != generation_; };
    guarded("populatemessagelist", kModule, [&] {
        events().ClearMessages();
        Run run{unreadOnly, 0, 0, false, AgeColours::FromSettings()};
        std::string folder = addslash(ResolvePath(addslash(ToSlashes(folderPath))));
        std::vector<std::string> names, files;
        FillFiles(folder, "*.EML;*.QBX", names);
        for (auto& n : names) {
            std::string ext = extonly(n);
            if (EqualsNoCase(ext, "eml") || EqualsNoCase(ext, "qbx")) files.push_back(folder + n);
        }
        const long total = static_cast<long>(files.size());
        events().FolderMessageCount(total);
        if (stopped()) return;
        bool whole = walkItems(total, stopped, [&](long i) {
            const std::string& file = files[static_cast<size_t>(i - 1)];
            if (EqualsNoCase(extonly(file), "qbx")) {
                clsMessages inside;
                LoadQBXIndex(withextension(file, ".idx"), inside);
                for (const auto& m : inside) {
                    AddMessage(*m, i, total, run);
                    if (stopped()) break;
                }
            } else {
                auto message = readmessageheader(file);
                AddMessage(*message, i, total, run);
            }
        });
        if (whole && !stopped()) finish(run);
    });
    if (generation == generation_) busy_ = false;
    DoEvents();
}

} // namespace corva
