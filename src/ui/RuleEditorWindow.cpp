// The rule editor's window; FilterEditor decides what each button does.
#include "ui/RuleEditorWindow.h"

#include "ui/DisplayText.h"
#include "ui/LanguageWalker.h"
#include "ui/TextWindow.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace corva::ui {

namespace {

void fill(QComboBox* box, const std::vector<std::string>& entries) {
    QSignalBlocker block(box);
    box->clear();
    for (const std::string& e : entries) box->addItem(toDisplay(e));
}

// Selects the entry showing the text, or shows the text itself when the list
// lacks it, so a value read from the file is never replaced unseen.
void choose(QComboBox* box, const std::string& text) {
    const QString shown = toDisplay(text);
    int at = box->findText(shown, Qt::MatchFixedString);
    if (at < 0 && !text.empty()) {
        box->addItem(shown);
        at = box->count() - 1;
    }
    box->setCurrentIndex(at);
}

} // namespace

RuleEditorWindow::RuleEditorWindow(frmFilters& filters, QWidget* parent)
    : QDialog(parent), editor_(std::make_unique<FilterEditor>(filters, *this)) {
    setObjectName(QStringLiteral("frmFilters"));
    setWindowTitle(QStringLiteral("Filters"));
    auto* top = new QVBoxLayout(this);
    lblHeading = new QLabel(this);
    QFont bold = lblHeading->font();
    bold.setBold(true);
    lblHeading->setFont(bold);
    top->addWidget(lblHeading);

    auto* body = new QHBoxLayout;
    top->addLayout(body, 1);

    // The list, with the moves and the search beside it.
    auto* left = new QVBoxLayout;
    body->addLayout(left, 2);
    listview1 = new QListWidget(this);
    listview1->setEditTriggers(QAbstractItemView::EditKeyPressed |
                               QAbstractItemView::SelectedClicked);
    left->addWidget(listview1, 1);
    connect(listview1, &QListWidget::currentRowChanged, this, [this](int row) {
        if (!filling_ && row >= 0) editor_->listview1_click(row + 1);
    });
    connect(listview1, &QListWidget::itemChanged, this, [this](QListWidgetItem* item) {
        if (!filling_)
            editor_->listview1_afterlabeledit(listview1->row(item) + 1, fromDisplay(item->text()));
    });
    auto* moves = new QHBoxLayout;
    left->addLayout(moves);
    auto move = [&](const char* name, const QString& caption, FilterMove m) {
        auto* b = new QPushButton(caption, this);
        b->setObjectName(QLatin1String(name));
        b->setAutoDefault(false);
        connect(b, &QPushButton::clicked, this, [this, m] { editor_->cmdMove_Click(m); });
        moves->addWidget(b);
    };
    move("cmdTop", QStringLiteral("Top"), FilterMove::Top);
    move("cmdUp10", QStringLiteral("Up 10"), FilterMove::Up10);
    move("cmdUp", QStringLiteral("Up"), FilterMove::Up);
    move("cmdDown", QStringLiteral("Down"), FilterMove::Down);
    move("cmdDown10", QStringLiteral("Down 10"), FilterMove::Down10);
    move("cmdBottom", QStringLiteral("Bottom"), FilterMove::Bottom);
    auto* search = new QHBoxLayout;
    left->addLayout(search);
    txtSearchString = new QLineEdit(this);
    search->addWidget(txtSearchString, 1);
    search->addWidget(button(QStringLiteral("Find"), &FilterEditor::cmdFind_Click));
    search->addWidget(button(QStringLiteral("Next"), &FilterEditor::cmdNext_Click));

    // The form of one filter.
    auto* formBox = new QGroupBox(QStringLiteral("Filter"), this);
    body->addWidget(formBox, 3);
    auto* grid = new QGridLayout(formBox);
    grid->addWidget(new QLabel(QStringLiteral("Filter name:"), formBox), 0, 0);
    txtFilterName = new QLineEdit(formBox);
    txtFilterName->setToolTip(QStringLiteral(
        "This is just used to identify the filter. It doesn't have any effect on the program"));
    grid->addWidget(txtFilterName, 0, 1, 1, 3);
    connect(txtFilterName, &QLineEdit::textEdited, this, [this] { editor_->FormChanged(); });
    for (int r = 0; r < 4; ++r) {
        const int row = r + 1;
        chkOn[r] = new QCheckBox(formBox);
        cmbField[r] = new QComboBox(formBox);
        cmbComparison[r] = new QComboBox(formBox);
        cmbComparison[r]->setToolTip(QStringLiteral("Be careful with 'Doesn't Contain'!"));
        // The text is what the user types most: the lists give it room.
        for (QComboBox* box : {cmbField[r], cmbComparison[r]}) {
            box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
            box->setMinimumContentsLength(10);
        }
        txtText[r] = new QLineEdit(formBox);
        txtText[r]->setMinimumWidth(180);
        txtText[r]->setToolTip(QStringLiteral("Enter the string you want Nettlor to look for"));
        grid->addWidget(chkOn[r], row, 0);
        grid->addWidget(cmbField[r], row, 1);
        grid->addWidget(cmbComparison[r], row, 2);
        grid->addWidget(txtText[r], row, 3);
        connect(chkOn[r], &QCheckBox::clicked, this,
                [this, row](bool on) { editor_->chkOn_Click(row, on); });
        auto changed = [this] {
            if (!filling_) editor_->FormChanged();
        };
        connect(cmbField[r], &QComboBox::activated, this, changed);
        connect(cmbComparison[r], &QComboBox::activated, this, changed);
        connect(txtText[r], &QLineEdit::textEdited, this, changed);
    }
    grid->addWidget(new QLabel(QStringLiteral("When matched:"), formBox), 5, 0);
    cmbWhenMatched = new QComboBox(formBox);
    grid->addWidget(cmbWhenMatched, 5, 1);
    cmbMailFolders = new QComboBox(formBox);
    grid->addWidget(cmbMailFolders, 5, 2, 1, 2);
    connect(cmbWhenMatched, &QComboBox::activated, this,
            [this](int index) { editor_->cmbWhenMatched_Click(index); });
    connect(cmbMailFolders, &QComboBox::activated, this, [this] { editor_->FormChanged(); });
    grid->addWidget(new QLabel(QStringLiteral("Category:"), formBox), 6, 0);
    cmbCategory = new QComboBox(formBox);
    grid->addWidget(cmbCategory, 6, 1);
    connect(cmbCategory, &QComboBox::activated, this, [this] { editor_->FormChanged(); });
    chkStopProcessing = new QCheckBox(QStringLiteral("Don't process subsequent rules"), formBox);
    chkStopProcessing->setToolTip(
        QStringLiteral("If you tick this box, matching messages will also skip any bayesian "
                       "checks. This allows you to set up 'always pass' rules."));
    grid->addWidget(chkStopProcessing, 7, 0, 1, 4);
    connect(chkStopProcessing, &QCheckBox::clicked, this, [this] { editor_->FormChanged(); });
    lblMaxMailSize = new QLabel(formBox);
    grid->addWidget(lblMaxMailSize, 8, 0, 1, 4);
    auto* formButtons = new QHBoxLayout;
    grid->addLayout(formButtons, 9, 0, 1, 4);
    formButtons->addWidget(button(QStringLiteral("Save Filter"), &FilterEditor::cmdUpdate_Click));
    formButtons->addWidget(
        button(QStringLiteral("Copy Filter"), &FilterEditor::cmdDuplicate_Click));
    formButtons->addWidget(button(QStringLiteral("Delete Filter"), &FilterEditor::cmdDelete_Click));
    grid->setRowStretch(10, 1);
    grid->setColumnStretch(1, 2);
    grid->setColumnStretch(2, 2);
    grid->setColumnStretch(3, 3);

    auto* bottom = new QHBoxLayout;
    top->addLayout(bottom);
    QPushButton* import =
        button(QStringLiteral("Import Filters"), &FilterEditor::cmdImportFilters_Click);
    import->setToolTip(QStringLiteral("You can only import a Rules file in the correct format"));
    bottom->addWidget(import);
    bottom->addWidget(
        button(QStringLiteral("Export Filters"), &FilterEditor::cmdExportSharedFilters_Click));
    bottom->addStretch(1);
    bottom->addWidget(button(QStringLiteral("Help"), &FilterEditor::cmdHelp_Click));
    bottom->addWidget(button(QStringLiteral("Save and Exit"), &FilterEditor::cmdSaveAndExit_Click));
    bottom->addWidget(button(QStringLiteral("Exit"), &FilterEditor::cmdExitWithoutSave_Click));
    resize(900, 520);
}

RuleEditorWindow::~RuleEditorWindow() = default;

QPushButton* RuleEditorWindow::button(const QString& caption, void (FilterEditor::*command)()) {
    auto* b = new QPushButton(caption, this);
    b->setAutoDefault(false);
    connect(b, &QPushButton::clicked, this, [this, command] { (editor_.get()->*command)(); });
    return b;
}

void RuleEditorWindow::SetHeading(const std::string& heading) {
    lblHeading->setText(toDisplay(heading));
}

void RuleEditorWindow::SetMaxMailSize(float kilobytes) {
    lblMaxMailSize->setText(
        QStringLiteral("Ignore mail bigger than: %1 Kb (0 for none)").arg(double(kilobytes)));
}

void RuleEditorWindow::FillCombos(const FilterEditorLists& lists) {
    for (int r = 0; r < 4; ++r) {
        fill(cmbField[r], lists.fields);
        fill(cmbComparison[r], lists.comparisons);
    }
    fill(cmbWhenMatched, lists.actions);
    fill(cmbCategory, lists.categories);
    fill(cmbMailFolders, lists.folders);
}

void RuleEditorWindow::ShowFilterList(const std::vector<std::string>& names) {
    filling_ = true;
    listview1->clear();
    for (const std::string& name : names) {
        auto* item = new QListWidgetItem(toDisplay(name), listview1);
        item->setFlags(item->flags() | Qt::ItemIsEditable);
    }
    filling_ = false;
}

void RuleEditorWindow::SelectLine(int line) {
    filling_ = true;
    listview1->setCurrentRow(line - 1);
    if (line > 0) listview1->scrollToItem(listview1->item(line - 1));
    filling_ = false;
}

void RuleEditorWindow::ShowForm(const FilterForm& form) {
    filling_ = true;
    txtFilterName->setText(toDisplay(form.name));
    for (int r = 0; r < 4; ++r) {
        const FilterForm::Row& row = form.rows[static_cast<size_t>(r)];
        chkOn[r]->setChecked(row.on);
        choose(cmbField[r], row.field);
        if (row.field.empty()) cmbField[r]->setCurrentIndex(-1);
        cmbComparison[r]->setCurrentIndex(row.on ? row.comparisonIndex : -1);
        txtText[r]->setText(toDisplay(row.text));
    }
    cmbWhenMatched->setCurrentIndex(form.actionIndex);
    choose(cmbMailFolders, form.mailFolder);
    cmbCategory->setCurrentIndex(form.category);
    chkStopProcessing->setChecked(form.stopProcessing);
    filling_ = false;
}

void RuleEditorWindow::SetFilterName(const std::string& name) {
    filling_ = true;
    txtFilterName->setText(toDisplay(name));
    filling_ = false;
}

void RuleEditorWindow::EnableRow(int row, bool on) {
    const size_t r = static_cast<size_t>(row - 1);
    if (r >= chkOn.size()) return;
    cmbField[r]->setEnabled(on);
    cmbComparison[r]->setEnabled(on);
    txtText[r]->setEnabled(on);
}

void RuleEditorWindow::EnableMailFolders(bool on) {
    cmbMailFolders->setEnabled(on);
}

FilterForm RuleEditorWindow::ReadForm() const {
    FilterForm form;
    form.name = fromDisplay(txtFilterName->text());
    for (size_t r = 0; r < 4; ++r) {
        FilterForm::Row& row = form.rows[r];
        row.on = chkOn[r]->isChecked();
        row.field = fromDisplay(cmbField[r]->currentText());
        row.comparisonIndex = std::max(0, cmbComparison[r]->currentIndex());
        row.text = fromDisplay(txtText[r]->text());
    }
    form.actionIndex = std::max(0, cmbWhenMatched->currentIndex());
    form.mailFolder = fromDisplay(cmbMailFolders->currentText());
    form.category = std::max(0, cmbCategory->currentIndex());
    form.stopProcessing = chkStopProcessing->isChecked();
    return form;
}

std::string RuleEditorWindow::SearchText() const {
    return fromDisplay(txtSearchString->text());
}

size_t RuleEditorWindow::NameMaxLength() const {
    return static_cast<size_t>(txtFilterName->maxLength());
}

std::string RuleEditorWindow::AskSaveFile(const std::string& extension) {
    const QString ext = QString::fromStdString(extension).toLower();
    QString path = QFileDialog::getSaveFileName(
        this, translated(QStringLiteral("Export Filters")), QString(),
        QStringLiteral("%1 Files (*.%2)").arg(QString::fromStdString(extension), ext));
    if (!path.isEmpty() && !path.contains(QLatin1Char('.'))) path += QLatin1Char('.') + ext;
    return path.toStdString();
}

std::string RuleEditorWindow::AskOpenFile(const std::string& filter) {
    // "TXT Files|*.txt": a description and its pattern.
    const QString given = QString::fromStdString(filter);
    const QStringList parts = given.split(QLatin1Char('|'));
    const QString qtFilter =
        parts.size() == 2 ? QStringLiteral("%1 (%2)").arg(parts[0], parts[1]) : given;
    return QFileDialog::getOpenFileName(this, translated(QStringLiteral("Import Filters")),
                                        QString(), qtFilter)
        .toStdString();
}

void RuleEditorWindow::OpenHelp(const std::string& page) {
    (void)page;
    auto* w = new TextWindow(
        QStringLiteral("Filters"),
        QStringLiteral(
            "Filters are tried from the top of the list down. A filter fires when every ticked "
            "condition holds; its action then applies.\n\nSave Filter stores the form in the "
            "filter of its name, or in a new one. Save and Exit writes the rules file; Exit "
            "leaves the file as it was.\n\nTick \"Don't process subsequent rules\" to make an "
            "'always pass' rule: matching mail skips the later rules and the bayesian check."),
        this);
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->setWordWrap(true);
    w->show();
}

void RuleEditorWindow::CloseWindow() {
    closing_ = true;
    close();
}

void RuleEditorWindow::closeEvent(QCloseEvent* event) {
    if (closing_ || editor_->QueryUnload()) {
        closing_ = true;
        event->accept();
    } else {
        event->ignore();
    }
}

void RuleEditorWindow::reject() {
    // Escape is the Exit button.
    if (closing_ || editor_->QueryUnload()) {
        closing_ = true;
        QDialog::reject();
    }
}

} // namespace corva::ui
