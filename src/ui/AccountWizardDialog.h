// The first-run wizard: four short pages that get account 0 working. The
// password is not asked here: the first connection asks and can remember it.
#pragma once

#include "cycle/frmSettings.h"

#include <QWizard>

class QComboBox;
class QLabel;

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
    // Tries the secure choices on the servers typed and shows what it found.
    void findSecureSettings();

private:
    bool finished_ = false;
    QComboBox* popSecurity_ = nullptr;
    QComboBox* smtpSecurity_ = nullptr;
    QLabel* found_ = nullptr;
};

} // namespace corva::ui
