#include "instance/modRunnerMail.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"

namespace corva {

void Runner_ShowWindow(RunnerMailView& view) {
    guarded("Runner_ShowWindow", "frmMain", [&] {
        if (view.MailerLoaded()) {
            LogAction("Mailer loaded - showing it");
            view.ShowMailer();
            return;
        }
        LogAction("Mailer not loaded - showing main form instead");
        if (view.MainVisible()) {
            view.BringMainForward();
            LogAction("Main window visible - doing nothing");
        } else {
            LogAction("Main window NOT visible - showing it");
            view.ShowMain();
        }
    });
}

void Runner_ShowMail(const std::string& text, RunnerMailView& view) {
    guarded("Runner_ShowMail", "frmMain", [&] {
        if (std::optional<MailLink> link = ParseMailLink(text)) {
            view.OpenComposer(*link);
            return;
        }
        if (InStrNoCase(text, ".eml") == 0) return;
        const std::string path = Trim(Replace(text, "\"", ""));
        LogAction("Opening " + path);
        if (!FileExists(path)) return;
        LogAction("Loading message " + path);
        LogAction("Displaying " + path);
        view.OpenMessageFile(path);
    });
}

} // namespace corva
