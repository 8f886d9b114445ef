#pragma once

#include <cstdint>
#include <span>

namespace Ostrel::TV {

/// The text of a range of DVB content codes, first and last included. A row whose first
/// number is negative ends the table.
struct GenreRow {
    std::int32_t firstLevel1, firstLevel2; ///< nibbles of the first code
    std::int32_t lastLevel1, lastLevel2; ///< nibbles of the last code
    const char* text;

    std::int32_t first() const noexcept { return firstLevel1 << 4 | firstLevel2; }
    std::int32_t last() const noexcept { return lastLevel1 << 4 | lastLevel2; }
};

/// The genre texts, ascending by code; the row that ends the table follows behind the last one.
std::span<const GenreRow> genreRows() noexcept;

} // namespace Ostrel::TV
