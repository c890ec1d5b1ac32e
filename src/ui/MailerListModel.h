// The mailer's message list as a model over frmMailer's rows: nothing is
// copied, a row is read when the view paints it, so a folder of tens of
// thousands costs no more than the rows on screen.
#pragma once

#include <QAbstractTableModel>
#include <QHash>
#include <QIcon>

namespace corva {
class frmMailer;
}

namespace corva::ui {

class MailerListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit MailerListModel(frmMailer& mailer, QObject* parent = nullptr);
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;

    // The rows frmMailer holds now, all again.
    void reset();
    // Shows the rows added since the last call.
    void catchUp();
    void rowChanged(int row);
    void setWhoHeading(const QString& heading);
    void setDarkPalette(bool dark);

    // What a drag of rows carries: only that it came from this list; the
    // rows are the selection, as the logic reads it.
    static constexpr const char* RowsMimeType = "application/x-corva-mailer-rows";

private:
    const QIcon& icon(const std::string& key) const;

    frmMailer& mailer_;
    int shown_ = 0;
    QString who_ = QStringLiteral("From");
    bool dark_ = false;
    mutable QHash<QString, QIcon> icons_;
};

} // namespace corva::ui
