#include "ui/MailerPreview.h"

#include "message/clsMessage.h"
#include "ui/DisplayText.h"
#include "ui/EmailWindow.h"
#include "ui/MessagePreviewPane.h"

#include <QTextEdit>
#include <QVBoxLayout>

#include <memory>

namespace corva::ui {

namespace {

MessagePreviewPane* pane(QWidget* widget) {
    return dynamic_cast<MessagePreviewPane*>(widget);
}

} // namespace

void showInReader(QWidget* parent, const clsMessage& message) {
    openReaderWindow(message, parent)->setObjectName(QStringLiteral("reader"));
}

QWidget* makePreviewWidget(QWidget* parent) {
    auto* p = new MessagePreviewPane(parent);
    p->setObjectName(QStringLiteral("preview"));
    p->setComposer([](const std::string& address) {
        EmailRequest request;
        request.to = address;
        openEmailWindow(request, nullptr);
    });
    return p;
}

void showInPreview(QWidget* widget, const clsMessage* message) {
    MessagePreviewPane* p = pane(widget);
    if (!p) return;
    if (!message)
        p->clear();
    else
        p->display().showMessage(std::make_shared<clsMessage>(*message));
}

std::string previewSelectedText(QWidget* widget) {
    MessagePreviewPane* p = pane(widget);
    return p ? fromDisplay(p->textBox()->textCursor().selectedText().replace(QChar(0x2029), "\r\n"))
             : "";
}

QString previewShownText(QWidget* widget) {
    MessagePreviewPane* p = pane(widget);
    if (!p) return QString();
    QStringList shown = p->headerLines();
    shown.append(QString());
    shown.append(p->textBox()->toPlainText());
    return shown.join(QLatin1Char('\n'));
}

void printPreviewed(QWidget* widget) {
    if (MessagePreviewPane* p = pane(widget)) p->print();
}

void viewPreviewedSource(QWidget* widget) {
    if (MessagePreviewPane* p = pane(widget)) p->display().mnuviewsource_click();
}

} // namespace corva::ui
