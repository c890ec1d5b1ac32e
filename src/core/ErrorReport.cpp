#include "core/ErrorReport.h"

#include "core/AppInfo.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/ShownText.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "platform/Platform.h"

#include <iostream>

namespace corva {

namespace {
std::function<void(const std::string&)>& handler() {
    static std::function<void(const std::string&)> h;
    return h;
}
} // namespace

void SetErrorReportHandler(std::function<void(const std::string&)> h) {
    handler() = std::move(h);
}

void showerr(const std::string& text) {
    try {
        RecordAction(text, "showerr", "fSHAREDErrorRpt");
        LogAction(text);
        // The report shows the log, and the program may not outlive it.
        FlushLog();
        if (handler()) {
            handler()(text);
            return;
        }
        platform::current().prompts().messageBox(
            text, platform::Buttons::Ok, platform::Icon::Critical, ShownText("Error Reporter"));
    } catch (...) {
    }
}

void ConsoleErrorReport(const std::string& text) {
    try {
        std::string block = "Error Reporter: an error has ocurred:\n";
        for (const std::string& line : SplitLines(text)) block += "  " + line + "\n";
        block += "  The run log is " + AppPath() + "log.txt; please send it with this report to " +
                 SupportAddress() + "\n";
        std::cerr << block << std::flush;
    } catch (...) {
    }
}

namespace {

std::string reportHeading() {
    return "Error Report: " + AppTitle() + " " + AppVersion() + ", " + fosname();
}

// What a mail link can carry: its own escapes first, then every line end as one.
std::string linkText(const std::string& text) {
    std::string t = Replace(text, "%", "%25");
    t = Replace(t, "?", "%3F");
    t = Replace(t, "&", "%26");
    t = Replace(t, "#", "%23");
    t = Replace(t, "\r\n", "\n");
    t = Replace(t, "\r", "\n");
    return Replace(t, "\n", "%0D%0A");
}

} // namespace

std::string makeclean(const std::string& text) {
    std::string out;
    for (char c : text)
        if (static_cast<unsigned char>(c) >= 32 || c == '\r' || c == '\n' || c == '\t') out += c;
    return out;
}

std::string BuildErrorReport(const std::string& errorText, const std::string& userMessage,
                             bool commentsOpened, const std::string& logText) {
    std::string report = reportHeading();
    report += "\r\n\r\n" + errorText;
    if (commentsOpened) report += "\r\n\r\n" + userMessage;
    std::string log = logText;
    if (log.size() > 400)
        log = log.substr(0, 400) + " *Email will truncate here* " + log.substr(400);
    report += "\r\n\r\n" + log;
    report +=
        "\r\n\r\nIf the 'submit report' button doesn't work on your system, open an email to '" +
        SupportAddress() + "' and paste the following text into it.  Your reports are appreciated.";
    return report;
}

std::string BuildErrorMailLink(const std::string& errorText, const std::string& userMessage,
                               bool commentsOpened, const std::string& logText,
                               const std::string& logPath) {
    std::string body = reportHeading() + " (Please click Attach and add the file " +
                       fileonly(logPath) + ")\r\n" + errorText;
    if (commentsOpened) body += "\r\nUser: " + makeclean(userMessage);
    std::string log = linkText(logText);
    if (log.size() > 400) log = log.substr(0, 400);
    std::string subject =
        Replace("Bug Report (" + AppTitle() + " - " + AppVersion() + ")", " ", "%20");
    return "mailto:" + SupportAddress() + "?subject=" + subject + "&body=" + linkText(body) +
           "%0D%0A" + log + "&attachment=" + logPath;
}

void showerrobj(const std::exception& e, const std::string& procedure, const std::string& module) {
    showerr("Error " + std::to_string(errorNumber(e)) + " - " + errorText(e) + " in " + procedure +
            " of " + module);
}

} // namespace corva
