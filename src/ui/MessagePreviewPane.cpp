// The preview pane's window. Positions cross between the logic's UTF-8 bytes
// and Qt's UTF-16 units here, and nowhere else.
#include "ui/MessagePreviewPane.h"

#include "ui/AttachWarningDialog.h"
#include "ui/DisplayText.h"
#include "ui/LanguageWalker.h"

#include <QAction>
#include <QFileDialog>
#include <QFontMetrics>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextEdit>
#include <QToolBar>
#include <QVBoxLayout>

namespace corva::ui {

namespace {

QString fromUtf8(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// Walks UTF-8 text once, turning ascending byte offsets into UTF-16
// positions; converting each offset from the start would be quadratic.
class Utf16Positions {
public:
    explicit Utf16Positions(const std::string& text) : text_(text) {}
    int at(size_t offset) {
        while (byte_ < offset && byte_ < text_.size()) {
            auto c = static_cast<unsigned char>(text_[byte_]);
            size_t length = c < 0x80         ? 1
                            : (c >> 5) == 6  ? 2
                            : (c >> 4) == 14 ? 3
                            : (c >> 3) == 30 ? 4
                                             : 1;
            units_ += length == 4 ? 2 : 1;
            byte_ += length;
        }
        return units_;
    }

private:
    const std::string& text_;
    size_t byte_ = 0;
    int units_ = 0;
};

} // namespace

MessagePreviewPane::MessagePreviewPane(QWidget* parent) : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto* top = new QWidget(this);
    auto* topLayout = new QHBoxLayout(top);
    topLayout->setContentsMargins(4, 2, 2, 2);
    strip_ = new QWidget(top);
    strip_->setObjectName(QStringLiteral("picMailHeader"));
    auto* stripLayout = new QVBoxLayout(strip_);
    stripLayout->setContentsMargins(0, 0, 0, 0);
    stripLayout->setSpacing(1);
    for (int i = 0; i < 2; ++i) {
        auto* label = new QLabel(strip_);
        label->setTextFormat(Qt::PlainText);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        // A long line must not widen the window; the logic shortens it instead.
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        if (i == 1) {
            QFont bold = label->font();
            bold.setBold(true);
            label->setFont(bold);
        }
        stripLayout->addWidget(label);
        lines_.append(label);
    }
    warning_ = new QLabel(strip_);
    warning_->setTextFormat(Qt::PlainText);
    warning_->setStyleSheet(QStringLiteral("color: red;"));
    warning_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    warning_->hide();
    stripLayout->addWidget(warning_);
    topLayout->addWidget(strip_, 1);

    toolbar_ = new QToolBar(QStringLiteral("Toolbar2"), top);
    toolbar_->setObjectName(QStringLiteral("Toolbar2"));
    toolbar_->setToolButtonStyle(Qt::ToolButtonTextOnly);
    attachMenu_ = new QMenu(this);
    attachAction_ = toolbar_->addAction(QStringLiteral("Attachments"));
    attachAction_->setObjectName(QStringLiteral("attachments"));
    attachAction_->setToolTip(QStringLiteral("Open or save the message's attachments"));
    attachAction_->setMenu(attachMenu_);
    connect(attachAction_, &QAction::triggered, this,
            [this] { attachMenu_->popup(toolbar_->mapToGlobal(toolbar_->rect().bottomLeft())); });
    warningAction_ = toolbar_->addAction(QStringLiteral("[!]"));
    warningAction_->setObjectName(QStringLiteral("warning"));
    warningAction_->setToolTip(QStringLiteral("Why this message looks suspicious"));
    connect(warningAction_, &QAction::triggered, this, [this] { display_->showchar1warning(); });
    topLayout->addWidget(toolbar_, 0, Qt::AlignTop);
    layout->addWidget(top);

    text_ = new QTextEdit(this);
    text_->setObjectName(QStringLiteral("txtMessage"));
    text_->setReadOnly(true);
    text_->setAcceptRichText(false);
    text_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(text_, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        QMenu* menu = text_->createStandardContextMenu(at);
        menu->addSeparator();
        menu->addAction(QStringLiteral("View source"), this,
                        [this] { display_->mnuviewsource_click(); });
        menu->addAction(QStringLiteral("Print..."), this, [this] { print(); });
        menu->addAction(QStringLiteral("Print preview..."), this, [this] { printPreview(); });
        menu->exec(text_->viewport()->mapToGlobal(at));
        delete menu;
    });
    text_->viewport()->installEventFilter(this);
    text_->viewport()->setMouseTracking(true);
    layout->addWidget(text_, 1);

    display_ = std::make_unique<MessageDisplay>(*this);
    display_->clear();
}

MessagePreviewPane::~MessagePreviewPane() = default;

void MessagePreviewPane::showMessage(const std::string& path) {
    display_->MessagePreview(path);
}

void MessagePreviewPane::clear() {
    display_->clear();
}

void MessagePreviewPane::setComposer(std::function<void(const std::string&)> compose) {
    display_->setComposer(std::move(compose));
}

bool MessagePreviewPane::print() {
    return display_->printMessage(platform::PrintTarget::Printer) > 0;
}

bool MessagePreviewPane::printPreview() {
    return display_->printMessage(platform::PrintTarget::Preview) > 0;
}

bool MessagePreviewPane::printToPdf(const std::string& path) {
    return display_->printMessage(platform::PrintTarget::Pdf, path) > 0;
}

QStringList MessagePreviewPane::headerLines() const {
    QStringList lines;
    for (QLabel* label : lines_)
        if (!label->text().isEmpty()) lines.append(label->text());
    return lines;
}

bool MessagePreviewPane::headerLineFits(const std::string& line) {
    int width = strip_->width();
    // Before the pane is laid out nothing can be measured; the full line it is.
    if (width <= 0 || !isVisible()) return true;
    return QFontMetrics(lines_[0]->font()).horizontalAdvance(fromUtf8(line)) <= width;
}

void MessagePreviewPane::showHeader(const std::vector<std::string>& lines,
                                    const std::string& warningLine) {
    for (int i = 0; i < lines_.size(); ++i)
        lines_[i]->setText(static_cast<size_t>(i) < lines.size() ? fromUtf8(lines[i]) : QString());
    warning_->setText(fromUtf8(warningLine));
    warning_->setVisible(!warningLine.empty());
}

void MessagePreviewPane::showText(const std::string& text, const std::vector<TextRange>& links) {
    shownText_ = text;
    text_->setUpdatesEnabled(false);
    text_->setPlainText(fromUtf8(text));
    QTextCharFormat underline;
    underline.setFontUnderline(true);
    underline.setForeground(palette().color(QPalette::Link));
    QTextCursor cursor(text_->document());
    cursor.beginEditBlock();
    Utf16Positions position(text);
    for (const TextRange& range : links) {
        cursor.setPosition(position.at(range.start));
        cursor.setPosition(position.at(range.start + range.length), QTextCursor::KeepAnchor);
        cursor.mergeCharFormat(underline);
    }
    cursor.endEditBlock();
    text_->setUpdatesEnabled(true);
    text_->moveCursor(QTextCursor::Start);
    text_->ensureCursorVisible();
}

void MessagePreviewPane::setAttachmentMenu(const std::vector<std::string>& entries) {
    entries_ = entries;
    buildAttachmentMenu();
}

void MessagePreviewPane::buildAttachmentMenu() {
    attachMenu_->clear();
    for (size_t i = 0; i < entries_.size(); ++i)
        attachMenu_->addAction(fromUtf8(entries_[i]), this,
                               [this, i] { display_->OpenAttachment(i); });
    if (entries_.empty()) return;
    attachMenu_->addSeparator();
    attachMenu_->addAction(QStringLiteral("Save all..."), this,
                           [this] { display_->mnusaveattach_click(); });
    attachMenu_->addAction(QStringLiteral("View source"), this,
                           [this] { display_->mnuviewsource_click(); });
}

void MessagePreviewPane::setButtonVisible(const std::string& key, bool visible) {
    if (key == "attachments") attachAction_->setVisible(visible);
    if (key == "warning") warningAction_->setVisible(visible);
}

std::optional<std::string> MessagePreviewPane::askSavePath(const std::string& defaultName) {
    QString path = QFileDialog::getSaveFileName(this, translated(QStringLiteral("Save attachment")),
                                                fromUtf8(defaultName));
    if (path.isEmpty()) return std::nullopt;
    return path.toStdString();
}

std::optional<std::string> MessagePreviewPane::askFolder(const std::string& title,
                                                         const std::string& text) {
    QFileDialog dialog(this, fromUtf8(title));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setLabelText(QFileDialog::Accept, translated(QStringLiteral("Save")));
    dialog.setToolTip(fromUtf8(text));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    return dialog.selectedFiles().front().toStdString();
}

void MessagePreviewPane::openReader(const std::string& path) {
    auto* reader = new MessagePreviewPane();
    reader->setAttribute(Qt::WA_DeleteOnClose);
    reader->setWindowTitle(QStringLiteral("Attached message"));
    reader->resize(700, 500);
    reader->show();
    reader->showMessage(path);
    reader->setWindowTitle(reader->lines_[1]->text());
}

AttachAnswer MessagePreviewPane::showAttachWarning(const AttachWarningForm& form) {
    return AttachWarningDialog::ask(form, this);
}

void MessagePreviewPane::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (display_) display_->refitHeader();
}

bool MessagePreviewPane::eventFilter(QObject* watched, QEvent* event) {
    if (watched == text_->viewport() &&
        (event->type() == QEvent::MouseButtonRelease || event->type() == QEvent::MouseMove)) {
        auto* mouse = static_cast<QMouseEvent*>(event);
        QTextCursor cursor = text_->cursorForPosition(mouse->position().toPoint());
        // The character under the pointer, not the gap before it.
        QTextCursor next(cursor);
        next.movePosition(QTextCursor::NextCharacter);
        bool onLink = next.charFormat().fontUnderline();
        if (event->type() == QEvent::MouseMove) {
            text_->viewport()->setCursor(onLink ? Qt::PointingHandCursor : Qt::IBeamCursor);
        } else if (onLink && mouse->button() == Qt::LeftButton &&
                   !text_->textCursor().hasSelection()) {
            QString before = text_->toPlainText().left(cursor.position());
            display_->txtMessage_MouseUp(static_cast<size_t>(before.toUtf8().size()));
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace corva::ui
