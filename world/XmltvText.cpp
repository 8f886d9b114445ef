#include "world/XmltvText.h"

namespace Ostrel::TV::Tool {

namespace {

/// How many bytes at the beginning no viewer's text may hold: blanks, control characters, U+FFFE and U+FFFF.
std::size_t blankLength(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first <= ' ' || first == 0x7F)
        return 1;
    if (first == 0xC2 && text.size() > 1 && static_cast<unsigned char>(text[1]) < 0xA0)
        return 2;
    return text.starts_with("\xEF\xBF\xBE") || text.starts_with("\xEF\xBF\xBF") ? 3 : 0;
}

} // namespace

std::string cleanText(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    bool isBlank = false;
    while (!text.empty()) {
        const auto blank = blankLength(text);
        if (blank == 0) {
            if (isBlank && !clean.empty())
                clean += ' ';
            clean += text.front();
        }
        isBlank = blank != 0;
        text.remove_prefix(blank != 0 ? blank : 1);
    }
    return clean;
}

bool cutText(std::string& text, std::size_t most) {
    constexpr std::string_view ellipsis = "\u2026";
    if (text.size() <= most)
        return false;
    std::size_t end = most - ellipsis.size();
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    while (end > 0 && text[end - 1] == ' ')
        --end;
    text.resize(end);
    text += ellipsis;
    return true;
}

void appendEscaped(std::string& xml, std::string_view text) {
    for (const char c : text) {
        switch (c) {
        case '&':
            xml += "&amp;";
            break;
        case '<':
            xml += "&lt;";
            break;
        case '>':
            xml += "&gt;";
            break;
        case '"':
            xml += "&quot;";
            break;
        default:
            xml += c;
        }
    }
}

} // namespace Ostrel::TV::Tool
