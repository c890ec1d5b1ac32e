#include "ui/AccountWizardDialog.h"

#include "platform/Platform.h"
#include "ui/DisplayText.h"
#include "ui/Icons.h"

#include <QFormLayout>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QVBoxLayout>
#include <QWizardPage>

namespace corva::ui {

namespace {

QWizardPage* makePage(const QString& title, const QString& text,
                      std::initializer_list<std::pair<QString, QString>> rows) {
    auto* p = new QWizardPage;
    p->setTitle(title);
    p->setSubTitle(text);
    auto* layout = new QVBoxLayout(p);
    auto* form = new QFormLayout;
    for (const auto& [name, caption] : rows) {
        auto* e = new QLineEdit;
        e->setObjectName(name);
        form->addRow(caption, e);
    }
    layout->addLayout(form);
    layout->addStretch();
    return p;
}

// The header puts its logo against the window's edge; a transparent border
// gives it the margin the text has.
QPixmap paddedLogo() {
    QPixmap logo(56, 56);
    logo.fill(Qt::transparent);
    QPainter p(&logo);
    appIcon().paint(&p, QRect(4, 8, 40, 40));
    return logo;
}

} // namespace

AccountWizardDialog::AccountWizardDialog(QWidget* parent) : QWizard(parent) {
    setWindowTitle(QStringLiteral("Corva - New Account"));
    setWindowIcon(appIcon());
    setWizardStyle(QWizard::ModernStyle);
    setButtonText(QWizard::NextButton, QStringLiteral("Next >>"));
    setButtonText(QWizard::FinishButton, QStringLiteral("Finish"));
    setPixmap(QWizard::LogoPixmap, paddedLogo());
    resize(560, 380);
    addPage(makePage(
        QStringLiteral("You"),
        QStringLiteral("Welcome to Corva. Tell it who you are: the name people see on your "
                       "mail, and your address."),
        {{"UserName", QStringLiteral("Your name:")},
         {"EmailAddress", QStringLiteral("Email address:")}}));
    addPage(makePage(
        QStringLiteral("Servers"),
        QStringLiteral("The servers your mail provider gave you: POP3 for incoming mail, SMTP for "
                       "outgoing. Write host:port for a port other than 110."),
        {{"InboundServer", QStringLiteral("Incoming (POP3):")},
         {"OutboundServer", QStringLiteral("Outgoing (SMTP):")}}));
    addPage(makePage(
        QStringLiteral("Login"),
        QStringLiteral("The user name you log into your mail server with. Corva asks for the "
                       "password the first time it connects, and can remember it."),
        {{"LoginName", QStringLiteral("User name:")}}));
    addPage(makePage(QStringLiteral("Title"),
                     QStringLiteral("A short title for this account, shown in every list."),
                     {{"Title", QStringLiteral("Title:")}}));
    connect(this, &QWizard::currentIdChanged, this, [this](int id) {
        if (id == frmAccountWizard::PageCount - 1 && field("Title")->text().isEmpty())
            field("Title")->setText(toDisplay(frmAccountWizard::ProposedTitle(fields())));
    });
}

QLineEdit* AccountWizardDialog::field(const QString& name) const {
    return findChild<QLineEdit*>(name);
}

WizardFields AccountWizardDialog::fields() const {
    WizardFields f;
    f.UserName = fromDisplay(field("UserName")->text());
    f.EmailAddress = fromDisplay(field("EmailAddress")->text());
    f.InboundServer = fromDisplay(field("InboundServer")->text());
    f.OutboundServer = fromDisplay(field("OutboundServer")->text());
    f.LoginName = fromDisplay(field("LoginName")->text());
    f.Title = fromDisplay(field("Title")->text());
    return f;
}

bool AccountWizardDialog::validateCurrentPage() {
    std::string problem = frmAccountWizard::PageProblem(currentId(), fields());
    if (problem.empty()) return true;
    platform::current().prompts().messageBox(problem, platform::Buttons::Ok,
                                             platform::Icon::Exclamation, "Account Wizard");
    return false;
}

void AccountWizardDialog::accept() {
    // Finish tests the last page before anything is written, as Next does.
    if (!validateCurrentPage()) return;
    frmAccountWizard::Finish(fields());
    finished_ = true;
    QWizard::accept();
}

void AccountWizardDialog::reject() {
    if (frmAccountWizard::ConfirmCancel()) QWizard::reject();
}

} // namespace corva::ui
