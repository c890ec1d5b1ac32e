// The mailer's window: the folder tree, the message list over a model that
// reads frmMailer's rows on demand, the preview below, a toolbar and a status
// line. Clicks, keys and drops go to frmMailer; it decides.
#pragma once

#include "mailer/frmMailerView.h"

#include <QMainWindow>
#include <map>

class QLabel;
class QSplitter;
class QTreeView;
class QTreeWidget;
class QTreeWidgetItem;

namespace corva {
class frmMain;
class frmMailer;
} // namespace corva

namespace corva::ui {

class MailerListModel;

class MailerWindow : public QMainWindow, public frmMailerView {
    Q_OBJECT
public:
    // main gives the keys F2, F3 and F5 and owns the mailer, which must exist.
    explicit MailerWindow(frmMain& main, QWidget* parent = nullptr);
    ~MailerWindow() override;

    // frmMailerView
    void ShowWindow() override;
    void HideWindow() override;
    MailerGeometry Geometry() const override;
    void ApplyGeometry(const MailerGeometry& geometry) override;
    void SetBusy(bool busy) override;
    void ClearTree() override;
    void AddNode(int node, int parent, const FolderNode& look) override;
    void SetNode(int node, const FolderNode& look) override;
    void SelectNode(int node) override;
    void SetWhoHeading(const std::string& heading) override;
    void RowsReset() override;
    void RowsAppended(long count) override;
    void FinishedAddingRows() override;
    void RowChanged(long row) override;
    void SetSortIndicator(MailerColumn column, bool ascending) override;
    std::vector<long> SelectedRows() const override;
    void SelectRows(const std::vector<long>& rows, long current) override;
    void ShowStatus(const std::string& text) override;
    void ShowListProgress(const std::string& text) override;
    void SetUnreadButton(const std::string& caption, const std::string& icon) override;
    void SetToolbarButton(const std::string& key, const std::string& image) override;
    void PreviewMessage(const std::string& path) override;
    void OpenReader(const std::string& path) override;
    std::string PreviewSelectedText() const override;
    void PrintPreviewed() override;
    void ViewPreviewedSource() override;
    void ShowText(const std::string& title, const std::string& text) override;
    void CopyToClipboard(const std::string& text) override;
    void OpenTool(const std::string& key) override;
    void OpenInCMS(const std::string& path) override;
    void ShowTicketList() override;
    void ShowHelp() override;

    // For tests, benchmarks and screenshots.
    frmMailer& mailer() { return mailer_; }
    MailerListModel& listModel() { return *model_; }
    QTreeView& listView() { return *list_; }
    // Shutdown has let go of the mailer: from now on nothing reads it.
    void detach();
    QTreeWidget& folderTree() { return *tree_; }
    QTreeWidgetItem* nodeItem(int node) const;
    QWidget* previewPane() const { return preview_; }
    QString statusText() const;
    QAction* toolbarAction(const QString& key) const;
    // A drop of the selected rows on a node, as the tree takes it.
    void dropOnNode(int node);

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildToolbar();
    void buildKeys();
    void applyLook(QTreeWidgetItem* item, const FolderNode& look);
    void showContextMenu(const QPoint& pos);
    void scheduleCatchUp();

    frmMain& main_;
    frmMailer& mailer_;
    MailerListModel* model_ = nullptr;
    QTreeWidget* tree_ = nullptr;
    QTreeView* list_ = nullptr;
    bool detached_ = false;
    QWidget* preview_ = nullptr;
    QSplitter* across_ = nullptr; // tree | list and preview
    QSplitter* down_ = nullptr;   // list over preview
    QLabel* status_ = nullptr;
    QLabel* progress_ = nullptr;
    std::vector<QTreeWidgetItem*> items_;
    std::map<int, FolderNode> looks_;
    std::map<QString, QAction*> actions_;
    std::map<QString, QString> images_;
    int serverListHeight_ = 0;
    int windowState_ = 0;
    // Set while the window itself changes the selection, so that the change
    // isn't taken for the user's.
    bool selecting_ = false;
    bool catchUpPending_ = false;
};

} // namespace corva::ui
