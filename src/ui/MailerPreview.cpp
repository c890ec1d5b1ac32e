#include "ui/MailerPreview.h"

#include "message/clsMessage.h"
#include "message/modMIME.h"
#include "platform/Platform.h"
#include "ui/DisplayText.h"

#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace corva::ui {

namespace {

// Until the full message display is in place the pane is plain text: the
// header strip, then the message's plain text.
class PlainPreview : public QPlainTextEdit {
public:
    explicit PlainPreview(QWidget* parent) : QPlainTextEdit(parent) {
        setReadOnly(true);
        setObjectName(QStringLiteral("preview"));
    }
    std::string raw;
};

PlainPreview* plain(QWidget* pane) {
    return dynamic_cast<PlainPreview*>(pane);
}

class ReaderWindow : public QWidget {
public:
    ReaderWindow(const clsMessage& message, QWidget* parent) : QWidget(parent, Qt::Window) {
        setAttribute(Qt::WA_DeleteOnClose);
        setWindowTitle(toDisplay(message.Subject));
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        pane_ = makePreviewWidget(this);
        layout->addWidget(pane_);
        showInPreview(pane_, &message);
        resize(720, 560);
    }
    QWidget* pane_;
};

} // namespace

void showInReader(QWidget* parent, const clsMessage& message) {
    auto* reader = new ReaderWindow(message, parent);
    reader->setObjectName(QStringLiteral("reader"));
    reader->show();
}

QWidget* makePreviewWidget(QWidget* parent) {
    return new PlainPreview(parent);
}

void showInPreview(QWidget* pane, const clsMessage* message) {
    PlainPreview* p = plain(pane);
    if (!p) return;
    if (!message) {
        p->raw.clear();
        p->clear();
        return;
    }
    p->raw = message->RawMessage();
    std::string text = "From: " + message->From + "\nTo: " + message->To_Email +
                       "\nDate: " + message->SendDate + "\nSubject: " + message->Subject + "\n\n" +
                       extractplainmessage(*message);
    p->setPlainText(toDisplay(text));
}

std::string previewSelectedText(QWidget* pane) {
    PlainPreview* p = plain(pane);
    return p ? fromDisplay(p->textCursor().selectedText().replace(QChar(0x2029), "\r\n")) : "";
}

QString previewShownText(QWidget* pane) {
    PlainPreview* p = plain(pane);
    return p ? p->toPlainText() : QString();
}

void printPreviewed(QWidget*) {
    platform::current().prompts().messageBox("Work in progress - should be in the next version.");
}

void viewPreviewedSource(QWidget*) {
    platform::current().prompts().messageBox("Work in progress - should be in the next version.");
}

} // namespace corva::ui
