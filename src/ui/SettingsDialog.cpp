#include "ui/SettingsDialog.h"

#include "localise/modLanguages.h"
#include "ui/DisplayText.h"
#include "ui/UpdaterWindow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace corva::ui {

namespace {

QComboBox* securityChoice(const QString& name) {
    auto* choice = new QComboBox;
    choice->setObjectName(name);
    choice->addItems(
        {QStringLiteral("None"), QStringLiteral("SSL/TLS"), QStringLiteral("STARTTLS")});
    choice->setProperty("corvaTranslateItems", true);
    return choice;
}

} // namespace

namespace {
QString q(const std::string& s) {
    return toDisplay(s);
}
std::string b(const QString& s) {
    return fromDisplay(s);
}
} // namespace

SettingsDialog::SettingsDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Settings"));
    logic_.Load();
    auto* tabs = new QTabWidget;
    tabs->addTab(buildAccountsPage(), QStringLiteral("Accounts"));
    tabs->addTab(buildCheckingPage(), QStringLiteral("Checking"));
    tabs->addTab(buildDisplayPage(), QStringLiteral("Display"));
    tabs->addTab(buildFoldersPage(), QStringLiteral("Folders"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("cmdOK"));
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { confirm(); });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    layout->addWidget(buttons);

    showGlobals(logic_.Globals());
    for (const auto& entry : logic_.AccountListEntries()) accounts_->addItem(q(entry));
    shownAccount_ = 0;
    showAccount(logic_.Account(0));
    accounts_->setCurrentRow(0);
    connect(accounts_, &QListWidget::currentRowChanged, this,
            [this](int row) { selectAccount(row); });
    resize(760, 520);
}

QLineEdit* SettingsDialog::addLine(const QString& name) {
    auto* e = new QLineEdit;
    e->setObjectName(name);
    return e;
}

QCheckBox* SettingsDialog::addBox(const QString& name, const QString& caption) {
    auto* c = new QCheckBox(caption);
    c->setObjectName(name);
    return c;
}

QLineEdit* SettingsDialog::field(const QString& name) const {
    return findChild<QLineEdit*>(name);
}
QCheckBox* SettingsDialog::box(const QString& name) const {
    return findChild<QCheckBox*>(name);
}

QWidget* SettingsDialog::buildAccountsPage() {
    auto* page = new QWidget;
    // Both group boxes share one label width, so their fields line up.
    const int labelWidth = fontMetrics().horizontalAdvance(QStringLiteral("Reply Address:")) + 12;
    auto label = [labelWidth](const QString& text) {
        auto* l = new QLabel(text);
        l->setMinimumWidth(labelWidth);
        return l;
    };
    auto* row = new QHBoxLayout(page);
    accounts_ = new QListWidget;
    accounts_->setObjectName(QStringLiteral("lstAccounts"));
    accounts_->setMaximumWidth(200);
    row->addWidget(accounts_);

    auto* right = new QVBoxLayout;
    auto* incoming = new QGroupBox(QStringLiteral("Incoming (POP3)"));
    auto* in = new QFormLayout(incoming);
    in->addRow(label(QStringLiteral("Title:")), addLine("TITLE"));
    in->addRow(label(QStringLiteral("Server:")), addLine("SERVER"));
    popSecurity_ = securityChoice(QStringLiteral("POPSECURITY"));
    popSecurity_->setToolTip(QStringLiteral("SSL/TLS usually takes port 995 (host:995), STARTTLS "
                                            "(STLS) the usual port 110"));
    in->addRow(label(QStringLiteral("Security:")), popSecurity_);
    connect(popSecurity_, &QComboBox::currentIndexChanged, this, [this](int security) {
        if (showing_) return;
        field("SERVER")->setText(
            q(frmSettings::ProposedPopServer(b(field("SERVER")->text()), security)));
    });
    in->addRow(label(QStringLiteral("User:")), addLine("UNAME"));
    QLineEdit* pwd = addLine("PWD");
    pwd->setEchoMode(QLineEdit::Password);
    pwd->setPlaceholderText(QStringLiteral("ask at each connection"));
    in->addRow(label(QStringLiteral("Pwd:")), pwd);
    in->addRow(addBox("CHECK", QStringLiteral("Include this account when checking mail")));
    QCheckBox* stop =
        addBox("STOPATLAST", QStringLiteral("This account times out after last message"));
    stop->setToolTip(QStringLiteral("Corva attempts to read mail until the server sends 'no more "
                                    "messages'  It then sends a 'Quit' "
                                    "command, but some servers ignore this and time out. If that "
                                    "happens, tick this checkbox for "
                                    "ONLY those servers."));
    in->addRow(stop);
    right->addWidget(incoming);

    auto* outgoing = new QGroupBox(QStringLiteral("Outgoing (SMTP)"));
    auto* out = new QFormLayout(outgoing);
    out->addRow(label(QStringLiteral("Server:")), addLine("SMTP"));
    QLineEdit* port = addLine("SMTPPort");
    port->setToolTip(
        QStringLiteral("Default is 25. Don't change this unless you know what you're doing."));
    out->addRow(label(QStringLiteral("Port:")), port);
    smtpSecurity_ = securityChoice(QStringLiteral("SMTPSECURITY"));
    smtpSecurity_->setToolTip(QStringLiteral("SSL/TLS usually takes port 465, STARTTLS port 587"));
    out->addRow(label(QStringLiteral("Security:")), smtpSecurity_);
    connect(smtpSecurity_, &QComboBox::currentIndexChanged, this, [this](int security) {
        if (showing_) return;
        field("SMTPPort")
            ->setText(q(frmSettings::ProposedSmtpPort(b(field("SMTPPort")->text()), security)));
    });
    out->addRow(addBox("SMTPAuth", QStringLiteral("Authorisation Rqd")));
    out->addRow(label(QStringLiteral("User")), addLine("SMTPUNAME"));
    QLineEdit* smtpPwd = addLine("SMTPPWD");
    smtpPwd->setEchoMode(QLineEdit::Password);
    out->addRow(label(QStringLiteral("Pwd:")), smtpPwd);
    QCheckBox* keyring =
        addBox("KEYRING", QStringLiteral("Keep both passwords in the desktop keyring"));
    keyring->setToolTip(QStringLiteral("Secret Service or KWallet instead of Corva.ini"));
    out->addRow(keyring);
    out->addRow(label(QStringLiteral("Reply Address:")), addLine("REPLYADDRESS"));
    out->addRow(label(QStringLiteral("Display Name:")), addLine("DISPLAYNAME"));
    right->addWidget(outgoing);

    auto* exclusive = new QFormLayout;
    auto* ex = new QHBoxLayout;
    ex->addWidget(addLine("EXCLUSIVE0_"));
    ex->addWidget(addLine("EXCLUSIVE1_"));
    exclusive->addRow(QStringLiteral("Ignore mail not addressed to:"), ex);
    right->addLayout(exclusive);
    right->addStretch();
    row->addLayout(right, 1);
    return page;
}

QLineEdit* SettingsDialog::addNumber(const QString& name) {
    QLineEdit* e = addLine(name);
    e->setMaximumWidth(70);
    return e;
}

namespace {
// A field with its unit after it, as "Check mail every: [ 0 ] seconds".
QWidget* withUnit(QLineEdit* field, const QString& unit) {
    auto* w = new QWidget;
    auto* h = new QHBoxLayout(w);
    h->setContentsMargins(0, 0, 0, 0);
    h->addWidget(field);
    if (!unit.isEmpty()) h->addWidget(new QLabel(unit));
    h->addStretch();
    return w;
}
} // namespace

QWidget* SettingsDialog::buildCheckingPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    auto* timing = new QGroupBox(QStringLiteral("Checking"));
    auto* form = new QFormLayout(timing);
    form->addRow(QStringLiteral("Check mail every:"),
                 withUnit(addNumber("DELAY"), QStringLiteral("seconds (0 for never)")));
    form->addRow(QStringLiteral("Mail retrieval timeout:"),
                 withUnit(addNumber("MailTimeout"), QStringLiteral("seconds")));
    form->addRow(QStringLiteral("Ignore mail bigger than:"),
                 withUnit(addNumber("MaxMailSize"), QStringLiteral("Kb (0 for none)")));
    layout->addWidget(timing);

    auto* options = new QGroupBox(QStringLiteral("Options"));
    auto* grid = new QGridLayout(options);
    QCheckBox* autoDelete =
        addBox("AUTODELETE", QStringLiteral("Delete failed messages automatically"));
    autoDelete->setToolTip(
        QStringLiteral("Only switch on 'Delete failed messages' if you are completely "
                       "confident with your spam filters"));
    const QList<QCheckBox*> boxes = {
        autoDelete,
        addBox("DELETEONRETRIEVE", QStringLiteral("Delete Mail from Server when retrieving")),
        addBox("ScanOnStart", QStringLiteral("Scan for mail on startup")),
        addBox("RetrieveOnStart", QStringLiteral("Retrieve mail on startup")),
        addBox("AUDIO", QStringLiteral("Play Audio Alerts on new messages")),
        addBox("STARTMIN", QStringLiteral("Start program minimised to System Tray")),
        addBox("DisableReadOnServer", QStringLiteral("Disable 'Read email on server' option")),
        addBox("AutoUpdateCheck", QStringLiteral("Automatically Check for Corva updates")),
        addBox("NotifyNewMail", QStringLiteral("Show a desktop notification for new mail"))};
    for (int i = 0; i < boxes.size(); ++i) grid->addWidget(boxes[i], i % 4, i / 4);
    auto* proxy = new QPushButton(QStringLiteral("Proxy Settings..."));
    proxy->setObjectName(QStringLiteral("cmdProxy"));
    connect(proxy, &QPushButton::clicked, this, [this] { ProxyDialog(this).exec(); });
    grid->addWidget(proxy, 4, 0);
    layout->addWidget(options);

    auto* bounces = new QGroupBox(QStringLiteral("Bounced messages"));
    auto* bounceForm = new QFormLayout(bounces);
    bounceForm->addRow(QStringLiteral("Subject:"), addLine("BOUNCESUBJECT"));
    QLineEdit* bouncePrefix = addLine("BOUNCEPREFIX");
    bouncePrefix->setToolTip(
        QStringLiteral("This is the mail server address shown in outbound bounced "
                       "messages. Usually it's your POP3 server"));
    bounceForm->addRow(QStringLiteral("Sender:"), bouncePrefix);
    layout->addWidget(bounces);
    layout->addStretch();
    return page;
}

QWidget* SettingsDialog::buildDisplayPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    auto* windows = new QGroupBox(QStringLiteral("Windows"));
    auto* form = new QFormLayout(windows);
    firstWindow_ = new QComboBox;
    firstWindow_->addItems({QStringLiteral("Scanner"), QStringLiteral("Mailer")});
    firstWindow_->setProperty("corvaTranslateItems", true);
    form->addRow(QStringLiteral("Display this window first:"), firstWindow_);
    form->addRow(QStringLiteral("Font size for lists:"), withUnit(addNumber("FontSize"), {}));
    form->addRow(QStringLiteral("Font size for messages:"), withUnit(addNumber("MsgFontSize"), {}));
    language_ = new QComboBox;
    language_->setObjectName(QStringLiteral("language"));
    for (const auto& l : logic_.Languages()) language_->addItem(q(l));
    // The choice applies at once, to every open window and this dialog.
    connect(language_, &QComboBox::currentIndexChanged, this,
            [](int index) { ApplyLanguage(index); });
    form->addRow(QStringLiteral("Language:"), language_);
    layout->addWidget(windows);

    auto* ages = new QGroupBox(QStringLiteral("Message ages"));
    auto* agesForm = new QFormLayout(ages);
    for (int i = 0; i < 3; ++i)
        agesForm->addRow(
            QStringLiteral("Message is older than"),
            withUnit(addNumber(QStringLiteral("Age%1").arg(i)), QStringLiteral("days")));
    layout->addWidget(ages);
    layout->addStretch();
    return page;
}

QWidget* SettingsDialog::buildFoldersPage() {
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    // Each folder: its field, a browse button, and what it is for in plain sight.
    auto folder = [&](const QString& name, const QString& caption, const QString& hint) {
        QLineEdit* e = addLine(name);
        auto* browse = new QPushButton(QStringLiteral("Browse..."));
        connect(browse, &QPushButton::clicked, this, [this, e, caption] {
            QString chosen = QFileDialog::getExistingDirectory(this, caption, e->text());
            if (!chosen.isEmpty()) e->setText(chosen);
        });
        auto* row = new QHBoxLayout;
        row->addWidget(e, 1);
        row->addWidget(browse);
        form->addRow(caption, row);
        if (!hint.isEmpty()) {
            auto* note = new QLabel(hint);
            note->setWordWrap(true);
            QFont small = note->font();
            small.setPointSizeF(small.pointSizeF() * 0.9);
            note->setFont(small);
            form->addRow(QString(), note);
        }
    };
    folder("MessageFolder", QStringLiteral("Mail Store"), {});
    folder("DataFolder", QStringLiteral("Other Data"),
           QStringLiteral("This is the folder where contacts and other data will be stored."));
    folder("FilterFolder", QStringLiteral("Filter Location"),
           QStringLiteral("This is the folder where all filter-related files will be stored."));
    folder("SpamFolder", QStringLiteral("Spam Archive"),
           QStringLiteral("If your spam archive gets big, move it out of the SpamBayes folder "
                          "and specify the path here."));
    return page;
}

void SettingsDialog::showGlobals(const GlobalFields& g) {
    field("DELAY")->setText(q(g.Delay));
    field("MailTimeout")->setText(q(g.MailTimeout));
    field("MaxMailSize")->setText(q(g.MaxMailSize));
    field("Age0")->setText(q(g.Age0));
    field("Age1")->setText(q(g.Age1));
    field("Age2")->setText(q(g.Age2));
    field("FontSize")->setText(q(g.FontSize));
    field("MsgFontSize")->setText(q(g.MsgFontSize));
    field("BOUNCESUBJECT")->setText(q(g.BounceSubject));
    field("BOUNCEPREFIX")->setText(q(g.BouncePrefix));
    field("MessageFolder")->setText(q(g.MessageFolder));
    field("DataFolder")->setText(q(g.DataFolder));
    field("FilterFolder")->setText(q(g.FilterFolder));
    field("SpamFolder")->setText(q(g.SpamFolder));
    box("AUTODELETE")->setChecked(g.AutoDelete);
    box("DELETEONRETRIEVE")->setChecked(g.DeleteOnRetrieve);
    box("ScanOnStart")->setChecked(g.ScanOnStart);
    box("RetrieveOnStart")->setChecked(g.RetrieveOnStart);
    box("AUDIO")->setChecked(g.Audio);
    box("STARTMIN")->setChecked(g.StartMin);
    box("DisableReadOnServer")->setChecked(g.DisableReadOnServer);
    box("AutoUpdateCheck")->setChecked(g.AutoUpdateCheck);
    box("NotifyNewMail")->setChecked(g.NotifyNewMail);
    firstWindow_->setCurrentIndex(g.ShowScannerFirst ? 0 : 1);
    int lang = language_->findText(q(g.LangID));
    language_->setCurrentIndex(lang < 0 ? 0 : lang);
}

GlobalFields SettingsDialog::readGlobals() const {
    GlobalFields g = const_cast<frmSettings&>(logic_).Globals();
    g.Delay = b(field("DELAY")->text());
    g.MailTimeout = b(field("MailTimeout")->text());
    g.MaxMailSize = b(field("MaxMailSize")->text());
    g.Age0 = b(field("Age0")->text());
    g.Age1 = b(field("Age1")->text());
    g.Age2 = b(field("Age2")->text());
    g.FontSize = b(field("FontSize")->text());
    g.MsgFontSize = b(field("MsgFontSize")->text());
    g.BounceSubject = b(field("BOUNCESUBJECT")->text());
    g.BouncePrefix = b(field("BOUNCEPREFIX")->text());
    g.MessageFolder = b(field("MessageFolder")->text());
    g.DataFolder = b(field("DataFolder")->text());
    g.FilterFolder = b(field("FilterFolder")->text());
    g.SpamFolder = b(field("SpamFolder")->text());
    g.AutoDelete = box("AUTODELETE")->isChecked();
    g.DeleteOnRetrieve = box("DELETEONRETRIEVE")->isChecked();
    g.ScanOnStart = box("ScanOnStart")->isChecked();
    g.RetrieveOnStart = box("RetrieveOnStart")->isChecked();
    g.Audio = box("AUDIO")->isChecked();
    g.StartMin = box("STARTMIN")->isChecked();
    g.DisableReadOnServer = box("DisableReadOnServer")->isChecked();
    g.AutoUpdateCheck = box("AutoUpdateCheck")->isChecked();
    g.NotifyNewMail = box("NotifyNewMail")->isChecked();
    g.ShowScannerFirst = firstWindow_->currentIndex() == 0;
    g.LangID = b(language_->currentText());
    return g;
}

void SettingsDialog::showAccount(const AccountFields& a) {
    showing_ = true;
    popSecurity_->setCurrentIndex(a.PopSecurity);
    smtpSecurity_->setCurrentIndex(a.SmtpSecurity);
    showing_ = false;
    field("TITLE")->setText(q(a.Title));
    field("SERVER")->setText(q(a.Server));
    field("UNAME")->setText(q(a.UName));
    field("PWD")->setText(q(a.Pwd));
    box("CHECK")->setChecked(a.Check);
    box("STOPATLAST")->setChecked(a.StopAtLast);
    field("SMTP")->setText(q(a.Smtp));
    field("SMTPPort")->setText(q(a.SmtpPort));
    box("SMTPAuth")->setChecked(a.SmtpAuth);
    field("SMTPUNAME")->setText(q(a.SmtpUName));
    field("SMTPPWD")->setText(q(a.SmtpPwd));
    box("KEYRING")->setChecked(a.Keyring);
    field("REPLYADDRESS")->setText(q(a.ReplyAddress));
    field("DISPLAYNAME")->setText(q(a.DisplayName));
    field("EXCLUSIVE0_")->setText(q(a.Exclusive0));
    field("EXCLUSIVE1_")->setText(q(a.Exclusive1));
}

AccountFields SettingsDialog::readAccount() const {
    AccountFields a;
    a.Title = b(field("TITLE")->text());
    a.Server = b(field("SERVER")->text());
    a.UName = b(field("UNAME")->text());
    a.Pwd = b(field("PWD")->text());
    a.Check = box("CHECK")->isChecked();
    a.StopAtLast = box("STOPATLAST")->isChecked();
    a.Smtp = b(field("SMTP")->text());
    a.SmtpPort = b(field("SMTPPort")->text());
    a.SmtpAuth = box("SMTPAuth")->isChecked();
    a.SmtpUName = b(field("SMTPUNAME")->text());
    a.SmtpPwd = b(field("SMTPPWD")->text());
    a.Keyring = box("KEYRING")->isChecked();
    a.ReplyAddress = b(field("REPLYADDRESS")->text());
    a.DisplayName = b(field("DISPLAYNAME")->text());
    a.Exclusive0 = b(field("EXCLUSIVE0_")->text());
    a.Exclusive1 = b(field("EXCLUSIVE1_")->text());
    a.PopSecurity = popSecurity_->currentIndex();
    a.SmtpSecurity = smtpSecurity_->currentIndex();
    return a;
}

void SettingsDialog::selectAccount(int index) {
    if (index < 0 || index >= frmSettings::AccountCount || index == shownAccount_) return;
    AccountFields next = logic_.SelectAccount(index, readAccount());
    accounts_->item(shownAccount_)
        ->setText(q(logic_.AccountListEntries()[static_cast<size_t>(shownAccount_)]));
    shownAccount_ = index;
    showAccount(next);
    if (accounts_->currentRow() != index) accounts_->setCurrentRow(index);
}

bool SettingsDialog::confirm() {
    GlobalFields g = readGlobals();
    bool ok = logic_.cmdOK(g, readAccount());
    showGlobals(g); // OK may have corrected folders or the size
    if (ok) accept();
    return ok;
}

} // namespace corva::ui
