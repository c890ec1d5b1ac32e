// Completion of addresses in To and Cc from the contact book: the entry being
// typed (after the last ";" or ",") is matched against "Name <address>".
#pragma once

#include <QAbstractListModel>

class QLineEdit;

namespace corva::ui {

// The book's contacts as "Name <address>", read from the book whenever the
// model is reset.
class ContactsModel : public QAbstractListModel {
    Q_OBJECT
public:
    using QAbstractListModel::QAbstractListModel;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    void reload();
};

void attachAddressCompleter(QLineEdit* edit);

} // namespace corva::ui
