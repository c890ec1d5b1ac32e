#include "ui/CMSWindows.h"

#include "core/Strings.h"
#include "ui/DisplayText.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corva::ui {
namespace {

QComboBox* comboOf(const std::vector<std::string>& entries, bool editable, QWidget* parent) {
    auto* box = new QComboBox(parent);
    for (const std::string& e : entries) box->addItem(QString::fromStdString(e));
    box->setEditable(editable);
    return box;
}

void setComboText(QComboBox* box, const std::string& text) {
    int at = box->findText(toDisplay(text));
    if (at >= 0)
        box->setCurrentIndex(at);
    else if (box->isEditable())
        box->setEditText(toDisplay(text));
    else
        box->setCurrentIndex(-1);
}

} // namespace

// ---- The ticket ----

CMSTicketDialog::CMSTicketDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Customer Management System"));
    cmbPriority = comboOf(frmCMSTicket::PriorityEntries(), false, this);
    cmbType = comboOf(frmCMSTicket::TypeEntries(), false, this);
    cmbCategory = comboOf(frmCMSTicket::CategoryEntries(), false, this);
    txtEmail = new QLineEdit(this);
    txtVersion = new QLineEdit(this);
    txtDate = new QLineEdit(this);
    txtSubject = new QLineEdit(this);
    txtFrom = new QLineEdit(this);
    txtComment = new QPlainTextEdit(this);
    TB1 = new QPlainTextEdit(this);
    lstUsers = new QListWidget(this);
    chkNotify = new QCheckBox(QStringLiteral("Notify Users when saved as closed"), this);
    chkClosed = new QCheckBox(QStringLiteral("Mark Ticket as Closed"), this);

    auto* head = new QGridLayout;
    auto label = [this](const char* text) { return new QLabel(QString::fromLatin1(text), this); };
    head->addWidget(label("From:"), 0, 0);
    head->addWidget(txtFrom, 0, 1);
    head->addWidget(label("Email:"), 0, 2);
    head->addWidget(txtEmail, 0, 3);
    head->addWidget(label("Subject:"), 1, 0);
    head->addWidget(txtSubject, 1, 1, 1, 3);
    head->addWidget(label("Date:"), 2, 0);
    head->addWidget(txtDate, 2, 1);
    head->addWidget(label("Version:"), 2, 2);
    head->addWidget(txtVersion, 2, 3);
    head->addWidget(label("Priority:"), 3, 0);
    head->addWidget(cmbPriority, 3, 1);
    head->addWidget(label("Type:"), 3, 2);
    head->addWidget(cmbType, 3, 3);
    head->addWidget(label("Category:"), 4, 0);
    head->addWidget(cmbCategory, 4, 1);

    TB1->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(TB1, &QWidget::customContextMenuRequested, this, [this](const QPoint& pos) {
        QMenu menu(this);
        connect(menu.addAction(QStringLiteral("Insert into Description")), &QAction::triggered,
                this, &CMSTicketDialog::mnuInsertIntoDesc);
        connect(menu.addAction(QStringLiteral("Insert into Version")), &QAction::triggered, this,
                &CMSTicketDialog::mnuInsertIntoVer);
        menu.exec(TB1->viewport()->mapToGlobal(pos));
    });

    auto* side = new QVBoxLayout;
    side->addWidget(label("Interested Parties:"));
    side->addWidget(lstUsers);
    side->addWidget(chkNotify);
    side->addWidget(chkClosed);
    auto* middle = new QHBoxLayout;
    middle->addWidget(TB1, 3);
    middle->addLayout(side, 1);

    auto* save = new QPushButton(QStringLiteral("Save and Exit"), this);
    auto* leave = new QPushButton(QStringLiteral("Exit without Saving"), this);
    auto* settings = new QPushButton(QStringLiteral("CMS Settings"), this);
    save->setObjectName(QStringLiteral("save"));
    leave->setObjectName(QStringLiteral("leave"));
    connect(save, &QPushButton::clicked, this, &QDialog::accept);
    connect(leave, &QPushButton::clicked, this, &QDialog::reject);
    connect(settings, &QPushButton::clicked, this, [this] { CMSSettingsDialog::open(this); });
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(settings);
    buttons->addStretch();
    buttons->addWidget(save);
    buttons->addWidget(leave);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(head);
    layout->addLayout(middle, 3);
    layout->addWidget(label("My Comment:"));
    layout->addWidget(txtComment, 1);
    layout->addLayout(buttons);
    resize(720, 560);
}

void CMSTicketDialog::setFields(const CMSTicketFields& f) {
    ticketnum_ = f.ticketnum;
    setWindowTitle(QStringLiteral("Customer Management System - Ticket %1").arg(f.ticketnum));
    cmbPriority->setCurrentIndex(
        f.priorityIndex >= 0 && f.priorityIndex < cmbPriority->count() ? f.priorityIndex : -1);
    setComboText(cmbType, f.type);
    setComboText(cmbCategory, f.category);
    txtEmail->setText(toDisplay(f.email));
    txtVersion->setText(toDisplay(f.version));
    txtComment->setPlainText(toDisplay(f.comment));
    txtDate->setText(toDisplay(f.date));
    txtSubject->setText(toDisplay(f.subject));
    txtFrom->setText(toDisplay(f.from));
    TB1->setPlainText(toDisplay(f.details));
    lstUsers->clear();
    for (const std::string& user : f.users) lstUsers->addItem(toDisplay(user));
    chkNotify->setChecked(f.notify);
    chkClosed->setChecked(f.closed);
}

CMSTicketFields CMSTicketDialog::fields() const {
    CMSTicketFields f;
    f.ticketnum = ticketnum_;
    f.priorityIndex = cmbPriority->currentIndex();
    f.type = fromDisplay(cmbType->currentIndex() >= 0 ? cmbType->currentText() : QString());
    f.category =
        fromDisplay(cmbCategory->currentIndex() >= 0 ? cmbCategory->currentText() : QString());
    f.email = fromDisplay(txtEmail->text());
    f.version = fromDisplay(txtVersion->text());
    // The text box's line ends are the file's.
    f.comment = Replace(fromDisplay(txtComment->toPlainText()), "\n", "\r\n");
    f.date = fromDisplay(txtDate->text());
    f.subject = fromDisplay(txtSubject->text());
    f.from = fromDisplay(txtFrom->text());
    f.details = Replace(fromDisplay(TB1->toPlainText()), "\n", "\r\n");
    for (int i = 0; i < lstUsers->count(); ++i)
        f.users.push_back(fromDisplay(lstUsers->item(i)->text()));
    f.notify = chkNotify->isChecked();
    f.closed = chkClosed->isChecked();
    return f;
}

bool CMSTicketDialog::ShowModal(CMSTicketFields& f) {
    setFields(f);
    if (exec() != QDialog::Accepted) return false;
    f = fields();
    return true;
}

void CMSTicketDialog::mnuInsertIntoDesc() {
    QString selected = TB1->textCursor().selectedText();
    if (!selected.isEmpty()) txtSubject->setText(selected.simplified());
}

void CMSTicketDialog::mnuInsertIntoVer() {
    QString selected = TB1->textCursor().selectedText();
    if (!selected.isEmpty()) txtVersion->setText(selected.simplified());
}

// ---- The settings ----

CMSSettingsDialog::CMSSettingsDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("CMS Settings"));
    const CMSSettingsFields f = frmCMSSettings::Load();
    txtReturnEmail = new QLineEdit(toDisplay(f.returnEmail), this);
    txtSenderName = new QLineEdit(toDisplay(f.senderName), this);
    txtWebpath = new QLineEdit(toDisplay(f.webpath), this);
    auto text = [this](const std::string& value) {
        auto* box = new QPlainTextEdit(toDisplay(value), this);
        return box;
    };
    txtInitial = text(f.initial);
    txtProgress = text(f.progress);
    txtClosed = text(f.closed);

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Return Email:"), txtReturnEmail);
    form->addRow(QStringLiteral("Sender Name:"), txtSenderName);
    form->addRow(QStringLiteral("Web Path:"), txtWebpath);
    auto* tabs = new QTabWidget(this);
    tabs->addTab(txtInitial, QStringLiteral("Initial Response"));
    tabs->addTab(txtProgress, QStringLiteral("Progress Response"));
    tabs->addTab(txtClosed, QStringLiteral("Closed Response"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &CMSSettingsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(tabs, 1);
    layout->addWidget(new QLabel(QString::fromLatin1(frmCMSSettings::Hint), this));
    layout->addWidget(buttons);
    resize(560, 420);
}

void CMSSettingsDialog::accept() {
    auto lines = [](const QPlainTextEdit* box) {
        return Replace(fromDisplay(box->toPlainText()), "\n", "\r\n");
    };
    CMSSettingsFields f;
    f.returnEmail = fromDisplay(txtReturnEmail->text());
    f.senderName = fromDisplay(txtSenderName->text());
    f.webpath = fromDisplay(txtWebpath->text());
    f.initial = lines(txtInitial);
    f.progress = lines(txtProgress);
    f.closed = lines(txtClosed);
    frmCMSSettings::Save(f);
    QDialog::accept();
}

void CMSSettingsDialog::open(QWidget* parent) {
    CMSSettingsDialog dialog(parent);
    dialog.exec();
}

// ---- The list ----

CMSTicketListWindow::CMSTicketListWindow(frmSendMailWrapper& wrapper, QWidget* parent)
    : QDialog(parent), wrapper_(wrapper) {
    setWindowTitle(QStringLiteral("Ticket List"));
    lvTickets = new QTreeWidget(this);
    lvTickets->setRootIsDecorated(false);
    lvTickets->setSelectionMode(QAbstractItemView::ExtendedSelection);
    QStringList headings;
    for (const std::string& c : frmCMSTicketList::Columns()) headings << QString::fromStdString(c);
    lvTickets->setHeaderLabels(headings);
    lvTickets->header()->setSectionsClickable(true);
    lvTickets->setColumnWidth(0, 70);
    lvTickets->setColumnWidth(1, 260);
    connect(lvTickets->header(), &QHeaderView::sectionClicked, this,
            [this](int column) { list_.SortBy(column); });
    connect(lvTickets, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
        CMSTicketDialog dialog(this);
        list_.Edit(lvTickets->indexOfTopLevelItem(item), dialog, wrapper_);
    });
    txtFind = new QLineEdit(this);
    auto* exportButton = new QPushButton(QStringLiteral("Export Selected To Web"), this);
    connect(exportButton, &QPushButton::clicked, this, &CMSTicketListWindow::exportSelected);
    auto* settings = new QPushButton(QStringLiteral("CMS Settings"), this);
    connect(settings, &QPushButton::clicked, this, [this] { CMSSettingsDialog::open(this); });
    auto* top = new QHBoxLayout;
    top->addWidget(new QLabel(QStringLiteral("Find:"), this));
    top->addWidget(txtFind, 1);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(settings);
    bottom->addStretch();
    bottom->addWidget(exportButton);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(lvTickets, 1);
    layout->addLayout(bottom);
    resize(700, 400);
    list_.setView(this);
    list_.Load();
}

void CMSTicketListWindow::fillRow(int row) {
    QTreeWidgetItem* item = lvTickets->topLevelItem(row);
    if (!item) return;
    const CMSTicketRow r = list_.Row(row);
    const std::string cells[] = {r.number, r.desc, r.priority, r.status, r.date};
    for (int c = 0; c < 5; ++c) item->setText(c, toDisplay(cells[c]));
}

void CMSTicketListWindow::ShowRows() {
    lvTickets->clear();
    for (int row = 0; row < list_.RowCount(); ++row) {
        new QTreeWidgetItem(lvTickets);
        fillRow(row);
    }
}

void CMSTicketListWindow::RowChanged(int row) {
    fillRow(row);
}

void CMSTicketListWindow::SetSortIndicator(int column, bool ascending) {
    lvTickets->header()->setSortIndicatorShown(true);
    lvTickets->header()->setSortIndicator(column,
                                          ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
}

void CMSTicketListWindow::exportSelected() {
    std::vector<int> rows;
    for (QTreeWidgetItem* item : lvTickets->selectedItems())
        rows.push_back(lvTickets->indexOfTopLevelItem(item));
    list_.ExportSelected(rows);
}

void CMSTicketListWindow::open(frmSendMailWrapper& wrapper, QWidget* parent) {
    auto* window = new CMSTicketListWindow(wrapper, parent);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->show();
}

void OpenTicketForMessage(const clsMessage& message, const std::string& text,
                          frmSendMailWrapper& wrapper, QWidget* parent) {
    clsCMSTicket ticket;
    ticket.LoadWithMessage(message, text);
    CMSTicketDialog dialog(parent);
    frmCMSTicket::Edit(ticket, dialog, wrapper);
}

} // namespace corva::ui
