#include "Ostrel/text/Utf8.h"

#include <algorithm>

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

} // namespace

std::string_view cutText(std::string_view text, std::size_t size) {
    if (text.size() <= size)
        return text;
    const auto least = size - std::min(size, longestCharacter);
    while (size > least && continuesCharacter(text[size]))
        --size;
    return text.substr(0, size);
}

void makeUtf8(std::string& text) {
    std::string_view rest = text;
    std::size_t size = 1;
    while (!rest.empty() && (size = measureCharacter(rest)) > 0)
        rest.remove_prefix(size);
    if (rest.empty())
        return;
    std::string whole(text, 0, text.size() - rest.size());
    for (; !rest.empty(); rest.remove_prefix(std::max<std::size_t>(size, 1))) {
        size = measureCharacter(rest);
        whole += size > 0 ? rest.substr(0, size) : "\xef\xbf\xbd";
    }
    text = std::move(whole);
}

} // namespace Ostrel
