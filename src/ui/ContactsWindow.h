// The contact book's windows: the list (to browse, or to pick one contact)
// and the edit view, over frmContacts and frmContact.
#pragma once

#include "contacts/frmContacts.h"

#include <QDialog>

#include <memory>
#include <string>

class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;

namespace corva::ui {

class ContactsWindow : public QDialog, public frmContactsView {
    Q_OBJECT
public:
    explicit ContactsWindow(bool pick, QWidget* parent = nullptr);
    ~ContactsWindow() override;
    frmContacts& contacts() { return *logic_; }
    QTreeWidget* list() const { return list_; }

    // frmContactsView
    void ShowRows() override;
    void ShowLabels(const std::string& nameLabel, const std::string& emailLabel) override;
    std::vector<long> SelectedRows() const override;
    void EditContact(const std::string& address) override;
    std::string ChooseImportFile() override;
    void CloseView() override;

private:
    std::unique_ptr<frmContacts> logic_;
    QTreeWidget* list_;
    QLabel* name_;
    QLabel* email_;
    QPushButton* select_;
    QPushButton* cancel_;
};

class ContactWindow : public QDialog {
    Q_OBJECT
public:
    // Starts from the contact with this address, or a new one holding it.
    explicit ContactWindow(const std::string& address, QWidget* parent = nullptr);
    ~ContactWindow() override;
    frmContact& contact() { return *logic_; }
    // Copies the fields into the contact, which the book takes and saves.
    bool save();

private:
    std::unique_ptr<frmContact> logic_;
    std::vector<std::pair<QLineEdit*, std::string*>> fields_;
};

// modContacts' entries: the list to browse; the list to pick one (false on
// cancel); the edit view for an address ("" for an empty one).
void showcontacts(QWidget* parent);
bool selectContact(QWidget* parent, std::string& name, std::string& address);
void addcontact(QWidget* parent, const std::string& address);

} // namespace corva::ui
