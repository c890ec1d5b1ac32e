// The composer, reader and contact windows offscreen: what frmMain's entries
// open, the reply and forward windows as the user sees them, completion of
// addresses from the book, and the contact list and pick dialog.
#include "ui/UiFixture.h"

#include "contacts/clsContacts.h"
#include "ui/ComposerWindows.h"
#include "ui/ContactsWindow.h"
#include "ui/EmailWindow.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCompleter>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QSet>
#include <QTreeWidget>

namespace corva::test {
namespace {

class EmailWindowTest : public ScannerFixture {
protected:
    void SetUp() override {
        ScannerFixture::SetUp();
        start();
        sset("ReplyAddress0", "ann@example.com");
        Contacts().AddContact(contact("Carl Jones", "carl@x.test"));
        Contacts().AddContact(contact("Dora", "dora@y.test"));
    }
    void TearDown() override {
        // Windows first gathered: deleting one deletes the popups it owns.
        std::vector<QPointer<QWidget>> windows;
        for (QWidget* w : QApplication::topLevelWidgets())
            if (qobject_cast<ui::EmailWindow*>(w) || qobject_cast<ui::ContactsWindow*>(w))
                windows.emplace_back(w);
        for (const QPointer<QWidget>& w : windows) delete w.data();
        Contacts() = clsContacts();
        ScannerFixture::TearDown();
    }
    static clsContact contact(const std::string& name, const std::string& email) {
        clsContact c;
        c.strName = name;
        c.email = email;
        return c;
    }
    // The composer window opened since the last call.
    ui::EmailWindow* newest() {
        ui::EmailWindow* found = nullptr;
        for (QWidget* w : QApplication::topLevelWidgets())
            if (auto* e = qobject_cast<ui::EmailWindow*>(w); e && !seen_.contains(e)) found = e;
        if (found) seen_.insert(found);
        return found;
    }
    QSet<QWidget*> seen_;
    std::string storeMessage() {
        std::string path = MessageFolder + "Inbox/LUNCH.EML";
        writeFile(path, "From: Bob Smith <bob@x.test>\r\nTo: ann@example.com\r\nSubject: Lunch\r\n"
                        "Date: Mon, 2 Jan 2023 10:00:00 +0000\r\n\r\nFriday at one?\r\n");
        return path;
    }
};

TEST_F(EmailWindowTest, EntriesOpenComposerAndReader) {
    sset("MsgFontSize", 13);
    // A mail link's Bcc joins the copy line and makes it all Bcc.
    main->OpenComposer("bob@x.test", "carl@x.test", "dan@x.test", "Hi", "");
    ui::EmailWindow* hidden = newest();
    ASSERT_NE(hidden, nullptr);
    EXPECT_EQ(hidden->ccField()->text(), "carl@x.test;dan@x.test");
    EXPECT_TRUE(hidden->email().Fields().bcc);

    main->OpenComposer("bob@x.test", "carl@x.test", "", "Hi", "Line one\nLine two");
    ui::EmailWindow* w = newest();
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->toField()->text(), "bob@x.test");
    EXPECT_EQ(w->ccField()->text(), "carl@x.test");
    EXPECT_FALSE(w->email().Fields().bcc);
    EXPECT_EQ(w->subjectField()->text(), "Hi");
    EXPECT_TRUE(w->bodyField()->toPlainText().startsWith("Line one\nLine two\n"));
    EXPECT_EQ(w->bodyField()->font().pointSize(), 13);
    saveScreenshot(*w, QStringLiteral("composer-new"));

    // Completion from the book in To, after the addresses already typed.
    QLineEdit* to = w->toField();
    auto* completer = to->findChild<QCompleter*>();
    ASSERT_NE(completer, nullptr);
    to->setText("bob@x.test; car");
    emit to->textEdited(to->text());
    ASSERT_EQ(completer->completionCount(), 1);
    emit completer->activated(completer->currentCompletion());
    EXPECT_EQ(to->text(), "bob@x.test; Carl Jones <carl@x.test>");
    EXPECT_EQ(w->email().Fields().to, "bob@x.test; Carl Jones <carl@x.test>");

    EXPECT_TRUE(main->OpenMessageFile(storeMessage()));
    ui::EmailWindow* reader = newest();
    ASSERT_NE(reader, nullptr);
    EXPECT_TRUE(reader->email().Reading());
    EXPECT_EQ(reader->windowTitle(), "Lunch");
    EXPECT_FALSE(main->OpenMessageFile(MessageFolder + "Inbox/NONE.EML"));
    EXPECT_NE(prompts().back().find("NONE.EML could not be opened"), std::string::npos);
}

TEST_F(EmailWindowTest, ReplyAndForwardWindows) {
    const std::string path = storeMessage();
    for (auto [kind, name] : {std::pair{EmailRequest::Kind::Reply, "composer-reply"},
                              {EmailRequest::Kind::Forward, "composer-forward"}}) {
        EmailRequest request;
        request.kind = kind;
        request.path = path;
        ui::EmailWindow* w = ui::openEmailWindow(request, nullptr);
        ASSERT_NE(w, nullptr);
        const QString body = w->bodyField()->toPlainText();
        if (kind == EmailRequest::Kind::Reply) {
            EXPECT_EQ(w->toField()->text(), "Bob Smith <bob@x.test>");
            EXPECT_EQ(w->subjectField()->text(), "Re: Lunch");
            EXPECT_TRUE(body.contains("Bob Smith wrote: \n\n> Friday at one?\n"))
                << body.toStdString();
        } else {
            EXPECT_EQ(w->toField()->text(), "");
            EXPECT_TRUE(body.contains("Original Subject: Lunch\n")) << body.toStdString();
        }
        saveScreenshot(*w, QString::fromLatin1(name));
    }
}

TEST_F(EmailWindowTest, ShortcutAndSignatureWindows) {
    ui::ShortcutsWindow keys;
    keys.show();
    EXPECT_EQ(keys.field(10)->text(), "Shortcut 10");
    keys.field(1)->setText(QStringLiteral("Kind regards, Ann"));
    saveScreenshot(keys, QStringLiteral("composer-shortcuts"));
    keys.save();
    EXPECT_EQ(sget("Shortcut_1").toText(), "Kind regards, Ann");

    writeFile(MessageFolder + "sig.txt", "Ann\r\nExample Ltd");
    ui::SignatureWindow sig(MessageFolder + "Inbox");
    sig.show();
    EXPECT_EQ(sig.text()->toPlainText(), "");
    sig.readDefault();
    EXPECT_EQ(sig.text()->toPlainText(), "Ann\nExample Ltd");
    sig.text()->setPlainText(QStringLiteral("Ann\nSupport desk"));
    saveScreenshot(sig, QStringLiteral("composer-signature"));
    sig.ok();
    EXPECT_EQ(readFile(MessageFolder + "Inbox/sig.txt"), "Ann\r\nSupport desk");
    EXPECT_EQ(sig.result(), QDialog::Accepted);
}

TEST_F(EmailWindowTest, ContactListAndPickDialog) {
    ui::ContactsWindow browse(false);
    browse.show();
    ASSERT_EQ(browse.list()->topLevelItemCount(), 2);
    EXPECT_EQ(browse.findChildren<QPushButton*>().last()->text(), "Exit");
    saveScreenshot(browse, QStringLiteral("contacts-list"));
    ui::ContactWindow edit("carl@x.test");
    edit.show();
    EXPECT_EQ(edit.contact().Contact.strName, "Carl Jones");
    saveScreenshot(edit, QStringLiteral("contacts-edit"));

    ui::ContactsWindow pick(true);
    pick.show();
    QTreeWidgetItem* carl = pick.list()->topLevelItem(0);
    ASSERT_EQ(carl->text(0), "Carl Jones");
    pick.list()->setCurrentItem(carl);
    emit pick.list()->itemClicked(carl, 0);
    QStringList labels;
    for (QLabel* l : pick.findChildren<QLabel*>()) labels << l->text();
    EXPECT_TRUE(labels.contains("Name: Carl Jones"));
    EXPECT_TRUE(labels.contains("Email: carl@x.test"));
    saveScreenshot(pick, QStringLiteral("contacts-pick"));
    pick.contacts().cmdSelect_Click();
    EXPECT_TRUE(pick.contacts().Picked());
    EXPECT_EQ(pick.contacts().ChosenAddress(), "carl@x.test");
    EXPECT_EQ(pick.result(), QDialog::Accepted);
}

} // namespace
} // namespace corva::test
