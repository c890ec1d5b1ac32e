// The scanner's list as a model: lines are only ever appended or cleared, so
// a scan of thousands of messages fills the view without relayouts.
#pragma once

#include "cycle/frmMainView.h"

#include <QAbstractTableModel>
#include <vector>

namespace corva::ui {

class ScannerListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    using QAbstractTableModel::QAbstractTableModel;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    void setCaptions(const std::vector<std::string>& captions);
    void append(const ListLine& line);
    void append(const std::vector<ListLine>& lines);
    void clear();
    const ListLine& line(int row) const { return lines_.at(static_cast<size_t>(row)); }
    int lineCount() const { return static_cast<int>(lines_.size()); }
    // Lighter colours keep the verdicts readable on a dark palette.
    void setDarkPalette(bool dark);

private:
    std::vector<ListLine> lines_;
    std::vector<std::string> captions_ = ListColumnCaptions();
    bool dark_ = false;
};

} // namespace corva::ui
