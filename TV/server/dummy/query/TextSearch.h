#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Ostrel::TV {

class StartTimeIndex;

/// Looks for one text in the titles of the guide's rows, and perhaps in their descriptions,
/// byte for byte.
///
/// The first rows may be looked into as they come, which is all that a frequent text and a short
/// slice need. Then every text of the guide is read once, however many rows share it, and what
/// is asked later is looked up.
class TextSearch {
public:
    /// @param index     must stay where it is, as wanted must
    /// @param patience  how many rows are looked into before all texts are read
    TextSearch(const StartTimeIndex& index, const std::string& wanted, bool inDescriptions,
               unsigned patience);

    /// Whether the row at that position has a text in which it occurs. Nothing
    /// occurs in a text that is absent.
    bool occursAt(std::uint32_t position) {
        return rows_.empty() ? look(position) : rows_[position / wordBits] >> position % wordBits & 1;
    }

private:
    static constexpr std::size_t wordBits = 64;

    using Bits = std::vector<std::uint64_t>;

    bool look(std::uint32_t position);
    bool occursIn(std::uint32_t offset) const;
    void readAll();
    /// A bit for each byte of the texts, set where one starts that holds what is wanted.
    Bits findTexts() const;

    const StartTimeIndex& index_;
    const std::string& wanted_;
    const bool inDescriptions_;
    const bool possible_; ///< no text of the guide holds a NUL
    unsigned patience_;
    Bits rows_; ///< a bit for each position, once all texts have been read
};

} // namespace Ostrel::TV
