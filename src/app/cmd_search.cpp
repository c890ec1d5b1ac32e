// "corva search": the search window's fields as options, its results as rows.
#include "app/Command.h"
#include "app/Json.h"
#include "app/Table.h"
#include "app/ToolProgress.h"
#include "tools/frmSearch.h"

#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva search [--from T] [--to T] [--subject T] [--body \"T;T\"] "
                              "[--bigger KB] [--folder F] [--subfolders] [--json]";

class SearchPrinter : public frmSearchView {
public:
    explicit SearchPrinter(bool json)
        : json_(json), table_({{"Date", 10, false},
                               {"Size", 6, false},
                               {"From", 28, true},
                               {"Subject", 40, true},
                               {"File", 30, true}},
                              TableWidth()) {}
    void Status(const std::string& text) override {
        if (text == "Searching...") return;
        progress_.clear();
        if (Output().verbosity != Verbosity::Quiet) std::cerr << terminalLine(text) << "\n";
    }
    void AddResult(const SearchResult& r) override {
        progress_.clear();
        if (json_) {
            std::cout << (shown_ ? ",\n  " : "\n  ")
                      << JsonObject()
                             .text("subject", r.Subject)
                             .text("from", r.From)
                             .text("date", r.Date)
                             .number("size", Val(r.Size))
                             .text("file", r.Filename)
                             .str();
        } else {
            if (shown_ == 0) std::cout << table_.heading() << "\n";
            std::cout << table_.row({r.Date, r.Size + " KB", terminalLine(r.From),
                                     terminalLine(r.Subject), terminalLine(r.Filename)})
                      << "\n";
        }
        ++shown_;
    }
    bool StopRequested() override {
        if (++searched_ % 500 == 0)
            progress_.Status(std::to_string(searched_) + " searched, " + std::to_string(shown_) +
                             " found");
        return progress_.StopRequested();
    }
    long shown_ = 0;

private:
    bool json_;
    Table table_;
    ToolProgress progress_;
    long searched_ = 0;
};

int run(CommandArgs& args) {
    SearchQuery query;
    query.From = args.option("--from", "a text").value_or("");
    query.To = args.option("--to", "a text").value_or("");
    query.Subject = args.option("--subject", "a text").value_or("");
    query.Message = args.option("--body", "terms separated by ;").value_or("");
    query.KB = args.option("--bigger", "a size in KB").value_or("");
    const auto folderName = args.option("--folder", "a folder");
    query.Subfolders = args.flag("--subfolders");
    const bool json = args.flag("--json");
    if (!query.KB.empty() && query.KB.find_first_not_of("0123456789.") != std::string::npos)
        args.problem("--bigger needs a size in KB, not \"" + query.KB + "\"");
    if (auto status = args.refused(Usage, 0, 0)) return *status;

    HeadlessSession session;
    auto folder = StoreFolder(folderName.value_or(InboxFolder));
    if (!folder)
        return RefuseWith("search", "no folder \"" + terminalLine(*folderName) + "\" in " +
                                        terminalLine(MessageFolder) +
                                        " ('corva folders' lists them)");
    query.Folder = *folder;
    SearchPrinter printer(json);
    frmSearch search;
    search.setView(&printer);
    search.KeepResults(false); // printed as they come
    if (json) std::cout << "{\"results\": [";
    search.cmdsearch_click(query);
    if (json)
        std::cout << (printer.shown_ ? "\n]" : "]") << ", \"searched\": " << search.Searched()
                  << ", \"stopped\": " << (search.Stopped() ? "true" : "false") << "}\n";
    return search.Stopped() ? 1 : 0;
}

const CommandRegistration registration({
    "search",
    Usage,
    "Find messages in the store by sender, recipient, subject, body or size",
    "Reads every .eml file of the folder (default Inbox; --folder takes a folder\n"
    "under the store, or a full path) and, with --subfolders, of the folders\n"
    "below. A message is listed when every test given holds, all ignoring case:\n"
    "--from in From or Sender, --to in To, --subject in Subject, each of the\n"
    "\";\"-separated --body terms in the text, and a size over --bigger KB. With no\n"
    "test every message is listed. Only the headers are read unless --body is\n"
    "given. Rows show the file's date, size, sender, subject and file; --json\n"
    "writes {\"results\": [{\"subject\", \"from\", \"date\", \"size\" (KB), \"file\"}],\n"
    "\"searched\", \"stopped\"}. Ctrl-C stops the search and keeps what was listed\n"
    "(exit status 1). Writes nothing.",
    run,
});

} // namespace
} // namespace corva::app
