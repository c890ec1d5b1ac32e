// The first-run wizard: four short pages that get account 0 working. The
// password is not asked here: the first connection asks and can remember it.
#pragma once

#include "cycle/frmSettings.h"

#include <QWizard>

class QLineEdit;

namespace corva::ui {

class AccountWizardDialog : public QWizard {
    Q_OBJECT
public:
    explicit AccountWizardDialog(QWidget* parent = nullptr);
    bool validateCurrentPage() override;
    void accept() override;
    void reject() override;
    QLineEdit* field(const QString& name) const;
    WizardFields fields() const;
    bool finished() const { return finished_; }

private:
    bool finished_ = false;
};

} // namespace corva::ui
