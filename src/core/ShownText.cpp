#include "core/ShownText.h"

namespace corva {
namespace {

TextTranslation& installed() {
    static TextTranslation translate = nullptr;
    return translate;
}

} // namespace

void SetShownTextTranslation(TextTranslation translate) {
    installed() = translate;
}

std::string ShownText(const std::string& text) {
    return installed() ? installed()(text) : text;
}

} // namespace corva
