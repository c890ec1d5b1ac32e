#include "ui/MailerListModel.h"

#include "mailer/frmMailer.h"
#include "ui/DisplayText.h"
#include "ui/Icons.h"
#include "ui/LanguageWalker.h"

#include <QBrush>
#include <QFont>
#include <QMimeData>

namespace corva::ui {

MailerListModel::MailerListModel(frmMailer& mailer, QObject* parent)
    : QAbstractTableModel(parent), mailer_(mailer) {}

int MailerListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : shown_;
}

int MailerListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : MailerColumnCount;
}

const QIcon& MailerListModel::icon(const std::string& key) const {
    QString k = QString::fromStdString(key);
    auto it = icons_.find(k);
    if (it == icons_.end()) it = icons_.insert(k, mailerIcon(k));
    return *it;
}

QVariant MailerListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= shown_ || index.row() >= mailer_.RowCount()) return {};
    const MailerRow& r = role == Qt::DisplayRole || role == Qt::ToolTipRole
                             ? mailer_.RowToShow(index.row())
                             : mailer_.Row(index.row());
    const auto column = static_cast<MailerColumn>(index.column());
    switch (role) {
    case Qt::DisplayRole:
        switch (column) {
        case MailerColumn::Icon:
            return {};
        case MailerColumn::Who:
            return toDisplay(r.Who, r.WhoCharset);
        case MailerColumn::Subject:
            return toDisplay(r.Subject, r.SubjectCharset);
        case MailerColumn::ReceiveDate:
            return toDisplay(r.ReceiveDate);
        case MailerColumn::SendDate:
            return toDisplay(r.SendDate);
        case MailerColumn::Size:
            return QString::fromStdString(r.Size);
        }
        return {};
    case Qt::DecorationRole:
        if (column == MailerColumn::Icon) return icon(r.Icon);
        return {};
    case Qt::FontRole:
        if (r.Unread) {
            QFont f;
            f.setBold(true);
            return f;
        }
        return {};
    case Qt::ForegroundRole:
        if (r.Colour != 0) {
            QColor c = colourFromStored(r.Colour);
            // Age colours were picked for a light list; keep them readable on a dark one.
            if (dark_ && c.lightness() < 110) c = c.lighter(180);
            return QBrush(c);
        }
        return {};
    case Qt::TextAlignmentRole:
        if (column == MailerColumn::Size) return QVariant(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    case Qt::ToolTipRole:
        if (column == MailerColumn::Subject) return toDisplay(r.Subject, r.SubjectCharset);
        return {};
    default:
        return {};
    }
}

QVariant MailerListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    switch (static_cast<MailerColumn>(section)) {
    case MailerColumn::Icon:
        return QString();
    case MailerColumn::Who:
        return translated(who_);
    case MailerColumn::Subject:
        return translated(QStringLiteral("Subject"));
    case MailerColumn::ReceiveDate:
        return translated(QStringLiteral("Received"));
    case MailerColumn::SendDate:
        return translated(QStringLiteral("Sent"));
    case MailerColumn::Size:
        return translated(QStringLiteral("Size"));
    }
    return {};
}

Qt::ItemFlags MailerListModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags f = QAbstractTableModel::flags(index);
    if (index.isValid()) f |= Qt::ItemIsDragEnabled;
    return f;
}

QStringList MailerListModel::mimeTypes() const {
    return {QString::fromLatin1(RowsMimeType)};
}

QMimeData* MailerListModel::mimeData(const QModelIndexList& indexes) const {
    if (indexes.isEmpty()) return nullptr;
    auto* data = new QMimeData;
    data->setData(QString::fromLatin1(RowsMimeType), QByteArray("rows"));
    return data;
}

void MailerListModel::reset() {
    beginResetModel();
    shown_ = static_cast<int>(mailer_.RowCount());
    endResetModel();
}

void MailerListModel::catchUp() {
    int total = static_cast<int>(mailer_.RowCount());
    if (total < shown_) {
        reset();
        return;
    }
    if (total == shown_) return;
    beginInsertRows({}, shown_, total - 1);
    shown_ = total;
    endInsertRows();
}

void MailerListModel::rowChanged(int row) {
    if (row < 0 || row >= shown_) return;
    emit dataChanged(index(row, 0), index(row, MailerColumnCount - 1));
}

void MailerListModel::setWhoHeading(const QString& heading) {
    if (who_ == heading) return;
    who_ = heading;
    emit headerDataChanged(Qt::Horizontal, 1, 1);
}

void MailerListModel::setDarkPalette(bool dark) {
    dark_ = dark;
    icons_.clear();
    if (shown_ > 0) emit dataChanged(index(0, 0), index(shown_ - 1, MailerColumnCount - 1));
}

} // namespace corva::ui
