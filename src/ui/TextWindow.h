// A plain window for text: a message's source, a message read on the server,
// the log, a breakdown. Read-only, monospaced where that helps.
#pragma once

#include <QDialog>

class QPlainTextEdit;

namespace corva::ui {

class TextWindow : public QDialog {
    Q_OBJECT
public:
    TextWindow(const QString& title, const QString& text, QWidget* parent = nullptr);
    void setText(const QString& text);
    // Source and lists keep their lines; a message read wraps them.
    void setWordWrap(bool wrap);
    QString text() const;

private:
    QPlainTextEdit* edit_;
};

} // namespace corva::ui
