// The rule editor's window over FilterEditor: the list of filters, the form of
// one filter, and the buttons, each forwarded to the logic.
#pragma once

#include "filters/FilterEditor.h"

#include <QDialog>

#include <array>
#include <memory>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace corva {
class frmFilters;
}

namespace corva::ui {

class RuleEditorWindow : public QDialog, public FilterEditorView {
    Q_OBJECT
public:
    RuleEditorWindow(frmFilters& filters, QWidget* parent = nullptr);
    ~RuleEditorWindow() override;

    FilterEditor& editor() { return *editor_; }

    // ---- FilterEditorView ----
    void SetHeading(const std::string& heading) override;
    void SetMaxMailSize(float kilobytes) override;
    void FillCombos(const FilterEditorLists& lists) override;
    void ShowFilterList(const std::vector<std::string>& names) override;
    void SelectLine(int line) override;
    void ShowForm(const FilterForm& form) override;
    void SetFilterName(const std::string& name) override;
    void EnableRow(int row, bool on) override;
    void EnableMailFolders(bool on) override;
    FilterForm ReadForm() const override;
    std::string SearchText() const override;
    size_t NameMaxLength() const override;
    std::string AskSaveFile(const std::string& extension) override;
    std::string AskOpenFile(const std::string& filter) override;
    void OpenHelp(const std::string& page) override;
    void CloseWindow() override;

    // The controls, by the names the logic knows them by.
    QListWidget* listview1;
    QLabel* lblHeading;
    QLabel* lblMaxMailSize;
    QLineEdit* txtFilterName;
    std::array<QCheckBox*, 4> chkOn{};
    std::array<QComboBox*, 4> cmbField{};
    std::array<QComboBox*, 4> cmbComparison{};
    std::array<QLineEdit*, 4> txtText{};
    QComboBox* cmbWhenMatched;
    QComboBox* cmbMailFolders;
    QComboBox* cmbCategory;
    QCheckBox* chkStopProcessing;
    QLineEdit* txtSearchString;

protected:
    void closeEvent(QCloseEvent* event) override;
    void reject() override;

private:
    QPushButton* button(const QString& caption, void (FilterEditor::*command)());

    std::unique_ptr<FilterEditor> editor_;
    bool filling_ = false; // the logic is drawing: changes are not the user's
    bool closing_ = false;
};

} // namespace corva::ui
