#pragma once

#include "Ostrel/runtime/Cancellation.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Ostrel::TV {

// Sets of rows: a bit for each position from some position on, the first one the lowest of the
// first word.

constexpr std::size_t rowBits = 64; ///< of a word

inline std::size_t countRows(std::span<const std::uint64_t> rows) {
    std::size_t count = 0;
    for (const std::uint64_t word : rows)
        if (word != 0) // most are 0 where few rows are wanted
            count += static_cast<std::size_t>(std::popcount(word));
    return count;
}

/// Keeps the rows for whose position a condition is true.
/// @param first  position of the first bit
/// @throws Cancelled
template <typename Condition>
void keepRows(std::span<std::uint64_t> rows, std::size_t first, Condition condition) {
    for (std::size_t i = 0; i != rows.size(); ++i) {
        if (rows[i] == 0)
            continue;
        Cancellation::check();
        std::uint64_t kept = 0;
        for (std::uint64_t left = rows[i]; left != 0; left &= left - 1) {
            const auto bit = static_cast<std::size_t>(std::countr_zero(left));
            kept |= std::uint64_t{condition(static_cast<std::uint32_t>(first + i * rowBits + bit))} << bit;
        }
        rows[i] = kept;
    }
}

} // namespace Ostrel::TV
