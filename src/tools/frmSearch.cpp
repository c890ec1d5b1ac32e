#include "tools/frmSearch.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDGeneral.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"
#include "store/modMessageFiles.h"
#include "tools/MailFiles.h"

#include <cmath>

namespace corva {
namespace {
constexpr const char* kModule = "frmSearch";
}

std::vector<std::pair<std::string, std::string>> frmSearch::FolderChoices() {
    std::vector<std::pair<std::string, std::string>> choices;
    guarded("Form_Load", kModule, [&] {
        std::vector<std::string> folders;
        fillfoldersrecursed(MessageFolder, folders);
        choices.emplace_back("(All folders)", MessageFolder);
        for (const auto& folder : folders) {
            std::string caption = folder.substr(MessageFolder.size());
            if (!caption.empty() && caption.back() == '/') caption.pop_back();
            choices.emplace_back(caption, folder);
        }
    });
    return choices;
}

bool frmSearch::Matches(const clsMessage& m, const SearchQuery& q,
                        const std::vector<std::string>& terms) {
    if (!q.KB.empty() && !(m.Size > Val(q.KB))) return false;
    if (!q.From.empty() && !containsnocase(m.From, q.From) && !containsnocase(m.Sender, q.From))
        return false;
    if (!q.To.empty() && !containsnocase(m.To_Email, q.To)) return false;
    if (!q.Subject.empty() && !containsnocase(m.Subject, q.Subject)) return false;
    if (q.Message.empty()) return true;
    // A plain body too large for the word tests is searched as it stands.
    const std::string& body = m.StrippedBody.empty() ? m.MessageBody : m.StrippedBody;
    for (const auto& term : terms)
        if (!term.empty() && !containsnocase(body, term)) return false;
    return true;
}

void frmSearch::cmdsearch_click(const SearchQuery& query) {
    if (searching_) return;
    guarded("cmdsearch_click", kModule, [&] {
        results_.clear();
        searched_ = 0;
        found_ = 0;
        stop_ = false;
        view_->ClearResults();
        const std::vector<std::string> terms = Split(query.Message, ";");
        const bool body = !query.Message.empty();

        MailFiles files(query.Folder, query.Subfolders);
        std::string path;
        if (!files.next(path)) {
            view_->Status(gettranslation("There is no mail in the selected folder(s)"));
            return;
        }
        searching_ = true;
        view_->Status(gettranslation("Searching..."));
        view_->SetSearching(true);
        do {
            auto message = body ? readfullmessage(path) : readmessageheader(path);
            ++searched_;
            if (!message->Filename().empty() && Matches(*message, query, terms)) {
                SearchResult row{message->Subject, message->From,
                                 FileDate(path).format("yyyy-mm-dd"),
                                 std::to_string(std::lround(message->Size)), path};
                ++found_;
                if (keep_) results_.push_back(row);
                view_->AddResult(row);
            }
            DoEvents();
            if (view_->StopRequested()) stop_ = true;
        } while (!stop_ && files.next(path));
        searching_ = false;
        view_->SetSearching(false);
        if (stop_)
            view_->Status(gettranslation("Search stopped"));
        else if (found_ == 0)
            view_->Status(gettranslation("Search Complete. No matches found."));
        else
            view_->Status(gettranslation("Search Complete. Results listed below."));
    });
    searching_ = false;
}

void frmSearch::listresults_dblclick(long row) {
    guarded("listresults_dblclick", kModule, [&] {
        if (row < 0 || row >= static_cast<long>(results_.size())) return;
        view_->OpenReader(results_[static_cast<size_t>(row)].Filename);
    });
}

} // namespace corva
