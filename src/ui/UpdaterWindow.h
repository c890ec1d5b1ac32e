// The update window: the running and the available version, the details of
// the new one, and its download with a progress bar. The proxy dialog sits
// beside it, opened from here and from the settings.
#pragma once

#include "updates/fSHAREDProxy.h"
#include "updates/fSHAREDUpdater.h"

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QRadioButton;

namespace corva::ui {

class UpdaterWindow : public QDialog, public fSHAREDUpdaterView {
    Q_OBJECT
public:
    UpdaterWindow(fSHAREDUpdater& updater, QWidget* parent = nullptr);
    ~UpdaterWindow() override;
    // The one window of the program's updater, made on first use and shown.
    static UpdaterWindow& open(fSHAREDUpdater& updater, QWidget* parent);
    // "Check Now": a check that asks whether to show the details.
    void check();

    void ShowWindow() override;
    void ShowVersion(const std::string& text) override;
    void ShowStatus(const std::string& text) override;
    void ShowDetails(const std::string& text) override;
    void ShowProgress(long long received, long long total) override;
    void SetBusy(bool busy) override;
    std::string ChooseSaveFile(const std::string& suggested) override;

private:
    void closeEvent(QCloseEvent* event) override;
    void reject() override;
    // Runs a command with the other buttons off: the commands wait on the
    // event loop, where a second click would start a second transfer.
    template <class F> void command(F&& fn);

    fSHAREDUpdater& updater_;
    QLabel* lblVersion_;
    QLabel* lblStatus_;
    QPlainTextEdit* txtDetails_;
    QProgressBar* progress_;
    QCheckBox* chkDisable_;
    QList<QPushButton*> commands_;
    QPushButton* cmdCancel_;
    bool busy_ = false;
};

class ProxyDialog : public QDialog {
    Q_OBJECT
public:
    explicit ProxyDialog(QWidget* parent = nullptr);
    // Saves unless the passwords differ; true when saved.
    bool save();
    void accept() override;

private:
    void updateEnabled();
    QRadioButton* types_[3];
    QLineEdit* txtServer_;
    QLineEdit* txtPort_;
    QLineEdit* txtUser_;
    QLineEdit* txtPassword_;
    QLineEdit* txtConfirm_;
};

} // namespace corva::ui
