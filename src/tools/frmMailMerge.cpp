#include "tools/frmMailMerge.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDGeneral.h"
#include "core/mSHAREDSettings.h"
#include "core/modSubs.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"
#include "platform/Platform.h"
#include "smtp/frmSendMailWrapper.h"
#include "store/modTags.h"

#include <algorithm>

namespace corva {
namespace {
constexpr const char* kModule = "frmMailMerge";

void box(const std::string& text, platform::Icon icon = platform::Icon::Exclamation) {
    platform::current().prompts().messageBox(text, platform::Buttons::Ok, icon,
                                             gettranslation("Mail Merge"));
}

bool beginsWithSubject(const std::string& text) {
    return text.compare(0, 8, "Subject:") == 0;
}

} // namespace

void frmMailMerge::Form_Load() {
    DataFile = sget("MergeDataFile", "").toText();
    TemplateFile = sget("MergeTemplateFile", "").toText();
    confirmed_ = false;
}

bool frmMailMerge::cmdGo_click() {
    confirmed_ = false;
    guarded("cmdGo_click", kModule, [&] {
        if (!FileExists(DataFile)) return box(gettranslation("Name list file not found"));
        if (!FileExists(TemplateFile)) return box(gettranslation("Email template file not found"));
        if (!beginsWithSubject(LoadTextFile(TemplateFile)))
            box(gettranslation("Warning: The first line of your email template should be "
                               "'Subject: [subject here]'"));
        sset("MergeDataFile", DataFile);
        sset("MergeTemplateFile", TemplateFile);
        confirmed_ = true;
    });
    return confirmed_;
}

std::string MergeRow(const std::vector<std::string>& header, const std::vector<std::string>& parts,
                     const std::string& templateText) {
    std::string text = templateText;
    for (size_t c = 0; c < header.size() && c < parts.size(); ++c)
        if (!header[c].empty()) text = ReplaceNoCase(text, header[c], Trim(parts[c]));
    return text;
}

MergeOutcome DoMailMerge(MailMergeView& view) {
    frmMailMerge dialog;
    dialog.Form_Load();
    if (!view.ShowDialog(dialog) || !dialog.Confirmed()) return {};
    MergeOutcome outcome = DoMailMerge(dialog, view);
    if (outcome.Ran) box(outcome.Report, platform::Icon::Information);
    return outcome;
}

MergeOutcome DoMailMerge(const frmMailMerge& dialog, ToolListener& listener) {
    MergeOutcome outcome;
    guarded("DoMailMerge", kModule, [&] {
        const std::string data = LoadTextFile(dialog.DataFile);
        const std::string templateText = LoadTextFile(dialog.TemplateFile);
        if (data.empty() || templateText.empty())
            return box(gettranslation("Error: One or both files are empty."));
        if (!beginsWithSubject(templateText) &&
            platform::current().prompts().messageBox(
                gettranslation("Warning: Your email will have no subject line. Continue anyway?"),
                platform::Buttons::YesNo, platform::Icon::Question,
                gettranslation("Mail Merge")) != platform::Answer::Yes)
            return;

        const std::vector<std::string> lines = Split(data, "\r\n");
        const std::vector<std::string> header = Split(lines.front(), ",");
        size_t emailColumn = header.size();
        for (size_t c = 0; c < header.size() && emailColumn == header.size(); ++c)
            if (UCase(Trim(header[c])) == "$EMAIL") emailColumn = c;
        if (emailColumn == header.size())
            return box(
                gettranslation("Error: Your mail merge data file must contain an $EMAIL field"));

        outcome.Ran = true;
        listener.SetBusy(true);
        frmSendMailWrapper wrapper;
        // The data file's closing CR LF leaves an empty last line: no row to count.
        const size_t rows = lines.size() - (lines.back().empty() ? 2 : 1);
        const int account = defaultaccount();
        const std::string from = sget("REPLYADDRESS" + std::to_string(account), "").toText();
        for (size_t row = 1; row < lines.size(); ++row) {
            std::vector<std::string> parts = Split(lines[row], ",");
            // Extra parts join the last column with nothing between: the commas of
            // a value in the last column are lost, as they always were.
            while (parts.size() > header.size()) {
                parts[header.size() - 1] += parts[header.size()];
                parts.erase(parts.begin() + static_cast<long>(header.size()));
            }
            if (parts.size() < header.size()) continue;
            const std::string text = MergeRow(header, parts, templateText);

            clsMessage message;
            message.FromAccount = static_cast<int16_t>(account);
            message.From = from;
            message.ReplyTo = from;
            message.ReturnPath = from;
            std::string subjectLine;
            std::string body = text;
            if (beginsWithSubject(text)) {
                size_t cr = text.find('\r');
                subjectLine = text.substr(0, cr);
                body = cr == std::string::npos ? std::string()
                                               : text.substr(std::min(cr + 2, text.size()));
                eatcrapfromStart(body);
            }
            message.Subject = Trim(ReplaceNoCase(subjectLine, "subject:", ""));
            message.To_Email = Trim(parts[emailColumn]);
            message.MessageBody = body;
            if (message.To_Email.find('@') != std::string::npos) {
                wrapper.SpoolMessage(message, "", "");
                addtounreadtag(MessageFolder + OutboxFolder, 0);
                ++outcome.Saved;
            } else
                ++outcome.Invalid;
            listener.Status(gettranslation("Merging ") + std::to_string(std::min(row, rows)) + "/" +
                            std::to_string(rows));
            DoEvents();
            if (listener.StopRequested()) {
                outcome.Stopped = true;
                break;
            }
        }
        listener.SetBusy(false);
        outcome.Report =
            (outcome.Stopped ? gettranslation("Mail merge stopped.") + "\r\n" : std::string()) +
            gettranslation("Processed ") + std::to_string(outcome.Saved + outcome.Invalid) +
            gettranslation(" name(s)\r\n") + std::to_string(outcome.Saved) +
            gettranslation(" saved to the outbox and \r\n") + std::to_string(outcome.Invalid) +
            gettranslation(" had invalid email address(es) (skipped)");
    });
    return outcome;
}

} // namespace corva
