#include "store/clsCache.h"

#include "core/AppInfo.h"
#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "core/modSubs.h"
#include "store/modMessageFiles.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

namespace corva {

namespace {

const char* kModule = "CLSCACHE";

std::string flag16(bool b) {
    return b ? "-1" : "0";
}

// A single-precision number as text, as short as it reads back.
std::string singleText(float value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.7g", static_cast<double>(value));
    return buffer;
}

// The file names the mailer lists: .eml messages and .qbx containers.
std::vector<std::string> listMessageFiles(const std::string& folder) {
    std::vector<std::string> names;
    FillFiles(folder, "*.EML*.QBX", names);
    std::vector<std::string> files;
    files.reserve(names.size());
    for (auto& n : names) {
        std::string ext = extonly(n);
        if (EqualsNoCase(ext, "eml") || EqualsNoCase(ext, "qbx")) files.push_back(folder + n);
    }
    return files;
}

// A copy holding only what a list line needs: a folder of thousands stays small.
clsMessage listFields(const clsMessage& m) {
    clsMessage slim;
    slim.Read = m.Read;
    slim.Replied = m.Replied;
    slim.Size = m.Size;
    slim.From = m.From;
    slim.To_Email = m.To_Email;
    slim.SendDate = m.SendDate;
    slim.ReceiveDate = m.ReceiveDate;
    slim.Bayes = m.Bayes;
    slim.HighPriority = m.HighPriority;
    slim.setFilename(m.Filename());
    slim.MessageID = m.MessageID;
    slim.Subject = m.Subject;
    slim.Colour = m.Colour;
    return slim;
}

// Once a second at most, so that a big folder doesn't spend its time painting.
class ProgressTicker {
public:
    bool due() {
        auto now = std::chrono::steady_clock::now();
        if (now < next_) return false;
        next_ = now + std::chrono::seconds(1);
        return true;
    }

private:
    std::chrono::steady_clock::time_point next_ =
        std::chrono::steady_clock::now() + std::chrono::seconds(1);
};

} // namespace

clsCache::clsCache()
    : random_(static_cast<unsigned>(std::chrono::steady_clock::now().time_since_epoch().count())) {}

std::string clsCache::MakeMessageID() {
    std::uniform_int_distribution<int> below(0, 999999);
    return "<Corva." + AppVersion() + "." +
           singleText(static_cast<float>(DateTime::now().serial())) + "." +
           std::to_string(below(random_)) + ">";
}

namespace {

// CacheField appended in place: most fields hold nothing it changes, and a
// folder of many thousand rows is written whole at every marking.
void appendField(std::string& out, const std::string& text) {
    if (text.find_first_of(std::string_view("\r\n\0|", 4)) == std::string::npos)
        out += text;
    else
        out += clsCache::CacheField(text);
}

void appendRow(std::string& out, const clsMessage& m) {
    const std::string_view sep = CacheSeparator;
    out += flag16(m.Read);
    out += sep;
    out += flag16(m.Replied);
    out += sep;
    out += singleText(m.Size);
    out += sep;
    for (const std::string* field : {&m.From, &m.To_Email, &m.SendDate, &m.ReceiveDate}) {
        appendField(out, *field);
        out += sep;
    }
    out += singleText(m.Bayes);
    out += sep;
    out += flag16(m.HighPriority);
    out += sep;
    appendField(out, m.Filename());
    out += sep;
    appendField(out, m.MessageID);
    out += sep;
    appendField(out, m.Subject);
    out += "\r\n";
}

} // namespace

std::string clsCache::CacheRow(const clsMessage& m) {
    std::string line;
    appendRow(line, m);
    return line;
}

std::string clsCache::CacheField(const std::string& text) {
    // Line ends go (a folded header keeps its blank, so the words stay apart),
    // and so does NUL, which ends a line for some readers.
    std::string out;
    out.reserve(text.size());
    for (char c : text)
        if (c != '\r' && c != '\n' && c != '\0') out += c;
    out = Replace(out, CacheSeparator, "--");
    // "x|-" before the separator would read as "x" and a field starting "-|".
    if (out.size() >= 2 && out.compare(out.size() - 2, 2, "|-") == 0)
        out.replace(out.size() - 2, 1, "-");
    return out;
}

void clsCache::fillcache(CacheView* view, const std::string& folderPath,
                         const std::string& folderName) {
    auto status = [&](const std::string& text) {
        if (view) view->ShowStatus(text);
    };
    guarded("fillcache", kModule, [&] {
        filling_ = true;
        path_ = addslash(ResolvePath(addslash(ToSlashes(folderPath))));
        folderName_ = folderName;
        cacheFile_ = ResolvePath(path_ + CacheFileName);
        items_.Clear();
        hasCollection_ = true;
        stale_ = false;
        status("Reading mail files");
        busymouse();

        FileIndex index;
        index.files = listMessageFiles(path_);
        index.matched.assign(index.files.size(), false);
        const size_t total = index.files.size();
        if (total > 100) {
            status("Loading headers");
            if (view) view->ShowListProgress("Loading folder: ");
            DoEvents();
        }

        if (!FileExists(cacheFile_)) {
            stale_ = true;
        } else {
            for (size_t i = 0; i < total; ++i)
                index.byLowerPath[LCase(index.files[i])].at.push_back(i);
            readCache(&index);
            // Each entry takes the first file of its name still unmatched: the
            // walk through the list, done by lookup so a big folder stays linear.
            for (const auto& entry : items_) {
                auto it = index.byLowerPath.find(LCase(Trim(entry->Filename())));
                if (it == index.byLowerPath.end() || it->second.taken >= it->second.at.size())
                    continue;
                index.matched[it->second.at[it->second.taken++]] = true;
            }
        }

        ProgressTicker ticker;
        size_t done = 0, toRead = 0;
        for (size_t i = 0; i < total; ++i)
            if (!index.matched[i]) ++toRead;
        for (size_t i = 0; i < total; ++i) {
            if (index.matched[i]) continue;
            stale_ = true;
            auto message = readmessageheader(index.files[i]);
            AddMsg(*message, false);
            ++done;
            if (ticker.due()) {
                status("Reading mail files: " + Str(static_cast<long long>(done)) + " of " +
                       Str(static_cast<long long>(toRead)));
                DoEvents();
            }
        }
        status("Tidying up");
        DoEvents();
    });
    filling_ = false;
    filled_ = true;
    // A cache that said it all is left as it is: rewriting a big folder's file
    // on every open would cost more than reading it.
    if (stale_) WriteCache();
    normalmouse();
}

void clsCache::Clear(bool deleteDisk) {
    guarded("clear", kModule, [&] {
        if (deleteDisk)
            DeleteDiskCache();
        else
            WriteCache();
    });
    items_.Clear();
    hasCollection_ = false;
    path_.clear();
    folderName_.clear();
    cacheFile_.clear();
    filled_ = false;
}

void clsCache::AddMsg(const clsMessage& message, bool fromCache) {
    addEntry(std::make_shared<clsMessage>(fromCache ? message : listFields(message)));
}

void clsCache::addEntry(clsMessages::Ptr entry) {
    guarded("addmsg", kModule, [&] {
        if (entry->MessageID.empty()) entry->MessageID = MakeMessageID();
        if (items_.Item(entry->MessageID))
            throw RunError(457,
                           "This key is already associated with an element of this collection: " +
                               entry->MessageID + " " + entry->Filename());
        items_.Add(entry, entry->MessageID);
        hasCollection_ = true;
    });
}

long clsCache::findByFilename(const std::string& name) const {
    std::string wanted = Trim(name);
    long position = 0;
    for (const auto& entry : items_) {
        ++position;
        if (EqualsNoCase(Trim(entry->Filename()), wanted)) return position;
    }
    return 0;
}

void clsCache::removeAt(long index) {
    if (index > 0) items_.Remove(index);
}

void clsCache::RemoveMsg(const clsMessage& message) {
    guarded("removemsg", kModule, [&] { removeAt(findByFilename(message.Filename())); });
}

void clsCache::RemoveByFilename(const std::string& name) {
    guarded("removebyfilename", kModule, [&] { removeAt(findByFilename(name)); });
}

void clsCache::RemoveByFilenames(const std::vector<std::string>& names) {
    guarded("removebyfilename", kModule, [&] {
        std::unordered_map<std::string, bool> wanted;
        for (const auto& name : names) wanted.emplace(LCase(Trim(name)), false);
        std::vector<long> positions;
        long position = 0;
        for (const auto& entry : items_) {
            ++position;
            auto it = wanted.find(LCase(Trim(entry->Filename())));
            // The first entry of a name, as one at a time would find it.
            if (it == wanted.end() || it->second) continue;
            it->second = true;
            positions.push_back(position);
        }
        for (auto it = positions.rbegin(); it != positions.rend(); ++it) removeAt(*it);
    });
}

void clsCache::MarkMsgReadUnread(const std::string& name, bool flag) {
    guarded("markmsgreadunread", kModule, [&] {
        if (long i = findByFilename(name)) items_.Item(i)->Read = flag;
    });
}

void clsCache::MarkMsgsReadUnread(const std::vector<std::string>& names, bool flag) {
    guarded("markmsgreadunread", kModule, [&] {
        std::unordered_map<std::string, bool> wanted;
        for (const auto& name : names) wanted.emplace(LCase(Trim(name)), false);
        for (const auto& entry : items_) {
            auto it = wanted.find(LCase(Trim(entry->Filename())));
            // The first entry of a name, as one at a time would find it.
            if (it == wanted.end() || it->second) continue;
            it->second = true;
            entry->Read = flag;
        }
    });
}

void clsCache::MarkMsgPriority(const std::string& name, bool flag) {
    guarded("markmsgpriority", kModule, [&] {
        if (long i = findByFilename(name)) items_.Item(i)->HighPriority = flag;
    });
}

void clsCache::MarkMsgRepliedOrNot(const std::string& name, bool flag) {
    guarded("markmsgrepliedornot", kModule, [&] {
        if (long i = findByFilename(name)) items_.Item(i)->Replied = flag;
    });
}

void clsCache::WriteCache() {
    guarded("writecache", kModule, [&] {
        if (cacheFile_.empty() || NoCacheFlag) return;
        if (!hasCollection_) {
            EraseFile(cacheFile_);
            return;
        }
        std::string text = std::string(CacheHeaderLine) + "\r\n";
        text.reserve(static_cast<size_t>(items_.Count()) * 200);
        for (const auto& entry : items_) appendRow(text, *entry);
        // A cache that can't be written is simply not written; it is rebuilt next time.
        WriteFileAtomically(cacheFile_, text, false);
    });
}

void clsCache::ReadCache() {
    readCache(nullptr);
}

void clsCache::readCache(const FileIndex* index) {
    guarded("readcache", kModule, [&] {
        items_.Clear();
        hasCollection_ = true;
        std::string text;
        if (cacheFile_.empty() || !LoadTextFile(cacheFile_, text)) return;

        std::string_view rest(text);
        auto nextLine = [&](std::string_view& line) {
            if (rest.empty()) return false;
            size_t end = rest.find("\r\n");
            line = rest.substr(0, end);
            rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 2);
            return true;
        };

        std::string_view line;
        nextLine(line);
        int colRead = -1, colReplied = -1, colSize = -1, colFrom = -1, colTo = -1, colSendDate = -1,
            colReceiveDate = -1, colBayes = -1, colFilename = -1, colSubject = -1, colPriority = -1,
            colId = -1;
        std::vector<std::string> names = Split(line, CacheSeparator);
        for (int i = 0; i < static_cast<int>(names.size()); ++i) {
            std::string n = LCase(names[i]);
            if (n == "read")
                colRead = i;
            else if (n == "replied")
                colReplied = i;
            else if (n == "size")
                colSize = i;
            else if (n == "from")
                colFrom = i;
            else if (n == "to")
                colTo = i;
            else if (n == "senddate")
                colSendDate = i;
            else if (n == "receivedate")
                colReceiveDate = i;
            else if (n == "bayes")
                colBayes = i;
            else if (n == "filename")
                colFilename = i;
            else if (n == "subject")
                colSubject = i;
            else if (n == "priority")
                colPriority = i;
            else if (n == "id")
                colId = i;
        }
        if (line != CacheHeaderLine) stale_ = true;
        if (colId <= 0) {
            // Written by an older version: the folder is rebuilt from its files.
            EraseFile(cacheFile_);
            return;
        }

        int lastColumn = 0;
        for (int c : {colRead, colReplied, colSize, colFrom, colTo, colSendDate, colReceiveDate,
                      colBayes, colFilename, colSubject, colPriority, colId})
            lastColumn = std::max(lastColumn, c);
        const std::string root = addslash(ToSlashes(MessageFolder));
        while (nextLine(line)) {
            if (line.empty()) continue;
            bool taken = false;
            guarded("readcache", kModule, [&] {
                std::vector<std::string> f = Split(line, CacheSeparator);
                // A row cut short (a torn write, a separator in From) has no
                // safe reading; its file is read again instead.
                if (static_cast<int>(f.size()) <= lastColumn)
                    throw RunError(Err::SubscriptOutOfRange,
                                   "Cache row with " + Str(static_cast<long long>(f.size())) +
                                       " fields");
                auto field = [&](int column) -> const std::string& {
                    if (column < 0)
                        throw RunError(Err::SubscriptOutOfRange, "Cache column missing");
                    return f[static_cast<size_t>(column)];
                };
                std::string stored = ToSlashes(field(colFilename));
                // Relative to the message root; a store that was moved is found
                // by the "messages" folder in its old path.
                std::string relative = stored;
                if (size_t at = InStrNoCase(stored, root); at > 0 && !root.empty()) {
                    relative = stored.substr(at - 1 + root.size());
                } else if (size_t m = InStr(LCase(stored), "/messages/"); m > 0) {
                    relative = stored.substr(m - 1 + 10);
                }
                std::string full = root + relative;
                std::string actual;
                if (index) {
                    auto it = index->byLowerPath.find(LCase(full));
                    if (it != index->byLowerPath.end())
                        actual = index->files[it->second.at.front()];
                }
                if (actual.empty()) {
                    if (relative.empty() || !FileExists(full)) return;
                    actual = ResolvePath(full);
                }
                auto entry = std::make_shared<clsMessage>();
                clsMessage& m = *entry;
                m.Bayes = static_cast<float>(Val(field(colBayes)));
                m.From = field(colFrom);
                m.Read = Val(field(colRead)) != 0;
                m.setFilename(actual);
                m.ReceiveDate = field(colReceiveDate);
                if (colPriority >= 0) m.HighPriority = Val(field(colPriority)) != 0;
                m.Replied = Val(field(colReplied)) != 0;
                m.SendDate = field(colSendDate);
                m.Size = static_cast<float>(Val(field(colSize)));
                m.Subject = field(colSubject);
                m.To_Email = field(colTo);
                m.MessageID = field(colId);
                long before = Count();
                addEntry(entry);
                taken = Count() > before && m.Filename() == field(colFilename);
            });
            // Anything but a row taken as it stands leaves the file to be rewritten.
            if (!taken) stale_ = true;
        }
    });
}

void clsCache::DeleteDiskCache() {
    guarded("deletediskcache", kModule, [&] {
        if (!cacheFile_.empty()) EraseFile(cacheFile_);
    });
}

} // namespace corva
