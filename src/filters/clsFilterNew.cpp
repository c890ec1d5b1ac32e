// One filter and the tables of fields, comparisons, actions and categories.
#include "filters/clsFilterNew.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"

namespace corva {

const char* const FilterFieldTexts[10] = {"To:",
                                          "CC:",
                                          "BCC:",
                                          "Subject:",
                                          "From:",
                                          "Return-Path:",
                                          "X-Spam-Tests-Failed:",
                                          "X-Envelope-To:",
                                          "All Headers",
                                          "Message Body"};
const char* const FilterCompareShown[2] = {"Contains", "Doesn't Contain"};
const char* const FilterCompareStored[3] = {"cnt", "!cnt", "mtch"};
const char* const FilterActionTexts[4] = {"Delete from server", "Mark as suspicious",
                                          "When downloading, move to folder", "Download message"};
const char* const FilterCategoryTexts[2] = {"Shared", "Private"};

namespace {

size_t slot(int i) {
    if (i < 1 || i > clsFilterNew::MaxConditions) throw RunError(Err::SubscriptOutOfRange);
    return static_cast<size_t>(i - 1);
}

} // namespace

FilterField fieldFromText(const std::string& fieldText) {
    // The order of the check's own comparisons; each name is distinct, so the
    // order decides nothing but is kept for the reader.
    static const std::pair<const char*, FilterField> names[] = {
        {"SUBJECT:", FilterField::Subject},
        {"TO:", FilterField::To},
        {"FROM:", FilterField::From},
        {"X-ENVELOPE-TO:", FilterField::XEnvelopeTo},
        {"RETURN-PATH:", FilterField::ReturnPath},
        {"ALL HEADERS", FilterField::AllHeaders},
        {"CC:", FilterField::CC},
        {"BCC:", FilterField::BCC},
        {"X-SPAM-TESTS-FAILED:", FilterField::SpamTestsFailed},
        {"MESSAGE BODY", FilterField::MessageBody},
    };
    const std::string upper = UCase(fieldText);
    for (const auto& [name, field] : names)
        if (upper == name) return field;
    return FilterField::Unknown;
}

FilterCompare compareFromText(const std::string& comparison) {
    const std::string lower = LCase(comparison);
    if (lower == "cnt") return FilterCompare::Contains;
    if (lower == "!cnt") return FilterCompare::NotContains;
    return FilterCompare::Other;
}

const std::string& clsFilterNew::Fields(int i) const {
    return fields_[slot(i)];
}
const std::string& clsFilterNew::Comparisons(int i) const {
    return comparisons_[slot(i)];
}
const std::string& clsFilterNew::Strings(int i) const {
    return strings_[slot(i)];
}

void clsFilterNew::setFields(int i, const std::string& value) {
    // A fifth condition in a file is dropped here without a word; its comparison
    // line is where the load reports it.
    if (i > MaxConditions) return;
    const size_t k = slot(i);
    fields_[k] = value;
    conditions_[k].field = fieldFromText(value);
}

void clsFilterNew::setComparisons(int i, const std::string& value) {
    const size_t k = slot(i);
    comparisons_[k] = value;
    conditions_[k].compare = compareFromText(value);
}

void clsFilterNew::setStrings(int i, const std::string& value) {
    const size_t k = slot(i);
    strings_[k] = value;
    conditions_[k].lowerTarget = LCase(value);
}

} // namespace corva
