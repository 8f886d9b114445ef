#include "TV/server/dummy/query/TextSearch.h"

#include "TV/server/dummy/guide/StartTimeIndex.h"

#include <cstring>

namespace Ostrel::TV {

TextSearch::TextSearch(const StartTimeIndex& index, const std::string& wanted, bool inDescriptions,
                       unsigned patience)
    : index_(index), wanted_(wanted), inDescriptions_(inDescriptions),
      possible_(wanted.find('\0') == std::string::npos), patience_(patience) {}

bool TextSearch::look(std::uint32_t position) {
    // An empty text is found at once, and everywhere.
    if (!wanted_.empty() && patience_-- == 0) {
        readAll();
        return occursAt(position);
    }
    return occursIn(index_.titles()[position]) ||
           (inDescriptions_ && occursIn(index_.descriptions()[position]));
}

bool TextSearch::occursIn(std::uint32_t offset) const {
    return offset != 0 && possible_ && std::strstr(PoolText{offset}, wanted_.c_str()) != nullptr;
}

void TextSearch::readAll() {
    const Bits found = findTexts();
    // Few words hold anything where a text is rare, and the list of those stays near at hand.
    Bits words(found.size() / wordBits + 1, 0);
    for (std::size_t word = 0; word != found.size(); ++word)
        words[word / wordBits] |= std::uint64_t{found[word] != 0} << word % wordBits;
    const auto isFound = [&](std::uint32_t offset) {
        const auto word = offset / wordBits;
        return (words[word / wordBits] >> word % wordBits & 1) && (found[word] >> offset % wordBits & 1);
    };

    const std::uint32_t* const titles = index_.titles();
    const std::uint32_t* const descriptions = inDescriptions_ ? index_.descriptions() : titles;
    rows_.assign(index_.size() / wordBits + 1, 0);
    for (std::size_t position = 0; position != index_.size(); ++position)
        if (isFound(titles[position]) || isFound(descriptions[position]))
            rows_[position / wordBits] |= std::uint64_t{1} << position % wordBits;
}

TextSearch::Bits TextSearch::findTexts() const {
    // The empty text leads, so that a NUL stands before every other one.
    const std::string_view texts = index_.texts();
    Bits found(texts.size() / wordBits + 1, 0);
    const char* const start = texts.data();
    const char* const end = start + texts.size();
    const char* at = start;
    while (const void* hit =
               possible_ ? memmem(at, static_cast<std::size_t>(end - at), wanted_.data(), wanted_.size())
                         : nullptr) {
        const char* const inside = static_cast<const char*>(hit);
        const void* const before = memrchr(start, '\0', static_cast<std::size_t>(inside - start));
        const auto offset = static_cast<std::size_t>(static_cast<const char*>(before) + 1 - start);
        found[offset / wordBits] |= std::uint64_t{1} << offset % wordBits;
        at = inside + std::strlen(inside) + 1;
    }
    return found;
}

} // namespace Ostrel::TV
