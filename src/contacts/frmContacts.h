// The contact book's list, opened to browse or to pick one contact, without
// its window: the rows, the two labels, the buttons' texts and what each
// command does to the book.
#pragma once

#include "contacts/clsContacts.h"

#include <string>
#include <vector>

namespace corva {

// One row of the list: what it shows and the contact's index in the book.
struct ContactRow {
    std::string Name;
    std::string Email;
    long Index = 0;
};

class frmContactsView {
public:
    virtual ~frmContactsView() = default;
    // The rows or the mode changed: the view reads them again.
    virtual void ShowRows() {}
    virtual void ShowLabels(const std::string& nameLabel, const std::string& emailLabel) {
        (void)nameLabel;
        (void)emailLabel;
    }
    // The selected rows, from 0.
    virtual std::vector<long> SelectedRows() const { return {}; }
    // The edit view for an address ("" for a new contact); the list is
    // filled again when it closes.
    virtual void EditContact(const std::string& address) { (void)address; }
    // The CSV file to import; "" on cancel.
    virtual std::string ChooseImportFile() { return ""; }
    virtual void CloseView() {}
};

class frmContacts {
public:
    frmContacts(clsContacts& book, frmContactsView* view = nullptr);

    // Browse: the confirming button hides and "Cancel" reads "Exit".
    void ShowViewForm();
    // Pick: "Select" confirms the contact chosen.
    void ShowSelectForm();
    bool PickMode() const { return pick_; }
    bool SelectVisible() const { return pick_; }
    std::string CancelCaption() const { return pick_ ? "Cancel" : "Exit"; }

    void filllist();
    const std::vector<ContactRow>& Rows() const { return rows_; }
    void ListView1_Click(long row);
    void ListView1_DblClick(long row);
    void cmdSelect_Click();
    void cmdCancel_Click();
    void cmdDelete_Click();
    void cmdAdd_Click() { view_->EditContact(""); }
    void cmdImport_Click();

    // What a pick chose; both empty until a contact was picked.
    bool Picked() const { return picked_; }
    const std::string& ChosenName() const { return chosenName_; }
    const std::string& ChosenAddress() const { return chosenAddress_; }

private:
    clsContacts& book_;
    frmContactsView noView_;
    frmContactsView* view_;
    bool pick_ = false;
    std::vector<ContactRow> rows_;
    std::string shownName_, shownAddress_;
    bool picked_ = false;
    std::string chosenName_, chosenAddress_;
};

// The edit view of one contact.
class frmContact {
public:
    explicit frmContact(clsContacts& book) : book_(book) {}
    // The contact with this address, or a new one holding just the address.
    void EditEmail(const std::string& address);
    clsContact Contact;
    // "Save": the book takes the contact (replacing one of the same name) and
    // is saved. False when the write failed.
    bool cmdSave_Click();
    // The "Copy" buttons: one field a line, CRLF between.
    std::string HomeAddress() const;
    std::string BusinessAddress() const;

private:
    clsContacts& book_;
};

// "Name <address>", as a picked contact goes into To or Cc.
std::string contactEntry(const std::string& name, const std::string& address);

} // namespace corva
