#include "TV/server/dummy/query/FoundTexts.h"

#include "TV/server/dummy/query/RowBits.h"

namespace Ostrel::TV {

namespace {

constexpr std::size_t wordBits = 64;

} // namespace

FoundTexts::FoundTexts(const StartTimeIndex& index)
    : index_(index), found_(index.texts().size() / wordBits + 1, 0), words_(found_.size() / wordBits + 1, 0) {
}

void FoundTexts::add(std::size_t offset) {
    const auto word = offset / wordBits;
    found_[word] |= std::uint64_t{1} << offset % wordBits;
    words_[word / wordBits] |= std::uint64_t{1} << word % wordBits;
}

void FoundTexts::narrow(std::span<std::uint64_t> rows, std::size_t first, bool inDescriptions) const {
    const auto isFound = [this](std::uint32_t offset) {
        const auto word = offset / wordBits;
        return (words_[word / wordBits] >> word % wordBits & 1) && (found_[word] >> offset % wordBits & 1);
    };
    const std::uint32_t* const titles = index_.titles();
    const std::uint32_t* const descriptions = inDescriptions ? index_.descriptions() : titles;
    keepRows(rows, first, [&](std::uint32_t position) {
        return isFound(titles[position]) || isFound(descriptions[position]);
    });
}

} // namespace Ostrel::TV
