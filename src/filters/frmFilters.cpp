// Rules files, the five lists and the message check.
#include "filters/frmFilters.h"

#include "core/Account.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "core/modSubs.h"
#include "filters/BayesScore.h"
#include "message/clsMessage.h"
#include "message/modTextConvert.h"

#include <array>
#include <charconv>
#include <optional>

namespace corva {

namespace {

constexpr const char* Module = "frmFilters";
constexpr int ObjectNotSet = 91;

int16_t integerValue(const std::string& text) {
    Variant v(text);
    if (!v.isNumeric()) throw RunError(Err::TypeMismatch);
    return v.toInt16();
}

bool truthValue(const std::string& text) {
    Variant v(text);
    const std::string word = UCase(Trim(text));
    if (!v.isNumeric() && word != "TRUE" && word != "FALSE") throw RunError(Err::TypeMismatch);
    return v.toBool();
}

int16_t numericValue(const std::string& text) {
    const double n = Val(text);
    if (n < -32768.5 || n > 32767.5) throw RunError(Err::Overflow);
    return Variant(n).toInt16();
}

// "Contains" of the check on texts already in lower case. An empty text
// contains nothing, and an empty target is found in any other text.
bool contains(const std::string& lowerText, const std::string& lowerTarget) {
    if (lowerText.empty()) return false;
    if (lowerTarget.empty()) return true;
    return lowerText.find(lowerTarget) != std::string::npos;
}

// The message's fields in lower case, made on first use within one check.
// Only Subject changes during a check (a suspicious rule prefixes it).
class FieldTexts {
public:
    explicit FieldTexts(const clsMessage& msg) : msg_(msg) {}

    const std::string& text(FilterField field) {
        const size_t k = static_cast<size_t>(field);
        if (!have_[k]) {
            lower_[k] = LCase(source(field));
            have_[k] = true;
        }
        return lower_[k];
    }
    const std::string& cleanSubject() {
        if (!haveClean_) {
            cleanSubject_ = LCase(CleanWord(msg_.Subject));
            haveClean_ = true;
        }
        return cleanSubject_;
    }
    // Called before Subject changes; a first text taken from the old subject
    // keeps the old subject.
    void subjectChanging(const std::string*& text1) {
        const size_t k = static_cast<size_t>(FilterField::Subject);
        if (text1 == &lower_[k]) {
            kept_ = lower_[k];
            text1 = &kept_;
        }
        have_[k] = false;
        haveClean_ = false;
    }

private:
    const std::string& source(FilterField field) const {
        switch (field) {
        case FilterField::Subject:
            return msg_.Subject;
        case FilterField::To:
            return msg_.To_Email;
        case FilterField::From:
            return msg_.From;
        case FilterField::XEnvelopeTo:
            return msg_.XEnvelopeTo;
        case FilterField::ReturnPath:
            return msg_.ReturnPath;
        case FilterField::AllHeaders:
            return msg_.Headers;
        case FilterField::CC:
            return msg_.CC;
        case FilterField::BCC:
            return msg_.BCC;
        case FilterField::SpamTestsFailed:
            return msg_.SpamTestsFailed;
        case FilterField::MessageBody:
            return msg_.StrippedBody;
        case FilterField::Unknown:
            break;
        }
        static const std::string none;
        return none;
    }

    const clsMessage& msg_;
    std::array<std::string, 11> lower_;
    std::array<bool, 11> have_{};
    std::string cleanSubject_;
    bool haveClean_ = false;
    std::string kept_;
};

float settingSingle(const char* key, double fallback) {
    return static_cast<float>(sget(key, fallback).toNumber());
}

} // namespace

std::string singleText(float value) {
    char buffer[64];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return std::string(buffer, result.ptr);
}

frmFilters::frmFilters() : frmFilters(FilterFolder) {}

frmFilters::frmFilters(const std::string& filterFolder) {
    const std::string folder = addslash(ToSlashes(filterFolder));
    rulesPath_ = folder + "Rules.txt";
    localRulesPath_ = folder + "LocalRules.txt";
    blockedPath_ = folder + "Blocked.txt";
    blockedDomainsPath_ = folder + "BlockedDomains.txt";
    blockedRecipDomainsPath_ = folder + "BlockedRecipDomains.txt";
    blockedRecipPath_ = folder + "BlockedRecip.txt";
    ignorePath_ = folder + "Ignore.txt";
    currentRulesPath_ = rulesPath_;
}

// ---- Rules files ----

void frmFilters::LoadFilters(FilterCollection& collection, const std::string& path,
                             bool ClearFirst) {
    const char* proc = "LoadFilters";
    if (ClearFirst) collection.clear();
    std::string text;
    const std::string resolved = ResolvePath(path);
    if (!FileExists(resolved)) return;
    if (!guarded(proc, Module, [&] {
            if (!LoadTextFile(resolved, text)) throw RunError(Err::PathFileAccess);
        }))
        return;

    std::optional<clsFilterNew> building;
    int index = 0;
    auto finish = [&] {
        guarded(proc, Module, [&] {
            if (index > 32767) throw RunError(Err::Overflow);
            building->RuleCount = static_cast<int16_t>(index);
        });
        bool add = ClearFirst;
        if (!add) {
            add = true;
            for (const clsFilterNew& f : collection)
                if (f.FilterName == building->FilterName) add = false;
        }
        if (add) collection.push_back(std::move(*building));
        building.reset();
    };

    for (const std::string& line : SplitLines(text)) {
        // Only the first two pieces count: a value holding ", " is cut there,
        // which is how rules files have always been read.
        const std::vector<std::string> pieces = Split(line, ", ");
        const std::string keyword = LCase(pieces[0]);
        auto value = [&]() -> const std::string& {
            if (pieces.size() < 2) throw RunError(Err::SubscriptOutOfRange);
            return pieces[1];
        };
        auto filter = [&]() -> clsFilterNew& {
            if (!building) throw RunError(ObjectNotSet, "Object variable not set");
            return *building;
        };
        if (keyword == "filtername") {
            if (building) finish();
            building.emplace();
            building->RuleCount = 0;
            guarded(proc, Module, [&] { building->FilterName = value(); });
            index = 0;
        } else if (keyword == "filterfield") {
            if (index < 32768) ++index;
            guarded(proc, Module, [&] { filter().setFields(index, value()); });
        } else if (keyword == "filtercomparison") {
            guarded(proc, Module, [&] { filter().setComparisons(index, value()); });
        } else if (keyword == "filterstring") {
            guarded(proc, Module, [&] { filter().setStrings(index, value()); });
        } else if (keyword == "filter_category") {
            guarded(proc, Module, [&] { filter().Category = numericValue(value()); });
        } else if (keyword == "filteraction") {
            guarded(proc, Module, [&] { filter().Action = integerValue(value()); });
        } else if (keyword == "filterdest") {
            guarded(proc, Module, [&] { filter().DestFolder = value(); });
        } else if (keyword == "filterstop") {
            guarded(proc, Module, [&] { filter().StopProcessing = truthValue(value()); });
        }
    }
    if (building) finish();
}

bool frmFilters::savefilters(const std::string& path, bool onlySharedFlag) const {
    const char* proc = "savefilters";
    std::string text;
    auto line = [&](auto&& make) {
        guarded(proc, Module, [&] {
            std::string l = make();
            text += l;
            text += "\r\n";
        });
    };
    for (const clsFilterNew& f : filters_) {
        if (onlySharedFlag && f.Category != 0) continue;
        line([&] { return "Filtername, " + f.FilterName; });
        for (int j = 1; j <= f.RuleCount; ++j) {
            line([&] { return "FilterField, " + f.Fields(j); });
            line([&] { return "FilterComparison, " + f.Comparisons(j); });
            line([&] { return "FilterString, " + f.Strings(j); });
        }
        line([&] { return "FilterAction, " + Str(f.Action); });
        line([&] { return "FilterDest, " + f.DestFolder; });
        line([&] { return std::string(f.StopProcessing ? "FilterStop, -1" : "FilterStop, 0"); });
        line([&] { return "Filter_Category, " + Str(f.Category); });
    }
    return guarded(proc, Module, [&] {
        if (!WriteFileAtomically(ResolvePath(path), text))
            throw RunError(Err::PathFileAccess, "Cannot write " + path);
    });
}

void frmFilters::ReloadFilters(bool isLocal) {
    currentRulesPath_ = isLocal ? localRulesPath_ : rulesPath_;
    LoadFilters(filters_, currentRulesPath_, true);
    ReloadLists();
}

void frmFilters::ReloadLists() {
    blocked_.Load(blockedPath_);
    blockedDomains_.Load(blockedDomainsPath_);
    blockedRecipDomains_.Load(blockedRecipDomainsPath_);
    blockedRecip_.Load(blockedRecipPath_);
    ignore_.Load(ignorePath_);
}

FilterViewSetup frmFilters::DisplayFilters(bool isLocal) {
    MaxMailSize = isLocal ? 0.0f : settingSingle("MaxMailSize", 0);
    FilterViewSetup setup;
    setup.heading = isLocal ? "These filters will move inbound messages to selected folders"
                            : "These filters will delete spam based on header fields";
    setup.folderListOn = isLocal;
    setup.maxMailSize = MaxMailSize;
    return setup;
}

// ---- List changes ----

bool frmFilters::changeList(clsAddressList& list, const std::string& path, const std::string& text,
                            bool add, const char* procedure) {
    list.Load(path);
    if (!guarded(procedure, Module, [&] {
            if (add)
                list.Add(text);
            else
                list.Remove(text);
        }))
        return false;
    return guarded(procedure, Module, [&] {
        if (!list.Save(path)) throw RunError(Err::PathFileAccess, "Cannot write " + path);
    });
}

// The four block lists refuse a blank text silently; the ignore list has no
// such test and leaves a blank to the key test of its collection.
bool frmFilters::IgnoreRecipient(const std::string& address) {
    return changeList(ignore_, ignorePath_, address, true, "ignorerecipient");
}
bool frmFilters::UnIgnoreRecipient(const std::string& address) {
    return changeList(ignore_, ignorePath_, address, false, "unignorerecipient");
}
bool frmFilters::BlockSender(const std::string& address) {
    if (Trim(address).empty()) return false;
    return changeList(blocked_, blockedPath_, address, true, "blocksender");
}
bool frmFilters::UnBlockSender(const std::string& address) {
    if (Trim(address).empty()) return false;
    return changeList(blocked_, blockedPath_, address, false, "unblocksender");
}
bool frmFilters::BlockSenderDomain(const std::string& domain) {
    if (Trim(domain).empty()) return false;
    return changeList(blockedDomains_, blockedDomainsPath_, domain, true, "BlockSenderDomain");
}
bool frmFilters::UnBlockSenderDomain(const std::string& domain) {
    if (Trim(domain).empty()) return false;
    return changeList(blockedDomains_, blockedDomainsPath_, domain, false, "UnBlockSenderDomain");
}
bool frmFilters::BlockRecipDomain(const std::string& domain) {
    if (Trim(domain).empty()) return false;
    return changeList(blockedRecipDomains_, blockedRecipDomainsPath_, domain, true,
                      "BlockRecipDomain");
}
bool frmFilters::UnBlockRecipDomain(const std::string& domain) {
    if (Trim(domain).empty()) return false;
    return changeList(blockedRecipDomains_, blockedRecipDomainsPath_, domain, false,
                      "UnBlockRecipDomain");
}
bool frmFilters::BlockRecip(const std::string& address) {
    if (Trim(address).empty()) return false;
    return changeList(blockedRecip_, blockedRecipPath_, address, true, "blockrecip");
}
bool frmFilters::UnBlockRecip(const std::string& address) {
    if (Trim(address).empty()) return false;
    return changeList(blockedRecip_, blockedRecipPath_, address, false, "unblockrecip");
}

// ---- The check ----

bool frmFilters::suppressmessage(const clsMessage& msg) const {
    return guardedValue("suppressmessage", Module, false, [&] {
        const Account account(msg.FromAccount);
        const std::string only[2] = {account.exclusive(0), account.exclusive(1)};
        if (only[0].empty() && only[1].empty()) return false;
        for (const std::string& text : only) {
            if (text.empty()) continue;
            if (InStrNoCase(msg.To_Email, text) || InStrNoCase(msg.CC, text)) return false;
        }
        return true;
    });
}

void frmFilters::CheckMessage(clsMessage& msg, bool CheckBayes) {
    guarded("CheckMessage", Module, [&] { checkLadder(msg, CheckBayes); });
}

// The order of this ladder is what users write their filters against: the
// lists beat every rule, rules stack in collection order, and only a delete
// rule that ends the loop keeps a message from the size limit.
void frmFilters::checkLadder(clsMessage& msg, bool CheckBayes) {
    const char* proc = "CheckMessage";
    bool matched = false;
    const std::string sender = extractemail(msg.From);
    const std::string recipient = extractemail(msg.To_Email);

    msg.Colour = ColourGood;
    msg.FilterReason.clear();
    msg.Deleted = false;
    msg.BlockedSender = false;
    msg.BlockedRecip = false;
    msg.Ignored = false;

    if (suppressmessage(msg) || Ignore(recipient)) {
        msg.Colour = ColourLeftAlone;
        msg.Ignored = true;
        return;
    }
    auto blockedBy = [&](const std::string& reason, bool bySender) {
        matched = true;
        msg.FilterReason = reason;
        msg.Deleted = true;
        msg.Colour = ColourDelete;
        (bySender ? msg.BlockedSender : msg.BlockedRecip) = true;
    };
    if (Blocked(sender)) return blockedBy("Sender Blocked", true);
    if (BlockedDomain(sender)) return blockedBy("Domain Blocked", true);
    if (BlockedRecipDomain(recipient)) return blockedBy("Recip Domain Blocked", false);
    if (RecipBlocked(recipient)) return blockedBy(recipient + " Blocked", false);

    // The rules. The first text carries over from one condition to the next,
    // across filters too, so a condition on an unknown field tests it again.
    FieldTexts texts(msg);
    static const std::string empty;
    const std::string* text1 = &empty;
    for (const clsFilterNew& f : filters_) {
        matched = false;
        const clsFilterNew::Condition* cond = nullptr;
        for (int j = 1; j <= f.RuleCount; ++j) {
            if (j <= clsFilterNew::MaxConditions) {
                cond = &f.condition(j);
            } else {
                // A count beyond four reads past the conditions; each read fails
                // and the condition before is tried again in its place.
                guarded(proc, Module, [&] { (void)f.Fields(j); });
                guarded(proc, Module, [&] { (void)f.Comparisons(j); });
                guarded(proc, Module, [&] { (void)f.Strings(j); });
            }
            const std::string* text2 = nullptr;
            if (cond->field == FilterField::Subject) {
                text1 = &texts.text(FilterField::Subject);
                text2 = &texts.cleanSubject();
            } else if (cond->field != FilterField::Unknown) {
                text1 = &texts.text(cond->field);
            }
            if (!text2 || text2->empty()) text2 = text1;
            const std::string& target = cond->lowerTarget;
            if (cond->compare == FilterCompare::Contains) {
                matched = contains(*text1, target) || (text2 != text1 && contains(*text2, target));
            } else if (cond->compare == FilterCompare::NotContains) {
                matched =
                    !contains(*text1, target) && !(text2 != text1 && contains(*text2, target));
            }
            if (!matched) break;
        }
        if (!matched) continue;

        if (f.Action == 2) {
            msg.DestFolder = f.DestFolder;
            msg.FilterReason = f.FilterName;
            matched = false;
        } else if (f.Action == 3) {
            msg.Colour = ColourGood;
            msg.Deleted = false;
            msg.FilterReason = f.FilterName;
            matched = false;
        } else if (f.Action == 1) {
            msg.Colour = ColourSuspicious;
            msg.FilterReason = f.FilterName;
            msg.Suspicious = true;
            guarded(proc, Module, [&] { msg.TagAsSpam(); });
            if (!InStr(msg.Subject, "SPAM:")) {
                texts.subjectChanging(text1);
                msg.Subject = "SPAM: " + msg.Subject;
            }
            matched = false;
        } else if (f.Action == 0) {
            msg.Deleted = true;
            msg.FilterReason = f.FilterName;
            msg.Colour = ColourDelete;
        }
        if (f.StopProcessing) {
            CheckBayes = false;
            break;
        }
    }

    if (!CheckBayes) {
        msg.Bayes = 0;
    } else {
        // A folder chosen by a rule goes on every path through the score. The
        // thresholds are the program-wide values read from the settings.
        msg.DestFolder.clear();
        float score = 0;
        BayesScore& scorer = bayes_ ? *bayes_ : currentBayesScore();
        guarded(proc, Module, [&] { scorer.Spamminess(msg, false, score); });
        msg.Bayes = score;
        if (msg.FilterReason.empty()) msg.FilterReason = "Bayes: " + singleText(score);
        if (msg.Bayes >= corva::Spamminess) {
            msg.Colour = ColourDelete;
            if (msg.HeaderOnly)
                msg.Deleted = true;
            else
                msg.DestFolder = "\\SpamBayes\\";
            return;
        }
        if (msg.Bayes >= corva::SaveToSpamScore) {
            msg.Suspicious = true;
            msg.Colour = ColourSuspicious;
            msg.DestFolder = "\\SpamBayes\\";
            return;
        }
    }

    MaxMailSize = settingSingle("MaxMailSize", 0);
    if (MaxMailSize > 0 && !matched && msg.Size > MaxMailSize) {
        msg.Colour = ColourLeftAlone;
        msg.Ignored = true;
        msg.FilterReason = "Over " + singleText(MaxMailSize) + "Kb";
    }
}

} // namespace corva
