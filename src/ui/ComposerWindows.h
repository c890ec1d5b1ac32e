// The composer's two small setup windows: the numbered text shortcuts that
// Alt with a digit types, and the signature editor of one mail folder.
#pragma once

#include "mailer/frmShortcuts.h"
#include "mailer/modSignatures.h"

#include <QDialog>

#include <array>
#include <string>

class QLineEdit;
class QPlainTextEdit;

namespace corva::ui {

// A text with CRLF line ends as the text controls show it, and back: the
// controls keep one line end, the files and the logic CRLF.
QString linesToDisplay(const std::string& text);
std::string linesFromDisplay(const QString& text);

class ShortcutsWindow : public QDialog {
    Q_OBJECT
public:
    explicit ShortcutsWindow(QWidget* parent = nullptr);
    QLineEdit* field(int entry) const { return fields_.at(static_cast<size_t>(entry - 1)); }
    // "OK": the texts go into the settings.
    void save();

private:
    frmShortcuts logic_;
    std::array<QLineEdit*, frmShortcuts::Count> fields_{};
};

class SignatureWindow : public QDialog {
    Q_OBJECT
public:
    SignatureWindow(const std::string& folder, QWidget* parent = nullptr);
    frmSig& sig() { return logic_; }
    QPlainTextEdit* text() const { return text_; }

    // The buttons; OK closes the window once the file is written.
    void ok();
    void readDefault();
    void setAsDefault();

private:
    void readText();
    void showText();

    frmSig logic_;
    std::string folder_;
    QPlainTextEdit* text_ = nullptr;
};

} // namespace corva::ui
