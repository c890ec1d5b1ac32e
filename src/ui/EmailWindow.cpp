#include "ui/EmailWindow.h"

#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "ui/AddressCompleter.h"
#include "ui/CMSWindows.h"
#include "ui/ComposerWindows.h"
#include "ui/ContactsWindow.h"
#include "ui/DisplayText.h"
#include "ui/Icons.h"
#include "ui/LanguageWalker.h"
#include "ui/MessagePreviewPane.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTextEdit>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace corva::ui {
namespace {

// Files dropped on the body or the list are attached.
class DropList : public QListWidget {
public:
    std::function<void(const std::vector<std::string>&)> dropped;
    explicit DropList(QWidget* parent) : QListWidget(parent) { setAcceptDrops(true); }

protected:
    void dragEnterEvent(QDragEnterEvent* e) override {
        if (e->mimeData()->hasUrls()) e->acceptProposedAction();
    }
    void dragMoveEvent(QDragMoveEvent* e) override {
        if (e->mimeData()->hasUrls()) e->acceptProposedAction();
    }
    void dropEvent(QDropEvent* e) override {
        std::vector<std::string> files;
        for (const QUrl& url : e->mimeData()->urls())
            if (url.isLocalFile()) files.push_back(url.toLocalFile().toStdString());
        if (dropped) dropped(files);
        e->acceptProposedAction();
    }
};

frmEmailEvents* replyListener = nullptr;

} // namespace

void EmailWindow::setReplyListener(frmEmailEvents* listener) {
    replyListener = listener;
}

void EmailWindow::MarkReplied(const std::string& filename) {
    if (frmEmailEvents* listener = events_ ? events_ : replyListener)
        listener->MarkReplied(filename);
}

EmailWindow::EmailWindow(frmEmailEvents* events, QWidget* parent)
    : QMainWindow(parent, Qt::Window), events_(events) {
    setObjectName(QStringLiteral("email"));
    setAttribute(Qt::WA_DeleteOnClose);
    resize(760, 600);
    buildToolbar();
    buildForm();
    email_ = std::make_unique<frmEmail>(this, static_cast<frmEmailEvents*>(this));
    email_->Form_Load();
    ShowFields();
}

EmailWindow::~EmailWindow() = default;

void EmailWindow::buildToolbar() {
    toolbar_ = addToolBar(QStringLiteral("Toolbar1"));
    toolbar_->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    auto add = [&](const char* key, const QString& caption, std::vector<QAction*>& group) {
        QAction* a = toolbar_->addAction(commandIcon(QString::fromLatin1(key)), caption);
        a->setObjectName(QString::fromLatin1(key));
        const std::string k = key;
        connect(a, &QAction::triggered, this, [this, k] {
            readBody();
            email_->Command(k);
        });
        group.push_back(a);
        return a;
    };
    add("send", QStringLiteral("Send"), writingActions_);
    add("attach", QStringLiteral("Attach"), writingActions_);
    for (bool autoreply : {false, true}) {
        auto* menu = new QMenu(this);
        connect(menu, &QMenu::aboutToShow, this,
                [this, menu, autoreply] { fillInsertMenu(menu, autoreply); });
        QAction* a = toolbar_->addAction(
            commandIcon(autoreply ? QStringLiteral("autoreply") : QStringLiteral("insert")),
            autoreply ? QStringLiteral("Auto-reply") : QStringLiteral("Insert"));
        a->setObjectName(autoreply ? QStringLiteral("autoreply") : QStringLiteral("insert"));
        a->setMenu(menu);
        if (auto* b = qobject_cast<QToolButton*>(toolbar_->widgetForAction(a)))
            b->setPopupMode(QToolButton::InstantPopup);
        writingActions_.push_back(a);
    }
    // A click puts the folder's signature in; the arrow offers the numbered
    // ones and the signature editor.
    QAction* sig = add("insertsig", QStringLiteral("Signature"), writingActions_);
    auto* sigMenu = new QMenu(this);
    connect(sigMenu, &QMenu::aboutToShow, this, [this, sigMenu] { fillSignatureMenu(sigMenu); });
    sig->setMenu(sigMenu);
    if (auto* b = qobject_cast<QToolButton*>(toolbar_->widgetForAction(sig)))
        b->setPopupMode(QToolButton::MenuButtonPopup);
    QAction* shortcuts =
        toolbar_->addAction(commandIcon(QStringLiteral("shortcuts")), QStringLiteral("Shortcuts"));
    shortcuts->setObjectName(QStringLiteral("mnuShortcuts"));
    shortcuts->setToolTip(QStringLiteral("Setup Shortcut Keys"));
    connect(shortcuts, &QAction::triggered, this, [this] {
        auto* dialog = new ShortcutsWindow(this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->open();
    });
    writingActions_.push_back(shortcuts);
    add("reply", QStringLiteral("Reply"), readingActions_);
    add("replysender", QStringLiteral("Reply to sender"), readingActions_);
    add("forward", QStringLiteral("Forward"), readingActions_);
    add("print", QStringLiteral("Print"), readingActions_);
    if (sget("CMSMODE", false).toBool()) add("cms", QStringLiteral("CMS"), readingActions_);
    speechActions_.push_back(add("readaloud", QStringLiteral("Read email aloud"), speechActions_));
    speechActions_.pop_back();
    speechActions_.push_back(add("stopreading", QStringLiteral("Stop reading"), speechActions_));
    speechActions_.pop_back();
}

void EmailWindow::buildForm() {
    stack_ = new QStackedWidget(this);
    setCentralWidget(stack_);

    auto* form = new QWidget(stack_);
    auto* layout = new QVBoxLayout(form);
    auto* fields = new QFormLayout();
    from_ = new QComboBox(form);
    from_->setObjectName(QStringLiteral("cmbFrom"));
    fields->addRow(QStringLiteral("From:"), from_);
    auto addressRow = [&](const QString& label, QLineEdit*& edit, const char* name, bool cc) {
        auto* row = new QHBoxLayout();
        edit = new QLineEdit(form);
        edit->setObjectName(QString::fromLatin1(name));
        attachAddressCompleter(edit);
        auto* pick = new QPushButton(label, form);
        pick->setToolTip(QStringLiteral("Choose from the contact book"));
        connect(pick, &QPushButton::clicked, this, [this, cc] {
            readBody();
            email_->cmdPicTo_Click(cc);
        });
        row->addWidget(edit);
        row->addWidget(pick);
        fields->addRow(label, row);
    };
    addressRow(QStringLiteral("To:"), to_, "txtTo", false);
    addressRow(QStringLiteral("Cc:"), cc_, "txtCC", true);
    cc_->setToolTip(QStringLiteral("Use ; (semi-colon) or , (comma) to separate addresses"));
    bcc_ = new QCheckBox(QStringLiteral("BCC"), form);
    bcc_->setObjectName(QStringLiteral("chkBCC"));
    bcc_->setToolTip(QStringLiteral("Tick for BCC (Blind Carbon Copy - recipients cannot see "
                                    "addresses of other recipients.)"));
    fields->addRow(QString(), bcc_);
    subject_ = new QLineEdit(form);
    subject_->setObjectName(QStringLiteral("txtSubject"));
    fields->addRow(QStringLiteral("Subject:"), subject_);
    layout->addLayout(fields);

    body_ = new QPlainTextEdit(form);
    body_->setObjectName(QStringLiteral("TB1"));
    body_->installEventFilter(this);
    layout->addWidget(body_, 1);
    auto* list = new DropList(form);
    list->setObjectName(QStringLiteral("lstAttach"));
    list->setMaximumHeight(70);
    list->setToolTip(QStringLiteral("Attachments: drop files here, Delete removes them"));
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list->installEventFilter(this);
    list->dropped = [this](const std::vector<std::string>& files) { email_->AttachFiles(files); };
    attach_ = list;
    layout->addWidget(attach_);
    stack_->addWidget(form);

    auto* pane = new MessagePreviewPane(stack_);
    pane->setObjectName(QStringLiteral("preview"));
    pane->setComposer([](const std::string& address) {
        EmailRequest request;
        request.to = address;
        openEmailWindow(request, nullptr);
    });
    reader_ = pane;
    stack_->addWidget(reader_);
    // "Font size for messages:" sizes the text written and read here.
    if (const double size = sget("MsgFontSize", 0).toNumber(); size >= 4 && size <= 72) {
        for (QWidget* text : std::initializer_list<QWidget*>{body_, pane->textBox()}) {
            QFont font = text->font();
            font.setPointSizeF(size);
            text->setFont(font);
        }
    }

    auto edited = [this](auto apply) {
        return [this, apply](auto value) {
            if (!showing_) apply(email_->Fields(), value);
        };
    };
    connect(from_, qOverload<int>(&QComboBox::currentIndexChanged), this,
            edited([](EmailFields& f, int i) { f.sender = i; }));
    connect(to_, &QLineEdit::textChanged, this,
            edited([](EmailFields& f, const QString& t) { f.to = fromDisplay(t); }));
    connect(cc_, &QLineEdit::textChanged, this,
            edited([](EmailFields& f, const QString& t) { f.cc = fromDisplay(t); }));
    connect(subject_, &QLineEdit::textChanged, this, [this](const QString& t) {
        if (showing_) return;
        email_->Fields().subject = fromDisplay(t);
        setWindowTitle(toDisplay(email_->Caption()));
    });
    connect(bcc_, &QCheckBox::toggled, this, edited([](EmailFields& f, bool on) { f.bcc = on; }));
}

void EmailWindow::fillInsertMenu(QMenu* menu, bool autoreply) {
    menu->clear();
    auto entries = autoreply ? email_->AutoReplyMenu() : email_->InsertMenu();
    for (const EmailAttachmentRow& entry : entries) {
        QAction* a = menu->addAction(toDisplay(entry.Name));
        const std::string key = entry.Key;
        connect(a, &QAction::triggered, this, [this, key, autoreply] {
            readBody();
            if (autoreply)
                email_->InsertAutoReply(key);
            else
                email_->InsertFile(key);
        });
    }
    if (entries.empty()) menu->addAction(translated(QStringLiteral("(none)")))->setEnabled(false);
}

void EmailWindow::fillSignatureMenu(QMenu* menu) {
    menu->clear();
    // Ctrl+S is the body's own key, so the menu only names it.
    QAction* own = menu->addAction(translated(QStringLiteral("Insert signature")) +
                                   QStringLiteral("\tCtrl+S"));
    connect(own, &QAction::triggered, this, [this] {
        readBody();
        email_->Command("insertsig");
    });
    for (const EmailAttachmentRow& entry : email_->SignatureMenu()) {
        const std::string key = entry.Key;
        connect(menu->addAction(toDisplay(entry.Name)), &QAction::triggered, this, [this, key] {
            readBody();
            email_->InsertFile(key);
        });
    }
    menu->addSeparator();
    connect(menu->addAction(translated(QStringLiteral("Edit signature..."))), &QAction::triggered,
            this, [this] {
                auto* dialog = new SignatureWindow(email_->SignatureFolder(), this);
                dialog->setAttribute(Qt::WA_DeleteOnClose);
                dialog->open();
            });
}

// The body as the user left it, caret and selection included, into the logic.
void EmailWindow::readBody() {
    if (reading_) return;
    EmailFields& f = email_->Fields();
    f.body = linesFromDisplay(body_->toPlainText());
    QTextCursor c = body_->textCursor();
    const QString text = body_->toPlainText();
    f.caret = linesFromDisplay(text.left(c.selectionStart())).size();
    f.selectionLength =
        linesFromDisplay(text.mid(c.selectionStart(), c.selectionEnd() - c.selectionStart()))
            .size();
}

void EmailWindow::ShowFields() {
    if (!email_) return;
    const EmailFields& f = email_->Fields();
    showing_ = true;
    from_->clear();
    for (const std::string& sender : f.senders) from_->addItem(toDisplay(sender));
    from_->setCurrentIndex(f.sender);
    to_->setText(toDisplay(f.to));
    cc_->setText(toDisplay(f.cc));
    bcc_->setChecked(f.bcc);
    subject_->setText(toDisplay(f.subject));
    if (!reading_) {
        body_->setPlainText(linesToDisplay(f.body));
        QTextCursor c = body_->textCursor();
        c.setPosition(std::min<int>(
            static_cast<int>(
                linesToDisplay(f.body.substr(0, std::min(f.caret, f.body.size()))).size()),
            static_cast<int>(body_->toPlainText().size())));
        body_->setTextCursor(c);
    }
    attach_->clear();
    for (const EmailAttachmentRow& row : f.attachments) attach_->addItem(toDisplay(row.Name));
    setWindowTitle(toDisplay(email_->Caption()));
    showing_ = false;
}

void EmailWindow::SetupForReading() {
    reading_ = true;
    stack_->setCurrentWidget(reader_);
    for (QAction* a : writingActions_) a->setVisible(false);
    for (QAction* a : readingActions_) a->setVisible(true);
}

void EmailWindow::SetupForWriting() {
    reading_ = false;
    stack_->setCurrentIndex(0);
    for (QAction* a : writingActions_) a->setVisible(true);
    for (QAction* a : readingActions_) a->setVisible(false);
}

void EmailWindow::ShowStatus(const std::string& text) {
    statusBar()->showMessage(toDisplay(text));
}

void EmailWindow::SetBusy(bool busy) {
    if (busy)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

void EmailWindow::ShowSpeechEntries(bool visible) {
    for (QAction* a : speechActions_) a->setVisible(visible);
}

void EmailWindow::CloseView() {
    // After the command that sent the message has returned.
    QTimer::singleShot(0, this, &QWidget::close);
}

std::vector<std::string> EmailWindow::ChooseFiles(const std::string& title,
                                                  const std::string& startFolder) {
    // Without a folder of its own the chooser opens where the last one was
    // left, for as long as the program runs; nothing of it is saved.
    static QString lastFolder;
    const QStringList chosen = QFileDialog::getOpenFileNames(
        this, toDisplay(title),
        startFolder.empty() ? lastFolder : QString::fromStdString(startFolder));
    std::vector<std::string> files;
    for (const QString& file : chosen) files.push_back(file.toStdString());
    if (!chosen.isEmpty()) lastFolder = QFileInfo(chosen.front()).absolutePath();
    return files;
}

bool EmailWindow::SelectContact(std::string& name, std::string& address) {
    return selectContact(this, name, address);
}

void EmailWindow::OpenPart(int part) {
    (void)part; // the reader's pane opens its attachments itself
}

void EmailWindow::PrintMessage() {
    if (auto* pane = dynamic_cast<MessagePreviewPane*>(reader_)) pane->print();
}

void EmailWindow::closeEvent(QCloseEvent* event) {
    if (email_->QueryUnload())
        event->accept();
    else
        event->ignore();
}

bool EmailWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return QMainWindow::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);
    if (watched == attach_ && key->key() == Qt::Key_Delete) {
        std::vector<size_t> rows;
        for (const QModelIndex& index : attach_->selectionModel()->selectedRows())
            rows.push_back(static_cast<size_t>(index.row()));
        email_->RemoveAttachments(rows);
        return true;
    }
    if (watched != body_) return QMainWindow::eventFilter(watched, event);
    const bool alt = key->modifiers() & Qt::AltModifier;
    const bool ctrlS = (key->modifiers() & Qt::ControlModifier) && key->key() == Qt::Key_S;
    const int digit =
        key->key() >= Qt::Key_0 && key->key() <= Qt::Key_9 ? key->key() - Qt::Key_0 : -1;
    if (ctrlS || (alt && digit >= 0)) {
        readBody();
        if (email_->TB1_KeyDown(digit, alt, ctrlS)) return true;
    }
    if (!key->text().isEmpty() || key->key() == Qt::Key_Backspace || key->key() == Qt::Key_Delete)
        email_->TB1_KeyPress();
    return QMainWindow::eventFilter(watched, event);
}

EmailWindow* openEmailWindow(const EmailRequest& request, frmEmailEvents* events, QWidget* parent) {
    auto* window = new EmailWindow(events, parent);
    if (!window->email().Open(request)) {
        delete window;
        return nullptr;
    }
    if (request.kind == EmailRequest::Kind::Read) {
        if (auto* pane = dynamic_cast<MessagePreviewPane*>(window->readerPane()))
            pane->showMessage(request.path);
    }
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

EmailWindow* openReaderWindow(const clsMessage& message, QWidget* parent) {
    auto* window = new EmailWindow(nullptr, parent);
    auto copy = std::make_shared<clsMessage>(message);
    window->email().ReadMessage(copy);
    if (auto* pane = dynamic_cast<MessagePreviewPane*>(window->readerPane()))
        pane->display().showMessage(copy);
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

std::string EmailWindow::SelectedText() {
    if (auto* pane = dynamic_cast<MessagePreviewPane*>(reader_); pane && reading_)
        return linesFromDisplay(pane->textBox()->textCursor().selectedText().replace(
            QChar::ParagraphSeparator, QLatin1Char('\n')));
    return linesFromDisplay(
        body_->textCursor().selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n')));
}

void EmailWindow::OpenTicket(const clsMessage& message, const std::string& text) {
    // The ticket window keeps the wrapper it spools through for as long as it is open.
    if (!ticketWrapper_) ticketWrapper_ = std::make_unique<frmSendMailWrapper>();
    OpenTicketForMessage(message, text, *ticketWrapper_, this);
}

} // namespace corva::ui
