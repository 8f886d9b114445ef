#include "TV/server/dummy/data/ViewerText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Ostrel::TV {

namespace {

constexpr const char* notUtf8 = "a text is not UTF-8";
constexpr const char* control = "a text holds a control character";
constexpr const char* noCharacter = "a text holds U+FFFE or U+FFFF, which XML cannot write";

/// Whether eight bytes are printable characters of ASCII.
bool isPlain(const char* text) {
    constexpr std::uint64_t ones = 0x0101010101010101, high = ones * 0x80;
    std::uint64_t bytes;
    std::memcpy(&bytes, text, sizeof bytes);
    const std::uint64_t below = (bytes - ones * 0x20) & high, beyond = (bytes + ones) & high;
    return ((bytes & high) | below | beyond) == 0;
}

/// A character that begins with a byte above 0x7F.
/// @param length  gets its bytes
const char* findWideFault(std::string_view text, std::size_t& length) {
    const auto byte = [&](std::size_t i) -> unsigned { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length)
        return notUtf8;
    unsigned character = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i != length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return notUtf8;
        character = character << 6 | (byte(i) & 0x3F);
    }
    constexpr unsigned least[] = {0x80, 0x800, 0x10000};
    if (character < least[length - 2] || character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF))
        return notUtf8;
    if (character < 0xA0)
        return control;
    return character == 0xFFFE || character == 0xFFFF ? noCharacter : nullptr;
}

} // namespace

const char* findTextFault(std::string_view text) noexcept {
    constexpr std::size_t most = 0xFFFF;
    if (text.size() > most)
        return "a text is longer than 65535 bytes";
    if (text.starts_with(' ') || text.ends_with(' '))
        return "a text begins or ends with a blank";
    while (!text.empty()) {
        std::size_t length = 1;
        const auto byte = static_cast<unsigned char>(text.front());
        if (text.size() >= 8 && isPlain(text.data()))
            length = 8;
        else if (byte < 0x20 || byte == 0x7F)
            return control;
        else if (byte >= 0x80)
            if (const char* const fault = findWideFault(text, length))
                return fault;
        text.remove_prefix(length);
    }
    return nullptr;
}

const char* findCridFault(std::string_view text) noexcept {
    constexpr std::size_t most = 64;
    const auto isPlainCharacter = [](char c) {
        return c > ' ' && c < '\x7F' && std::string_view("\"\\<>&'").find(c) == std::string_view::npos;
    };
    if (text.empty() || text.size() > most)
        return "a crid has 1 to 64 characters";
    return std::all_of(text.begin(), text.end(), isPlainCharacter)
               ? nullptr
               : "a crid has no characters but those of ASCII, and no blank, \", \\, <, >, & or '";
}

} // namespace Ostrel::TV
