#include "ui/ComposerWindows.h"

#include "core/Strings.h"
#include "localise/modLanguages.h"
#include "platform/Platform.h"
#include "ui/DisplayText.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace corva::ui {

QString linesToDisplay(const std::string& text) {
    std::string lines;
    lines.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r') {
            lines += '\n';
            if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
        } else {
            lines += text[i];
        }
    }
    return toDisplay(lines);
}

std::string linesFromDisplay(const QString& text) {
    return Replace(fromDisplay(text), "\n", "\r\n");
}

ShortcutsWindow::ShortcutsWindow(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmShortcuts"));
    setWindowTitle(QStringLiteral("Setup Shortcut Keys"));
    logic_.Form_Load();
    auto* layout = new QVBoxLayout(this);
    auto* hint = new QLabel(
        QStringLiteral("While writing, Alt+1 to Alt+9 put shortcuts 1 to 9 in at the caret."),
        this);
    hint->setWordWrap(true);
    layout->addWidget(hint);
    auto* form = new QFormLayout();
    for (int entry = 1; entry <= frmShortcuts::Count; ++entry) {
        auto* edit = new QLineEdit(toDisplay(logic_.Text(entry)), this);
        edit->setObjectName(QStringLiteral("txtShortcut%1").arg(entry));
        edit->setMinimumWidth(320);
        fields_[static_cast<size_t>(entry - 1)] = edit;
        form->addRow(QStringLiteral("Shortcut %1:").arg(entry), edit);
    }
    layout->addLayout(form);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        save();
        accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

void ShortcutsWindow::save() {
    for (int entry = 1; entry <= frmShortcuts::Count; ++entry)
        logic_.setText(entry, fromDisplay(field(entry)->text()));
    logic_.cmdOK_Click();
}

SignatureWindow::SignatureWindow(const std::string& folder, QWidget* parent)
    : QDialog(parent), logic_(folder), folder_(folder) {
    setObjectName(QStringLiteral("frmSig"));
    setWindowTitle(QStringLiteral("Signature"));
    resize(520, 300);
    auto* layout = new QVBoxLayout(this);
    // The file's path, which is no text to translate.
    auto* where = new QLineEdit(toDisplay(folderSignaturePath(folder)), this);
    where->setReadOnly(true);
    where->setFrame(false);
    layout->addWidget(where);
    text_ = new QPlainTextEdit(this);
    text_->setObjectName(QStringLiteral("txtSig"));
    layout->addWidget(text_, 1);
    auto* row = new QHBoxLayout();
    auto button = [&](const QString& caption, const char* name, void (SignatureWindow::*click)()) {
        auto* b = new QPushButton(caption, this);
        b->setObjectName(QString::fromLatin1(name));
        b->setAutoDefault(false);
        connect(b, &QPushButton::clicked, this, click);
        row->addWidget(b);
        return b;
    };
    button(QStringLiteral("Read Default"), "cmdReadDefault", &SignatureWindow::readDefault);
    button(QStringLiteral("Set as Default"), "cmdSetDefault", &SignatureWindow::setAsDefault);
    row->addStretch(1);
    button(QStringLiteral("OK"), "cmdOK", &SignatureWindow::ok)->setDefault(true);
    button(QStringLiteral("Cancel"), "cmdCancel", &QDialog::reject);
    layout->addLayout(row);
    showText();
}

void SignatureWindow::readText() {
    logic_.Text = linesFromDisplay(text_->toPlainText());
}

void SignatureWindow::showText() {
    text_->setPlainText(linesToDisplay(logic_.Text));
}

void SignatureWindow::ok() {
    readText();
    if (logic_.cmdOK_Click()) {
        accept();
        return;
    }
    platform::current().prompts().messageBox(
        gettranslation("The signature could not be saved in ") + folderSignaturePath(folder_),
        platform::Buttons::Ok, platform::Icon::Exclamation);
}

void SignatureWindow::readDefault() {
    logic_.cmdReadDefault_Click();
    showText();
}

void SignatureWindow::setAsDefault() {
    readText();
    logic_.cmdSetDefault_Click();
}

} // namespace corva::ui
