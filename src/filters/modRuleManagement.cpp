// The filter editor's commands on the collection.
#include "filters/modRuleManagement.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"

#include <algorithm>

namespace corva {

namespace {

constexpr const char* Module = "frmFilters";
constexpr int InvalidMatchCount = 23500;

} // namespace

FormResult storefilterfromform(FilterCollection& filters, const FilterForm& form) {
    FormResult result;
    if (form.name.empty()) {
        result.messages.push_back(gettranslation("Please supply a name for this filter"));
        return result;
    }
    const std::string name = Replace(form.name, ",", " ");
    for (size_t r = 0; r < form.rows.size(); ++r) {
        const FilterForm::Row& row = form.rows[r];
        if (row.comparisonIndex >= 2 && Val(row.text) == 0) {
            // The count of matches is reserved: the list doesn't offer it, and
            // its refusal is reported without stopping the save.
            result.messages.push_back(gettranslation("Please specify a number from 1 to 10"));
            const std::string text =
                "Rule " + Str(static_cast<long long>(r + 1)) + " has invalid number of matches.";
            guarded("cmdUpdate_Click", Module, [&] { throw RunError(InvalidMatchCount, text); });
        }
    }
    for (size_t r = 0; r < form.rows.size(); ++r) {
        const FilterForm::Row& row = form.rows[r];
        if (row.on && row.text.empty()) {
            result.messages.push_back(
                gettranslation("Rule ") + Str(static_cast<long long>(r + 1)) +
                gettranslation(" doesn't have anything in the text field. Please deselect this "
                               "rule, or enter some text."));
            return result;
        }
    }

    auto it = std::find_if(filters.begin(), filters.end(),
                           [&](const clsFilterNew& f) { return f.FilterName == name; });
    if (it == filters.end()) {
        filters.emplace_back();
        it = filters.end() - 1;
        it->FilterName = name;
    }
    clsFilterNew& f = *it;
    f.Action = static_cast<int16_t>(form.actionIndex);
    f.DestFolder = form.actionIndex == 2 ? form.mailFolder : "";
    f.StopProcessing = form.stopProcessing;
    f.Category = static_cast<int16_t>(form.category);
    int used = 0;
    for (const FilterForm::Row& row : form.rows) {
        if (!row.on) continue;
        ++used;
        f.setFields(used, row.field);
        f.setStrings(used, row.text);
        f.setComparisons(used, row.comparisonIndex >= 2   ? "mtch"
                               : row.comparisonIndex == 1 ? "!cnt"
                                                          : "cnt");
    }
    f.RuleCount = static_cast<int16_t>(used);
    result.stored = true;
    result.index = static_cast<int>(it - filters.begin()) + 1;
    return result;
}

std::string copyfiltername(const std::string& name, size_t maxLength) {
    std::string copy = "Copy of " + name;
    if (maxLength > 0 && copy.size() > maxLength) copy.resize(maxLength);
    return copy;
}

int deletefilter(FilterCollection& filters, const std::string& name) {
    auto it = std::find_if(filters.begin(), filters.end(),
                           [&](const clsFilterNew& f) { return f.FilterName == name; });
    if (it == filters.end()) return 0;
    const int position = static_cast<int>(it - filters.begin()) + 1;
    filters.erase(it);
    if (filters.empty()) return 0;
    return std::min(position, static_cast<int>(filters.size()));
}

int movefilterfromto(FilterCollection& filters, int from, int to) {
    const int n = static_cast<int>(filters.size());
    if (from < 1 || from > n) return 0;
    to = std::clamp(to, 1, n);
    clsFilterNew moved = std::move(filters[static_cast<size_t>(from - 1)]);
    filters.erase(filters.begin() + (from - 1));
    filters.insert(filters.begin() + (to - 1), std::move(moved));
    return to;
}

int searchstring(const FilterCollection& filters, const std::string& searchText, int first) {
    const std::string wanted = LCase(searchText);
    for (int i = std::max(first, 1); i <= static_cast<int>(filters.size()); ++i)
        if (InStr(LCase(filters[static_cast<size_t>(i - 1)].FilterName), wanted)) return i;
    return 0;
}

void mergefilters(FilterCollection& source, FilterCollection& target) {
    for (const clsFilterNew& f : source) {
        const std::string key = UCase(Trim(f.FilterName));
        const bool known = std::any_of(target.begin(), target.end(), [&](const clsFilterNew& t) {
            return UCase(Trim(t.FilterName)) == key;
        });
        if (!known) target.push_back(f);
    }
    source.clear();
}

void importfilters(frmFilters& filters, const std::string& path) {
    FilterCollection imported;
    frmFilters::LoadFilters(imported, path, true);
    mergefilters(imported, filters.Filters());
    filters.savefilters(filters.CurrentRulesPath(), false);
}

FilterForm createfilterfrommessage(const clsMessage& msg) {
    FilterForm form;
    form.name = msg.Subject;
    if (msg.Subject.empty()) return form;
    const std::vector<std::string> words = Split(msg.Subject, " ");
    for (size_t r = 0; r < form.rows.size() && r < words.size(); ++r) {
        std::string word = Replace(Trim(words[r]), ".", "");
        cleanstring(word);
        FilterForm::Row& row = form.rows[r];
        row.on = true;
        row.field = "Subject:";
        row.comparisonIndex = 0;
        row.text = word;
    }
    return form;
}

} // namespace corva
