// One filter: a named test of up to four conditions, all of which must hold,
// and the action taken when they do. The conditions are also kept in the form
// the message check reads, so that a check does no parsing of its own.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace corva {

// What a condition's field text names. Unknown keeps the check's previous text.
enum class FilterField : uint8_t {
    Unknown,
    Subject,
    To,
    From,
    XEnvelopeTo,
    ReturnPath,
    AllHeaders,
    CC,
    BCC,
    SpamTestsFailed,
    MessageBody,
};

// A stored comparison: "cnt", "!cnt", or anything else (the reserved "mtch"
// among them), which leaves the outcome of the filter so far untouched.
enum class FilterCompare : uint8_t { Other, Contains, NotContains };

class clsFilterNew {
public:
    static constexpr int MaxConditions = 4;

    std::string FilterName;      // shown in the list and put into FilterReason
    int16_t Category = 0;        // 0 Shared, 1 Private
    bool StopProcessing = false; // also skips the Bayesian score when it fires
    int16_t RuleCount = 0;       // conditions in use
    int16_t Action = 0;          // 0 delete, 1 suspicious, 2 move, 3 download
    std::string DestFolder;      // for action 2, relative to the mail folder

    // Indexed 1 to 4. Reading any index outside, or writing Comparisons or
    // Strings outside, throws RunError 9; writing Fields at 5 or more does nothing.
    const std::string& Fields(int i) const;
    const std::string& Comparisons(int i) const;
    const std::string& Strings(int i) const;
    void setFields(int i, const std::string& value);
    void setComparisons(int i, const std::string& value);
    void setStrings(int i, const std::string& value);

    // Condition i (1 to 4) as the check uses it.
    struct Condition {
        FilterField field = FilterField::Unknown;
        FilterCompare compare = FilterCompare::Other;
        std::string lowerTarget; // Strings(i) in lower case, untrimmed
    };
    const Condition& condition(int i) const { return conditions_[static_cast<size_t>(i - 1)]; }

private:
    std::array<std::string, MaxConditions> fields_;
    std::array<std::string, MaxConditions> comparisons_;
    std::array<std::string, MaxConditions> strings_;
    std::array<Condition, MaxConditions> conditions_;
};

// The field a field text names, compared without regard to case.
FilterField fieldFromText(const std::string& fieldText);
FilterCompare compareFromText(const std::string& comparison);

// The tables of the filter editor, in the order it lists them.
extern const char* const FilterFieldTexts[10];   // "To:" ... "Message Body"
extern const char* const FilterCompareShown[2];  // "Contains", "Doesn't Contain"
extern const char* const FilterCompareStored[3]; // "cnt", "!cnt", "mtch"
extern const char* const FilterActionTexts[4];   // "Delete from server" ...
extern const char* const FilterCategoryTexts[2]; // "Shared", "Private"

} // namespace corva
