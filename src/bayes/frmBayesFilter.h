// The classifier: the word, good, bad and test tables, training from mail
// folders, the probability formula, the score of one message, and marking by
// the user. One object serves the whole program; as the view's logic it also
// holds the choices of where training mail comes from.
#pragma once

#include "bayes/TokenSet.h"
#include "bayes/WordIndex.h"
#include "bayes/clsHashTable.h"
#include "filters/BayesScore.h"

#include <string>
#include <vector>

namespace corva {

class clsContacts;
class clsMessage;
class clsMessages;

// What the training view shows while it works (its status picture).
class frmBayesFilterListener {
public:
    virtual ~frmBayesFilterListener() = default;
    virtual void Status(const std::string& text) = 0;
};

enum class GoodMailSource { Folder, File };
enum class SpamMailSource { SpamBayes, Archive, File };

class frmBayesFilter : public BayesScore {
public:
    frmBayesFilter();
    ~frmBayesFilter() override;
    frmBayesFilter(const frmBayesFilter&) = delete;
    frmBayesFilter& operator=(const frmBayesFilter&) = delete;

    void setListener(frmBayesFilterListener* listener) { listener_ = listener; }
    // The book that the score asks about senders; the program's one by default.
    void setContacts(clsContacts* contacts) { contacts_ = contacts; }
    // Makes this object the scorer of the message check.
    void Install();

    // ---- The view's choices ----
    GoodMailSource GoodSource = GoodMailSource::Folder;
    std::string GoodFolder = "Inbox"; // under the message folder, or a full path
    bool GoodSubfolders = false;
    SpamMailSource SpamSource = SpamMailSource::SpamBayes;
    bool SpamSubfolders = false;
    // The thresholds as the view lists them: percentages and counts.
    int SpamminessPercent = 99;
    int SaveToSpamPercent = 70;
    int HeaderWordsChoice = 12;
    int SpamWordCountChoice = 2;
    // Set by the view's Stop: a generation ends after the message it is reading,
    // keeps the table it was filling, and leaves the word table as it was.
    bool StopRequested = false;

    // ---- Public interface ----
    // The next score loads the word table again.
    void ForceRefresh() { wordLoaded_ = false; }
    // Whether a score writes its breakdown into the message's SpamSplit (it
    // does unless told otherwise); a caller that never shows it saves the text.
    void KeepBreakdown(bool keep) { keepSplit_ = keep; }
    // Loads HashTable.dat on top of what the word table holds.
    void LoadWordHash();
    // Adds the unread mail of the SpamBayes folder to the bad counts and rebuilds.
    void UpdateFromUnread();
    void Spamminess(clsMessage& msg, bool headersOnly, float& score) override;
    void AddToJunk(clsMessage& msg) { SwapStatus(msg, true); }
    void RemoveFromJunk(clsMessage& msg) { SwapStatus(msg, false); }
    // Writes the loaded count tables, loads the others, and rebuilds the word table.
    void RecreateWordHash();

    // ---- Commands of the view ----
    // The full rebuild from the chosen sources; false when the archive is missing.
    bool generatefilters();
    // Stores the view's thresholds in the settings and rereads them.
    void savelocalsettings();
    // Writes the default thresholds, rereads them and refills the view's choices.
    void ResetToDefaults();
    // The folder good mail is read from, resolved under the message folder.
    std::string goodFolderPath() const;
    // Fills the view's thresholds from the program's scoring numbers; the view
    // does this each time it is shown.
    void LoadViewSettings();
    // Whether the spam archive is a folder of its own (the view enables the choice).
    bool ArchiveAvailable() const;

    // ---- Marking ----
    // Asks, then counts each message on one side and rebuilds the word table.
    // The collection is empty afterwards unless the user said no.
    void MarkMessagesJunkOrNot(clsMessages& messages, bool asJunk);
    // Adds the message's distinct header tokens to the bad (toJunk) or good counts.
    void SwapStatus(clsMessage& msg, bool toJunk);
    // The breakdown of a message's score, lowest probability first.
    std::vector<std::string> ShowBayesBreakdown(clsMessage& msg);

    // ---- The steps of training ----
    void GenerateTables(const std::string& label, const std::string& folder, bool unreadOnly,
                        bool withSubfolders, clsHashTable& table);
    void GenerateWordHash(clsHashTable& good, clsHashTable& bad, int minCount);

    // ---- Tables and files ----
    // The word table; one read straight into the score's index is filled in first.
    clsHashTable& WordTable();
    // The words of the table (its MaxIndex), without filling it in.
    int32_t WordCount() const { return wordPending_ ? index_.Records() : word_.MaxIndex; }
    clsHashTable& GoodTable() { return good_; }
    clsHashTable& BadTable() { return bad_; }
    bool WordLoaded() const { return wordLoaded_; }
    bool GoodLoaded() const { return goodLoaded_; }
    bool BadLoaded() const { return badLoaded_; }
    // Loads HashGood.dat or HashBad.dat unless it is loaded already.
    void LoadGood();
    void LoadBad();
    static std::string wordfilename(); // HashTable.dat in the filter folder
    static std::string goodfilename(); // HashGood.dat
    static std::string badfilename();  // HashBad.dat

private:
    float score(clsMessage& msg, bool headersOnly);
    void sortRanked();
    void status(const std::string& text);
    bool stopped();
    void loadFilled(clsHashTable& table, const std::string& path);
    void fillWordTable();
    void clearWordTable();

    clsHashTable word_;
    // A first load reads HashTable.dat into index_ only, for the score; word_
    // is filled from the same text when something else asks for it.
    WordIndex index_;
    bool wordPending_ = false;
    clsHashTable good_;
    clsHashTable bad_;
    bool wordLoaded_ = false;
    bool goodLoaded_ = false;
    bool badLoaded_ = false;
    frmBayesFilterListener* listener_ = nullptr;
    clsContacts* contacts_ = nullptr;
    bool keepSplit_ = true;
    // Scratch space of the score, kept between messages to spare allocations.
    TokenSet tokens_;
    std::vector<std::pair<float, int32_t>> ranked_;
};

// The confirmation of a marking: the window's caption, its heading and its text.
struct ConfirmMarkAsText {
    std::string caption;
    std::string title;
    std::string text;
};
ConfirmMarkAsText ConfirmMarkAs(long count, bool asJunk);

// Rounds to two decimals, ties to the even hundredth, in single precision.
float roundToHundredths(float value);

// The name test of the score: a blank-separated piece of the display name
// that occurs in the address, ignoring case.
bool nameInAddress(const std::string& name, const std::string& address);

} // namespace corva
