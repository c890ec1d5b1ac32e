#include "ui/AddressCompleter.h"

#include "contacts/clsContacts.h"
#include "contacts/frmContacts.h"
#include "ui/DisplayText.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QLineEdit>

namespace corva::ui {

int ContactsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(Contacts().Count());
}

QVariant ContactsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::EditRole)) return {};
    const clsContact& c = Contacts().Contact(index.row() + 1);
    return toDisplay(contactEntry(c.strName, c.email));
}

void ContactsModel::reload() {
    beginResetModel();
    endResetModel();
}

namespace {

// Where the entry being typed begins: after the last separator and its blanks.
int entryStart(const QString& text) {
    int cut = std::max(text.lastIndexOf(QLatin1Char(';')), text.lastIndexOf(QLatin1Char(',')));
    int start = cut + 1;
    while (start < text.size() && text[start] == QLatin1Char(' ')) ++start;
    return start;
}

} // namespace

void attachAddressCompleter(QLineEdit* edit) {
    auto* model = new ContactsModel(edit);
    auto* completer = new QCompleter(model, edit);
    completer->setCaseSensitivity(Qt::CaseInsensitive);
    completer->setFilterMode(Qt::MatchContains);
    completer->setWidget(edit);
    QObject::connect(edit, &QLineEdit::textEdited, edit, [completer, model](const QString& text) {
        const QString prefix = text.mid(entryStart(text));
        if (prefix.isEmpty()) {
            completer->popup()->hide();
            return;
        }
        model->reload();
        completer->setCompletionPrefix(prefix);
        if (completer->completionCount() > 0) completer->complete();
    });
    QObject::connect(completer, qOverload<const QString&>(&QCompleter::activated), edit,
                     [edit](const QString& chosen) {
                         const QString text = edit->text();
                         edit->setText(text.left(entryStart(text)) + chosen);
                     });
}

} // namespace corva::ui
