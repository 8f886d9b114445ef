#include "TV/server/dummy/query/TextSearch.h"

#include "TV/server/dummy/guide/StartTimeIndex.h"
#include "TV/server/dummy/query/RowBits.h"

#include <cstring>

namespace Ostrel::TV {

TextSearch::TextSearch(const StartTimeIndex& index, std::string_view wanted, bool inDescriptions)
    : index_(index), wanted_(wanted), inDescriptions_(inDescriptions) {}

bool TextSearch::occursAt(std::uint32_t position) const {
    return occursIn(index_.titles()[position]) ||
           (inDescriptions_ && occursIn(index_.descriptions()[position]));
}

bool TextSearch::occursIn(std::uint32_t offset) const {
    return offset != 0 && std::strstr(PoolText{offset}, wanted_.c_str()) != nullptr;
}

void TextSearch::narrow(std::span<std::uint64_t> rows) const {
    constexpr std::size_t fewRows = 1024;
    // An empty text is found at once, wherever there is one to look into.
    if (wanted_.empty() || countRows(rows) <= fewRows)
        return keepRows(rows, [this](std::uint32_t position) { return occursAt(position); });

    const Bits found = findTexts();
    // Few words hold anything where a text is rare, and the list of those stays near at hand.
    Bits words(found.size() / rowBits + 1, 0);
    for (std::size_t word = 0; word != found.size(); ++word)
        words[word / rowBits] |= std::uint64_t{found[word] != 0} << word % rowBits;
    const auto isFound = [&](std::uint32_t offset) {
        const auto word = offset / rowBits;
        return (words[word / rowBits] >> word % rowBits & 1) && (found[word] >> offset % rowBits & 1);
    };
    const std::uint32_t* const titles = index_.titles();
    const std::uint32_t* const descriptions = inDescriptions_ ? index_.descriptions() : titles;
    keepRows(rows, [&](std::uint32_t position) {
        return isFound(titles[position]) || isFound(descriptions[position]);
    });
}

TextSearch::Bits TextSearch::findTexts() const {
    // The empty text leads, so that a NUL stands before every other one.
    const std::string_view texts = index_.texts();
    Bits found(texts.size() / rowBits + 1, 0);
    const char* const start = texts.data();
    const char* const end = start + texts.size();
    const char* at = start;
    while (const void* hit = memmem(at, static_cast<std::size_t>(end - at), wanted_.data(), wanted_.size())) {
        const char* const inside = static_cast<const char*>(hit);
        const void* const before = memrchr(start, '\0', static_cast<std::size_t>(inside - start));
        const auto offset = static_cast<std::size_t>(static_cast<const char*>(before) + 1 - start);
        found[offset / rowBits] |= std::uint64_t{1} << offset % rowBits;
        at = inside + std::strlen(inside) + 1;
    }
    return found;
}

} // namespace Ostrel::TV
