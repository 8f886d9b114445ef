#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace Ostrel::TV {

/// The most bytes that a byte of text becomes when it is escaped.
constexpr std::size_t longestEscape = 6;

/// Appends a text, ended by a NUL, as the inside of a JSON string. It never reads past the NUL.
/// @param out  has append(const char*, std::size_t)
template <typename Out> void escapeJson(Out& out, const char* text) {
    const char* clean = text; // start of what has not been appended yet
    const auto flush = [&](const char* end) { out.append(clean, static_cast<std::size_t>(end - clean)); };
    const auto replace = [&](const char* at, const char* escape) {
        flush(at);
        out.append(escape, std::strlen(escape));
        clean = at + 1;
    };
    while (*text != '\0') {
        const auto byte = static_cast<unsigned char>(*text);
        if (byte >= 0xC0) {
            // Two bytes are copied behind a lead that announces two or three: the fourth of four
            // is then a stray one and is dropped.
            // Meant so: docs/oddities.md, "Four bytes become three".
            ++text;
            for (int follow = byte >= 0xE0 ? 2 : 1; follow != 0 && *text != '\0'; --follow)
                ++text;
            continue;
        }
        if (byte >= 0x80) {
            flush(text);
            clean = text + 1;
        } else if (byte < 0x20 || byte == '"' || byte == '\\') {
            char hexadecimal[10];
            switch (byte) {
            case '\b':
                replace(text, "\\b");
                break;
            case '\t':
                replace(text, "\\t");
                break;
            case '\n':
                replace(text, "\\n");
                break;
            case '\f':
                replace(text, "\\f");
                break;
            case '\r':
                replace(text, "\\r");
                break;
            case '"':
                replace(text, "\\\"");
                break;
            case '\\':
                replace(text, "\\\\");
                break;
            default:
                std::snprintf(hexadecimal, sizeof hexadecimal, "\\u%.4x", unsigned{byte});
                replace(text, hexadecimal);
            }
        }
        ++text;
    }
    flush(text);
}

/// Appends a text, ended by a NUL, as character data of XML in ASCII. It never reads past the NUL.
/// @param out  has append(const char*, std::size_t)
template <typename Out> void escapeXml(Out& out, const char* text) {
    const char* clean = text; // start of what has not been appended yet
    // The next byte of a character, 0 at the end of the text.
    const auto follow = [&] { return *text == '\0' ? 0u : static_cast<unsigned char>(*text++); };
    while (*text != '\0') {
        const char* const start = text;
        const auto byte = static_cast<unsigned char>(*text++);
        if (byte >= 0x20 && byte < 0x80 && byte != '<' && byte != '>' && byte != '&' && byte != '\'' &&
            byte != '"')
            continue;

        out.append(clean, static_cast<std::size_t>(start - clean));
        char reference[10];
        const char* replacement = reference;
        unsigned character = byte;
        if (byte >= 0xE0) {
            // The mask leaves nothing of a lead that announces four bytes; the fourth is dropped.
            // Meant so: docs/oddities.md, "Four bytes become three".
            const auto second = follow(), third = follow();
            character = (unsigned{byte} << 12 & 0xFFFF) | (second & 0x3F) << 6 | (third & 0x3F);
        } else if (byte >= 0xC0) {
            character = (byte & 0x1Fu) << 6 | (follow() & 0x3F);
        }
        clean = text;
        if (byte >= 0x80 && byte < 0xC0)
            continue;
        switch (character) {
        case '<':
            replacement = "&lt;";
            break;
        case '>':
            replacement = "&gt;";
            break;
        case '&':
            replacement = "&amp;";
            break;
        case '\'':
            replacement = "&apos;";
            break;
        case '"':
            replacement = "&quot;";
            break;
        default:
            if (character >= 32 && character <= 127)
                std::snprintf(reference, sizeof reference, "%c", static_cast<int>(character));
            else
                std::snprintf(reference, sizeof reference, "&#x%x;", character);
        }
        out.append(replacement, std::strlen(replacement));
    }
    out.append(clean, static_cast<std::size_t>(text - clean));
}

} // namespace Ostrel::TV
