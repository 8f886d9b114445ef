#include "world/Language.h"

#include <algorithm>

namespace Ostrel::TV::Tool {

namespace {

bool isSame(char a, char b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c == '-' ? '_' : c; };
    return lower(a) == lower(b);
}

} // namespace

bool isIn(const XmltvText& text, std::string_view language) {
    const std::string_view told = text.kind;
    if (told.size() < language.size() || !std::equal(language.begin(), language.end(), told.begin(), isSame))
        return false;
    return language.empty() || told.size() == language.size() || isSame(told[language.size()], '_');
}

std::string_view choose(const std::vector<XmltvText>& texts, std::string_view language) {
    for (const XmltvText& text : texts)
        if (!text.text.empty() && isIn(text, language))
            return text.text;
    for (const XmltvText& text : texts)
        if (!text.text.empty())
            return text.text;
    return {};
}

} // namespace Ostrel::TV::Tool
