// The classifier's training window over TrainingForm: where good mail and
// spam come from, the thresholds, and the commands with progress and Stop.
#pragma once

#include "bayes/TrainingForm.h"

#include <QDialog>

#include <memory>

class QCheckBox;
class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QRadioButton;

namespace corva::ui {

class TrainingWindow : public QDialog, public TrainingView {
    Q_OBJECT
public:
    explicit TrainingWindow(frmBayesFilter& bayes, QWidget* parent = nullptr);
    ~TrainingWindow() override;

    TrainingForm& form() { return *form_; }

    // ---- TrainingView ----
    void Status(const std::string& text) override;
    void ShowLists(const TrainingLists& lists) override;
    void ShowChoices(const TrainingChoices& choices) override;
    TrainingChoices ReadChoices() const override;
    void SetBusy(bool busy) override;
    void CloseWindow() override;

    QRadioButton* optGoodFolder;
    QRadioButton* optGoodFile;
    QComboBox* cmbGoodFolder;
    QCheckBox* chkGoodSubfolders;
    QRadioButton* optSpamBayes;
    QRadioButton* optSpamArchive;
    QRadioButton* optSpamFile;
    QCheckBox* chkSpamSubfolders;
    QComboBox* cmbSpamminess;
    QComboBox* cmbSaveToSpam;
    QComboBox* cmbHeaderWords;
    QComboBox* cmbSpamWordCount;
    QComboBox* cmbBodyWordCount;
    QLabel* picStatus;
    QProgressBar* progress;
    QPushButton* cmdGenerate;
    QPushButton* cmdRefresh;
    QPushButton* cmdReset;
    QPushButton* cmdStop;
    QPushButton* cmdExit;

protected:
    void closeEvent(QCloseEvent* event) override;
    void reject() override;

private:
    std::unique_ptr<TrainingForm> form_;
    bool closing_ = false;
};

} // namespace corva::ui
