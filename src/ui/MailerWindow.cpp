#include "ui/MailerWindow.h"

#include "cycle/frmMain.h"
#include "mailer/frmMailer.h"
#include "store/modMessageFiles.h"
#include "ui/CMSWindows.h"
#include "ui/ContactsWindow.h"
#include "ui/DisplayText.h"
#include "ui/EmailWindow.h"
#include "ui/Icons.h"
#include "ui/LanguageWalker.h"
#include "ui/MailerListModel.h"
#include "ui/MailerPreview.h"
#include "ui/MainWindows.h"
#include "ui/TextWindow.h"
#include "ui/ToolWindows.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDragMoveEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QShortcut>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>

#include <functional>

namespace corva::ui {

namespace {

// Twips are 1/1440 inch; the window works in pixels at 96 per inch.
constexpr int kTwipsPerPixel = 15;

// A reply sent from a composer marks its message in the list.
class ReplyLink : public frmEmailEvents {
public:
    explicit ReplyLink(std::function<void(const std::string&)> mark) : mark_(std::move(mark)) {}
    void MarkReplied(const std::string& filename) override { mark_(filename); }

private:
    std::function<void(const std::string&)> mark_;
};

bool darkPalette() {
    return QApplication::palette().color(QPalette::Window).lightness() < 128;
}

// The tree takes drops of list rows; whether a node can take them is the
// mailer's call.
class FolderTree : public QTreeWidget {
public:
    std::function<bool(int)> canTake;
    std::function<void(int)> take;

    explicit FolderTree(QWidget* parent) : QTreeWidget(parent) {
        setAcceptDrops(true);
        setDropIndicatorShown(true);
        setDragDropMode(QAbstractItemView::DropOnly);
    }

protected:
    int nodeAt(const QPoint& pos) const {
        QTreeWidgetItem* item = itemAt(pos);
        return item ? item->data(0, Qt::UserRole).toInt() : -1;
    }
    bool ours(const QMimeData* mime) const {
        return mime && mime->hasFormat(QString::fromLatin1(MailerListModel::RowsMimeType));
    }
    void dragEnterEvent(QDragEnterEvent* event) override {
        if (ours(event->mimeData()))
            event->acceptProposedAction();
        else
            event->ignore();
    }
    void dragMoveEvent(QDragMoveEvent* event) override {
        int node = nodeAt(event->position().toPoint());
        if (ours(event->mimeData()) && canTake && canTake(node)) {
            event->setDropAction(Qt::CopyAction);
            event->accept();
        } else {
            event->ignore();
        }
    }
    void dropEvent(QDropEvent* event) override {
        int node = nodeAt(event->position().toPoint());
        if (!ours(event->mimeData()) || !take) return event->ignore();
        // Copy, not move: the list's rows go when the mailer says so, not
        // when the drag ends.
        event->setDropAction(Qt::CopyAction);
        event->accept();
        take(node);
    }
};

struct ToolbarButton {
    const char* key;
    const char* caption;
    const char* tip;
};

struct MenuEntry {
    const char* key;
    const char* caption;
};

} // namespace

MailerWindow::MailerWindow(frmMain& main, QWidget* parent)
    : QMainWindow(parent), main_(main), mailer_(*main.Mailer()) {
    setWindowTitle(QStringLiteral("Corva Mailer"));
    setObjectName(QStringLiteral("mailer"));

    auto* tree = new FolderTree(this);
    tree->canTake = [this](int node) { return mailer_.treeview1_oledragover(node); };
    tree->take = [this](int node) { mailer_.treeview1_oledragdrop(node); };
    tree_ = tree;
    tree_->setHeaderHidden(true);
    connect(tree_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
        if (selecting_ || !item) return;
        mailer_.treeview1_nodeclick(item->data(0, Qt::UserRole).toInt());
    });

    model_ = new MailerListModel(mailer_, this);
    list_ = new QTreeView(this);
    list_->setObjectName(QStringLiteral("messagelist"));
    list_->setModel(model_);
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true); // no per-row measuring in a folder of thousands
    list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list_->setSelectionBehavior(QAbstractItemView::SelectRows);
    list_->setDragEnabled(true);
    list_->setDragDropMode(QAbstractItemView::DragOnly);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    list_->setAllColumnsShowFocus(true);
    list_->header()->setSectionsClickable(true);
    list_->header()->setStretchLastSection(false);
    const int widths[] = {28, 180, 280, 130, 160, 70};
    for (int i = 0; i < MailerColumnCount; ++i) list_->setColumnWidth(i, widths[i]);
    connect(list_->header(), &QHeaderView::sectionClicked, this,
            [this](int section) { mailer_.SortBy(static_cast<MailerColumn>(section)); });
    connect(list_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                if (!selecting_) mailer_.SelectionChanged(current.isValid() ? current.row() : -1);
            });
    connect(list_, &QTreeView::doubleClicked, this, [this] { mailer_.listview1_dblclick(); });
    connect(list_, &QWidget::customContextMenuRequested, this, &MailerWindow::showContextMenu);
    list_->installEventFilter(this);

    preview_ = makePreviewWidget(this);

    down_ = new QSplitter(Qt::Vertical, this);
    down_->addWidget(list_);
    down_->addWidget(preview_);
    down_->setStretchFactor(0, 1);
    down_->setStretchFactor(1, 1);
    across_ = new QSplitter(Qt::Horizontal, this);
    across_->addWidget(tree_);
    across_->addWidget(down_);
    across_->setStretchFactor(1, 1);
    across_->setSizes({200, 800});
    setCentralWidget(across_);

    status_ = new QLabel(this);
    status_->setTextFormat(Qt::PlainText);
    progress_ = new QLabel(this);
    progress_->setTextFormat(Qt::PlainText);
    statusBar()->addWidget(status_, 1);
    statusBar()->addPermanentWidget(progress_);

    buildToolbar();
    buildKeys();
    model_->setDarkPalette(darkPalette());
    resize(1000, 700);
    replyLink_ = std::make_unique<ReplyLink>([this](const std::string& filename) {
        if (!detached_) mailer_.fEmail_MarkReplied(filename);
    });
    EmailWindow::setReplyListener(replyLink_.get());
}

MailerWindow::~MailerWindow() {
    EmailWindow::setReplyListener(nullptr);
    if (!detached_) mailer_.setView(nullptr);
}

void MailerWindow::detach() {
    detached_ = true;
    list_->setModel(nullptr);
}

void MailerWindow::buildToolbar() {
    auto* bar = addToolBar(QStringLiteral("Mailer"));
    bar->setObjectName(QStringLiteral("mailertoolbar"));
    bar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    bar->setIconSize(QSize(24, 24));
    auto menuOf = [this](std::initializer_list<MenuEntry> entries) {
        auto* menu = new QMenu(this);
        for (const MenuEntry& e : entries) {
            QString key = QString::fromLatin1(e.key);
            QAction* a = menu->addAction(QString::fromLatin1(e.caption));
            connect(a, &QAction::triggered, this,
                    [this, key] { mailer_.Command(key.toStdString()); });
            actions_.emplace("menu:" + key, a);
        }
        return menu;
    };
    std::map<QString, QMenu*> menus{
        {"upanddown", menuOf({{"scan", "Scan"},
                              {"scandel", "Scan and delete junk"},
                              {"download", "Receive without sending"},
                              {"dlwithclear", "Receive and clean"},
                              {"updownwithclear", "Send, receive and clean"},
                              {"upload", "Send the Outbox"}})},
        {"filters", menuOf({{"applylocal", "Apply local filters"},
                            {"editlocal", "Edit local filters"},
                            {"editserver", "Edit server filters"},
                            {"training", "Train the spam filters"}})},
        {"settings", menuOf({{"search", "Search"},
                             {"seldupes", "Select duplicates"},
                             {"archive", "Archive"},
                             {"importmail", "Import mail"},
                             {"newfolder", "New folder"},
                             {"deletefolder", "Delete folder"},
                             {"rescanfolders", "Rescan folders"},
                             {"mailmerge", "Mail merge"}})},
        {"close", menuOf({{"quit", "Quit"}})},
    };
    const ToolbarButton buttons[] = {
        {"newemail", "New", "Write a new message"},
        {"reply", "Reply", "Reply to the selected message"},
        {"forward", "Forward", "Forward the selected message"},
        {nullptr, nullptr, nullptr},
        {"upanddown", "Send/Receive", "Send the Outbox and receive mail"},
        {"sendrcvdel", "Clean", "Send, receive and delete junk on the server"},
        {nullptr, nullptr, nullptr},
        {"unread", "Unread", "Show unread messages only"},
        {"print", "Print", "Print the selected message"},
        {"filters", "Filters", "Show how the spam filter scored the selected message"},
        {"contacts", "Contacts", "The contact book"},
        {"tkl", "Reminders", "Reminders"},
        {"cms", "CMS", "Support tickets"},
        {nullptr, nullptr, nullptr},
        {"scanner", "Scanner", "Show the scanner"},
        {"settings", "Settings", "Settings and folder commands"},
        {"help", "Help", "Help"},
        {"close", "Close", "Close the mailer"},
    };
    for (const ToolbarButton& b : buttons) {
        if (!b.key) {
            bar->addSeparator();
            continue;
        }
        QString key = QString::fromLatin1(b.key);
        QAction* a = bar->addAction(commandIcon(key), QString::fromLatin1(b.caption));
        a->setToolTip(QString::fromLatin1(b.tip));
        connect(a, &QAction::triggered, this, [this, key] { mailer_.Command(key.toStdString()); });
        actions_[key] = a;
        images_[key] = key;
        auto menu = menus.find(key);
        if (menu != menus.end())
            if (auto* button = qobject_cast<QToolButton*>(bar->widgetForAction(a))) {
                button->setMenu(menu->second);
                button->setPopupMode(QToolButton::MenuButtonPopup);
            }
    }
    actions_[QStringLiteral("cms")]->setVisible(frmMailer::ShowsTickets());
}

void MailerWindow::buildKeys() {
    addCycleKeys(*this, [this](frmMain::Key k, bool ctrl) { main_.KeyDown(k, ctrl); });
    auto* quit = new QShortcut(Qt::CTRL | Qt::Key_Q, this);
    connect(quit, &QShortcut::activated, this, [this] { mailer_.Command("quit"); });
}

bool MailerWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == list_ && event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            mailer_.listview1_dblclick();
            return true;
        }
    }
    if (watched == list_ && event->type() == QEvent::KeyRelease) {
        auto* key = static_cast<QKeyEvent*>(event);
        const bool shift = key->modifiers() & Qt::ShiftModifier;
        const bool ctrl = key->modifiers() & Qt::ControlModifier;
        if (key->key() == Qt::Key_Delete) mailer_.listview1_keyup(46, shift, ctrl);
        if (key->key() == Qt::Key_A && ctrl) mailer_.listview1_keyup(65, shift, ctrl);
    }
    return QMainWindow::eventFilter(watched, event);
}

void MailerWindow::showContextMenu(const QPoint& pos) {
    QModelIndex at = list_->indexAt(pos);
    if (at.isValid() && !list_->selectionModel()->isRowSelected(at.row(), {}))
        list_->selectionModel()->select(at, QItemSelectionModel::ClearAndSelect |
                                                QItemSelectionModel::Rows);
    QMenu menu(this);
    for (const MailerMenuEntry& e : mailer_.ContextMenu()) {
        if (e.key.empty()) {
            menu.addSeparator();
            continue;
        }
        std::string key = e.key;
        connect(menu.addAction(toDisplay(e.caption)), &QAction::triggered, this,
                [this, key] { mailer_.ContextCommand(key); });
    }
    // The suggestion lists, read afresh each time as files may come and go.
    const std::vector<std::string> lists = mailer_.SuggestionMenu();
    if (!lists.empty() && !mailer_.ContextMenu().empty()) {
        QMenu* sug = menu.addMenu(translated(QStringLiteral("Add Suggestion to ...")));
        sug->setObjectName(QStringLiteral("mnuSuggestion"));
        for (const std::string& name : lists)
            connect(sug->addAction(toDisplay(name)), &QAction::triggered, this,
                    [this, name] { mailer_.mnuSug_Click(name); });
    }
    if (!menu.isEmpty()) menu.exec(list_->viewport()->mapToGlobal(pos));
}

// ---- frmMailerView: the window ----

void MailerWindow::ShowWindow() {
    if (auto cms = actions_.find(QStringLiteral("cms")); cms != actions_.end())
        cms->second->setVisible(frmMailer::ShowsTickets());
    showInFront(*this, windowState_ == WindowState::Maximised);
}

void MailerWindow::OpenInCMS(const std::string& path) {
    auto message = readmessage(path, false);
    if (message) OpenTicketForMessage(*message, "", main_.SendMailWrapper(), this);
}

void MailerWindow::ShowTicketList() {
    CMSTicketListWindow::open(main_.SendMailWrapper(), this);
}

void MailerWindow::HideWindow() {
    hide();
}

MailerGeometry MailerWindow::Geometry() const {
    MailerGeometry g;
    QList<int> across = across_->sizes();
    QList<int> down = down_->sizes();
    g.TreeViewWidth = across.value(0) * kTwipsPerPixel;
    g.TreeViewHeight = tree_->height() * kTwipsPerPixel;
    g.ListViewHeight = down.value(0) * kTwipsPerPixel;
    g.MessageViewHeight = down.value(1) * kTwipsPerPixel;
    g.ServerListHeight = serverListHeight_;
    QRect normal = isMaximized() || isMinimized() ? normalGeometry() : geometry();
    g.MailerWidth = normal.width() * kTwipsPerPixel;
    g.MailerHeight = normal.height() * kTwipsPerPixel;
    g.MailerWindowState = stateOf(*this);
    return g;
}

void MailerWindow::ApplyGeometry(const MailerGeometry& g) {
    serverListHeight_ = g.ServerListHeight;
    windowState_ = g.MailerWindowState;
    if (g.MailerWidth > 0 && g.MailerHeight > 0)
        resize(g.MailerWidth / kTwipsPerPixel, g.MailerHeight / kTwipsPerPixel);
    if (g.TreeViewWidth > 0)
        across_->setSizes({g.TreeViewWidth / kTwipsPerPixel,
                           std::max(100, width() - g.TreeViewWidth / kTwipsPerPixel)});
    if (g.ListViewHeight > 0 && g.MessageViewHeight > 0)
        down_->setSizes({g.ListViewHeight / kTwipsPerPixel, g.MessageViewHeight / kTwipsPerPixel});
}

void MailerWindow::SetBusy(bool busy) {
    if (busy)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

void MailerWindow::closeEvent(QCloseEvent* event) {
    // The close box hides the mailer, as its Close button does.
    event->ignore();
    mailer_.Command("close");
}

void MailerWindow::changeEvent(QEvent* event) {
    if (!detached_ && (event->type() == QEvent::PaletteChange ||
                       event->type() == QEvent::ApplicationPaletteChange)) {
        model_->setDarkPalette(darkPalette());
        for (const auto& [key, action] : actions_)
            if (!key.startsWith("menu:")) action->setIcon(commandIcon(images_[key]));
        for (const auto& [node, look] : looks_) applyLook(nodeItem(node), look);
    }
    QMainWindow::changeEvent(event);
}

// ---- The tree ----

QTreeWidgetItem* MailerWindow::nodeItem(int node) const {
    return node >= 0 && node < static_cast<int>(items_.size()) ? items_[static_cast<size_t>(node)]
                                                               : nullptr;
}

void MailerWindow::ClearTree() {
    selecting_ = true;
    tree_->clear();
    items_.clear();
    looks_.clear();
    selecting_ = false;
}

void MailerWindow::AddNode(int node, int parent, const FolderNode& look) {
    QTreeWidgetItem* above = nodeItem(parent);
    auto* item = above ? new QTreeWidgetItem(above) : new QTreeWidgetItem(tree_);
    item->setData(0, Qt::UserRole, node);
    if (node >= static_cast<int>(items_.size())) items_.resize(static_cast<size_t>(node) + 1);
    items_[static_cast<size_t>(node)] = item;
    applyLook(item, look);
    if (above) above->setExpanded(true);
    if (!above) item->setExpanded(true);
}

void MailerWindow::SetNode(int node, const FolderNode& look) {
    applyLook(nodeItem(node), look);
}

void MailerWindow::applyLook(QTreeWidgetItem* item, const FolderNode& look) {
    if (!item) return;
    looks_[item->data(0, Qt::UserRole).toInt()] = look;
    item->setText(0, toDisplay(look.Text));
    QFont f = tree_->font();
    f.setBold(look.Bold);
    item->setFont(0, f);
    if (!look.Colour) {
        item->setData(0, Qt::ForegroundRole, QVariant());
    } else if (*look.Colour == SystemButtonTextColour) {
        item->setForeground(0, palette().color(QPalette::ButtonText));
    } else {
        QColor c = colourFromStored(*look.Colour);
        if (darkPalette() && c.lightness() < 110) c = c.lighter(180);
        item->setForeground(0, c);
    }
}

void MailerWindow::SelectNode(int node) {
    selecting_ = true;
    if (QTreeWidgetItem* item = nodeItem(node)) tree_->setCurrentItem(item);
    selecting_ = false;
}

void MailerWindow::dropOnNode(int node) {
    if (mailer_.treeview1_oledragover(node)) mailer_.treeview1_oledragdrop(node);
}

// ---- The list ----

void MailerWindow::SetWhoHeading(const std::string& heading) {
    model_->setWhoHeading(toDisplay(heading));
}

void MailerWindow::RowsReset() {
    selecting_ = true;
    catchUpPending_ = false;
    model_->reset();
    selecting_ = false;
}

void MailerWindow::RowsAppended(long) {
    // The first screenful shows at once; the rest joins at the next pass of
    // the event loop, a batch at a time.
    if (model_->rowCount() == 0) {
        model_->catchUp();
        // Painted now, not at the next pass of the loop: a big folder is still
        // being read, and the user sees its first screenful meanwhile.
        if (list_->isVisible()) list_->viewport()->repaint();
        return;
    }
    scheduleCatchUp();
}

void MailerWindow::scheduleCatchUp() {
    if (catchUpPending_) return;
    catchUpPending_ = true;
    QTimer::singleShot(0, this, [this] {
        if (!catchUpPending_) return;
        catchUpPending_ = false;
        model_->catchUp();
    });
}

void MailerWindow::FinishedAddingRows() {
    catchUpPending_ = false;
    model_->catchUp();
    progress_->clear();
}

void MailerWindow::RowChanged(long row) {
    model_->rowChanged(static_cast<int>(row));
}

void MailerWindow::SetSortIndicator(MailerColumn column, bool ascending) {
    list_->header()->setSortIndicatorShown(true);
    list_->header()->setSortIndicator(static_cast<int>(column),
                                      ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
}

std::vector<long> MailerWindow::SelectedRows() const {
    std::vector<long> rows;
    // Ranges, not indexes: a select-all of a big folder stays cheap.
    for (const QItemSelectionRange& range : list_->selectionModel()->selection())
        for (int r = range.top(); r <= range.bottom(); ++r) rows.push_back(r);
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

void MailerWindow::SelectRows(const std::vector<long>& rows, long current) {
    model_->catchUp();
    selecting_ = true;
    QItemSelection selection;
    const int last = MailerColumnCount - 1;
    for (size_t i = 0; i < rows.size();) {
        size_t j = i;
        while (j + 1 < rows.size() && rows[j + 1] == rows[j] + 1) ++j;
        selection.select(model_->index(static_cast<int>(rows[i]), 0),
                         model_->index(static_cast<int>(rows[j]), last));
        i = j + 1;
    }
    QItemSelectionModel* model = list_->selectionModel();
    model->select(selection, QItemSelectionModel::ClearAndSelect);
    if (current >= 0 && current < model_->rowCount()) {
        QModelIndex at = model_->index(static_cast<int>(current), 0);
        model->setCurrentIndex(at, QItemSelectionModel::NoUpdate);
        list_->scrollTo(at);
        list_->setFocus();
    }
    selecting_ = false;
}

// ---- Status and toolbar ----

QString MailerWindow::statusText() const {
    return status_->text();
}

QAction* MailerWindow::toolbarAction(const QString& key) const {
    auto it = actions_.find(key);
    return it == actions_.end() ? nullptr : it->second;
}

void MailerWindow::ShowStatus(const std::string& text) {
    status_->setText(toDisplay(text));
}

void MailerWindow::ShowListProgress(const std::string& text) {
    progress_->setText(toDisplay(text));
}

void MailerWindow::SetUnreadButton(const std::string& caption, const std::string& icon) {
    if (QAction* a = toolbarAction("unread")) {
        a->setToolTip(toDisplay(caption));
        images_["unread"] = QString::fromStdString(icon);
        a->setIcon(commandIcon(images_["unread"]));
    }
}

void MailerWindow::SetToolbarButton(const std::string& key, const std::string& image) {
    QString k = QString::fromStdString(key);
    QAction* a = toolbarAction(k);
    if (!a) return;
    images_[k] = image.empty() ? QStringLiteral("blank") : QString::fromStdString(image);
    a->setIcon(commandIcon(images_[k]));
}

// ---- The preview ----

void MailerWindow::PreviewMessage(const std::string& path) {
    if (path.empty()) {
        showInPreview(preview_, nullptr);
        return;
    }
    auto message = readfullmessage(path);
    showInPreview(preview_, message->Filename().empty() ? nullptr : message.get());
}

void MailerWindow::OpenReader(const std::string& path) {
    EmailRequest request;
    request.kind = EmailRequest::Kind::Read;
    request.path = path;
    OpenComposer(request);
}

void MailerWindow::OpenComposer(const EmailRequest& request) {
    openEmailWindow(request, nullptr);
}

void MailerWindow::ShowContacts() {
    showcontacts(this);
}

void MailerWindow::AddContact(const std::string& address) {
    addcontact(this, address);
}

void MailerWindow::OpenTool(const std::string& key) {
    openToolWindow(this, key, [this](const std::string& path) { OpenReader(path); });
}

std::string MailerWindow::PreviewSelectedText() const {
    return previewSelectedText(preview_);
}

void MailerWindow::PrintPreviewed() {
    printPreviewed(preview_);
}

void MailerWindow::ViewPreviewedSource() {
    viewPreviewedSource(preview_);
}

void MailerWindow::ShowText(const std::string& title, const std::string& text) {
    auto* w = new TextWindow(toDisplay(title), toDisplay(text), this);
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->show();
}

void MailerWindow::CopyToClipboard(const std::string& text) {
    QGuiApplication::clipboard()->setText(toDisplay(text));
}

void MailerWindow::ShowHelp() {
    ShowText("Help", "Click a folder to list its messages; select one to preview it.\n\n"
                     "Enter or a double click opens the message and marks it read.\n"
                     "Delete moves the selected messages to Deleted (in Deleted, erases them).\n"
                     "Drag messages onto a folder to move them there.\n"
                     "Click a column heading to sort by it; click again to reverse.\n\n"
                     "F5, F3 and F2 work as in the scanner. Ctrl+A selects all, Ctrl+Q quits.");
}

} // namespace corva::ui
