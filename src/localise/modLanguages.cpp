#include "localise/modLanguages.h"

#include "core/AppInfo.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/ShownText.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"

#include <algorithm>

namespace corva {

namespace {

using Table = std::vector<std::pair<std::string, std::string>>;

struct Languages {
    std::vector<std::string> folders;
    std::vector<std::string> files;
    std::vector<std::string> names;
    Table table; // sorted by the English text (or, while reverting, the translation)
    std::string current = "English";
    std::string font;
    int generation = 0;
    int loads = 0;
    std::function<void()> walker;
};

Languages& state() {
    static Languages languages;
    return languages;
}

// Trimmed, tabs gone, empty and "#" lines skipped.
std::vector<std::string> meaningfulLines(const std::string& text) {
    std::vector<std::string> lines;
    for (const auto& raw : SplitLines(text)) {
        std::string line = Replace(Trim(raw), "\t", "");
        if (line.empty() || line[0] == '#') continue;
        lines.push_back(std::move(line));
    }
    return lines;
}

void sortTable(Table& table) {
    std::stable_sort(table.begin(), table.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
}

} // namespace

LanguageText ReadLanguageText(const std::string& text) {
    LanguageText language;
    const auto lines = meaningfulLines(text);
    for (size_t i = 0; i < lines.size(); ++i) {
        if (i == 0) {
            language.name = lines[i];
            continue;
        }
        std::string english = beforebreak(lines[i]);
        std::string translation = afterbreak(lines[i]);
        if (english == LanguageFontKey) {
            language.font = translation;
            continue;
        }
        language.pairs.emplace_back(std::move(english), std::move(translation));
    }
    return language;
}

void SetLanguageFolders(std::vector<std::string> folders) {
    state().folders = std::move(folders);
}

std::vector<std::string> LanguageFolders() {
    std::vector<std::string> folders{AppPath() + "languages"};
    folders.insert(folders.end(), state().folders.begin(), state().folders.end());
    return folders;
}

void LoadAllLanguages() {
    auto& s = state();
    s.files.clear();
    s.names.clear();
    guarded("LoadAllLanguages", "modLanguages", [&] {
        std::vector<std::string> seen;
        for (const auto& folder : LanguageFolders()) {
            std::vector<std::string> names;
            FillFiles(folder, "txt", names);
            std::sort(names.begin(), names.end());
            for (const auto& name : names) {
                if (EqualsNoCase(name, "template.txt")) continue;
                const bool hidden = std::any_of(
                    seen.begin(), seen.end(), [&](const auto& n) { return EqualsNoCase(n, name); });
                if (hidden) continue;
                seen.push_back(name);
                s.files.push_back(folder + "/" + name);
            }
        }
    });
    for (size_t i = 0; i < s.files.size(); ++i) {
        std::string name;
        guarded("LoadAllLanguages", "modLanguages", [&] {
            const auto lines = meaningfulLines(LoadTextFile(s.files[i]));
            if (!lines.empty()) name = lines.front();
        });
        s.names.push_back(name.empty() ? "Language " + std::to_string(i + 1) : name);
    }
}

const std::vector<std::string>& LanguageFileList() {
    return state().files;
}

const std::vector<std::string>& LanguageNameList() {
    return state().names;
}

std::vector<std::string> filllanguagelist() {
    std::vector<std::string> list{"English"};
    list.insert(list.end(), state().names.begin(), state().names.end());
    return list;
}

int LanguageIndex(const std::string& name) {
    const auto list = filllanguagelist();
    const auto at = std::find(list.begin(), list.end(), name);
    return at == list.end() ? -1 : static_cast<int>(at - list.begin());
}

const std::string& CurrentLanguage() {
    return state().current;
}

int CurrentLanguageIndex() {
    return std::max(0, LanguageIndex(state().current));
}

int LanguageGeneration() {
    return state().generation;
}

void loadlanguage(int index) {
    auto& s = state();
    if (s.current == "English" && index == 0) return;
    const bool known = index >= 1 && static_cast<size_t>(index) <= s.files.size();
    if (known && s.names[static_cast<size_t>(index - 1)] != s.current) {
        guarded("loadlanguage", "modLanguages", [&] {
            s.table.clear();
            LanguageText language =
                ReadLanguageText(LoadTextFile(s.files[static_cast<size_t>(index - 1)]));
            s.current =
                language.name.empty() ? s.names[static_cast<size_t>(index - 1)] : language.name;
            s.font = language.font;
            // The first line for an English text stands; later ones are dropped.
            sortTable(language.pairs);
            for (auto& pair : language.pairs)
                if (s.table.empty() || s.table.back().first != pair.first)
                    s.table.push_back(std::move(pair));
            s.generation = ++s.loads;
        });
        return;
    }
    reverttoenglish();
}

void reverttoenglish() {
    auto& s = state();
    if (s.current == "English") return;
    s.current = "English";
    s.generation = 0;
    s.font.clear();
    for (auto& [english, translation] : s.table) std::swap(english, translation);
    sortTable(s.table);
    guarded("reverttoenglish", "modLanguages", [&] {
        if (s.walker) s.walker();
    });
    s.table.clear();
}

int seekitem(const Table& table, const std::string& text) {
    const auto at =
        std::lower_bound(table.begin(), table.end(), text,
                         [](const auto& item, const std::string& t) { return item.first < t; });
    if (at == table.end() || at->first != text) return 0;
    return static_cast<int>(at - table.begin()) + 1;
}

std::string gettranslation(const std::string& text) {
    if (text.size() <= 1) return text;
    const int at = seekitem(state().table, text);
    if (at != 0) return state().table[static_cast<size_t>(at - 1)].second;
    // A language file trims its texts, so a piece of a composed message
    // ("File ", " not found\r\n") is found by its words, its blanks kept.
    const size_t first = text.find_first_not_of(" \r\n");
    if (first == std::string::npos) return text;
    const size_t last = text.find_last_not_of(" \r\n");
    if (first == 0 && last + 1 == text.size()) return text;
    const std::string words = text.substr(first, last + 1 - first);
    if (words.size() <= 1) return text;
    const int inner = seekitem(state().table, words);
    if (inner == 0) return text;
    return text.substr(0, first) + state().table[static_cast<size_t>(inner - 1)].second +
           text.substr(last + 1);
}

std::string TranslateLabelled(const std::string& text) {
    std::string whole = gettranslation(text);
    if (whole != text) return whole;
    const size_t colon = text.find(": ");
    if (colon == std::string::npos) return text;
    return gettranslation(text.substr(0, colon + 1)) + text.substr(colon + 1);
}

std::string beforebreak(const std::string& text) {
    const size_t at = text.find("||");
    return at == std::string::npos ? std::string() : Trim(text.substr(0, at));
}

std::string afterbreak(const std::string& text) {
    const size_t at = text.find("||");
    return Trim(at == std::string::npos ? text : text.substr(at + 2));
}

const std::string& LanguageFont() {
    return state().font;
}

void ClearLanguageFont() {
    state().font.clear();
}

void SetWindowWalker(std::function<void()> walk) {
    state().walker = std::move(walk);
}

void TranslateOpenWindows() {
    guarded("TranslateOpenWindows", "modLanguages", [] {
        if (state().walker) state().walker();
    });
}

void StartLanguages() {
    SetShownTextTranslation(gettranslation);
    const std::string wanted = sget("langID", "English").toText();
    LoadAllLanguages();
    const int index = LanguageIndex(wanted);
    if (index > 0) loadlanguage(index);
    TranslateOpenWindows();
}

void ApplyLanguage(int index) {
    if (index < 0 || static_cast<size_t>(index) > state().names.size()) return;
    if (index != CurrentLanguageIndex() || (index == 0 && state().current != "English")) {
        reverttoenglish();
        if (index > 0) loadlanguage(index);
        TranslateOpenWindows();
    }
    sset("langID", CurrentLanguage());
}

const std::vector<std::string>& MessageTexts() {
    // What the scanner's status bar and splash show; a text with a value
    // after ": " is looked up by its label.
    static const std::vector<std::string> texts{"Loading settings",
                                                "Loading languages",
                                                "Starting Reminders",
                                                "Configuring Updater",
                                                "Loading Contacts",
                                                "Loading Filters",
                                                "Applying Settings",
                                                "Auto-update enabled",
                                                "Corva auto-update disabled",
                                                "Auto scan Disabled",
                                                "Scanning",
                                                "Timer stopped",
                                                "Next scan:",
                                                "Total deleted:",
                                                "No Internet Connection",
                                                "BUSY: Cannot open message",
                                                "Fetching selected message",
                                                "Selected message downloaded",
                                                "Viewing email",
                                                "Viewing source"};
    return texts;
}

bool WriteFormStrings(const std::vector<std::string>& texts, const std::string& path) {
    std::string out;
    for (const auto& text : texts) out += text + "-||-\r\n";
    return WriteFileExactly(path, out);
}

std::string TemplateText(const std::vector<std::string>& texts) {
    std::string out =
        "# Corva's window and status texts, each paired with itself.\n"
        "# A new language: copy this file to NAME.txt in the languages folder, put the\n"
        "# language's own name on the first line that is not a comment, and replace\n"
        "# the text after each \"||\". " +
        std::string(LanguageFontKey) +
        "||family names a font for every window.\n"
        "Template\n";
    for (const auto& text : texts) out += text + "||" + text + "\n";
    return out;
}

} // namespace corva
