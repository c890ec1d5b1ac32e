// The error report for the few places that can't go on. The windows install a
// report view; until then (and on the command line) the text is logged and
// shown through the platform's message box.
#pragma once

#include <exception>
#include <functional>
#include <string>

namespace corva {

// "Error " + number + " - " + description + " in " + procedure + " of " + module, then showerr.
void showerrobj(const std::exception& e, const std::string& procedure, const std::string& module);
void showerr(const std::string& text);
// The report "View Error Report" writes to fulllog.txt.
std::string BuildErrorReport(const std::string& errorText, const std::string& userMessage,
                             bool commentsOpened, const std::string& logText);
// The mail link of "Submit Error Report", with the log file named as the attachment.
std::string BuildErrorMailLink(const std::string& errorText, const std::string& userMessage,
                               bool commentsOpened, const std::string& logText,
                               const std::string& logPath);
// Removes from a text what a mail link can't hold.
std::string makeclean(const std::string& text);

// Replaces the presenter of showerr; an empty function restores the default.
void SetErrorReportHandler(std::function<void(const std::string&)> handler);

} // namespace corva
