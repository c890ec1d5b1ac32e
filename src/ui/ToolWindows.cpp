#include "ui/ToolWindows.h"

#include "core/DateTime.h"
#include "core/Globals.h"
#include "core/mSHAREDDelay.h"
#include "ui/DisplayText.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corva::ui {
namespace {

QString text(const std::string& bytes) {
    return QString::fromStdString(bytes);
}

QLineEdit* lineEdit(QWidget* parent, const char* name) {
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(QString::fromLatin1(name));
    return edit;
}

// A line for a path with a button that browses for it.
QWidget* pathRow(QWidget* parent, QLineEdit* edit, const QString& caption, bool folder) {
    auto* row = new QWidget(parent);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(edit, 1);
    auto* browse = new QPushButton(caption, row);
    layout->addWidget(browse);
    QObject::connect(browse, &QPushButton::clicked, row, [edit, folder, row] {
        QString chosen = folder ? QFileDialog::getExistingDirectory(row, QString(), edit->text())
                                : QFileDialog::getOpenFileName(row, QString(), edit->text());
        if (!chosen.isEmpty()) edit->setText(chosen);
    });
    return row;
}

} // namespace

// ---- Search ----

SearchWindow::SearchWindow(std::function<void(const std::string&)> openReader, QWidget* parent)
    : QDialog(parent), openReader_(std::move(openReader)) {
    setWindowTitle(QStringLiteral("Search"));
    setObjectName(QStringLiteral("frmSearch"));
    search_.setView(this);
    auto* form = new QFormLayout;
    from_ = lineEdit(this, "txtFrom");
    to_ = lineEdit(this, "txtTo");
    subject_ = lineEdit(this, "txtSubject");
    message_ = lineEdit(this, "txtMessage");
    message_->setPlaceholderText(QStringLiteral("Use ; for a seperator"));
    kb_ = lineEdit(this, "txtKB");
    kb_->setMaximumWidth(80);
    folders_ = new QComboBox(this);
    for (const auto& [caption, path] : frmSearch::FolderChoices())
        folders_->addItem(toDisplay(caption), text(path));
    folders_->setCurrentIndex(std::max(0, folders_->findText(QString::fromLatin1(InboxFolder))));
    subfolders_ = new QCheckBox(QStringLiteral("Search sub-folders"), this);
    form->addRow(QStringLiteral("From:"), from_);
    form->addRow(QStringLiteral("To:"), to_);
    form->addRow(QStringLiteral("Subject:"), subject_);
    form->addRow(QStringLiteral("Message:"), message_);
    form->addRow(QStringLiteral(""), new QLabel(QStringLiteral("Use ; for a seperator"), this));
    form->addRow(QStringLiteral("Bigger than:"), kb_);
    form->addRow(QStringLiteral("Search Folder:"), folders_);
    form->addRow(QStringLiteral(""), subfolders_);

    searchButton_ = new QPushButton(QStringLiteral("Search"), this);
    searchButton_->setDefault(true);
    stopButton_ = new QPushButton(QStringLiteral("Stop"), this);
    stopButton_->setEnabled(false);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(searchButton_);
    buttons->addWidget(stopButton_);
    connect(searchButton_, &QPushButton::clicked, this, [this] { clickSearch(); });
    connect(stopButton_, &QPushButton::clicked, this, [this] { search_.cmdStop_click(); });

    results_ = new QTreeWidget(this);
    results_->setHeaderLabels({QStringLiteral("Subject"), QStringLiteral("From"),
                               QStringLiteral("Date"), QStringLiteral("Size"),
                               QStringLiteral("Filename")});
    results_->setRootIsDecorated(false);
    results_->setUniformRowHeights(true);
    results_->header()->resizeSection(0, 260);
    results_->header()->resizeSection(1, 200);
    connect(results_, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
        search_.listresults_dblclick(results_->indexOfTopLevelItem(item));
    });
    status_ = new QLabel(this);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addLayout(buttons);
    layout->addWidget(results_, 1);
    layout->addWidget(status_);
    resize(760, 560);
}

QLineEdit& SearchWindow::field(const char* name) const {
    return *findChild<QLineEdit*>(QString::fromLatin1(name));
}

void SearchWindow::clickSearch() {
    SearchQuery q;
    q.From = fromDisplay(from_->text());
    q.To = fromDisplay(to_->text());
    q.Subject = fromDisplay(subject_->text());
    q.Message = fromDisplay(message_->text());
    q.KB = kb_->text().trimmed().toStdString();
    q.Folder = folders_->currentData().toString().toStdString();
    q.Subfolders = subfolders_->isChecked();
    search_.cmdsearch_click(q);
}

void SearchWindow::Status(const std::string& message) {
    searching_ = text(message);
    status_->setText(searching_);
}

bool SearchWindow::StopRequested() {
    const long read = search_.Searched();
    if (read % 200 == 0) status_->setText(QStringLiteral("%1 %2").arg(searching_).arg(read));
    return false;
}

void SearchWindow::ClearResults() {
    results_->clear();
}

void SearchWindow::AddResult(const SearchResult& r) {
    new QTreeWidgetItem(results_, {toDisplay(r.Subject), toDisplay(r.From), text(r.Date),
                                   text(r.Size), toDisplay(r.Filename)});
}

void SearchWindow::SetSearching(bool searching) {
    searchButton_->setEnabled(!searching);
    stopButton_->setEnabled(searching);
}

void SearchWindow::closeEvent(QCloseEvent* event) {
    if (search_.Searching()) {
        search_.cmdStop_click();
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

void SearchWindow::reject() {
    if (search_.Searching())
        search_.cmdStop_click();
    else
        QDialog::reject();
}

QString SearchWindow::statusText() const {
    return status_->text();
}

// ---- Archive and import ----

ToolDialog::ToolDialog(QWidget* parent) : QDialog(parent) {
    status_ = new QLabel(this);
    status_->setMinimumWidth(320);
    stopButton_ = new QPushButton(QStringLiteral("Stop"), this);
    stopButton_->setEnabled(false);
    closeButton_ = new QPushButton(QStringLiteral("Close"), this);
    connect(stopButton_, &QPushButton::clicked, this, [this] { stop_ = true; });
    connect(closeButton_, &QPushButton::clicked, this, &QDialog::accept);
}

void ToolDialog::Status(const std::string& message) {
    status_->setText(toDisplay(message));
}

void ToolDialog::reject() {
    if (busy_)
        stop_ = true;
    else
        QDialog::reject();
}

void ToolDialog::SetBusy(bool busy) {
    stop_ = false;
    busy_ = busy;
    stopButton_->setEnabled(busy);
    closeButton_->setEnabled(!busy);
    if (busy)
        QApplication::setOverrideCursor(Qt::BusyCursor);
    else
        QApplication::restoreOverrideCursor();
}

QString ToolDialog::statusText() const {
    return status_->text();
}

ArchiveDialog::ArchiveDialog(QWidget* parent) : ToolDialog(parent) {
    setWindowTitle(QStringLiteral("Mail Archival"));
    setObjectName(QStringLiteral("frmArchive"));
    archive_.setListener(this);
    year_ = new QComboBox(this);
    month_ = new QComboBox(this);
    day_ = new QComboBox(this);
    const DateTime yearAgo = DateTime::today().addDays(-365);
    for (int y = yearAgo.year() - 20; y <= yearAgo.year() + 1; ++y)
        year_->addItem(QString::number(y), y);
    for (int m = 1; m <= 12; ++m) month_->addItem(QString::fromLatin1(MonthName(m)), m);
    for (int d = 1; d <= 31; ++d) day_->addItem(QString::number(d), d);
    choose(yearAgo.year(), yearAgo.month(), yearAgo.day());

    archiveButton_ = new QPushButton(QStringLiteral("Archive Now"), this);
    archiveButton_->setDefault(true);
    connect(archiveButton_, &QPushButton::clicked, this, [this] { clickArchive(); });

    auto* date = new QHBoxLayout;
    date->addWidget(year_);
    date->addWidget(month_);
    date->addWidget(day_);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(archiveButton_);
    buttons->addWidget(stopButton_);
    buttons->addWidget(closeButton_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Archive mail older than:"), this));
    layout->addLayout(date);
    layout->addWidget(status_);
    layout->addLayout(buttons);
}

void ArchiveDialog::choose(int year, int month, int day) {
    year_->setCurrentIndex(year_->findData(year));
    month_->setCurrentIndex(month - 1);
    day_->setCurrentIndex(day - 1);
}

void ArchiveDialog::clickArchive() {
    archiveButton_->setEnabled(false);
    archive_.cmdOK_click(year_->currentData().toInt(), month_->currentData().toInt(),
                         day_->currentData().toInt());
    archiveButton_->setEnabled(true);
}

ImportDialog::ImportDialog(QWidget* parent) : ToolDialog(parent) {
    setWindowTitle(QStringLiteral("Import Mail"));
    setObjectName(QStringLiteral("frmImportMail"));
    import_.setListener(this);
    source_ = lineEdit(this, "txtSource");
    source_->setText(toDisplay(frmImportMail::LastSource()));
    source_->setToolTip(QStringLiteral("A folder of .eml files, a Maildir or an mbox file"));
    subfolders_ = new QCheckBox(QStringLiteral("Include Subfolders"), this);
    importButton_ = new QPushButton(QStringLiteral("Import"), this);
    importButton_->setDefault(true);
    connect(importButton_, &QPushButton::clicked, this, [this] { clickImport(); });

    auto* sourceRow = new QWidget(this);
    auto* sourceLayout = new QHBoxLayout(sourceRow);
    sourceLayout->setContentsMargins(0, 0, 0, 0);
    sourceLayout->addWidget(pathRow(this, source_, QStringLiteral("Folder..."), true), 1);
    auto* mbox = new QPushButton(QStringLiteral("mbox file..."), sourceRow);
    connect(mbox, &QPushButton::clicked, this, [this] {
        QString chosen = QFileDialog::getOpenFileName(this, QString(), source_->text());
        if (!chosen.isEmpty()) source_->setText(chosen);
    });
    sourceLayout->addWidget(mbox);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(importButton_);
    buttons->addWidget(stopButton_);
    buttons->addWidget(closeButton_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Import from:"), this));
    layout->addWidget(sourceRow);
    layout->addWidget(subfolders_);
    layout->addWidget(status_);
    layout->addLayout(buttons);
    resize(560, sizeHint().height());
}

void ImportDialog::clickImport() {
    importButton_->setEnabled(false);
    import_.cmdimport_click(fromDisplay(source_->text()), subfolders_->isChecked());
    importButton_->setEnabled(true);
}

// ---- Mail merge ----

MailMergeDialog::MailMergeDialog(frmMailMerge& merge, QWidget* parent)
    : QDialog(parent), merge_(merge) {
    setWindowTitle(QStringLiteral("Mail Merge"));
    setObjectName(QStringLiteral("frmMailMerge"));
    data_ = lineEdit(this, "txtDataFile");
    data_->setText(toDisplay(merge_.DataFile));
    template_ = lineEdit(this, "txtTemplateFile");
    template_->setText(toDisplay(merge_.TemplateFile));
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Name list (CSV):"), pathRow(this, data_, "Browse...", false));
    form->addRow(QStringLiteral("Email template:"), pathRow(this, template_, "Browse...", false));
    auto* hint = new QLabel(QStringLiteral("The first line of the name list names the tags "
                                           "($NAME, $EMAIL, ...); one must be $EMAIL."),
                            this);
    hint->setWordWrap(true);
    auto* go = new QPushButton(QStringLiteral("Go"), this);
    go->setDefault(true);
    auto* cancel = new QPushButton(QStringLiteral("Cancel"), this);
    connect(go, &QPushButton::clicked, this, [this] { clickGo(); });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(go);
    buttons->addWidget(cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(hint);
    layout->addLayout(buttons);
    resize(560, sizeHint().height());
}

void MailMergeDialog::clickGo() {
    merge_.DataFile = fromDisplay(data_->text());
    merge_.TemplateFile = fromDisplay(template_->text());
    if (merge_.cmdGo_click()) accept();
}

MailMergeProgress::MailMergeProgress(QWidget* parent) : ToolDialog(parent) {
    setWindowTitle(QStringLiteral("Mail Merge"));
    setObjectName(QStringLiteral("frmMailMergeProgress"));
    // The report box follows the run, so there is nothing to close here.
    closeButton_->hide();
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(stopButton_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(status_);
    layout->addLayout(buttons);
}

void MailMergeProgress::SetBusy(bool busy) {
    ToolDialog::SetBusy(busy);
    if (busy) show();
}

namespace {

class MergeRunner : public MailMergeView {
public:
    explicit MergeRunner(QWidget* parent) : parent_(parent), progress_(parent) {}
    bool ShowDialog(frmMailMerge& merge) override {
        MailMergeDialog dialog(merge, parent_);
        return dialog.exec() == QDialog::Accepted;
    }
    void Status(const std::string& text) override { progress_.Status(text); }
    void SetBusy(bool busy) override {
        progress_.SetBusy(busy);
        if (!busy) progress_.hide();
    }
    bool StopRequested() override { return progress_.StopRequested(); }

private:
    QWidget* parent_;
    MailMergeProgress progress_;
};

} // namespace

void openToolWindow(QWidget* parent, const std::string& key,
                    std::function<void(const std::string&)> openReader) {
    if (key == "search") {
        auto* window = new SearchWindow(std::move(openReader), parent);
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->show();
    } else if (key == "archive") {
        ArchiveDialog dialog(parent);
        dialog.exec();
    } else if (key == "importmail") {
        ImportDialog dialog(parent);
        dialog.exec();
    } else if (key == "mailmerge") {
        MergeRunner runner(parent);
        DoMailMerge(runner);
    }
}

} // namespace corva::ui
