// The training window's commands over the classifier.
#include "bayes/TrainingForm.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "store/modFolders.h"

#include <algorithm>

namespace corva {

namespace {
constexpr const char* Module = "frmBayesFilter";
}

std::vector<int> thresholdChoices(int first, int last, int current) {
    std::vector<int> values;
    for (int v = first; v <= last; ++v) values.push_back(v);
    if (current < first || current > last)
        values.insert(std::lower_bound(values.begin(), values.end(), current), current);
    return values;
}

std::vector<std::string> goodMailFolders() {
    std::vector<std::string> folders;
    guarded("fillfolders", Module, [&] {
        std::vector<std::string> all;
        FillMailFolders(all);
        for (std::string folder : all) {
            folder = ToSlashes(folder);
            while (!folder.empty() && folder.back() == '/') folder.pop_back();
            while (!folder.empty() && folder.front() == '/') folder.erase(folder.begin());
            if (folder.empty()) continue;
            const std::string top = LCase(Split(folder, "/").front());
            bool left = false;
            for (const char* name : {SpamBayesFolder, DeletedFolder, OutboxFolder, SentItemsFolder})
                left = left || top == LCase(name);
            if (!left) folders.push_back(folder);
        }
    });
    return folders;
}

TrainingForm::TrainingForm(frmBayesFilter& bayes, TrainingView& view) : bayes_(bayes), view_(view) {
    bayes_.setListener(&view_);
}

TrainingForm::~TrainingForm() {
    bayes_.setListener(nullptr);
}

void TrainingForm::Show() {
    bayes_.LoadViewSettings();
    TrainingLists lists;
    lists.goodFolders = goodMailFolders();
    // A first install reads SaveToSpamScore as 2, above any score: listed as
    // 200 until the user picks a band of their own.
    lists.spamminess = thresholdChoices(1, 99, bayes_.SpamminessPercent);
    lists.saveToSpam = thresholdChoices(1, 99, bayes_.SaveToSpamPercent);
    lists.headerWords = thresholdChoices(1, 50, bayes_.HeaderWordsChoice);
    lists.spamWordCount = thresholdChoices(1, 10, bayes_.SpamWordCountChoice);
    lists.bodyWordCount = thresholdChoices(0, 50, 0);
    lists.archiveAvailable = bayes_.ArchiveAvailable();
    view_.ShowLists(lists);

    TrainingChoices c;
    c.goodSource = bayes_.GoodSource;
    c.goodFolder = bayes_.GoodFolder;
    c.goodSubfolders = bayes_.GoodSubfolders;
    c.spamSource = lists.archiveAvailable || bayes_.SpamSource != SpamMailSource::Archive
                       ? bayes_.SpamSource
                       : SpamMailSource::SpamBayes;
    c.spamSubfolders = bayes_.SpamSubfolders;
    c.spamminessPercent = bayes_.SpamminessPercent;
    c.saveToSpamPercent = bayes_.SaveToSpamPercent;
    c.headerWords = bayes_.HeaderWordsChoice;
    c.spamWordCount = bayes_.SpamWordCountChoice;
    view_.ShowChoices(c);
}

void TrainingForm::apply(const TrainingChoices& c) {
    bayes_.GoodSource = c.goodSource;
    bayes_.GoodFolder = c.goodFolder;
    bayes_.GoodSubfolders = c.goodSubfolders;
    bayes_.SpamSource = c.spamSource;
    bayes_.SpamSubfolders = c.spamSubfolders;
    bayes_.SpamminessPercent = c.spamminessPercent;
    bayes_.SaveToSpamPercent = c.saveToSpamPercent;
    bayes_.HeaderWordsChoice = c.headerWords;
    bayes_.SpamWordCountChoice = c.spamWordCount;
}

template <typename Work> void TrainingForm::run(Work work) {
    if (busy_) return;
    busy_ = true;
    bayes_.StopRequested = false;
    view_.SetBusy(true);
    guarded("generatefilters", Module, work);
    busy_ = false;
    bayes_.StopRequested = false;
    view_.SetBusy(false);
    if (closeWhenDone_) view_.CloseWindow();
}

void TrainingForm::cmdGenerate_Click() {
    run([this] {
        apply(view_.ReadChoices());
        bayes_.generatefilters();
    });
}

void TrainingForm::cmdRefresh_Click() {
    run([this] { bayes_.UpdateFromUnread(); });
}

void TrainingForm::cmdReset_Click() {
    if (busy_) return;
    bayes_.ResetToDefaults();
    Show();
}

void TrainingForm::cmdStop_Click() {
    if (busy_) bayes_.StopRequested = true;
}

void TrainingForm::cmdExit_Click() {
    if (busy_) {
        closeWhenDone_ = true;
        bayes_.StopRequested = true;
        return;
    }
    view_.CloseWindow();
}

} // namespace corva
