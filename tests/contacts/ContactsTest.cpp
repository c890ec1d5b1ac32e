// The contact book: its file, its searches, its groups and CSV import.
#include "contacts/clsContacts.h"
#include "contacts/frmContacts.h"
#include "contacts/modContacts.h"

#include "core/FileSubs.h"
#include "core/mSHAREDLogging.h"
#include "platform/Platform.h"
#include "support/RecordingPlatform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

using namespace corva;
using corva::test::dataFile;
using corva::test::readFile;
using corva::test::TempDir;
using corva::test::writeFile;

namespace {

clsContact person(const std::string& name, const std::string& email) {
    clsContact c;
    c.strName = name;
    c.email = email;
    return c;
}

} // namespace

TEST(ContactBook, LoadKeepsOnlyContactsWithNameAndAddress) {
    clsContacts book;
    book.setFilePath(dataFile("contacts/name-without-email-vanishes.txt"));
    book.LoadContacts();
    ASSERT_EQ(book.Count(), 3) << "load keeps two of the same name";
    EXPECT_EQ(book.Contact(1).email, "ann@lee.example");
    EXPECT_EQ(book.Contact(1).mobile, "0400 000 000") << "keys in any case";
    EXPECT_EQ(book.Contact(1).groups, "friends,work,");
    EXPECT_EQ(book.Contact(2).email, "second@lee.example");
    EXPECT_EQ(book.Contact(3).homeaddr1, "1 Long Road, Springfield ") << "the rest of the line";
    EXPECT_EQ(book.SeekByEmail("  BOB@Ray.example "), 3);
    EXPECT_EQ(book.SeekByName("ann lee"), 1);
    EXPECT_EQ(book.SeekByEmail("nobody@x"), -1);
    EXPECT_EQ(book.Contact(9).strName, "") << "out of range gives an empty contact";

    TempDir dir;
    book.setFilePath(dir.file("none.txt"));
    book.LoadContacts();
    EXPECT_EQ(book.Count(), 0) << "a missing file is an empty book";
}

// A key whose blank an editor stripped is an empty value, and any line end
// ends a line. What the book still can't read (here the contact left without
// an address, an unknown line) is never saved over: the file stays byte for
// byte, with a copy beside it, and an unchanged book writes nothing at all.
TEST(ContactBook, WhatTheLoaderCannotReadIsNeverSavedOver) {
    struct Case {
        const char* name;
        std::string text;
        long count;
    };
    const std::string stripped = readFile(dataFile("contacts/key-without-value-stops-loading.txt"));
    for (const Case& c : std::vector<Case>{
             {"stripped blanks", stripped, 2},
             {"CR-only lines", "<contact>\rname A\remail a@x\rmobile\rnote 1\r", 1},
         }) {
        SCOPED_TRACE(c.name);
        TempDir dir;
        writeFile(dir.file("contacts.txt"), c.text);
        clsContacts book;
        book.setFilePath(dir.file("contacts.txt"));
        book.LoadContacts();
        EXPECT_EQ(book.Count(), c.count);
        EXPECT_FALSE(book.unreadPart().empty());
        EXPECT_TRUE(book.SaveContacts());
        EXPECT_FALSE(FileExists(dir.file("contacts.txt.bak")));
        book.AddContact(person("New", "new@x"));
        EXPECT_FALSE(book.SaveContacts());
        EXPECT_EQ(readFile(dir.file("contacts.txt")), c.text);
        EXPECT_EQ(readFile(dir.file("contacts.txt.bak")), c.text);
    }
}

TEST(ContactBook, GroupsAreASubstringSearch) {
    clsContact c;
    c.AddToGroup("work");
    c.AddToGroup("Work");
    EXPECT_EQ(c.groups, "work,");
    EXPECT_TRUE(c.InGroup("ork"));
    EXPECT_TRUE(c.InGroup(" WORK "));
    EXPECT_FALSE(c.InGroup("play"));
    c.AddToGroup("friends");
    c.RenameGroup("work", "office");
    EXPECT_EQ(c.groups, "office,friends,");
    c.RemoveFromGroup("office");
    EXPECT_EQ(c.groups, "friends,");
}

TEST(ContactImport, TwoColumnsImportWiderFilesImportNothing) {
    TempDir dir;
    corva::test::RecordingPlatform fake;
    platform::ScopedPlatform installed(fake);
    clsContacts book;
    book.setFilePath(dir.file("contacts.txt"));
    EXPECT_EQ(ImportContactsCsv(book, dataFile("contacts/two-columns-import.csv")), 2);
    ASSERT_EQ(book.Count(), 2);
    EXPECT_EQ(book.Contact(1).strName, "Lee");
    EXPECT_EQ(book.Contact(1).email, "Ann ,ann@lee.example")
        << "quotes hide no commas; the second part is the rest of the line";
    EXPECT_EQ(book.Contact(2).strName, "Bob Ray");
    EXPECT_EQ(book.Contact(2).email, "BOB@ray.example");
    EXPECT_NE(readFile(dir.file("contacts.txt")).find("name Bob Ray"), std::string::npos);

    EXPECT_EQ(ImportContactsCsv(book, dataFile("contacts/three-columns-import-nothing.csv")), 0);
    EXPECT_EQ(book.Count(), 2);
    EXPECT_TRUE(fake.prompts_.messages.empty());

    EXPECT_EQ(ImportContactsCsv(book, dir.file("absent.csv")), -1);
    ASSERT_EQ(fake.prompts_.messages.size(), 1u);
    EXPECT_EQ(fake.prompts_.messages[0], "Error importing contacts file");
}

TEST(ContactImport, ColumnNamesPickFieldsWithTheShiftedAddressRows) {
    clsContact c;
    ASSERT_NE(csvField(c, " home suburb "), nullptr);
    *csvField(c, " home suburb ") = "Suburb";
    *csvField(c, "HOME CITY") = "City";
    *csvField(c, "Business Postal Code") = "4000";
    *csvField(c, "e-mail address") = "x@y";
    EXPECT_EQ(c.homeaddr2, "Suburb");
    EXPECT_EQ(c.homesuburb, "City");
    EXPECT_EQ(c.buspostcode, "4000");
    EXPECT_EQ(c.email, "x@y");
    EXPECT_EQ(csvField(c, "Birthday"), nullptr);
}

TEST(ContactExport, OneSenderAddressPerMessage) {
    TempDir dir;
    writeFile(dir.file("a.eml"), "From: Ann <Ann@Lee.example>\r\nSubject: x\r\n\r\nbody");
    writeFile(dir.file("b.eml"), "From: bob@ray.example\r\n\r\n");
    ASSERT_TRUE(ExportAddresses({dir.file("a.eml"), dir.file("b.eml")}, dir.file("emails.csv")));
    EXPECT_EQ(readFile(dir.file("emails.csv")), "ann@lee.example\r\nbob@ray.example\r\n");
}

// A name already in the book is replaced and moves last; a save writes the
// fields in their fixed order and drops the groups.
TEST(ContactBook, EditsReplaceByNameAndSaveWithoutGroups) {
    TempDir dir;
    clsContacts book;
    book.setFilePath(dir.file("contacts.txt"));
    clsContact ann = person("Ann", "ann@x.example");
    ann.mobile = "0400";
    ann.busfax = "99";
    ann.groups = "friends,";
    book.AddContact(ann);
    book.AddContact(person("Cy", "cy@x.example"));
    book.AddContact(person("Bob", "bob@x.example"));
    book.AddContact(person(" CY ", "new@x.example"));
    ASSERT_EQ(book.Count(), 3);
    EXPECT_EQ(book.Contact(3).email, "new@x.example");
    EXPECT_EQ(contactForAddress(book, "ANN@x.example").mobile, "0400");
    clsContact fresh = contactForAddress(book, "new@y.example");
    EXPECT_EQ(fresh.email, "new@y.example");
    EXPECT_EQ(fresh.strName, "");

    EXPECT_EQ(DeleteContactsByEmail(book, {"bob@x.example", "nobody@x.example"}), 1);
    const std::string text = readFile(dir.file("contacts.txt"));
    EXPECT_EQ(text.rfind("<contact>\r\nname Ann\r\nemail ann@x.example\r\nmobile 0400\r\nhome", 0),
              0u)
        << text;
    EXPECT_NE(text.find("\r\nbusfax 99\r\nbuscountry \r\n"), std::string::npos);
    EXPECT_EQ(text.find("groups"), std::string::npos);
    clsContacts back;
    back.setFilePath(dir.file("contacts.txt"));
    back.LoadContacts();
    ASSERT_EQ(back.Count(), 2);
    EXPECT_EQ(back.Contact(1).busfax, "99");
    EXPECT_EQ(back.Contact(1).groups, "");
    EXPECT_EQ(back.Contact(2).email, "new@x.example");
}

namespace {

struct ListView : frmContactsView {
    void ShowLabels(const std::string& name, const std::string& email) override {
        labels = name + "|" + email;
    }
    std::vector<long> SelectedRows() const override { return selected; }
    void EditContact(const std::string& address) override { edited.push_back(address); }
    void CloseView() override {}
    std::string labels;
    std::vector<long> selected;
    std::vector<std::string> edited;
};

} // namespace

TEST(ContactViews, BrowsePickDeleteAndEdit) {
    TempDir dir;
    test::RecordingPlatform platform;
    platform::ScopedPlatform scoped(platform);
    clsContacts book;
    book.setFilePath(dir.file("contacts.txt"));
    book.AddContact(person("Ann", "ann@x.test"));
    book.AddContact(person("Bob", "bob@x.test"));
    ListView view;
    frmContacts list(book, &view);

    list.ShowViewForm();
    EXPECT_FALSE(list.SelectVisible());
    EXPECT_EQ(list.CancelCaption(), "Exit");
    list.ListView1_DblClick(1); // browsing edits
    EXPECT_EQ(view.labels, "Name: Bob|Email: bob@x.test");
    EXPECT_EQ(view.edited, (std::vector<std::string>{"bob@x.test"}));
    EXPECT_FALSE(list.Picked());

    list.ShowSelectForm();
    EXPECT_EQ(list.CancelCaption(), "Cancel");
    list.ListView1_DblClick(0); // picking picks
    EXPECT_TRUE(list.Picked());
    EXPECT_EQ(list.ChosenName() + " " + list.ChosenAddress(), "Ann ann@x.test");
    EXPECT_EQ(contactEntry(list.ChosenName(), list.ChosenAddress()), "Ann <ann@x.test>");

    view.selected = {0};
    platform.prompts_.answer = platform::Answer::No;
    list.cmdDelete_Click();
    EXPECT_EQ(book.Count(), 2);
    platform.prompts_.answer = platform::Answer::Yes;
    list.cmdDelete_Click();
    EXPECT_EQ(platform.prompts_.messages.back(), "Delete selected contact(s)?");
    ASSERT_EQ(list.Rows().size(), 1u);
    EXPECT_EQ(list.Rows()[0].Email, "bob@x.test");

    frmContact edit(book);
    edit.EditEmail("bob@x.test");
    edit.Contact.homeaddr1 = "1 Road";
    edit.Contact.homesuburb = "Town";
    EXPECT_EQ(edit.HomeAddress(), "1 Road\r\n\r\n\r\nTown\r\n\r\n\r\n");
    ASSERT_TRUE(edit.cmdSave_Click());
    clsContacts reread;
    reread.setFilePath(dir.file("contacts.txt"));
    reread.LoadContacts();
    EXPECT_EQ(reread.Contact(1).homeaddr1, "1 Road");
}
