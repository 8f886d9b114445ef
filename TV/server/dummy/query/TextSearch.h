#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Ostrel::TV {

class StartTimeIndex;

/// Looks for one text in the titles of the guide's rows, and perhaps in their descriptions,
/// byte for byte. Nothing occurs in a text that is absent.
class TextSearch {
public:
    /// @param index   must stay where it is
    /// @param wanted  without a NUL
    TextSearch(const StartTimeIndex& index, std::string_view wanted, bool inDescriptions);

    /// Whether the row at that position has a text in which it occurs.
    bool occursAt(std::uint32_t position) const;

    /// Clears the bits of those rows that have none. Unless they are few, every text of the guide
    /// is read once, however many rows share it.
    /// @param rows  a bit for each position
    void narrow(std::span<std::uint64_t> rows) const;

private:
    using Bits = std::vector<std::uint64_t>;

    bool occursIn(std::uint32_t offset) const;
    /// A bit for each byte of the texts, set where one starts that holds what is wanted.
    Bits findTexts() const;

    const StartTimeIndex& index_;
    const std::string wanted_;
    const bool inDescriptions_;
};

} // namespace Ostrel::TV
