// The rule editor's decisions over one filter collection.
#include "filters/FilterEditor.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"
#include "platform/Platform.h"

#include <algorithm>
#include <iterator>

namespace corva {

namespace {

constexpr const char* Module = "frmFilters";

std::string folderKey(const std::string& folder) {
    std::string key = LCase(Replace(Trim(folder), "\\", "/"));
    if (key.empty() || key.front() != '/') key.insert(key.begin(), '/');
    if (key.back() != '/') key += '/';
    return key;
}

template <size_t N> std::vector<std::string> listOf(const char* const (&texts)[N]) {
    return std::vector<std::string>(std::begin(texts), std::end(texts));
}

} // namespace

std::string findmailfolder(const std::string& destFolder, const std::vector<std::string>& folders) {
    for (const std::string& wanted : {destFolder, std::string("\\inbox\\")}) {
        const std::string key = folderKey(wanted);
        for (const std::string& folder : folders)
            if (folderKey(folder) == key) return folder;
    }
    return folders.empty() ? std::string() : folders.front();
}

FilterForm formfromfilter(const clsFilterNew& f, const std::vector<std::string>& folders) {
    FilterForm form;
    form.name = f.FilterName;
    form.stopProcessing = f.StopProcessing;
    form.category = f.Category;
    const int used = std::clamp<int>(f.RuleCount, 0, clsFilterNew::MaxConditions);
    for (int i = 1; i <= used; ++i) {
        FilterForm::Row& row = form.rows[static_cast<size_t>(i - 1)];
        row.on = true;
        row.text = f.Strings(i);
        row.comparisonIndex = f.Comparisons(i) == "!cnt" ? 1 : 0;
        row.field = f.Fields(i);
    }
    form.actionIndex = f.Action;
    if (f.Action == 2) form.mailFolder = findmailfolder(f.DestFolder, folders);
    return form;
}

std::vector<std::string> filterproblems(const clsFilterNew& f) {
    std::vector<std::string> problems;
    if (Trim(f.FilterName).empty()) problems.push_back("has no name");
    if (f.RuleCount < 1) problems.push_back("has no conditions and never fires");
    const int used = std::clamp<int>(f.RuleCount, 0, clsFilterNew::MaxConditions);
    for (int i = 1; i <= used; ++i) {
        const std::string n = "condition " + Str(i);
        if (f.condition(i).field == FilterField::Unknown)
            problems.push_back(n + " tests an unknown field \"" + f.Fields(i) + "\"");
        if (f.condition(i).compare == FilterCompare::Other)
            problems.push_back(n + " has the comparison \"" + f.Comparisons(i) +
                               "\", which decides nothing");
        if (f.Strings(i).empty()) problems.push_back(n + " has an empty text");
    }
    if (f.Action < 0 || f.Action > 3) problems.push_back("has an unknown action " + Str(f.Action));
    if (f.Action == 2 && Trim(f.DestFolder).empty())
        problems.push_back("moves mail but names no folder");
    return problems;
}

FilterEditor::FilterEditor(frmFilters& filters, FilterEditorView& view)
    : filters_(filters), view_(view) {}

void FilterEditor::message(const std::string& text) {
    platform::current().prompts().messageBox(text);
}

void FilterEditor::DisplayFilters(bool isLocal, const std::vector<std::string>& mailFolders) {
    guarded("DisplayFilters", Module, [&] {
        isLocal_ = isLocal;
        folders_ = mailFolders;
        const FilterViewSetup setup = filters_.DisplayFilters(isLocal);
        view_.SetHeading(setup.heading);
        view_.SetMaxMailSize(setup.maxMailSize);
        // fillcombos
        FilterEditorLists lists{listOf(FilterFieldTexts), listOf(FilterCompareShown),
                                listOf(FilterActionTexts), listOf(FilterCategoryTexts),
                                setup.folderListOn ? folders_ : std::vector<std::string>{}};
        view_.FillCombos(lists);
        refreshfilterlist();
        displayfilter(filters_.Filters().empty() ? 0 : 1);
        unsaved_ = false;
    });
}

void FilterEditor::SelectFilter(const std::string& name) {
    const FilterCollection& set = filters_.Filters();
    auto it = std::find_if(set.begin(), set.end(),
                           [&](const clsFilterNew& f) { return f.FilterName == name; });
    if (it != set.end()) displayfilter(static_cast<int>(it - set.begin()) + 1);
}

void FilterEditor::StartFromMessage(const clsMessage& msg) {
    guarded("createfilterfrommessage", Module, [&] {
        select(0);
        const FilterForm form = createfilterfrommessage(msg);
        view_.ShowForm(form);
        for (size_t r = 0; r < form.rows.size(); ++r)
            view_.EnableRow(static_cast<int>(r) + 1, form.rows[r].on);
        view_.EnableMailFolders(false);
        changed_ = true;
    });
}

void FilterEditor::refreshfilterlist() {
    std::vector<std::string> names;
    names.reserve(filters_.Filters().size());
    for (const clsFilterNew& f : filters_.Filters()) names.push_back(f.FilterName);
    view_.ShowFilterList(names);
}

void FilterEditor::select(int line) {
    selected_ = line;
    view_.SelectLine(line);
}

// Fills the form from the filter at the line; an empty form for line 0.
void FilterEditor::displayfilter(int line) {
    guarded("displayfilter", Module, [&] {
        const FilterCollection& set = filters_.Filters();
        FilterForm form;
        if (line >= 1 && line <= static_cast<int>(set.size())) {
            const clsFilterNew& f = set[static_cast<size_t>(line - 1)];
            if (f.RuleCount < 1) LogAction("Rule " + Str(line) + " has no parameters");
            form = formfromfilter(f, folders_);
        } else {
            line = 0;
        }
        select(line);
        view_.ShowForm(form);
        for (size_t r = 0; r < form.rows.size(); ++r)
            view_.EnableRow(static_cast<int>(r) + 1, form.rows[r].on);
        view_.EnableMailFolders(form.actionIndex == 2);
        changed_ = false;
    });
}

void FilterEditor::listview1_click(int line) {
    displayfilter(line);
}

void FilterEditor::chkOn_Click(int row, bool on) {
    changed_ = true;
    view_.EnableRow(row, on);
}

void FilterEditor::cmbWhenMatched_Click(int actionIndex) {
    changed_ = true;
    view_.EnableMailFolders(actionIndex == 2);
}

bool FilterEditor::store() {
    FormResult result;
    guarded("cmdUpdate_Click", Module,
            [&] { result = storefilterfromform(filters_.Filters(), view_.ReadForm()); });
    for (const std::string& text : result.messages) message(text);
    if (!result.stored) return false;
    unsaved_ = true;
    refreshfilterlist();
    displayfilter(result.index);
    return true;
}

void FilterEditor::cmdUpdate_Click() {
    store();
}

void FilterEditor::cmdDuplicate_Click() {
    changed_ = true;
    // Nothing is stored yet: no filter has the new name, so the next save makes one.
    view_.SetFilterName(copyfiltername(view_.ReadForm().name, view_.NameMaxLength()));
}

void FilterEditor::cmdDelete_Click() {
    guarded("cmdDelete_Click", Module, [&] {
        const int before = static_cast<int>(filters_.Filters().size());
        const int neighbour = deletefilter(filters_.Filters(), view_.ReadForm().name);
        if (static_cast<int>(filters_.Filters().size()) == before) return;
        unsaved_ = true;
        refreshfilterlist();
        displayfilter(neighbour);
    });
}

void FilterEditor::cmdMove_Click(FilterMove move) {
    // "Top" asks first, as Find and Next do; the other moves keep the form.
    if (move == FilterMove::Top && !losechangesok()) return;
    if (selected_ < 1) return;
    int to = selected_;
    switch (move) {
    case FilterMove::Top:
        to = 1;
        break;
    case FilterMove::Up10:
        to -= 10;
        break;
    case FilterMove::Up:
        to -= 1;
        break;
    case FilterMove::Down:
        to += 1;
        break;
    case FilterMove::Down10:
        to += 10;
        break;
    case FilterMove::Bottom:
        to = static_cast<int>(filters_.Filters().size());
        break;
    }
    const int at = movefilterfromto(filters_.Filters(), selected_, to);
    if (at == 0) return;
    if (at != selected_) unsaved_ = true;
    refreshfilterlist();
    select(at);
}

void FilterEditor::searchFrom(int first) {
    const int hit = searchstring(filters_.Filters(), view_.SearchText(), first);
    if (hit > 0) displayfilter(hit);
}

void FilterEditor::cmdFind_Click() {
    if (losechangesok()) searchFrom(1);
}

void FilterEditor::cmdNext_Click() {
    if (losechangesok()) searchFrom(selected_ > 0 ? selected_ + 1 : 1);
}

void FilterEditor::cmdImportFilters_Click() {
    const std::string path = view_.AskOpenFile("TXT Files|*.txt");
    if (path.empty()) return;
    guarded("cmdImportFilters_Click", Module, [&] {
        importfilters(filters_, path);
        refreshfilterlist();
        displayfilter(selected_ > 0 ? selected_ : 1);
    });
    // The file now holds the whole collection.
    unsaved_ = false;
    if (onSaved_) onSaved_();
}

void FilterEditor::cmdExportSharedFilters_Click() {
    const std::string path = view_.AskSaveFile("TXT");
    if (path.empty()) return;
    const bool sharedOnly =
        platform::current().prompts().messageBox(gettranslation("Only save shared filters?"),
                                                 platform::Buttons::YesNo) == platform::Answer::Yes;
    filters_.savefilters(path, sharedOnly);
}

void FilterEditor::cmdSaveAndExit_Click() {
    // A form the save refuses keeps the window open, so what was typed is not lost.
    if (!store()) return;
    if (!filters_.savefilters(filters_.CurrentRulesPath(), false)) {
        message(gettranslation("The filters could not be written to ") +
                filters_.CurrentRulesPath());
        return;
    }
    unsaved_ = false;
    changed_ = false;
    if (onSaved_) onSaved_();
    view_.CloseWindow();
}

bool FilterEditor::losechangesok(bool leaving) {
    // Leaving also loses what was stored but never written to the file.
    if (!changed_ && !(leaving && unsaved_)) return true;
    const bool yes = platform::current().prompts().messageBox(
                         gettranslation("You will lose your changes - are you sure?"),
                         platform::Buttons::YesNo) == platform::Answer::Yes;
    // Once agreed, a second question about the same changes would only annoy.
    if (yes) changed_ = false;
    return yes;
}

bool FilterEditor::QueryUnload() {
    if (!losechangesok(true)) return false;
    unsaved_ = false;
    return true;
}

void FilterEditor::cmdExitWithoutSave_Click() {
    if (QueryUnload()) view_.CloseWindow();
}

void FilterEditor::cmdHelp_Click() {
    view_.OpenHelp("filters.htm");
}

void FilterEditor::listview1_afterlabeledit(int line, const std::string& label) {
    FilterCollection& set = filters_.Filters();
    if (line < 1 || line > static_cast<int>(set.size())) return;
    // A comma would split the name in the file, as the form's save knows.
    set[static_cast<size_t>(line - 1)].FilterName = Replace(label, ",", " ");
    unsaved_ = true;
    if (line == selected_) view_.SetFilterName(set[static_cast<size_t>(line - 1)].FilterName);
}

} // namespace corva
