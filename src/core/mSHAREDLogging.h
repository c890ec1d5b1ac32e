// The run log (log.txt, rewritten at each start) and the ring of the last 40
// actions, which is written into the log on shutdown and when it wraps.
#pragma once

#include <string>
#include <vector>

namespace corva {

constexpr int LastActionsSize = 40;

// log.txt in the program folder; computed on first use.
const std::string& SetLogFileName();
// One line to log.txt; fresh recreates the file with its header first.
void LogAction(const std::string& text, bool fresh = false);
// Lines are buffered; this writes what waits. Whoever reads the log calls it
// first; the program's owner calls it at least once a second.
void FlushLog();
// The same to any file. Each line is "HH:MM:SS", blanks to column 15, the text, CR LF.
void LogToFile(const std::string& path, const std::string& text, bool fresh = false);
// One entry in the ring: text + " in " + procedure + " of module " + module.
void RecordAction(const std::string& text, const std::string& procedure = "",
                  const std::string& module = "");
// A ring entry marked "DBG: " that never flushes the ring to the log.
void RecordDebug(const std::string& text, const std::string& procedure = "",
                 const std::string& module = "");
// Writes the ring, oldest first, to log.txt.
void ListLastActions();

// The ring as it stands, oldest first, without empty entries (for reports and tests).
std::vector<std::string> LastActionEntries();
// Empties the ring (tests, and a fresh start).
void ResetLastActions();
// Points the log at another file (tests); "" goes back to log.txt in the program folder.
void SetLogFileOverride(const std::string& path);

// One line in the log's format, without the line end.
std::string LogLine(const std::string& text);

} // namespace corva
