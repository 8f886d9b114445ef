#include "Ostrel/text/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Ostrel {

namespace {

constexpr std::size_t longestCharacter = 4; ///< bytes

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

/// Bytes of the character that a text begins with; 0 when it begins with none.
std::size_t measureCharacter(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80)
        return 1;
    const std::size_t size = first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : first < 0xf5 ? 4 : 0;
    if (size == 0 || text.size() < size ||
        !std::all_of(text.begin() + 1, text.begin() + std::ptrdiff_t(size), continuesCharacter))
        return 0;
    // Longer than need be, half of a pair, or past U+10FFFF: the second byte tells.
    const auto second = static_cast<unsigned char>(text[1]);
    const bool isWrong = (first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) ||
                         (first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f);
    return isWrong ? 0 : size;
}

/// Bytes that a text begins with and that are ASCII.
std::size_t measureAscii(std::string_view text) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    std::uint64_t words[4];
    std::size_t at = 0;
    for (; text.size() - at >= sizeof words; at += sizeof words) {
        std::memcpy(words, text.data() + at, sizeof words);
        if (((words[0] | words[1] | words[2] | words[3]) & highBits) != 0)
            break;
    }
    for (; text.size() - at >= sizeof words[0]; at += sizeof words[0]) {
        std::memcpy(words, text.data() + at, sizeof words[0]);
        if ((words[0] & highBits) != 0)
            break;
    }
    while (at != text.size() && static_cast<unsigned char>(text[at]) < 0x80)
        ++at;
    return at;
}

/// Bytes that a text begins with and that are UTF-8.
std::size_t measureUtf8(std::string_view text) {
    std::size_t at = measureAscii(text);
    while (at != text.size()) {
        const auto size = measureCharacter(text.substr(at));
        if (size == 0)
            break;
        at += size;
        at += measureAscii(text.substr(at));
    }
    return at;
}

} // namespace

std::string_view cutText(std::string_view text, std::size_t size) {
    if (text.size() <= size)
        return text;
    const auto least = size - std::min(size, longestCharacter);
    while (size > least && continuesCharacter(text[size]))
        --size;
    return text.substr(0, size);
}

bool isUtf8(std::string_view text) {
    return measureUtf8(text) == text.size();
}

void makeUtf8(std::string& text) {
    const auto good = measureUtf8(text);
    if (good == text.size())
        return;
    std::string whole(text, 0, good);
    std::string_view rest = std::string_view(text).substr(good);
    for (std::size_t size = 0; !rest.empty(); rest.remove_prefix(std::max<std::size_t>(size, 1))) {
        size = measureCharacter(rest);
        whole += size > 0 ? rest.substr(0, size) : "\xef\xbf\xbd";
    }
    text = std::move(whole);
}

} // namespace Ostrel
