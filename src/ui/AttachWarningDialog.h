// The attachment question as a dialog: save or run, with the warning frames
// the logic chose for the file's kind.
#pragma once

#include "mailer/frmAttachWarning.h"

#include <QDialog>

class QRadioButton;

namespace corva::ui {

class AttachWarningDialog : public QDialog {
    Q_OBJECT
public:
    explicit AttachWarningDialog(const AttachWarningForm& form, QWidget* parent = nullptr);
    AttachAnswer answer() const;

    // Shows the dialog modally and gives the answer.
    static AttachAnswer ask(const AttachWarningForm& form, QWidget* parent);

    QRadioButton* optSaveToDisk;
    QRadioButton* optRun;
};

} // namespace corva::ui
