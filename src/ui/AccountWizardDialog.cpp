#include "ui/AccountWizardDialog.h"

#include "localise/modLanguages.h"
#include "platform/Platform.h"
#include "ui/DisplayText.h"
#include "ui/Icons.h"
#include "ui/LanguageWalker.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
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
    QWizardPage* servers = makePage(
        QStringLiteral("Servers"),
        QStringLiteral("The servers your mail provider gave you: POP3 for incoming mail, SMTP for "
                       "outgoing. Write host:port for a port other than the usual one."),
        {{"InboundServer", QStringLiteral("Incoming (POP3):")},
         {"OutboundServer", QStringLiteral("Outgoing (SMTP):")}});
    auto* form = servers->findChild<QFormLayout*>();
    auto choice = [](const char* name) {
        auto* c = new QComboBox;
        c->setObjectName(QString::fromLatin1(name));
        c->addItems(
            {QStringLiteral("None"), QStringLiteral("SSL/TLS"), QStringLiteral("STARTTLS")});
        return c;
    };
    popSecurity_ = choice("POPSECURITY");
    smtpSecurity_ = choice("SMTPSECURITY");
    form->addRow(QStringLiteral("Incoming security:"), popSecurity_);
    form->addRow(QStringLiteral("Outgoing security:"), smtpSecurity_);
    auto* find = new QPushButton(QStringLiteral("Find secure settings"));
    find->setObjectName(QStringLiteral("cmdFindSecure"));
    found_ = new QLabel;
    found_->setWordWrap(true);
    form->addRow(find, found_);
    connect(find, &QPushButton::clicked, this, [this] { findSecureSettings(); });
    addPage(servers);
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
    f.PopSecurity = popSecurity_->currentIndex();
    f.SmtpSecurity = smtpSecurity_->currentIndex();
    return f;
}

void AccountWizardDialog::findSecureSettings() {
    found_->setText(translated(QStringLiteral("Trying the secure choices...")));
    setCursor(Qt::BusyCursor);
    const SecurityProposal p = frmAccountWizard::ProposeSecurity(fields(), 5000);
    unsetCursor();
    field("InboundServer")->setText(toDisplay(p.InboundServer));
    field("OutboundServer")->setText(toDisplay(p.OutboundServer));
    popSecurity_->setCurrentIndex(p.PopSecurity);
    smtpSecurity_->setCurrentIndex(p.SmtpSecurity);
    const QString names[] = {translated(QStringLiteral("no secure connection")),
                             QStringLiteral("SSL/TLS"), QStringLiteral("STARTTLS")};
    found_->setText(translated(QStringLiteral("Incoming: %1. Outgoing: %2."))
                        .arg(names[p.PopSecurity], names[p.SmtpSecurity]));
}

bool AccountWizardDialog::validateCurrentPage() {
    std::string problem = frmAccountWizard::PageProblem(currentId(), fields());
    if (problem.empty()) return true;
    // The texts are shared with `corva account`, which stays English.
    platform::current().prompts().messageBox(gettranslation(problem), platform::Buttons::Ok,
                                             platform::Icon::Exclamation,
                                             gettranslation("Account Wizard"));
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
