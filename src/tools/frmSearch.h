// Search: finds messages by reading their files, with no index and without
// the folder caches, so that what it finds is what the files say now.
#pragma once

#include "tools/ToolListener.h"

#include <string>
#include <utility>
#include <vector>

namespace corva {

class clsMessage;

struct SearchQuery {
    std::string From;
    std::string To;
    std::string Subject;
    std::string Message; // body terms separated by ";", all of which must stand
    std::string KB;      // "Bigger than:" in kilobytes
    std::string Folder;  // a directory
    bool Subfolders = false;
};

struct SearchResult {
    std::string Subject;
    std::string From;
    std::string Date; // the file's date, YYYY-MM-DD
    std::string Size; // kilobytes
    std::string Filename;
};

class frmSearchView : public ToolListener {
public:
    virtual void ClearResults() {}
    virtual void AddResult(const SearchResult& result) { (void)result; }
    // cmdStop is enabled while a search runs.
    virtual void SetSearching(bool searching) { (void)searching; }
    // A result opened in the reader.
    virtual void OpenReader(const std::string& path) { (void)path; }
};

class frmSearch {
public:
    void setView(frmSearchView* view) { view_ = view ? view : &noView_; }
    // Whether the rows are kept for listresults_dblclick (the window's list);
    // a view that only prints them leaves memory flat however many match.
    void KeepResults(bool keep) { keep_ = keep; }

    // The folders to choose from: a caption relative to the store and its directory.
    static std::vector<std::pair<std::string, std::string>> FolderChoices();

    void cmdsearch_click(const SearchQuery& query);
    void cmdStop_click() { stop_ = true; }
    void listresults_dblclick(long row);

    bool Searching() const { return searching_; }
    bool Stopped() const { return stop_; }
    const std::vector<SearchResult>& Results() const { return results_; }
    long Searched() const { return searched_; }
    long Found() const { return found_; }

    // Whether a message passes every active test of the query; terms are the
    // body terms already split.
    static bool Matches(const clsMessage& message, const SearchQuery& query,
                        const std::vector<std::string>& terms);

private:
    frmSearchView noView_;
    frmSearchView* view_ = &noView_;
    std::vector<SearchResult> results_;
    bool searching_ = false;
    bool stop_ = false;
    bool keep_ = true;
    long searched_ = 0;
    long found_ = 0;
};

} // namespace corva
