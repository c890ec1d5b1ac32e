// The error report for the few places that can't go on. The windows install a
// report view; until then (and on the command line) the text is logged and
// shown through the platform's message box.
#pragma once

#include "core/ErrorHandler.h"

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

// What the program says of an exception: a RunError's own words, otherwise the
// standard description of its number, never a library's message.
std::string errorText(const std::exception& e);
// Replaces the presenter of showerr; an empty function restores the default.
void SetErrorReportHandler(std::function<void(const std::string&)> handler);
// The presenter for a program without windows: one block on standard error.
void ConsoleErrorReport(const std::string& text);

// Runs a procedure that can't go on after a failure: the failure is recorded
// as the general handler does, then reported; the fallback is returned.
template <class T, class F>
T reportedValue(const char* procedure, const char* module, T fallback, F&& fn) noexcept {
    try {
        return fn();
    } catch (const std::exception& e) {
        HandleError(e, procedure, module);
        showerrobj(e, procedure, module);
    } catch (...) {
        HandleUnknownError(procedure, module);
        showerr("Error 0 - " + errorDescription(0) + " in " + procedure + " of " + module);
    }
    return fallback;
}
template <class F> bool reported(const char* procedure, const char* module, F&& step) noexcept {
    return reportedValue(procedure, module, false, [&] {
        step();
        return true;
    });
}

} // namespace corva
