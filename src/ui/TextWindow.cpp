#include "ui/TextWindow.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace corva::ui {

TextWindow::TextWindow(const QString& title, const QString& text, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    edit_ = new QPlainTextEdit;
    edit_->setReadOnly(true);
    edit_->setLineWrapMode(QPlainTextEdit::NoWrap);
    edit_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    edit_->setPlainText(text);
    layout->addWidget(edit_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    resize(720, 520);
}

void TextWindow::setText(const QString& text) {
    edit_->setPlainText(text);
}
void TextWindow::setWordWrap(bool wrap) {
    edit_->setLineWrapMode(wrap ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
}

QString TextWindow::text() const {
    return edit_->toPlainText();
}

} // namespace corva::ui
