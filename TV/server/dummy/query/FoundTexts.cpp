#include "TV/server/dummy/query/FoundTexts.h"

#include "TV/server/dummy/query/RowBits.h"

namespace Ostrel::TV {

namespace {

/// With so many and fewer it is quicker to hold each against all rows, many rows at once, than to look each row up.
constexpr std::size_t fewTexts = 16;

constexpr std::size_t wordBits = 64;

/// Offsets in a set with a bit for each byte of the texts.
class OffsetSet {
public:
    OffsetSet(std::span<const std::uint32_t> offsets, std::size_t size)
        : bits_(size / wordBits + 1, 0), words_(bits_.size() / wordBits + 1, 0) {
        for (const std::uint32_t offset : offsets) {
            const auto word = offset / wordBits;
            bits_[word] |= std::uint64_t{1} << offset % wordBits;
            words_[word / wordBits] |= std::uint64_t{1} << word % wordBits;
        }
    }

    bool has(std::uint32_t offset) const {
        const auto word = offset / wordBits;
        return (words_[word / wordBits] >> word % wordBits & 1) && (bits_[word] >> offset % wordBits & 1);
    }

private:
    std::vector<std::uint64_t> bits_;
    std::vector<std::uint64_t>
        words_; ///< a bit for each word of bits_ that holds anything: they are few, and stay near
};

} // namespace

void FoundTexts::narrow(std::span<std::uint64_t> rows, std::size_t first, bool inDescriptions) const {
    const std::uint32_t* const descriptions = inDescriptions ? index_.descriptions() : index_.titles();
    Cancellation::check();
    if (offsets_.size() <= fewTexts)
        narrowToFew(rows, first, descriptions);
    else
        narrowToMany(rows, first, descriptions);
}

void FoundTexts::narrowToFew(std::span<std::uint64_t> rows, std::size_t first,
                             const std::uint32_t* descriptions) const {
    for (std::size_t i = 0; i != rows.size(); ++i) {
        if (rows[i] == 0)
            continue;
        const std::uint32_t* const title = index_.titles() + first + i * rowBits;
        const std::uint32_t* const description = descriptions + first + i * rowBits;
        std::uint64_t kept = 0;
        for (const std::uint32_t offset : offsets_) {
            // Compilers make vector instructions of this, and of 64 rows hardly any has one of few texts.
            unsigned any = 0;
            for (std::size_t row = 0; row != rowBits; ++row)
                any |= unsigned{title[row] == offset} | unsigned{description[row] == offset};
            for (std::size_t row = 0; any != 0 && row != rowBits; ++row)
                kept |= std::uint64_t{title[row] == offset || description[row] == offset} << row;
        }
        rows[i] &= kept;
    }
}

void FoundTexts::narrowToMany(std::span<std::uint64_t> rows, std::size_t first,
                              const std::uint32_t* descriptions) const {
    const OffsetSet found(offsets_, texts().size());
    const std::uint32_t* const titles = index_.titles();
    keepRows(rows, first, [&](std::uint32_t position) {
        return found.has(titles[position]) || found.has(descriptions[position]);
    });
}

} // namespace Ostrel::TV
