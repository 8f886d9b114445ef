#pragma once

#include "TV/server/dummy/guide/StartTimeIndex.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace Ostrel::TV {

/// Those texts of a guide that hold what is looked for: each is read once, however many rows
/// share it.
class FoundTexts {
public:
    /// @param index  must stay where it is
    explicit FoundTexts(const StartTimeIndex& index);

    /// All there are, see StartTimeIndex::texts().
    std::string_view texts() const { return index_.texts(); }

    /// @param offset  where a text begins
    void add(std::size_t offset);

    /// Clears the bits of the rows whose title is not among them, nor perhaps their description.
    /// @param rows   a bit for each position
    /// @param first  position of the first bit
    /// @throws Cancelled
    void narrow(std::span<std::uint64_t> rows, std::size_t first, bool inDescriptions) const;

private:
    using Bits = std::vector<std::uint64_t>;

    const StartTimeIndex& index_;
    Bits found_; ///< a bit for each byte of the texts
    Bits words_; ///< a bit for each word of found_ that holds anything: they are few, and stay near
};

} // namespace Ostrel::TV
