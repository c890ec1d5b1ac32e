// The rule editor: one of the two filter sets as a list in evaluation order,
// and one filter in a form of four conditions. The window draws and forwards;
// this object decides, asks through the platform's prompts, and writes the
// rules file only on "Save and Exit" and on import.
#pragma once

#include "filters/modRuleManagement.h"

#include <functional>
#include <string>
#include <vector>

namespace corva {

class clsMessage;

// The entries of the form's drop-downs, in list order.
struct FilterEditorLists {
    std::vector<std::string> fields;
    std::vector<std::string> comparisons;
    std::vector<std::string> actions;
    std::vector<std::string> categories;
    std::vector<std::string> folders;
};

// What the editor window shows and what it is asked. Every method has an
// empty default, so a view overrides what it shows.
class FilterEditorView {
public:
    virtual ~FilterEditorView() = default;
    virtual void SetHeading(const std::string& heading) { (void)heading; }
    virtual void SetMaxMailSize(float kilobytes) { (void)kilobytes; }
    virtual void FillCombos(const FilterEditorLists& lists) { (void)lists; }
    virtual void ShowFilterList(const std::vector<std::string>& names) { (void)names; }
    // Selects the line (from 1) and brings it into view; 0 selects nothing.
    // Selecting from here is not a click: the window reports no click back.
    virtual void SelectLine(int line) { (void)line; }
    virtual void ShowForm(const FilterForm& form) { (void)form; }
    virtual void SetFilterName(const std::string& name) { (void)name; }
    virtual void EnableRow(int row, bool on) {
        (void)row;
        (void)on;
    }
    virtual void EnableMailFolders(bool on) { (void)on; }
    virtual FilterForm ReadForm() const { return {}; }
    virtual std::string SearchText() const { return {}; }
    // The name box's maximum length, 0 for none.
    virtual size_t NameMaxLength() const { return 0; }
    // File dialogs; empty when the user cancels.
    virtual std::string AskSaveFile(const std::string& extension) {
        (void)extension;
        return {};
    }
    virtual std::string AskOpenFile(const std::string& filter) {
        (void)filter;
        return {};
    }
    virtual void OpenHelp(const std::string& page) { (void)page; }
    virtual void CloseWindow() {}
};

// The editor's moves, by their buttons.
enum class FilterMove { Top, Up10, Up, Down, Down10, Bottom };

class FilterEditor {
public:
    FilterEditor(frmFilters& filters, FilterEditorView& view);

    // Called after the rules file was written, so the program loads it again.
    void setOnSaved(std::function<void()> onSaved) { onSaved_ = std::move(onSaved); }

    // Opens the set: heading, size limit, drop-downs, the list, the first filter.
    void DisplayFilters(bool isLocal, const std::vector<std::string>& mailFolders);
    // Selects and shows the filter of that name, if there is one.
    void SelectFilter(const std::string& name);
    // Proposes a filter made from the message's subject in an empty form.
    void StartFromMessage(const clsMessage& msg);

    // ---- What the window forwards ----
    void listview1_click(int line);
    void FormChanged() { changed_ = true; }
    void chkOn_Click(int row, bool on);
    void cmbWhenMatched_Click(int actionIndex);
    void cmdUpdate_Click();
    void cmdDuplicate_Click();
    void cmdDelete_Click();
    void cmdMove_Click(FilterMove move);
    void cmdFind_Click();
    void cmdNext_Click();
    void cmdImportFilters_Click();
    void cmdExportSharedFilters_Click();
    void cmdSaveAndExit_Click();
    void cmdExitWithoutSave_Click();
    void cmdHelp_Click();
    // The close box: true when the window may close.
    bool QueryUnload();
    void listview1_afterlabeledit(int line, const std::string& label);

    int SelectedLine() const { return selected_; }
    bool IsLocal() const { return isLocal_; }

private:
    void refreshfilterlist();
    void displayfilter(int line);
    void select(int line);
    void searchFrom(int first);
    bool store();
    bool losechangesok(bool leaving = false);
    void message(const std::string& text);

    frmFilters& filters_;
    FilterEditorView& view_;
    std::function<void()> onSaved_;
    std::vector<std::string> folders_;
    bool isLocal_ = false;
    int selected_ = 0;
    bool changed_ = false; // the form differs from what it showed
    bool unsaved_ = false; // the collection differs from the rules file
};

// The form that shows a filter: its first four conditions ticked in order.
FilterForm formfromfilter(const clsFilterNew& filter, const std::vector<std::string>& folders);

// What the form's save would refuse or warn about in a filter read from a file,
// and what makes it never fire; empty when it is sound.
std::vector<std::string> filterproblems(const clsFilterNew& filter);

// The folder entry that names a filter's destination, compared without regard
// to case or slashes; the "\inbox\" entry when none does.
std::string findmailfolder(const std::string& destFolder, const std::vector<std::string>& folders);

} // namespace corva
