#pragma once

#include "TV/server/dummy/query/FoundTexts.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace Ostrel::TV {

/// Texts that are looked for all at once, byte for byte: a text is read in one pass, and how long
/// that takes hardly depends on how many they are.
///
/// Any number of threads may ask at once.
class TextSet {
public:
    static constexpr std::size_t limit = 256; ///< of texts
    using Marks = std::bitset<limit>; ///< by their number in the list

    /// @param texts  ascending, no two equal, none empty or with a NUL, at most the limit; what they
    ///               point to must stay
    explicit TextSet(std::vector<std::string_view> texts);

    std::size_t size() const { return texts_.size(); }

    /// Whether any of them occurs in a text.
    bool occurIn(const char* text) const;

    /// Adds every text of the guide in which any of them occurs.
    /// @throws Cancelled
    void find(FoundTexts& found) const;

    /// Marks those that occur in a text. It may stop when all are marked.
    void mark(const char* text, Marks& marks) const;

private:
    using Bits = std::vector<std::uint64_t>;

    static unsigned byteOf(char c) { return static_cast<unsigned char>(c); }

    /// Calls found(number) for each that occurs, wherever it does, until that returns true.
    template <typename Found> bool scan(const char* text, Found found) const;
    /// The same for those that a text begins with.
    template <typename Found> bool scanStart(const char* text, Found found) const;
    /// The same for the texts from first to last - 1, whose first bytes, as many as the depth, are those
    /// of the text.
    template <typename Found> bool scanRange(const char* text, std::size_t depth, std::size_t first,
                                             std::size_t last, Found found) const;

    const std::vector<std::string_view> texts_;
    std::vector<std::uint32_t> heads_; ///< their first four bytes, NULs behind those that are shorter
    // What may begin with one of them; small, so that it stays near.
    Bits shorts_; ///< by the first two bytes, of texts of less than four
    Bits longs_; ///< by a hash of the first four bytes, of the others
    /// By pair, the number of the first text that does not begin with less; a text of one byte
    /// counts as one with a NUL behind it.
    std::vector<std::uint16_t> firsts_;
};

} // namespace Ostrel::TV
