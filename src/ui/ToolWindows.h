// The windows of the mail tools: search, archive, import and mail merge. Each
// shows what its logic object in src/tools tells it and forwards the buttons.
#pragma once

#include "tools/frmArchive.h"
#include "tools/frmImportMail.h"
#include "tools/frmMailMerge.h"
#include "tools/frmSearch.h"

#include <QDialog>
#include <functional>
#include <string>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;

namespace corva::ui {

// Search, modeless: results stay while one is read.
class SearchWindow : public QDialog, public frmSearchView {
    Q_OBJECT
public:
    SearchWindow(std::function<void(const std::string&)> openReader, QWidget* parent = nullptr);

    void Status(const std::string& text) override;
    void ClearResults() override;
    void AddResult(const SearchResult& result) override;
    void SetSearching(bool searching) override;
    void OpenReader(const std::string& path) override { openReader_(path); }
    // Stop goes straight to the search; this only shows how far it has read.
    bool StopRequested() override;

    // For tests and screenshots.
    frmSearch& search() { return search_; }
    QLineEdit& field(const char* name) const;
    QTreeWidget& results() const { return *results_; }
    QString statusText() const;
    void clickSearch();

protected:
    // A search under way is stopped rather than left with its window gone.
    void closeEvent(QCloseEvent* event) override;
    void reject() override;

private:
    frmSearch search_;
    std::function<void(const std::string&)> openReader_;
    QLineEdit *from_, *to_, *subject_, *message_, *kb_;
    QComboBox* folders_;
    QCheckBox* subfolders_;
    QPushButton *searchButton_, *stopButton_;
    QTreeWidget* results_;
    QLabel* status_;
    QString searching_; // the status under way, with the count read after it
};

// The common part of archive and import: a status line, Stop, busy.
class ToolDialog : public QDialog, public ToolListener {
    Q_OBJECT
public:
    explicit ToolDialog(QWidget* parent);
    void Status(const std::string& text) override;
    void SetBusy(bool busy) override;
    bool StopRequested() override { return stop_; }
    QString statusText() const;
    // While a run is under way, closing stops it instead.
    void reject() override;

protected:
    QLabel* status_;
    QPushButton* stopButton_;
    QPushButton* closeButton_;
    bool stop_ = false;
    bool busy_ = false;
};

class ArchiveDialog : public ToolDialog {
    Q_OBJECT
public:
    explicit ArchiveDialog(QWidget* parent = nullptr);
    void choose(int year, int month, int day);
    void clickArchive();

private:
    frmArchive archive_;
    QComboBox *year_, *month_, *day_;
    QPushButton* archiveButton_;
};

class ImportDialog : public ToolDialog {
    Q_OBJECT
public:
    explicit ImportDialog(QWidget* parent = nullptr);
    QLineEdit& source() const { return *source_; }
    void clickImport();

private:
    frmImportMail import_;
    QLineEdit* source_;
    QCheckBox* subfolders_;
    QPushButton* importButton_;
};

class MailMergeDialog : public QDialog {
    Q_OBJECT
public:
    MailMergeDialog(frmMailMerge& merge, QWidget* parent = nullptr);
    QLineEdit& dataFile() const { return *data_; }
    QLineEdit& templateFile() const { return *template_; }
    void clickGo();

private:
    frmMailMerge& merge_;
    QLineEdit *data_, *template_;
};

// What a mail merge shows while it spools: the row it is at, and Stop, which
// ends it between rows with what was spooled kept.
class MailMergeProgress : public ToolDialog {
    Q_OBJECT
public:
    explicit MailMergeProgress(QWidget* parent = nullptr);
    void SetBusy(bool busy) override;
    QPushButton& stopButton() const { return *stopButton_; }
};

// Opens the window of a mailer key: "search", "archive", "importmail" or
// "mailmerge". Archive, import and merge are modal and done on return.
void openToolWindow(QWidget* parent, const std::string& key,
                    std::function<void(const std::string&)> openReader);

} // namespace corva::ui
