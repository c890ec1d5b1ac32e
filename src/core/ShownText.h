// The language of the few texts core itself shows a person (its message
// boxes). Core sits below the language files, so the languages install their
// lookup here at start-up; left unset, as on the command line, texts stay English.
#pragma once

#include <string>

namespace corva {

using TextTranslation = std::string (*)(const std::string&);
void SetShownTextTranslation(TextTranslation translate);
std::string ShownText(const std::string& text);

} // namespace corva
