// The windows' side of the languages: which texts of which widget kind are
// translated (one table, in LanguageWalker.cpp), the walk over a window, and
// the hook that translates each widget the first time it shows in a language.
#pragma once

#include <QString>

#include <string>
#include <vector>

class QWidget;

namespace corva::ui {

// Every translatable text of a window and everything in it, as the window holds it.
void translateform(QWidget& window);
// translateform unless the language is English.
void localise(QWidget& window);
// The language's font on every control of the window, "Webdings" left alone.
void ChangeFont(QWidget& window);
// The window's translatable texts, in the order met, each once.
std::vector<std::string> formTexts(QWidget& window);
// gettranslation for a text the code shows outside the controls.
QString translated(const QString& text);

// Installs the walk over every open window and the hook that translates a
// widget when it first shows; names the installed language folders.
void installLanguages();

} // namespace corva::ui
