// The settings dialog: the global options, the 20 accounts and the folders.
// frmSettings holds the fields and runs OK's tests; this window shows them.
#pragma once

#include "cycle/frmSettings.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QListWidget;
class QSpinBox;

namespace corva::ui {

class SettingsDialog : public QDialog {
    Q_OBJECT
public:
    explicit SettingsDialog(QWidget* parent = nullptr);
    // OK: true when the settings were stored and the dialog closed.
    bool confirm();
    frmSettings& logic() { return logic_; }
    // Fields by their object names, for tests and screenshots.
    QLineEdit* field(const QString& name) const;
    QCheckBox* box(const QString& name) const;
    void selectAccount(int index);
    // The security choices (0 none, 1 SSL/TLS, 2 STARTTLS), for tests.
    QComboBox* popSecurity() const { return popSecurity_; }
    QComboBox* smtpSecurity() const { return smtpSecurity_; }

private:
    QWidget* buildAccountsPage();
    QWidget* buildCheckingPage();
    QWidget* buildDisplayPage();
    QWidget* buildFoldersPage();
    QLineEdit* addLine(const QString& name);
    QLineEdit* addNumber(const QString& name);
    QCheckBox* addBox(const QString& name, const QString& caption);
    void showGlobals(const GlobalFields& g);
    GlobalFields readGlobals() const;
    void showAccount(const AccountFields& a);
    AccountFields readAccount() const;

    frmSettings logic_;
    QListWidget* accounts_ = nullptr;
    QComboBox* language_ = nullptr;
    QComboBox* firstWindow_ = nullptr;
    QComboBox* popSecurity_ = nullptr;
    QComboBox* smtpSecurity_ = nullptr;
    // While an account is being shown, a security change proposes no port.
    bool showing_ = false;
    int shownAccount_ = 0;
};

} // namespace corva::ui
