#include "core/mSHAREDLogging.h"

#include "core/AppInfo.h"
#include "core/DateTime.h"
#include "platform/Platform.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>

namespace corva {

namespace {

std::string g_logFile;
std::string g_logOverride;
std::array<std::string, LastActionsSize + 1> g_actions;     // 1-based
std::array<std::string, LastActionsSize + 1> g_actionTimes; // 1-based
int16_t g_lastActionCount = 0;

std::string clockTime() {
    return DateTime::now().format("hh:nn:ss");
}

// The run log stays open between lines, and its lines wait in memory to
// reach the file in one write: a retrieved message logs several lines, and a
// write and a file check for each cost more than storing the message. They
// go out at most a second after they were logged (at the next line, or at the
// owner's timer calling FlushLog), at 64 KB, before an error is recorded or
// reported, and at exit. A log removed behind our back (no links left) is
// opened again by name.
constexpr size_t FlushBytes = 64 * 1024;
constexpr auto FlushAge = std::chrono::seconds(1);

struct OpenLog {
    std::string path;
    FILE* file = nullptr;
    std::string pending;
    std::chrono::steady_clock::time_point oldest; // when pending's first line came

    bool flush() {
        if (pending.empty()) return true;
        std::error_code missing;
        if (file && !std::filesystem::exists(path, missing)) closeFile();
        if (!file) {
            file = std::fopen(path.c_str(), "ab");
            if (file) platform::current().files().restrictToOwner(path);
        }
        bool ok = file && std::fwrite(pending.data(), 1, pending.size(), file) == pending.size();
        ok = ok && std::fflush(file) == 0;
        if (!ok) closeFile();
        // A line that can't be written is dropped rather than kept growing.
        pending.clear();
        return ok;
    }
    void closeFile() {
        if (file) std::fclose(file);
        file = nullptr;
    }
    void close() {
        flush();
        closeFile();
        path.clear();
    }
    ~OpenLog() { close(); }
};

OpenLog g_open;

bool appendRaw(const std::string& path, const std::string& bytes, bool truncate) {
    if (truncate || g_open.path != path) g_open.close();
    if (truncate) {
        g_open.file = std::fopen(path.c_str(), "wb");
        if (!g_open.file) return false;
        platform::current().files().restrictToOwner(path);
    }
    g_open.path = path;
    const auto now = std::chrono::steady_clock::now();
    if (g_open.pending.empty()) g_open.oldest = now;
    g_open.pending += bytes;
    if (g_open.pending.size() >= FlushBytes || now - g_open.oldest >= FlushAge)
        return g_open.flush();
    return true;
}

void store(const std::string& text, const std::string& procedure, const std::string& module,
           int16_t index) {
    std::string entry = text;
    if (!procedure.empty()) entry += " in " + procedure;
    if (!module.empty()) entry += " of module " + module;
    g_actions[static_cast<size_t>(index)] = entry;
    g_actionTimes[static_cast<size_t>(index)] = clockTime();
}

} // namespace

std::string LogLine(const std::string& text) {
    std::string line = clockTime();
    // The text starts at the next print column; columns fall every 14 characters.
    size_t column = ((line.size() / 14) + 1) * 14;
    line.append(column - line.size(), ' ');
    return line + text;
}

const std::string& SetLogFileName() {
    if (!g_logOverride.empty()) return g_logOverride;
    g_logFile = AppPath() + "log.txt";
    return g_logFile;
}

void SetLogFileOverride(const std::string& path) {
    g_logOverride = path;
}

void LogToFile(const std::string& path, const std::string& text, bool fresh) {
    // A run that writes nothing keeps no log either.
    if (!platform::current().files().writesAllowed()) return;
    try {
        if (fresh) {
            std::error_code ec;
            if (g_open.path == path) g_open.close();
            std::filesystem::remove(path, ec);
            if (std::filesystem::exists(path, ec)) fresh = false;
        }
        if (fresh) {
            std::string block;
            block += LogLine("Log file created " + DateTime::now().format("yyyy-mm-dd hh:nn:ss")) +
                     "\r\n";
            block += LogLine("Operating System: " + fosname()) + "\r\n";
            block += LogLine("App: " + AppTitle()) + "\r\n";
            block += LogLine("Version: " + AppVersion()) + "\r\n";
            block += LogLine(text) + "\r\n";
            appendRaw(path, block, true);
        } else {
            appendRaw(path, LogLine(text) + "\r\n", false);
        }
    } catch (...) {
        // A log line that can't be written is dropped; the program goes on.
    }
}

void FlushLog() {
    try {
        g_open.flush();
    } catch (...) {
    }
}

void LogAction(const std::string& text, bool fresh) {
    LogToFile(SetLogFileName(), text, fresh);
}

void RecordAction(const std::string& text, const std::string& procedure,
                  const std::string& module) {
    try {
        int16_t next = static_cast<int16_t>(g_lastActionCount + 1);
        if (next > LastActionsSize) {
            ListLastActions();
            next = 1;
        }
        g_lastActionCount = next;
        store(text, procedure, module, next);
    } catch (...) {
    }
}

void RecordDebug(const std::string& text, const std::string& procedure, const std::string& module) {
    try {
        int16_t next = static_cast<int16_t>(g_lastActionCount + 1);
        if (next > LastActionsSize) next = 1;
        g_lastActionCount = next;
        store("DBG: " + text, procedure, module, next);
    } catch (...) {
    }
}

namespace {
template <class F> void walkRing(F&& visit) {
    for (int i = g_lastActionCount + 1; i <= LastActionsSize; ++i) visit(static_cast<size_t>(i));
    for (int i = 1; i <= g_lastActionCount; ++i) visit(static_cast<size_t>(i));
}
} // namespace

void ListLastActions() {
    try {
        LogAction("Listing last " + std::to_string(LastActionsSize) + " actions: ");
        int n = 0;
        walkRing([&](size_t i) {
            if (g_actions[i].empty()) return;
            ++n;
            LogAction(" >> " + std::to_string(n) + ": " + g_actions[i] + " - " + g_actionTimes[i]);
        });
        LogAction("End of actions list");
    } catch (...) {
    }
}

std::vector<std::string> LastActionEntries() {
    std::vector<std::string> out;
    walkRing([&](size_t i) {
        if (!g_actions[i].empty()) out.push_back(g_actions[i]);
    });
    return out;
}

void ResetLastActions() {
    for (auto& a : g_actions) a.clear();
    for (auto& t : g_actionTimes) t.clear();
    g_lastActionCount = 0;
}

} // namespace corva
