// The attachment question's window; the logic decides which frames show.
#include "ui/AttachWarningDialog.h"

#include "ui/DisplayText.h"

#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>

namespace corva::ui {

namespace {
QGroupBox* frame(const QString& title, const QString& text, QWidget* parent) {
    auto* box = new QGroupBox(title, parent);
    auto* label = new QLabel(text, box);
    label->setWordWrap(true);
    auto* layout = new QVBoxLayout(box);
    layout->addWidget(label);
    return box;
}
} // namespace

AttachWarningDialog::AttachWarningDialog(const AttachWarningForm& form, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(QStringLiteral("Opening attachment"));
    auto* layout = new QVBoxLayout(this);
    auto* name =
        new QLabel(QStringLiteral("<b>%1</b>").arg(toDisplay(form.name).toHtmlEscaped()), this);
    layout->addWidget(name);
    if (form.FrameExe)
        layout->addWidget(frame(QStringLiteral("Program file"),
                                QStringLiteral("This kind of file runs as a program and can harm "
                                               "your computer. It can only be saved to disk."),
                                this));
    if (form.FrameNonExe)
        layout->addWidget(frame(QStringLiteral("What do you want to do with this file?"),
                                QStringLiteral("You can open it with the program your desktop "
                                               "uses for its kind, or save it to disk."),
                                this));
    if (form.FrameWarning)
        layout->addWidget(frame(QStringLiteral("Warning"),
                                QStringLiteral("Attachments can hold viruses. Only open files "
                                               "from people you trust and that you expected."),
                                this));
    optRun = new QRadioButton(QStringLiteral("Open it"), this);
    optSaveToDisk = new QRadioButton(QStringLiteral("Save it to disk"), this);
    optRun->setEnabled(form.optRunEnabled);
    optSaveToDisk->setChecked(form.optSaveToDisk);
    optRun->setChecked(!form.optSaveToDisk && form.optRunEnabled);
    layout->addWidget(optRun);
    layout->addWidget(optSaveToDisk);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

AttachAnswer AttachWarningDialog::answer() const {
    if (result() != QDialog::Accepted) return AttachAnswer::Cancel;
    if (optRun->isChecked() && optRun->isEnabled()) return AttachAnswer::Run;
    return optSaveToDisk->isChecked() ? AttachAnswer::Save : AttachAnswer::Cancel;
}

AttachAnswer AttachWarningDialog::ask(const AttachWarningForm& form, QWidget* parent) {
    AttachWarningDialog dialog(form, parent);
    dialog.exec();
    return dialog.answer();
}

} // namespace corva::ui
