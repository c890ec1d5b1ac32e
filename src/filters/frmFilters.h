// One set of filters with the five lists in front of them, and the check that
// judges every message with them. The program holds two: the server filters
// (Rules.txt), applied to what lies on the server, and the local filters
// (LocalRules.txt), applied to mail as it arrives. Both read the same lists.
#pragma once

#include "filters/clsAddressList.h"
#include "filters/clsFilterNew.h"
#include "message/MessageCheck.h"

#include <string>
#include <vector>

namespace corva {

class BayesScore;
class clsMessage;

using FilterCollection = std::vector<clsFilterNew>;

// Colours of a list line; red is the low byte.
inline constexpr int32_t ColourGood = 32768;          // green
inline constexpr int32_t ColourDelete = 33023;        // orange: to delete, or spam by score
inline constexpr int32_t ColourSuspicious = 0x8080FF; // pink
inline constexpr int32_t ColourLeftAlone = 0xC0C0C0;  // grey

// What the filter editor shows for one of the two sets; the window draws it.
struct FilterViewSetup {
    std::string heading;
    bool folderListOn = false; // only local filters move mail to folders
    float maxMailSize = 0;
};

class frmFilters : public MessageCheck {
public:
    // The file paths are fixed here, under the filter folder of the moment.
    frmFilters();
    explicit frmFilters(const std::string& filterFolder);

    // The filters in evaluation order.
    FilterCollection& Filters() { return filters_; }
    const FilterCollection& Filters() const { return filters_; }
    // The size limit in kilobytes the last check read from the settings.
    float MaxMailSize = 0;

    const std::string& RulesPath() const { return rulesPath_; }
    const std::string& LocalRulesPath() const { return localRulesPath_; }
    const std::string& CurrentRulesPath() const { return currentRulesPath_; }
    const std::string& BlockedPath() const { return blockedPath_; }
    const std::string& BlockedDomainsPath() const { return blockedDomainsPath_; }
    const std::string& BlockedRecipDomainsPath() const { return blockedRecipDomainsPath_; }
    const std::string& BlockedRecipPath() const { return blockedRecipPath_; }
    const std::string& IgnorePath() const { return ignorePath_; }

    // Reads a rules file into a collection. With ClearFirst the collection is
    // emptied first; without it a filter whose name is already there is skipped.
    static void LoadFilters(FilterCollection& collection, const std::string& path, bool ClearFirst);
    // Writes this object's filters, replacing the file; onlySharedFlag skips
    // those whose Category isn't 0. False when the file couldn't be written.
    bool savefilters(const std::string& path, bool onlySharedFlag) const;
    // Chooses the local or server rules, loads them afresh, and reloads the lists.
    void ReloadFilters(bool isLocal);
    void ReloadLists();

    // Prepares the editor for the local or server set: its heading, the folder
    // list, and MaxMailSize from the settings for the server set, 0 for the local.
    FilterViewSetup DisplayFilters(bool isLocal);

    // The list tests the check asks.
    bool Ignore(const std::string& address) const { return ignore_.Test(address); }
    bool Blocked(const std::string& address) const { return blocked_.Test(address); }
    bool BlockedDomain(const std::string& address) const { return blockedDomains_.Test(address); }
    bool BlockedRecipDomain(const std::string& address) const {
        return blockedRecipDomains_.Test(address);
    }
    bool RecipBlocked(const std::string& address) const { return blockedRecip_.Test(address); }

    // Changes of the lists. Each reads its file afresh first, so that a change
    // made through the other instance survives, then writes it back. True when
    // the list changed; an entry already there, or missing on removal, is
    // reported and leaves the list as it was.
    bool IgnoreRecipient(const std::string& address);
    bool UnIgnoreRecipient(const std::string& address);
    bool BlockSender(const std::string& address);
    bool UnBlockSender(const std::string& address);
    bool BlockSenderDomain(const std::string& domain);
    bool UnBlockSenderDomain(const std::string& domain);
    bool BlockRecipDomain(const std::string& domain);
    bool UnBlockRecipDomain(const std::string& domain);
    bool BlockRecip(const std::string& address);
    bool UnBlockRecip(const std::string& address);

    const clsAddressList& IgnoreList() const { return ignore_; }
    const clsAddressList& BlockedList() const { return blocked_; }
    const clsAddressList& BlockedDomainList() const { return blockedDomains_; }
    const clsAddressList& BlockedRecipDomainList() const { return blockedRecipDomains_; }
    const clsAddressList& BlockedRecipList() const { return blockedRecip_; }

    // Judges one message and writes the verdict into it: lists, rules, the
    // Bayesian score, the size limit. CheckBayes false skips the score.
    void CheckMessage(clsMessage& msg, bool CheckBayes) override;
    // True when the message's account takes only mail addressed to certain
    // texts, and this message is addressed to none of them.
    bool suppressmessage(const clsMessage& msg) const;

    // The scorer this object asks; null means the program's one.
    void setBayesScore(BayesScore* scorer) { bayes_ = scorer; }

private:
    void checkLadder(clsMessage& msg, bool CheckBayes);
    bool changeList(clsAddressList& list, const std::string& path, const std::string& text,
                    bool add, const char* procedure);

    FilterCollection filters_;
    clsAddressList ignore_{clsAddressList::Match::Exact};
    clsAddressList blocked_{clsAddressList::Match::Exact};
    clsAddressList blockedDomains_{clsAddressList::Match::Substring};
    clsAddressList blockedRecipDomains_{clsAddressList::Match::Substring};
    clsAddressList blockedRecip_{clsAddressList::Match::Exact};
    std::string rulesPath_, localRulesPath_, blockedPath_, blockedDomainsPath_,
        blockedRecipDomainsPath_, blockedRecipPath_, ignorePath_;
    std::string currentRulesPath_;
    BayesScore* bayes_ = nullptr;
};

// The text of a single-precision number in a reason ("0.99", "500").
std::string singleText(float value);

} // namespace corva
