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
    explicit FoundTexts(const StartTimeIndex& index) : index_(index) {}

    /// All there are, see StartTimeIndex::texts().
    std::string_view texts() const { return index_.texts(); }

    /// Adds one that may be among them already.
    /// @param offset  where it begins
    void add(std::size_t offset) { offsets_.push_back(static_cast<std::uint32_t>(offset)); }

    /// Clears the bits of the rows whose title is not among them, nor perhaps their description.
    /// @param rows   a bit for each position
    /// @param first  position of the first bit
    /// @throws Cancelled
    void narrow(std::span<std::uint64_t> rows, std::size_t first, bool inDescriptions) const;

private:
    void narrowToFew(std::span<std::uint64_t> rows, std::size_t first,
                     const std::uint32_t* descriptions) const;
    void narrowToMany(std::span<std::uint64_t> rows, std::size_t first,
                      const std::uint32_t* descriptions) const;

    const StartTimeIndex& index_;
    std::vector<std::uint32_t> offsets_;
};

} // namespace Ostrel::TV
