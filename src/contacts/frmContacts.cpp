#include "contacts/frmContacts.h"

#include "contacts/modContacts.h"
#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "localise/modLanguages.h"
#include "platform/Platform.h"

namespace corva {
namespace {
const char* Module = "frmContacts";

std::string lines(std::initializer_list<const std::string*> fields) {
    std::vector<std::string> out;
    for (const std::string* field : fields) out.push_back(*field);
    return Join(out, "\r\n");
}
} // namespace

std::string contactEntry(const std::string& name, const std::string& address) {
    return Trim(name).empty() ? address : name + " <" + address + ">";
}

frmContacts::frmContacts(clsContacts& book, frmContactsView* view)
    : book_(book), view_(view ? view : &noView_) {}

void frmContacts::ShowViewForm() {
    pick_ = false;
    filllist();
}

void frmContacts::ShowSelectForm() {
    pick_ = true;
    filllist();
}

void frmContacts::filllist() {
    guarded("filllist", Module, [&] {
        rows_.clear();
        for (long i = 1; i <= book_.Count(); ++i)
            rows_.push_back({book_.Contact(i).strName, book_.Contact(i).email, i});
        view_->ShowRows();
    });
}

void frmContacts::ListView1_Click(long row) {
    if (row < 0 || row >= static_cast<long>(rows_.size())) return;
    shownName_ = rows_[static_cast<size_t>(row)].Name;
    shownAddress_ = rows_[static_cast<size_t>(row)].Email;
    view_->ShowLabels("Name: " + shownName_, "Email: " + shownAddress_);
}

void frmContacts::ListView1_DblClick(long row) {
    ListView1_Click(row);
    if (row < 0 || row >= static_cast<long>(rows_.size())) return;
    if (pick_) {
        cmdSelect_Click();
    } else {
        view_->EditContact(shownAddress_);
        filllist();
    }
}

void frmContacts::cmdSelect_Click() {
    if (!pick_ || shownAddress_.empty()) return;
    picked_ = true;
    chosenName_ = shownName_;
    chosenAddress_ = shownAddress_;
    view_->CloseView();
}

void frmContacts::cmdCancel_Click() {
    picked_ = false;
    chosenName_.clear();
    chosenAddress_.clear();
    view_->CloseView();
}

void frmContacts::cmdDelete_Click() {
    guarded("cmdDelete_Click", Module, [&] {
        std::vector<std::string> addresses;
        for (long row : view_->SelectedRows())
            if (row >= 0 && row < static_cast<long>(rows_.size()))
                addresses.push_back(rows_[static_cast<size_t>(row)].Email);
        if (addresses.empty()) return;
        if (platform::current().prompts().messageBox(
                gettranslation("Delete selected contact(s)?"), platform::Buttons::YesNo,
                platform::Icon::Question) != platform::Answer::Yes)
            return;
        DeleteContactsByEmail(book_, addresses);
        filllist();
    });
}

void frmContacts::cmdImport_Click() {
    guarded("cmdImport_Click", Module, [&] {
        std::string file = view_->ChooseImportFile();
        if (file.empty()) return;
        ImportContactsCsv(book_, file);
        filllist();
    });
}

void frmContact::EditEmail(const std::string& address) {
    Contact = guardedValue("EditEmail", "frmContact", clsContact(),
                           [&] { return contactForAddress(book_, address); });
}

bool frmContact::cmdSave_Click() {
    return guardedValue("cmdSave_Click", "frmContact", false, [&] {
        book_.AddContact(Contact);
        return book_.SaveContacts();
    });
}

std::string frmContact::HomeAddress() const {
    const clsContact& c = Contact;
    return lines({&c.homeaddr1, &c.homeaddr2, &c.homeaddr3, &c.homesuburb, &c.homestate,
                  &c.homepostcode, &c.homecountry});
}

std::string frmContact::BusinessAddress() const {
    const clsContact& c = Contact;
    return lines({&c.busaddr1, &c.busaddr2, &c.busaddr3, &c.bussuburb, &c.busstate, &c.buspostcode,
                  &c.buscountry});
}

} // namespace corva
