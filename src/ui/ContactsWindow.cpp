#include "ui/ContactsWindow.h"

#include "ui/DisplayText.h"
#include "ui/LanguageWalker.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corva::ui {

ContactsWindow::ContactsWindow(bool pick, QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmContacts"));
    setWindowTitle(pick ? QStringLiteral("Select a contact") : QStringLiteral("Contacts"));
    resize(520, 440);
    auto* layout = new QVBoxLayout(this);
    list_ = new QTreeWidget(this);
    list_->setColumnCount(2);
    list_->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("Email")});
    list_->setRootIsDecorated(false);
    list_->setSortingEnabled(true);
    list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    list_->header()->setSectionResizeMode(1, QHeaderView::Stretch);
    layout->addWidget(list_, 1);
    name_ = new QLabel(this);
    email_ = new QLabel(this);
    layout->addWidget(name_);
    layout->addWidget(email_);

    // The group controls stand in the view but do nothing yet.
    auto* groups = new QHBoxLayout();
    auto* cmbGroups = new QComboBox(this);
    cmbGroups->setEnabled(false);
    groups->addWidget(cmbGroups, 1);
    for (const char* caption : {"Add to group", "New group", "Delete group"}) {
        auto* b = new QPushButton(QString::fromLatin1(caption), this);
        b->setEnabled(false);
        groups->addWidget(b);
    }
    layout->addLayout(groups);

    auto* buttons = new QHBoxLayout();
    auto button = [&](const QString& caption) {
        auto* b = new QPushButton(caption, this);
        b->setAutoDefault(false);
        buttons->addWidget(b);
        return b;
    };
    QPushButton* add = button(QStringLiteral("Add"));
    QPushButton* del = button(QStringLiteral("Delete"));
    QPushButton* import = button(QStringLiteral("Import"));
    buttons->addStretch(1);
    select_ = button(QStringLiteral("Select"));
    cancel_ = button(QString());
    layout->addLayout(buttons);

    logic_ = std::make_unique<frmContacts>(Contacts(), this);
    auto rowOf = [](QTreeWidgetItem* item) {
        return item ? item->data(0, Qt::UserRole).toLongLong() : -1;
    };
    connect(list_, &QTreeWidget::itemClicked, this,
            [this, rowOf](QTreeWidgetItem* item) { logic_->ListView1_Click(rowOf(item)); });
    connect(list_, &QTreeWidget::itemDoubleClicked, this,
            [this, rowOf](QTreeWidgetItem* item) { logic_->ListView1_DblClick(rowOf(item)); });
    connect(add, &QPushButton::clicked, this, [this] { logic_->cmdAdd_Click(); });
    connect(del, &QPushButton::clicked, this, [this] { logic_->cmdDelete_Click(); });
    connect(import, &QPushButton::clicked, this, [this] { logic_->cmdImport_Click(); });
    connect(select_, &QPushButton::clicked, this, [this] { logic_->cmdSelect_Click(); });
    connect(cancel_, &QPushButton::clicked, this, [this] { logic_->cmdCancel_Click(); });
    if (pick)
        logic_->ShowSelectForm();
    else
        logic_->ShowViewForm();
}

ContactsWindow::~ContactsWindow() = default;

void ContactsWindow::ShowRows() {
    select_->setVisible(logic_->SelectVisible());
    cancel_->setText(QString::fromStdString(logic_->CancelCaption()));
    list_->clear();
    const auto& rows = logic_->Rows();
    for (size_t i = 0; i < rows.size(); ++i) {
        auto* item = new QTreeWidgetItem({toDisplay(rows[i].Name), toDisplay(rows[i].Email)});
        item->setData(0, Qt::UserRole, static_cast<qlonglong>(i));
        list_->addTopLevelItem(item);
    }
    list_->sortItems(0, Qt::AscendingOrder);
}

void ContactsWindow::ShowLabels(const std::string& nameLabel, const std::string& emailLabel) {
    name_->setText(toDisplay(nameLabel));
    email_->setText(toDisplay(emailLabel));
}

std::vector<long> ContactsWindow::SelectedRows() const {
    std::vector<long> rows;
    for (QTreeWidgetItem* item : list_->selectedItems())
        rows.push_back(static_cast<long>(item->data(0, Qt::UserRole).toLongLong()));
    return rows;
}

void ContactsWindow::EditContact(const std::string& address) {
    ContactWindow editor(address, this);
    if (editor.exec() == QDialog::Accepted) logic_->filllist();
}

std::string ContactsWindow::ChooseImportFile() {
    return QFileDialog::getOpenFileName(this, translated(QStringLiteral("Select your file")),
                                        QString(), QStringLiteral("*.csv"))
        .toStdString();
}

void ContactsWindow::CloseView() {
    if (logic_->Picked())
        accept();
    else
        reject();
}

ContactWindow::ContactWindow(const std::string& address, QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmContact"));
    setWindowTitle(QStringLiteral("Contact"));
    logic_ = std::make_unique<frmContact>(Contacts());
    logic_->EditEmail(address);
    clsContact& c = logic_->Contact;
    auto* layout = new QVBoxLayout(this);
    auto* top = new QFormLayout();
    auto field = [&](QFormLayout* form, const char* label, std::string& value) {
        auto* edit = new QLineEdit(toDisplay(value), this);
        form->addRow(QString::fromLatin1(label), edit);
        fields_.emplace_back(edit, &value);
    };
    field(top, "Name:", c.strName);
    field(top, "Email:", c.email);
    field(top, "Mobile:", c.mobile);
    layout->addLayout(top);
    auto* addresses = new QHBoxLayout();
    auto group = [&](const char* title,
                     std::initializer_list<std::pair<const char*, std::string*>> rows,
                     bool business) {
        auto* box = new QGroupBox(QString::fromLatin1(title), this);
        auto* form = new QFormLayout(box);
        for (const auto& [label, value] : rows) field(form, label, *value);
        auto* copy = new QPushButton(QStringLiteral("Copy"), box);
        copy->setAutoDefault(false);
        connect(copy, &QPushButton::clicked, this, [this, business] {
            for (auto& [edit, value] : fields_) *value = fromDisplay(edit->text());
            QApplication::clipboard()->setText(
                toDisplay(business ? logic_->BusinessAddress() : logic_->HomeAddress()));
        });
        form->addRow(QString(), copy);
        addresses->addWidget(box);
    };
    group("Home",
          {{"Address:", &c.homeaddr1},
           {"", &c.homeaddr2},
           {"", &c.homeaddr3},
           {"Suburb:", &c.homesuburb},
           {"State:", &c.homestate},
           {"Postcode:", &c.homepostcode},
           {"Country:", &c.homecountry},
           {"Phone:", &c.homephone},
           {"Fax:", &c.homefax}},
          false);
    group("Business",
          {{"Address:", &c.busaddr1},
           {"", &c.busaddr2},
           {"", &c.busaddr3},
           {"Suburb:", &c.bussuburb},
           {"State:", &c.busstate},
           {"Postcode:", &c.buspostcode},
           {"Country:", &c.buscountry},
           {"Phone:", &c.busphone},
           {"Fax:", &c.busfax}},
          true);
    layout->addLayout(addresses);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        if (save()) accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

ContactWindow::~ContactWindow() = default;

bool ContactWindow::save() {
    for (auto& [edit, value] : fields_) *value = fromDisplay(edit->text());
    return logic_->cmdSave_Click();
}

void showcontacts(QWidget* parent) {
    auto* w = new ContactsWindow(false, parent);
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->show();
}

bool selectContact(QWidget* parent, std::string& name, std::string& address) {
    ContactsWindow picker(true, parent);
    if (picker.exec() != QDialog::Accepted || !picker.contacts().Picked()) {
        name.clear();
        address.clear();
        return false;
    }
    name = picker.contacts().ChosenName();
    address = picker.contacts().ChosenAddress();
    return true;
}

void addcontact(QWidget* parent, const std::string& address) {
    auto* w = new ContactWindow(address, parent);
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->show();
}

} // namespace corva::ui
