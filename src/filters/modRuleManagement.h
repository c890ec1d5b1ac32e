// The filter editor's commands as operations on a filter collection, so that
// the window only draws: storing the form, copying, deleting, moving, finding,
// merging an imported set, and the filter proposed from a message.
#pragma once

#include "filters/frmFilters.h"

#include <array>
#include <string>
#include <vector>

namespace corva {

class clsMessage;

// What the editor's form holds, by list index where it shows lists.
struct FilterForm {
    struct Row {
        bool on = false;         // chkOn
        std::string field;       // cmbField text, "Subject:" ...
        int comparisonIndex = 0; // 0 Contains, 1 Doesn't Contain, 2 the reserved count
        std::string text;        // txtText
    };
    std::string name = "New Filter";
    std::array<Row, 4> rows;
    int actionIndex = 0;    // cmbWhenMatched
    std::string mailFolder; // cmbMailFolders, used by action 2
    int category = 0;       // cmbCategory
    bool stopProcessing = false;
};

struct FormResult {
    bool stored = false;
    int index = 0;                     // 1-based position of the stored filter
    std::vector<std::string> messages; // for message boxes, in order
};

// Validates the form and stores it in the filter of its name, or in a new one
// at the end. A comma in the name becomes a blank: the file format splits on it.
FormResult storefilterfromform(FilterCollection& filters, const FilterForm& form);

// "Copy of " and the name, cut to maxLength when that is above 0.
std::string copyfiltername(const std::string& name, size_t maxLength = 0);

// Removes the first filter of that name; the 1-based position of the neighbour
// to select, 0 when the collection is empty or there was no such filter.
int deletefilter(FilterCollection& filters, const std::string& name);

// Moves the filter at from (1-based) so that it stands at to, which is kept
// within the collection. The filter's new position; 0 when from is out of range.
int movefilterfromto(FilterCollection& filters, int from, int to);

// The first filter from position first on whose name holds the text, both in
// lower case; 0 when none.
int searchstring(const FilterCollection& filters, const std::string& searchText, int first);

// Adds each filter of source whose trimmed, upper-cased name no filter of
// target has, at the end of target; the existing one wins. Empties source.
void mergefilters(FilterCollection& source, FilterCollection& target);

// Reads a rules file and merges it onto the filters, then saves them to the
// current rules path.
void importfilters(frmFilters& filters, const std::string& path);

// The form proposed for a message: the subject as the name, and its first
// four words as "Subject:" "Contains" conditions.
FilterForm createfilterfrommessage(const clsMessage& msg);

} // namespace corva
