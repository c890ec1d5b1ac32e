// Languages: the file rules and the table, every window's texts in both
// shipped languages (which also writes template.txt), and a running window
// switched German -> French -> English.
#include "ui/UiFixture.h"

#include "core/AccountRules.h"
#include "core/AppInfo.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "cycle/UpdateCheckLink.h"
#include "cycle/modScannerCommands.h"
#include "localise/modLanguages.h"
#include "mailer/frmAttachWarning.h"
#include "mailer/frmMailer.h"
#include "tools/frmMailMerge.h"
#include "ui/AccountWizardDialog.h"
#include "ui/AttachWarningDialog.h"
#include "ui/CMSWindows.h"
#include "ui/ComposerWindows.h"
#include "ui/ContactsWindow.h"
#include "ui/EmailWindow.h"
#include "ui/ErrorReportWindow.h"
#include "ui/LanguageWalker.h"
#include "ui/LogViewer.h"
#include "ui/MailerListModel.h"
#include "ui/MailerWindow.h"
#include "ui/RemindersWindow.h"
#include "ui/RuleEditorWindow.h"
#include "ui/SettingsDialog.h"
#include "ui/TextWindow.h"
#include "ui/ToolWindows.h"
#include "ui/TrainingWindow.h"
#include "ui/UpdaterWindow.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QTreeView>
#include <QTreeWidget>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <set>

namespace corva::test {
namespace {

std::string languagesSource() {
    const char* source = std::getenv("CORVA_SOURCE_DIR");
    return std::string(source ? source : ".") + "/languages";
}

class LanguageFolder : public ::testing::Test {
protected:
    void SetUp() override {
        dir.makeProgramFolder();
        MkMissingDir(dir.file("languages"));
        SetAppPath(dir.path());
        SetLanguageFolders({});
    }
    void TearDown() override {
        ui::installLanguages();
        ApplyLanguage(0);
    }
    void language(const std::string& file, const std::string& text) {
        writeFile(dir.file("languages/" + file), text);
    }
    TempDir dir;
};

TEST_F(LanguageFolder, LoadsLooksUpAndTurnsTheTableRound) {
    language("template.txt", "Template\nOpen||Open\n");
    // Comments and blank lines before the name; a line without "||" has an
    // empty key, and only the first break counts.
    language("a.txt", "# a comment\r\n\r\n  \tDeutsch \r\nOpen || Öffnen\nOpen||Aufmachen\n"
                      "Close||Schließen\nShut||Schließen\nNext scan:||Nächster Lauf:\nx||y\n"
                      "no break here\n\t#not a comment once the tab is gone\nAb||B||C\n");
    language("b.txt", "# nothing but a comment\n");
    language("c.txt", "Leer\n");
    LoadAllLanguages();
    EXPECT_EQ(filllanguagelist(),
              (std::vector<std::string>{"English", "Deutsch", "Language 2", "Leer"}));

    loadlanguage(1);
    EXPECT_EQ(CurrentLanguage(), "Deutsch");
    // The first line for a text wins; one character is never looked up.
    const std::map<std::string, std::string> cases{
        {"Open", "Öffnen"}, {"Close", "Schließen"}, {"x", "x"},
        {"&", "&"},         {"Missing", "Missing"}, {"Next scan: 12", "Nächster Lauf: 12"},
        {"Ab", "B||C"}};
    for (const auto& [english, shown] : cases)
        EXPECT_EQ(TranslateLabelled(english), shown) << english;

    // Back to English, the walk sees the table turned round: a translation
    // shared by two texts gives the first of them in sort order.
    std::map<std::string, std::string> seen;
    SetWindowWalker([&] {
        for (const char* t : {"Öffnen", "Schließen", "Open"}) seen[t] = gettranslation(t);
    });
    reverttoenglish();
    EXPECT_EQ(seen, (std::map<std::string, std::string>{
                        {"Öffnen", "Open"}, {"Schließen", "Close"}, {"Open", "Open"}}));
    EXPECT_EQ(CurrentLanguage(), "English");
    EXPECT_EQ(gettranslation("Open"), "Open");

    // A language without pairs is chosen by name and leaves every text English.
    ApplyLanguage(3);
    EXPECT_EQ(CurrentLanguage(), "Leer");
    EXPECT_EQ(gettranslation("Open"), "Open");
    EXPECT_EQ(sget("langID", "").toText(), "Leer");
}

TEST_F(LanguageFolder, TheLanguagesFontReachesEveryControlAndLeavesWithIt) {
    language("a.txt", "Serif\nLANGUAGE_FONT||DejaVu Serif\nOpen||Auf\n");
    language("b.txt", "Missing\nLANGUAGE_FONT||No Such Family\n");
    LoadAllLanguages();
    QWidget window;
    auto* label = new QLabel(QStringLiteral("Open"), &window);
    auto* symbols = new QLabel(QStringLiteral("Webdings"), &window);
    symbols->setFont(QFont(QStringLiteral("Webdings")));
    const QString own = label->font().family();

    ApplyLanguage(1);
    EXPECT_EQ(label->text(), QStringLiteral("Auf"));
    EXPECT_EQ(label->font().family(), QStringLiteral("DejaVu Serif"));
    EXPECT_EQ(symbols->font().family(), QStringLiteral("Webdings"));
    ApplyLanguage(2);
    EXPECT_EQ(label->text(), QStringLiteral("Open"));
    EXPECT_EQ(label->font().family(), own);
    EXPECT_EQ(LanguageFont(), "");
    FlushLog();
    EXPECT_NE(readFile(dir.file("log.txt")).find("Cannot set font to No Such Family. Not present."),
              std::string::npos);
}

// Every window the program has, made as the program makes it, for the
// template and the completeness check. A new window adds itself here.
std::vector<std::unique_ptr<QWidget>> everyWindow(frmMain& main) {
    std::vector<std::unique_ptr<QWidget>> windows;
    windows.push_back(std::make_unique<ui::SettingsDialog>());
    windows.push_back(std::make_unique<ui::AccountWizardDialog>());
    AttachWarningForm warning;
    warning.name = "setup.exe";
    warning.FrameExe = warning.FrameNonExe = warning.FrameWarning = true;
    windows.push_back(std::make_unique<ui::AttachWarningDialog>(warning));
    windows.push_back(std::make_unique<ui::CMSTicketDialog>());
    windows.push_back(std::make_unique<ui::CMSSettingsDialog>());
    windows.push_back(std::make_unique<ui::CMSTicketListWindow>(main.SendMailWrapper()));
    windows.push_back(std::make_unique<ui::ContactsWindow>(true));
    windows.push_back(std::make_unique<ui::ContactWindow>(""));
    windows.push_back(std::make_unique<ui::EmailWindow>());
    windows.push_back(std::make_unique<ui::ShortcutsWindow>());
    windows.push_back(std::make_unique<ui::SignatureWindow>(MessageFolder));
    windows.push_back(std::make_unique<ui::ErrorReportWindow>());
    windows.push_back(std::make_unique<ui::LogViewer>());
    windows.push_back(std::make_unique<ui::RuleEditorWindow>(main.ServerFilters()));
    windows.push_back(std::make_unique<ui::SearchWindow>([](const std::string&) {}));
    windows.push_back(std::make_unique<ui::ArchiveDialog>());
    windows.push_back(std::make_unique<ui::ImportDialog>());
    static frmMailMerge merge;
    windows.push_back(std::make_unique<ui::MailMergeDialog>(merge));
    windows.push_back(std::make_unique<ui::TrainingWindow>(main.BayesFilter()));
    windows.push_back(std::make_unique<ui::UpdaterWindow>(main.UpdateCheck()->Updater()));
    windows.push_back(std::make_unique<ui::ProxyDialog>());
    if (main.Reminders())
        windows.push_back(std::make_unique<ui::RemindersWindow>(*main.Reminders()));
    windows.push_back(std::make_unique<ui::EventReminderWindow>(""));
    return windows;
}

class LanguagesTest : public ScannerFixture {
protected:
    void SetUp() override {
        ScannerFixture::SetUp();
        SetLanguageFolders({languagesSource()});
        start();
    }
    void TearDown() override {
        ApplyLanguage(0);
        settings.reset();
        ScannerFixture::TearDown();
    }
    // Every text of the open windows, each as often as it is shown.
    std::multiset<std::string> openTexts() {
        std::multiset<std::string> texts;
        for (QWidget* w : QApplication::topLevelWidgets())
            if (!w->parentWidget())
                for (auto& t : ui::formTexts(*w)) texts.insert(std::move(t));
        return texts;
    }
    // What a shows that b does not.
    static std::vector<std::string> beyond(const std::multiset<std::string>& a,
                                           const std::multiset<std::string>& b) {
        std::vector<std::string> out;
        std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(out));
        return out;
    }
    void choose(const std::string& name) {
        const int index = LanguageIndex(name);
        ASSERT_GT(index, 0) << name;
        settings->findChild<QComboBox*>(QStringLiteral("language"))->setCurrentIndex(index);
        ASSERT_EQ(CurrentLanguage(), name);
    }
    std::unique_ptr<ui::SettingsDialog> settings;
};

// What the sources hand to gettranslation, ShownText or translated as a
// literal (adjacent literals joined) or as a named constant, with the blanks
// and line breaks that only join pieces cut off; and the places where a text
// can never be found: a literal message box text, or a line break inside.
struct SourceTexts {
    std::vector<std::string> texts;
    std::vector<std::string> faults;
};

SourceTexts sourceTexts() {
    namespace fs = std::filesystem;
    const std::string root = std::string(std::getenv("CORVA_SOURCE_DIR")) + "/src";
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string path = entry.path().string();
        // The command line stays English for scripts.
        if (path.find("/src/app/") == std::string::npos &&
            (EndsWith(path, ".cpp") || EndsWith(path, ".h")))
            files[path.substr(root.size() + 1)] = readFile(path);
    }
    auto skipBlanks = [](const std::string& s, size_t& at) {
        while (at < s.size() && std::isspace(static_cast<unsigned char>(s[at]))) ++at;
    };
    // Adjacent literals from at, joined and unescaped; nullopt when none starts there.
    auto literals = [&](const std::string& s, size_t& at) -> std::optional<std::string> {
        std::optional<std::string> out;
        for (skipBlanks(s, at); at < s.size() && s[at] == '"'; skipBlanks(s, at)) {
            if (!out) out.emplace();
            for (++at; at < s.size() && s[at] != '"'; ++at) {
                if (s[at] != '\\') {
                    *out += s[at];
                    continue;
                }
                const char c = s[++at];
                *out += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
            }
            ++at;
        }
        return out;
    };
    auto word = [](const std::string& s, size_t at) {
        size_t end = at;
        while (end < s.size() &&
               (std::isalnum(static_cast<unsigned char>(s[end])) || s[end] == '_'))
            ++end;
        return s.substr(at, end - at);
    };
    std::map<std::string, std::string> constants;
    for (const auto& [name, text] : files)
        for (size_t at = 0; (at = text.find("constexpr const char* ", at)) != std::string::npos;) {
            at += 22;
            const std::string id = word(text, at);
            at = text.find('=', at) + 1;
            if (auto value = literals(text, at)) constants[id] = *value;
        }
    SourceTexts found;
    for (const auto& [name, text] : files) {
        for (const char* call : {"gettranslation(", "ShownText(", "translated("})
            for (size_t at = 0; (at = text.find(call, at)) != std::string::npos;) {
                const bool named =
                    at == 0 || !(std::isalnum(static_cast<unsigned char>(text[at - 1])) ||
                                 text[at - 1] == '_');
                at += std::strlen(call);
                if (!named) continue;
                skipBlanks(text, at);
                if (text.compare(at, 15, "QStringLiteral(") == 0) at += 15;
                std::optional<std::string> value = literals(text, at);
                if (!value) {
                    const auto constant = constants.find(word(text, at));
                    if (constant == constants.end()) continue;
                    value = constant->second;
                }
                const size_t first = value->find_first_not_of(" \r\n");
                if (first == std::string::npos) continue;
                const std::string words =
                    value->substr(first, value->find_last_not_of(" \r\n") + 1 - first);
                if (words.find_first_of("\r\n") != std::string::npos ||
                    words.find("||") != std::string::npos)
                    found.faults.push_back(name + ": \"" + words + "\" can't be a language line");
                else if (words.size() > 1 &&
                         std::any_of(words.begin(), words.end(),
                                     [](unsigned char c) { return std::isalpha(c); }))
                    found.texts.push_back(words);
            }
        for (const char* call : {"messageBox(", "inputBox(", "askPassword("})
            for (size_t at = 0; (at = text.find(call, at)) != std::string::npos;) {
                at += std::strlen(call);
                if (literals(text, at))
                    found.faults.push_back(name + ": a " + call + ") text not translated");
            }
    }
    return found;
}

// Texts a window shows from the user's data or the clock, not its own.
bool isData(const std::string& text) {
    return StartsWith(text, "Log file as of") || StartsWith(text, "<b>") ||
           StartsWith(text, "From: ") ||
           (StartsWith(text, "Subject: ") && text.find("@@@") == std::string::npos) ||
           text.find(" in Inbox,") != std::string::npos ||
           (StartsWith(text, "Account ") && Val(text.substr(8)) > 0);
}

TEST_F(LanguagesTest, EveryWindowTextHasGermanAndFrench) {
    std::vector<std::string> texts;
    auto add = [&](const std::vector<std::string>& more) {
        for (const auto& t : more)
            if (!isData(t) && std::find(texts.begin(), texts.end(), t) == texts.end())
                texts.push_back(t);
    };
    add(ui::formTexts(*window));
    // The mailer's right-click menu is made for the selected message; its
    // entries that name an address are not looked up.
    writeFile(MessageFolder + "Inbox/HELLO.eml",
              mailText("ann@example.com", "me@example.com", "Hi"));
    ui::MailerWindow* mailer = window->openMailer();
    add(ui::formTexts(*mailer));
    ASSERT_FALSE(mailer->mailer().ContextMenu().empty());
    for (const auto& entry : mailer->mailer().ContextMenu())
        if (!entry.caption.empty() && entry.caption.find('<') == std::string::npos)
            add(std::vector<std::string>{entry.caption});
    for (const auto& w : everyWindow(*main)) add(ui::formTexts(*w));
    add(MessageTexts());
    // The account rules' texts, shown by the wizard through a variable.
    add({NoUserNameText, BadAddressText, NoInboundText, NoOutboundText, NoLoginText, NoTitleText});
    const SourceTexts shown = sourceTexts();
    EXPECT_EQ(shown.faults, std::vector<std::string>{});
    add(shown.texts);
    add(RightClickEntries()); // the scanner's menu, made as it opens
    std::sort(texts.begin(), texts.end());
    // The generator: template.txt and FormsText.txt come from this list.
    const std::string made = TemplateText(texts);
    writeFile(CORVA_BINARY_DIR "/template.txt", made);
    EXPECT_TRUE(WriteFormStrings(texts, CORVA_BINARY_DIR "/FormsText.txt"));
    if (std::getenv("CORVA_WRITE_TEMPLATE")) writeFile(languagesSource() + "/template.txt", made);
    EXPECT_EQ(readFile(languagesSource() + "/template.txt"), made)
        << "template.txt is out of date: run this test with CORVA_WRITE_TEMPLATE=1";

    for (const char* file : {"German.txt", "French.txt"}) {
        const LanguageText language = ReadLanguageText(readFile(languagesSource() + "/" + file));
        std::map<std::string, std::string> table(language.pairs.begin(), language.pairs.end());
        std::map<std::string, std::string> back;
        for (const auto& text : texts) {
            const auto at = table.find(text);
            if (at == table.end() || at->second.empty()) {
                ADD_FAILURE() << file << " has no translation for \"" << text << "\"";
                continue;
            }
            // Going back to English looks each translation up: two texts
            // sharing one would come back as the same text.
            const auto [other, fresh] = back.emplace(at->second, text);
            EXPECT_TRUE(fresh) << file << ": \"" << text << "\" and \"" << other->second
                               << "\" share \"" << at->second << "\"";
        }
    }
}

TEST_F(LanguagesTest, RunningWindowsSwitchGermanFrenchEnglish) {
    window->openMailer();
    settings = std::make_unique<ui::SettingsDialog>(window.get());
    settings->show();
    // The status bar shows its texts a moment after they are set.
    platform::current().eventLoop().runUntil(
        [&] { return openTexts().count("Corva auto-update disabled") > 0; }, 2000);
    const auto english = openTexts();

    choose("Deutsch");
    EXPECT_NE(settings->windowTitle(), QStringLiteral("Settings"));
    EXPECT_EQ(window->listModel().headerData(3, Qt::Horizontal, Qt::DisplayRole).toString(),
              QStringLiteral("Betreff"));
    saveScreenshot(*window, QStringLiteral("scanner-german"));
    saveScreenshot(*settings, QStringLiteral("settings-german"));
    const auto german = openTexts();
    EXPECT_GT(beyond(german, english).size(), english.size() / 2);

    choose("Français");
    EXPECT_EQ(window->listModel().headerData(3, Qt::Horizontal, Qt::DisplayRole).toString(),
              QStringLiteral("Objet"));
    EXPECT_FALSE(beyond(openTexts(), german).empty());
    {
        // A window made now takes the language when it shows.
        ui::ArchiveDialog late;
        late.show();
        EXPECT_EQ(late.windowTitle(), QStringLiteral("Archivage du courrier"));
    }

    settings->findChild<QComboBox*>(QStringLiteral("language"))->setCurrentIndex(0);
    EXPECT_EQ(CurrentLanguage(), "English");
    const auto back = openTexts();
    EXPECT_EQ(beyond(back, english), std::vector<std::string>{});
    EXPECT_EQ(beyond(english, back), std::vector<std::string>{});
    EXPECT_EQ(sget("langID", "").toText(), "English");
}

TEST_F(LanguagesTest, MessageBoxesAndAddressEntriesShowTheLanguage) {
    writeFile(MessageFolder + "Inbox/HELLO.eml",
              mailText("ann@example.com", "me@example.com", "Hi"));
    ApplyLanguage(LanguageIndex("Deutsch"));
    ui::MailerWindow* mailer = window->openMailer();
    mailer->mailer().SelectAndPreviewLastMsg();
    std::vector<std::string> captions;
    for (const auto& entry : mailer->mailer().ContextMenu())
        if (entry.caption.find("ann@example.com") != std::string::npos)
            captions.push_back(entry.caption);
    EXPECT_EQ(captions,
              (std::vector<std::string>{"Antworten an <ann@example.com>",
                                        "<ann@example.com> zu den Kontakten hinzufügen",
                                        "<ann@example.com> in die Zwischenablage kopieren",
                                        "Nachricht an <ann@example.com> zurückweisen"}));
    mailer->mailer().Command("no such command");
    main->OpenMessageFile("/nowhere/lost.eml");
    EXPECT_EQ(prompts(),
              (std::vector<std::string>{"In Arbeit - kommt mit der nächsten Version.",
                                        "/nowhere/lost.eml konnte nicht geöffnet werden"}));
}

} // namespace
} // namespace corva::test
