// The training window's logic: where good mail and spam come from, the four
// thresholds as the lists show them, and the commands Generate, Refresh,
// Reset To Defaults, Stop and Exit over the program's classifier.
#pragma once

#include "bayes/frmBayesFilter.h"

#include <string>
#include <vector>

namespace corva {

// What the window's controls hold.
struct TrainingChoices {
    GoodMailSource goodSource = GoodMailSource::Folder;
    std::string goodFolder = "Inbox";
    bool goodSubfolders = false;
    SpamMailSource spamSource = SpamMailSource::SpamBayes;
    bool spamSubfolders = false;
    int spamminessPercent = 99;
    int saveToSpamPercent = 70;
    int headerWords = 12;
    int spamWordCount = 2;
    int bodyWordCount = 0; // cmbBodyWordCount: offered, read by nothing
};

// The entries of the window's lists.
struct TrainingLists {
    std::vector<std::string> goodFolders;
    std::vector<int> spamminess;
    std::vector<int> saveToSpam;
    std::vector<int> headerWords;
    std::vector<int> spamWordCount;
    std::vector<int> bodyWordCount;
    bool archiveAvailable = false;
};

class TrainingView : public frmBayesFilterListener {
public:
    void Status(const std::string& text) override { (void)text; }
    virtual void ShowLists(const TrainingLists& lists) { (void)lists; }
    virtual void ShowChoices(const TrainingChoices& choices) { (void)choices; }
    virtual TrainingChoices ReadChoices() const { return {}; }
    // While busy only Stop is offered.
    virtual void SetBusy(bool busy) { (void)busy; }
    virtual void CloseWindow() {}
};

class TrainingForm {
public:
    TrainingForm(frmBayesFilter& bayes, TrainingView& view);
    ~TrainingForm();
    TrainingForm(const TrainingForm&) = delete;
    TrainingForm& operator=(const TrainingForm&) = delete;

    // Fills the lists and shows the thresholds in force.
    void Show();
    void cmdGenerate_Click();
    void cmdRefresh_Click();
    void cmdReset_Click();
    void cmdStop_Click();
    // Stops a generation first: Exit while busy ends it with what was read kept.
    void cmdExit_Click();
    bool Busy() const { return busy_; }

private:
    template <typename Work> void run(Work work);
    void apply(const TrainingChoices& choices);

    frmBayesFilter& bayes_;
    TrainingView& view_;
    bool busy_ = false;
    bool closeWhenDone_ = false;
};

// Whole numbers from first to last, with the current value put in order when
// it lies outside, so showing a value never changes it.
std::vector<int> thresholdChoices(int first, int last, int current);
// The mail folders good mail may come from: every folder but the spam,
// deleted, outbox and sent folders and those below them.
std::vector<std::string> goodMailFolders();

} // namespace corva
