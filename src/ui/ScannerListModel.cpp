#include "ui/ScannerListModel.h"

#include "ui/DisplayText.h"
#include "ui/LanguageWalker.h"

#include <QBrush>
#include <QFont>

namespace corva::ui {

int ScannerListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(lines_.size());
}

int ScannerListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(captions_.size());
}

QVariant ScannerListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= static_cast<int>(lines_.size())) return {};
    const ListLine& l = lines_[static_cast<size_t>(index.row())];
    if (role == Qt::DisplayRole) {
        if (l.kind != ListLine::Kind::Message)
            return index.column() == 0 ? toDisplay(l.Status) : QVariant();
        switch (index.column()) {
        case 0:
            return toDisplay(l.Status);
        case 1:
            return toDisplay(l.Size);
        case 2:
            return toDisplay(l.From, l.FromCharset);
        case 3:
            return toDisplay(l.Subject, l.SubjectCharset);
        case 4:
            return toDisplay(l.FilteredBy);
        case 5:
            return toDisplay(l.To);
        case 6:
            return toDisplay(l.Accnt);
        case 7:
            return toDisplay(l.Msg);
        case 8:
            return toDisplay(l.MsgNum);
        default:
            return {};
        }
    }
    if (role == Qt::ForegroundRole && l.Colour != 0) {
        QColor c = colourFromStored(l.Colour);
        // The stored colours were chosen for a grey list: on white the pale
        // ones fade and on black the deep ones, so those are adjusted.
        if (dark_ && c.lightness() < 110)
            c = c.lighter(180);
        else if (!dark_ && c.lightness() > 160)
            c = c.darker(125);
        return QBrush(c);
    }
    if (role == Qt::FontRole && l.kind != ListLine::Kind::Message) {
        QFont f;
        f.setBold(l.kind == ListLine::Kind::Server);
        f.setItalic(l.kind == ListLine::Kind::Notice);
        return f;
    }
    if (role == Qt::TextAlignmentRole && (index.column() == 1 || index.column() >= 6))
        return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}

QVariant ScannerListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    if (section < 0 || section >= static_cast<int>(captions_.size())) return {};
    return translated(QString::fromStdString(captions_[static_cast<size_t>(section)]));
}

void ScannerListModel::setCaptions(const std::vector<std::string>& captions) {
    beginResetModel();
    captions_ = captions;
    endResetModel();
}

void ScannerListModel::append(const ListLine& line) {
    int row = static_cast<int>(lines_.size());
    beginInsertRows({}, row, row);
    lines_.push_back(line);
    endInsertRows();
}

void ScannerListModel::append(const std::vector<ListLine>& lines) {
    if (lines.empty()) return;
    int first = static_cast<int>(lines_.size());
    beginInsertRows({}, first, first + static_cast<int>(lines.size()) - 1);
    lines_.insert(lines_.end(), lines.begin(), lines.end());
    endInsertRows();
}

void ScannerListModel::clear() {
    beginResetModel();
    lines_.clear();
    endResetModel();
}

void ScannerListModel::setDarkPalette(bool dark) {
    dark_ = dark;
    if (!lines_.empty()) emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

} // namespace corva::ui
