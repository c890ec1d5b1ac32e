// Languages: files that pair an English text with its translation, one file a
// language. The running windows hold translated text, so going back to English
// turns the table round and walks the windows again (the walk is the view
// side's, installed with SetWindowWalker).
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace corva {

// One language file as read: its name line, its pairs in file order and the
// font it names (the pair "LANGUAGE_FONT||family"), if any.
struct LanguageText {
    std::string name;
    std::vector<std::pair<std::string, std::string>> pairs;
    std::string font;
};
LanguageText ReadLanguageText(const std::string& text);

// The English text under which a language file names its font.
inline constexpr const char* LanguageFontKey = "LANGUAGE_FONT";

// Folders searched after `languages` in the program folder (the installed
// ones); a file name found earlier hides the same name found later.
void SetLanguageFolders(std::vector<std::string> folders);
std::vector<std::string> LanguageFolders();

void LoadAllLanguages();
const std::vector<std::string>& LanguageFileList(); // full paths
const std::vector<std::string>& LanguageNameList();
// "English" and then the language names, as the settings' list shows them.
std::vector<std::string> filllanguagelist();
// The place of a name in that list, -1 when absent.
int LanguageIndex(const std::string& name);

const std::string& CurrentLanguage();
int CurrentLanguageIndex();
// Changes with every language loaded; 0 while English.
int LanguageGeneration();

void loadlanguage(int index);
void reverttoenglish();
std::string gettranslation(const std::string& text);
// A status text with a value after its label ("Next scan: 12"): the whole
// text, else the label up to ": " translated and the value kept.
std::string TranslateLabelled(const std::string& text);
std::string beforebreak(const std::string& text);
std::string afterbreak(const std::string& text);
// The position (from 1) of the first item whose English text is text, else 0.
int seekitem(const std::vector<std::pair<std::string, std::string>>& table,
             const std::string& text);

// The font the current language names, "" for none; cleared when absent.
const std::string& LanguageFont();
void ClearLanguageFont();

// The view side's walk over every open window with translateform.
void SetWindowWalker(std::function<void()> walk);
void TranslateOpenWindows();

// Start-up: langID, every language, the saved one applied to the open windows.
void StartLanguages();
// The settings' choice: back to English first, then the new language, every
// open window walked; langID keeps the choice.
void ApplyLanguage(int index);

// Texts the program shows outside its controls (status lines and the like).
const std::vector<std::string>& MessageTexts();
// Raw matter for a new language: each text and "-||-" on a line.
bool WriteFormStrings(const std::vector<std::string>& texts, const std::string& path);
// template.txt: every text paired with itself, so a copy works before it is
// translated.
std::string TemplateText(const std::vector<std::string>& texts);

} // namespace corva
