#include "ui/ScannerWindow.h"

#include "bayes/frmBayesFilter.h"
#include "bayes/modMailSubs.h"
#include "core/Account.h"
#include "core/mSHAREDSettings.h"
#include "cycle/UpdateCheckLink.h"
#include "cycle/frmMain.h"
#include "cycle/modScannerCommands.h"
#include "filters/frmFilters.h"
#include "filters/modBlockCommands.h"
#include "mailer/frmMailer.h"
#include "message/clsMessage.h"
#include "message/clsMessages.h"
#include "platform/Platform.h"
#include "smtp/frmSendMailWrapper.h"
#include "ui/AccountWizardDialog.h"
#include "ui/CMSWindows.h"
#include "ui/DisplayText.h"
#include "ui/EmailWindow.h"
#include "ui/Icons.h"
#include "ui/LanguageWalker.h"
#include "ui/LogViewer.h"
#include "ui/MailerPreview.h"
#include "ui/MailerWindow.h"
#include "ui/MainWindows.h"
#include "ui/RuleWindows.h"
#include "ui/ScannerListModel.h"
#include "ui/SettingsDialog.h"
#include "ui/TextWindow.h"
#include "ui/UpdaterWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDate>
#include <QFontDatabase>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPlainTextEdit>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>
#include <QSplashScreen>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace corva::ui {

namespace {

// Twips are 1/1440 inch; the window works in pixels at 96 per inch.
constexpr double kTwipsPerPixel = 15.0;

// The list's nine columns, in pixels.
constexpr std::array<int, 9> kColumnWidths = {70, 60, 200, 260, 120, 160, 50, 50, 60};

bool darkPalette() {
    return QApplication::palette().color(QPalette::Window).lightness() < 128;
}

QPixmap splashPicture() {
    const qreal ratio = qApp->devicePixelRatio();
    QPixmap pixmap(QSize(460, 240) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(QColor(0x1B, 0x23, 0x30));
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    appIcon().paint(&p, QRect(28, 40, 120, 120));
    p.setPen(Qt::white);
    QFont title = p.font();
    title.setPointSize(30);
    title.setBold(true);
    p.setFont(title);
    p.drawText(QRect(170, 50, 280, 60), Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Corva"));
    QFont line = p.font();
    line.setPointSize(10);
    line.setBold(false);
    p.setFont(line);
    p.setPen(QColor(0xB0, 0xBE, 0xC5));
    p.drawText(QRect(172, 110, 280, 40), Qt::AlignLeft | Qt::TextWordWrap,
               QStringLiteral("Junk stays on the server."));
    p.drawText(QRect(28, 200, 420, 24), Qt::AlignLeft,
               QStringLiteral("\u00A9 %1 Tarnwick Software").arg(QDate::currentDate().year()));
    return pixmap;
}

} // namespace

ScannerWindow::ScannerWindow() {
    setWindowTitle(QStringLiteral("Corva"));
    setWindowIcon(appIcon());

    model_ = new ScannerListModel(this);
    flushTimer_ = new QTimer(this);
    flushTimer_->setSingleShot(true);
    flushTimer_->setInterval(100);
    connect(flushTimer_, &QTimer::timeout, this, &ScannerWindow::flushPending);
    model_->setDarkPalette(darkPalette());
    list_ = new QTreeView;
    list_->setModel(model_);
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->setAlternatingRowColors(true);
    list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list_->setSelectionBehavior(QAbstractItemView::SelectRows);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    list_->header()->setStretchLastSection(false);
    connect(list_, &QTreeView::customContextMenuRequested, this, &ScannerWindow::showContextMenu);
    connect(list_, &QTreeView::doubleClicked, this, [this] { onDoubleClick(); });
    connect(list_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this] { onSelectionChanged(); });

    auto* lower = new QWidget;
    auto* lowerLayout = new QVBoxLayout(lower);
    lowerLayout->setContentsMargins(0, 0, 0, 0);
    auto* lblHeaders = new QLabel(QStringLiteral("Headers"));
    lblHeaders->setObjectName(QStringLiteral("lblHeaders"));
    lblMessageNumber_ = new QLabel;
    lblMessageNumber_->setObjectName(QStringLiteral("lblMessageNumber"));
    auto* labels = new QHBoxLayout;
    labels->addWidget(lblHeaders);
    labels->addStretch();
    labels->addWidget(lblMessageNumber_);
    lowerLayout->addLayout(labels);
    headers_ = new QPlainTextEdit;
    headers_->setObjectName(QStringLiteral("txtHeaders"));
    headers_->setReadOnly(true);
    headers_->setPlaceholderText(
        QStringLiteral("Click an email in the list above to view the headers in this box."));
    headers_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    lowerLayout->addWidget(headers_);

    auto* splitter = new QSplitter(Qt::Vertical);
    splitter->addWidget(list_);
    splitter->addWidget(lower);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 1);
    setCentralWidget(splitter);

    buildToolbar();
    buildMenus();
    buildStatusBar();

    addCycleKeys(*this, [this](frmMain::Key k, bool ctrl) {
        if (main_) main_->KeyDown(k, ctrl);
    });
    auto* toMailer = new QShortcut(Qt::CTRL | Qt::Key_Space, this);
    connect(toMailer, &QShortcut::activated, this, [this] { openMailer(); });
    auto* quitKey = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this);
    connect(quitKey, &QShortcut::activated, this, [this] { quit(); });
    QScreen* screen = QGuiApplication::primaryScreen();
    resize(firstWindowSize(screen ? screen->availableGeometry().size() : QSize()));
}

QSize ScannerWindow::firstWindowSize(const QSize& available) {
    // Wide enough for all nine columns and the scroll bar, where the screen
    // allows it; the stored default of 7668 twips showed four of them.
    int columns = 0;
    for (int w : kColumnWidths) columns += w;
    QSize wanted(columns + 40, 640);
    if (!available.isValid() || available.isEmpty()) return wanted;
    return wanted.boundedTo(available * 0.95);
}

ScannerWindow::~ScannerWindow() = default;

void ScannerWindow::buildToolbar() {
    auto* bar = addToolBar(QStringLiteral("Main"));
    bar->setObjectName(QStringLiteral("maintoolbar"));
    bar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    bar->setIconSize(QSize(28, 28));
    auto add = [&](const QString& key, const QString& text, const QString& tip) {
        QAction* a = bar->addAction(commandIcon(key), text);
        a->setToolTip(tip);
        connect(a, &QAction::triggered, this, [this, key] { act(key); });
        actions_[key] = a;
        return a;
    };
    add("scan", "Scan", "Scan every account for mail (F5)");
    add("delete", "Delete", "Scan and delete junk on the server");
    add("mailer", "Mailer", "Open the mailer (Ctrl+Space)");

    // Send and receive, with the drop-down of every command.
    QAction* updown = add("upanddown", "Send/Receive", "Send the Outbox and receive mail");
    upAndDown_ = qobject_cast<QToolButton*>(bar->widgetForAction(updown));
    auto* drop = new QMenu(this);
    auto entry = [&](const QString& key, const QString& text) {
        QAction* a = drop->addAction(commandIcon(key), text);
        connect(a, &QAction::triggered, this, [this, key] { act(key); });
        actions_.emplace("menu:" + key, a);
    };
    entry("scan", "Scan");
    entry("delete", "Scan and delete junk");
    entry("upanddown", "Send and receive");
    entry("updownwithclear", "Send, receive and clean");
    entry("upload", "Upload outbox");
    entry("download", "Download mail");
    drop->addSeparator();
    entry("reinforce", "Reinforce Bayes from the list");
    entry("filters", "Edit filters");
    entry("training", "Train the spam filters");
    entry("serverfilters", "Server filters");
    entry("localfilters", "Local filters");
    entry("settings", "Settings");
    entry("checkupdate", "Check for updates");
    entry("log", "View log");
    entry("tkl", "Reminders");
    entry("mailer", "Mailer");
    drop->addSeparator();
    entry("close", "Close to tray");
    entry("quit", "Quit");
    if (upAndDown_) {
        upAndDown_->setMenu(drop);
        upAndDown_->setPopupMode(QToolButton::MenuButtonPopup);
        // The style leaves no room for the arrow beside text under an icon,
        // and elides the caption; make the room.
        upAndDown_->setMinimumWidth(
            upAndDown_->fontMetrics().horizontalAdvance(QStringLiteral("Send/Receive")) +
            upAndDown_->style()->pixelMetric(QStyle::PM_MenuButtonIndicator) + 16);
    }
    // Stop is the send and receive button itself while a cycle runs; the
    // command also answers Escape.
    auto* stop = new QAction(commandIcon("stop"), QStringLiteral("Stop"), this);
    stop->setShortcut(Qt::Key_Escape);
    stop->setEnabled(false);
    connect(stop, &QAction::triggered, this, [this] { act("stop"); });
    addAction(stop);
    actions_["stop"] = stop;
    bar->addSeparator();
    // Upload, download and reinforce live in the drop-down: the default window,
    // 7668 twips wide, has room for no more buttons than these.
    add("settings", "Settings", "Accounts and options");
    add("close", "Close", "Close to the notification area");
}

void ScannerWindow::showFromTray() {
    // Back in the state the window was closed in.
    showInFront(*this, sget("MainWindowState", 0).toNumber() == WindowState::Maximised);
}

void ScannerWindow::buildMenus() {
    trayMenu_ = new QMenu(this);
    connect(trayMenu_->addAction(QStringLiteral("Show")), &QAction::triggered, this,
            [this] { showFromTray(); });
    connect(trayMenu_->addAction(QStringLiteral("Scan")), &QAction::triggered, this,
            [this] { act("scan"); });
    connect(trayMenu_->addAction(QStringLiteral("Mailer")), &QAction::triggered, this,
            [this] { openMailer(); });
    scanAccountMenu_ = trayMenu_->addMenu(QStringLiteral("Scan Account"));
    // The entries name the first four accounts as they are titled now.
    connect(scanAccountMenu_, &QMenu::aboutToShow, this, [this] {
        const auto entries = scanAccountMenu_->actions();
        for (int i = 0; i < entries.size(); ++i) entries[i]->setText(toDisplay(Account(i).title()));
    });
    for (int i = 0; i < 4; ++i) {
        QAction* a = scanAccountMenu_->addAction(QStringLiteral("Account %1").arg(i + 1));
        connect(a, &QAction::triggered, this, [this, i] {
            if (main_) main_->mnuScanAcc_Click(i);
        });
    }
    silentAction_ = trayMenu_->addAction(QStringLiteral("Silent"));
    silentAction_->setCheckable(true);
    connect(silentAction_, &QAction::triggered, this, [this](bool on) {
        // Silent flips the audio alerts and keeps the choice; frmMain reads
        // the key again so the next new mail already follows it.
        sset("AUDIO", on ? 0 : 1);
        if (main_) main_->readsettings();
    });
    trayMenu_->addSeparator();
    connect(trayMenu_->addAction(QStringLiteral("Exit")), &QAction::triggered, this,
            [this] { quit(); });
    trayMenu_->addAction(QStringLiteral("Dismiss Menu"));
}

void ScannerWindow::buildStatusBar() {
    for (int i = 0; i < 4; ++i) {
        panels_[i] = new QLabel;
        panels_[i]->setTextFormat(Qt::PlainText);
        if (i == 0)
            statusBar()->addWidget(panels_[i], 1);
        else
            statusBar()->addPermanentWidget(panels_[i]);
    }
}

QAction* ScannerWindow::toolbarAction(const QString& key) const {
    auto it = actions_.find(key);
    return it == actions_.end() ? nullptr : it->second;
}

void ScannerWindow::act(const QString& key) {
    if (!main_ || RunScannerCommand(*main_, key.toStdString())) {
        // A rescan may have rebuilt the list: show it now, not at the next batch.
        flushPending();
        return;
    }
    if (key == "log") {
        auto* viewer = new LogViewer(this);
        viewer->setAttribute(Qt::WA_DeleteOnClose);
        viewer->show();
    } else if (key == "mailer") {
        openMailer();
    } else if (key == "training") {
        ShowTrainingWindow();
    } else if (key == "cms") {
        if (main_) CMSTicketListWindow::open(main_->SendMailWrapper(), this);
    } else if (key == "checkupdate") {
        if (main_ && main_->UpdateCheck())
            UpdaterWindow::open(main_->UpdateCheck()->Updater(), this).check();
    } else if (key == "filters" || key == "serverfilters" || key == "localfilters") {
        ShowRuleEditor(key == "localfilters", nullptr, "");
    } else if (key == "close") {
        // As the close box: the state is kept and the window hides, or with
        // no tray to come back from, the program ends.
        if (!main_->QueryUnload(true) && main_->shutDown()) qApp->quit();
    } else if (key == "quit") {
        quit();
    }
}

void ScannerWindow::quit() {
    if (main_ && main_->exitprog()) qApp->quit();
}

bool ScannerWindow::TrayAvailable() const {
    return trayAvailable_.value_or(QSystemTrayIcon::isSystemTrayAvailable());
}

void ScannerWindow::NotifyNewMail(const std::string& title, const std::string& text) {
    // Through the tray icon, which reaches the desktop's notification service;
    // not over the window the user is looking at.
    if (!tray_ || !tray_->isVisible() || isActiveWindow()) return;
    tray_->showMessage(toDisplay(title), toDisplay(text), trayIcon(TrayPicture::GotMail), 8000);
}

std::vector<QWidget*> ScannerWindow::openForms() const {
    std::vector<QWidget*> forms{const_cast<ScannerWindow*>(this)};
    for (QWidget* w : QApplication::topLevelWidgets()) {
        // Forms have captions; menus, tips and the tray's own helpers don't.
        if (w == this || (w->windowType() != Qt::Window && w->windowType() != Qt::Dialog) ||
            w->windowTitle().isEmpty())
            continue;
        forms.push_back(w);
    }
    return forms;
}

std::vector<std::string> ScannerWindow::OpenForms() const {
    std::vector<std::string> captions;
    for (QWidget* w : openForms()) captions.push_back(fromDisplay(w->windowTitle()));
    return captions;
}

bool ScannerWindow::UnloadForm(size_t index) {
    std::vector<QWidget*> forms = openForms();
    if (index == 0 || index >= forms.size()) return true;
    QWidget* form = forms[index];
    // A hidden form (the mailer once step 12 unloaded it) has nothing left to
    // show; one that is shown closes, unless it runs a modal loop of its own
    // or refuses.
    if (!form->isVisible()) return true;
    if (QApplication::activeModalWidget() == form) return false;
    return form->close();
}

// ---- frmMainView ----

void ScannerWindow::ShowSplash() {
    splash_ = std::make_unique<QSplashScreen>(splashPicture());
    splash_->show();
    qApp->processEvents();
}

void ScannerWindow::SplashStatus(const std::string& text) {
    if (splash_)
        splash_->showMessage(translated(toDisplay(text)), Qt::AlignBottom | Qt::AlignRight,
                             Qt::white);
}

void ScannerWindow::HideSplash() {
    if (splash_) splash_->close();
    splash_.reset();
}

void ScannerWindow::RunAccountWizard() {
    AccountWizardDialog wizard(this);
    wizard.exec();
}

void ScannerWindow::SetupListColumns(const std::vector<std::string>& captions) {
    model_->setCaptions(captions);
    for (size_t i = 0; i < captions.size() && i < kColumnWidths.size(); ++i)
        list_->setColumnWidth(static_cast<int>(i), kColumnWidths[i]);
}

void ScannerWindow::ShowCmsButton(bool visible) {
    // Made on first use, beside Settings: most installations never run a ticket desk.
    QAction* cms = toolbarAction("cms");
    auto* bar = findChild<QToolBar*>(QStringLiteral("maintoolbar"));
    if (!cms && visible && bar) {
        cms = new QAction(commandIcon("cms"), QStringLiteral("CMS"), bar);
        cms->setToolTip(QStringLiteral("Support tickets"));
        connect(cms, &QAction::triggered, this, [this] { act("cms"); });
        bar->insertAction(toolbarAction("settings"), cms);
        actions_["cms"] = cms;
    }
    if (cms) cms->setVisible(visible);
}

int ScannerWindow::ScreenWidth() const {
    QScreen* s = screen() ? screen() : QGuiApplication::primaryScreen();
    return s ? static_cast<int>(s->availableGeometry().width() * kTwipsPerPixel) : 0;
}

int ScannerWindow::ScreenHeight() const {
    QScreen* s = screen() ? screen() : QGuiApplication::primaryScreen();
    return s ? static_cast<int>(s->availableGeometry().height() * kTwipsPerPixel) : 0;
}

void ScannerWindow::MaximiseWindow() {
    setWindowState(windowState() | Qt::WindowMaximized);
}

void ScannerWindow::SetWindowSize(int w, int h) {
    resize(static_cast<int>(w / kTwipsPerPixel), static_cast<int>(h / kTwipsPerPixel));
}

int ScannerWindow::WindowWidth() const {
    return static_cast<int>(width() * kTwipsPerPixel);
}
int ScannerWindow::WindowHeight() const {
    return static_cast<int>(height() * kTwipsPerPixel);
}

int ScannerWindow::CurrentWindowState() const {
    return stateOf(*this);
}

void ScannerWindow::HideWindow() {
    // Hidden before it was ever shown: start-up asked for the tray only.
    if (!everShown_) hiddenAtStart_ = true;
    hide();
}

void ScannerWindow::showEvent(QShowEvent* event) {
    everShown_ = true;
    QMainWindow::showEvent(event);
}

void ScannerWindow::ClearList() {
    pending_.clear();
    model_->clear();
    headers_->clear();
    lblMessageNumber_->clear();
}

void ScannerWindow::AddListLine(const ListLine& line) {
    // Lines arrive one per server reply. Shown one by one, each would cost a
    // relayout and a repaint, and the list would slow the scan tenfold; they
    // are shown in batches a few times a second instead.
    pending_.push_back(line);
    if (!flushTimer_->isActive()) flushTimer_->start();
}

void ScannerWindow::flushPending() {
    flushTimer_->stop();
    for (size_t i = 0; i < pendingPanels_.size(); ++i) {
        if (pendingPanels_[i]) panels_[i]->setText(*pendingPanels_[i]);
        pendingPanels_[i].reset();
    }
    if (pending_.empty()) return;
    bool atBottom = list_->verticalScrollBar()->value() == list_->verticalScrollBar()->maximum();
    model_->append(pending_);
    pending_.clear();
    if (atBottom) list_->scrollToBottom();
}

ScannerListModel& ScannerWindow::listModel() {
    flushPending();
    return *model_;
}

void ScannerWindow::SetStatusPanel(int panel, const std::string& text) {
    // A scan reports progress per message; each label change relayouts the
    // status bar, so the texts go out with the list's batches.
    if (panel < 1 || panel > 4) return;
    pendingPanels_[static_cast<size_t>(panel - 1)] = translated(toDisplay(text));
    if (!flushTimer_->isActive()) flushTimer_->start();
}

QString ScannerWindow::statusPanelText(int panel) const {
    if (panel < 1 || panel > 4) return {};
    const auto& pending = pendingPanels_[static_cast<size_t>(panel - 1)];
    return pending ? *pending : panels_[panel - 1]->text();
}

void ScannerWindow::SetStatusPicture(PanelPicture picture) {
    panels_[0]->setStyleSheet(picture == PanelPicture::Error ? QStringLiteral("color: #d93a30;")
                                                             : QString());
}

void ScannerWindow::SetToolbarButtonImage(const std::string& key, const std::string& image) {
    QAction* a = toolbarAction(QString::fromStdString(key));
    if (!a) return;
    bool running = image == "stop";
    upAndDownImage_ = QString::fromStdString(image);
    a->setIcon(commandIcon(upAndDownImage_));
    a->setText(running ? QStringLiteral("Stop") : QStringLiteral("Send/Receive"));
    if (QAction* stop = toolbarAction("stop")) stop->setEnabled(running);
}

void ScannerWindow::SetReadOnServerEnabled(bool enabled) {
    readOnServerEnabled_ = enabled;
}
void ScannerWindow::SetSilentChecked(bool checked) {
    silentAction_->setChecked(checked);
}

void ScannerWindow::SetListFontSize(int size) {
    if (size <= 0) return;
    QFont f = list_->font();
    f.setPointSize(size);
    list_->setFont(f);
}

void ScannerWindow::ShowTrayIcon(const std::string& tip, TrayPicture picture) {
    if (!tray_) {
        tray_ = new QSystemTrayIcon(this);
        tray_->setContextMenu(trayMenu_);
        connect(tray_, &QSystemTrayIcon::activated, this,
                [this](QSystemTrayIcon::ActivationReason r) {
                    if (r == QSystemTrayIcon::DoubleClick || r == QSystemTrayIcon::Trigger)
                        showFromTray();
                });
    }
    ChangeTrayIcon(tip, picture);
    tray_->show();
}

void ScannerWindow::ChangeTrayIcon(const std::string& tip, TrayPicture picture) {
    // The flashing frames come with no tip: the tip shown stays.
    if (!tip.empty()) trayTip_ = toDisplay(tip);
    trayPicture_ = picture;
    if (!tray_) return;
    tray_->setIcon(trayIcon(picture));
    tray_->setToolTip(trayTip_);
}

void ScannerWindow::RemoveTrayIcon() {
    if (tray_) tray_->hide();
}

bool ScannerWindow::ShowSettingsDialog() {
    SettingsDialog dialog(this);
    return dialog.exec() == QDialog::Accepted;
}

void ScannerWindow::ShowRuleEditor(bool isLocal, const clsMessage* fromMessage,
                                   const std::string& filterName) {
    if (main_) openRuleEditor(this, *main_, isLocal, fromMessage, filterName);
}

void ScannerWindow::ShowTrainingWindow() {
    if (main_) openTrainingWindow(this, *main_);
}

// ---- The list ----

void ScannerWindow::selectRow(int row) {
    flushPending();
    list_->setCurrentIndex(model_->index(row, 0));
    list_->selectionModel()->select(model_->index(row, 0), QItemSelectionModel::ClearAndSelect |
                                                               QItemSelectionModel::Rows);
}

const ListLine* ScannerWindow::selectedLine() const {
    QModelIndex current = list_->currentIndex();
    return current.isValid() ? &model_->line(current.row()) : nullptr;
}

clsMessage* ScannerWindow::selectedMessage() const {
    const ListLine* line = selectedLine();
    return main_ && line ? MessageOfLine(*main_, *line).get() : nullptr;
}

std::vector<ListLine> ScannerWindow::selectedLines() const {
    std::vector<ListLine> lines;
    for (const QModelIndex& row : list_->selectionModel()->selectedRows())
        lines.push_back(model_->line(row.row()));
    return lines;
}

void ScannerWindow::onSelectionChanged() {
    QModelIndex current = list_->currentIndex();
    if (!current.isValid()) return;
    const ListLine& line = model_->line(current.row());
    if (line.kind == ListLine::Kind::Server) {
        lblMessageNumber_->setText(QStringLiteral("Server"));
        headers_->clear();
        return;
    }
    clsMessage* msg = selectedMessage();
    if (!msg) return;
    headers_->setPlainText(toDisplay(msg->Headers));
    lblMessageNumber_->setText(QStringLiteral("Msg: %1 on %2")
                                   .arg(msg->MessageNumThisAcc)
                                   .arg(toDisplay(Account(msg->FromAccount).title())));
}

QString ScannerWindow::headersText() const {
    return headers_->toPlainText();
}

void ScannerWindow::onDoubleClick() {
    const ListLine* line = selectedLine();
    if (!main_ || !readOnServerEnabled_ || !line) return;
    // Set before the fetch: the message may arrive before it returns.
    fetchPurpose_ = FetchPurpose::Read;
    if (!ReadLineOnServer(*main_, *line)) fetchPurpose_ = FetchPurpose::None;
}

void ScannerWindow::fetchSelected(FetchPurpose purpose) {
    const ListLine* line = selectedLine();
    if (!main_ || !line) return;
    const FetchPurpose before = fetchPurpose_;
    fetchPurpose_ = purpose;
    if (!FetchMessageOfLine(*main_, *line, purpose == FetchPurpose::Read)) fetchPurpose_ = before;
}

void ScannerWindow::SpecificMessageArrived(clsMessage& message) {
    FetchPurpose purpose = fetchPurpose_;
    fetchPurpose_ = FetchPurpose::None;
    if (purpose == FetchPurpose::Source) {
        SetStatusPanel(1, "Viewing source");
        WriteSourceFile(message);
        showTextWindow(QStringLiteral("Message source"), toDisplay(message.RawMessage()));
    } else if (purpose == FetchPurpose::Read) {
        SetStatusPanel(1, "Viewing email");
        // Read as the mailer reads a stored message.
        showInReader(this, message);
    } else if (purpose == FetchPurpose::Download) {
        SaveDownloadedMessage(message);
        SetStatusPanel(1, "Selected message downloaded");
    }
}

TextWindow* ScannerWindow::showTextWindow(const QString& title, const QString& text) {
    auto* w = new TextWindow(title, text, this);
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->show();
    return w;
}

QMenu* ScannerWindow::buildRightClickMenu() {
    auto* menu = new QMenu(this);
    clsMessage* msg = selectedMessage();
    TailoredMenu tailored;
    if (msg) tailored = TailorRightClickMenu(*msg, Account(msg->FromAccount).title());
    for (const std::string& entry : RightClickEntries()) {
        const bool enabled = entry == "Dismiss Menu" || (msg && LineCommandEnabled(*main_, entry));
        QString caption = QString::fromStdString(entry);
        if (entry == "Read Message" && msg) caption = toDisplay(tailored.readCaption);
        if (entry == "View this message as source code" && msg)
            caption = toDisplay(tailored.sourceCaption);
        if (entry == "Edit this filter") {
            if (!tailored.editFilterVisible) continue;
            caption = toDisplay(tailored.editFilterCaption);
        }
        // The spam-report window is not part of this build.
        if (entry == "Submit to Spamcop") continue;
        if (entry == "Dismiss Menu") menu->addSeparator();
        QAction* a = menu->addAction(caption);
        QString key = QString::fromStdString(entry);
        connect(a, &QAction::triggered, this, [this, key] { runLineCommand(key); });
        a->setEnabled(enabled);
    }
    return menu;
}

void ScannerWindow::showContextMenu(const QPoint& pos) {
    if (!list_->indexAt(pos).isValid()) return;
    QMenu* menu = buildRightClickMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(list_->viewport()->mapToGlobal(pos));
}

void ScannerWindow::runLineCommand(const QString& entry) {
    if (!main_ || LineCommandRefused(*main_, entry.toStdString())) return;
    clsMessage* msg = selectedMessage();
    if (!msg) return;
    frmFilters& rules = main_->ServerFilters();
    auto after = [this] { main_->rescanCachedmail(); };
    if (entry == "Block sender")
        blockorunblock(rules, *msg, false), after();
    else if (entry == "Unblock sender")
        blockorunblock(rules, *msg, true), after();
    else if (entry == "Block sender's domain")
        blockorunblockDomain(rules, *msg, false), after();
    else if (entry == "Unblock this sender's domain")
        blockorunblockDomain(rules, *msg, true), after();
    else if (entry == "Block recipient email")
        blockorunblockrecip(rules, *msg, false), after();
    else if (entry == "Unblock Recipient Email")
        blockorunblockrecip(rules, *msg, true), after();
    else if (entry == "Block recipient domain")
        blockorunblockRecipDomain(rules, *msg, false), after();
    else if (entry == "Unblock recipient domain")
        blockorunblockRecipDomain(rules, *msg, true), after();
    else if (entry == "Ignore Recipient")
        ignoreornot(rules, *msg, false), after();
    else if (entry == "Remove 'Ignore'")
        ignoreornot(rules, *msg, true), after();
    else if (entry == "Read Message")
        fetchSelected(FetchPurpose::Read);
    else if (entry == "View this message as source code")
        fetchSelected(FetchPurpose::Source);
    else if (entry == "Download selected message to inbox")
        fetchSelected(FetchPurpose::Download);
    else if (entry == "Bounce selected message(s)")
        bounceSelected();
    else if (entry == "Mark as Junk" || entry == "Mark as Not Junk") {
        MarkLines(*main_, selectedLines(), entry == "Mark as Junk");
    } else if (entry == "Create filter from message") {
        ShowRuleEditor(false, msg, "");
    } else if (entry == "Edit this filter") {
        ShowRuleEditor(false, nullptr, msg->FilterReason);
    } else if (entry == "Edit Filters") {
        ShowRuleEditor(false, nullptr, "");
    } else if (entry == "Show Bayes Breakdown") {
        // One line per token in rising order of probability.
        QStringList lines;
        for (const std::string& line : main_->BayesFilter().ShowBayesBreakdown(*msg))
            lines << toDisplay(line);
        showTextWindow(QStringLiteral("Bayes breakdown"), lines.join(QLatin1Char('\n')));
    }
    // A rescan rebuilt the list: show it now, not at the next batch.
    flushPending();
}

void ScannerWindow::bounceSelected() {
    BounceLines(*main_, selectedLines());
}

// ---- Window events ----

void ScannerWindow::closeEvent(QCloseEvent* event) {
    // The close box hides the window while the tray icon stays; with no
    // notification area it quits, and frmMain has then shut down.
    if (main_ && !main_->shutDown()) {
        if (main_->QueryUnload(true)) {
            event->ignore();
            return;
        }
        if (main_->shutDown()) qApp->quit();
    }
    event->accept();
}

void ScannerWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange ||
        event->type() == QEvent::ApplicationPaletteChange) {
        model_->setDarkPalette(darkPalette());
        // The pictures are drawn in the palette's ink: draw them again.
        for (const auto& [key, action] : actions_) {
            QString image = key.startsWith("menu:") ? key.mid(5) : key;
            if (key == "upanddown") image = upAndDownImage_;
            action->setIcon(commandIcon(image));
        }
    }
    QMainWindow::changeEvent(event);
}

// ---- The mailer ----

MailerWindow* ScannerWindow::openMailer() {
    if (!main_ || !main_->Mailer()) return nullptr;
    if (!mailerWindow_) {
        mailerWindow_ = new MailerWindow(*main_);
        main_->Mailer()->setView(mailerWindow_);
    }
    main_->Mailer()->Open();
    return mailerWindow_;
}

MailerWindow* ScannerWindow::mailerWindow() const {
    return mailerWindow_;
}

void ScannerWindow::ShowMailerFirst() {
    openMailer();
}

void ScannerWindow::ShowComposer(const std::string& to, const std::string& cc,
                                 const std::string& bcc, const std::string& subject,
                                 const std::string& body) {
    EmailRequest request;
    request.to = to;
    request.cc = cc;
    request.bcc = bcc;
    request.subject = subject;
    request.body = body;
    openEmailWindow(request, nullptr);
}

void ScannerWindow::ShowReader(const std::string& path) {
    EmailRequest request;
    request.kind = EmailRequest::Kind::Read;
    request.path = path;
    openEmailWindow(request, nullptr);
}

bool ScannerWindow::MailerLoaded() const {
    return main_ && main_->Mailer() && main_->Mailer()->Loaded();
}

bool ScannerWindow::MailerVisible() const {
    return mailerWindow_ && mailerWindow_->isVisible();
}

void ScannerWindow::MailerStatus(const std::string& text) {
    if (MailerLoaded()) main_->Mailer()->ShowProgressMsg(text);
}

void ScannerWindow::MailerFinishedGettingMail(const std::string& text) {
    if (MailerLoaded()) main_->Mailer()->NotifyFinishedGettingMail(text);
}

void ScannerWindow::MailerNewMessageStored(const std::string& path, const std::string& folder,
                                           clsMessage& message, bool) {
    if (MailerLoaded()) main_->Mailer()->MessageStored(path, folder, message);
}

void ScannerWindow::HideMailer() {
    if (MailerLoaded()) main_->Mailer()->Hide();
}

void ScannerWindow::UnloadMailer() {
    if (MailerLoaded()) main_->Mailer()->Unload();
    if (main_ && main_->Mailer()) main_->Mailer()->setView(nullptr);
    // Quit may come from the mailer's own toolbar, still on the stack.
    if (mailerWindow_) {
        mailerWindow_->detach();
        mailerWindow_->deleteLater();
    }
}

void ScannerWindow::ShowScanner() {
    showFromTray();
}

void ScannerWindow::QuitProgram() {
    quit();
}

} // namespace corva::ui
