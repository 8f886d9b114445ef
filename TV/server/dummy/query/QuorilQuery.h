#pragma once

#include "TV/server/dummy/guide/GuideTable.h"
#include "TV/server/dummy/quoril/Expression.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// Walks the rows of the guide that start in a window and that an expression is true for, in
/// the order of their start.
///
/// One request makes one, calls init() once and next() until it answers null; there is no way
/// back. Without an init() that succeeded there are no rows.
class QuorilQuery {
public:
    /// @param base   the smallest start, seconds since 1970-01-01 UTC
    /// @param limit  the first start that is too late
    /// @returns false when the text is not an expression
    bool init(const std::string& expression, unsigned base, unsigned limit);

    /// Returns the next row, or null when there is none left.
    const epgentry* next();

    /// The same as a position of the index.
    std::optional<std::uint32_t> nextPosition() {
        while (left_ == 0) {
            if (word_ == rows_.size())
                return std::nullopt;
            left_ = rows_[word_++];
        }
        const auto bit = static_cast<std::size_t>(std::countr_zero(left_));
        left_ &= left_ - 1;
        return static_cast<std::uint32_t>((word_ - 1) * Filter::wordRows + bit);
    }

    /// How many rows there are in all.
    std::size_t count() const;

    /// Whether the row at a position of the index is one of them.
    bool matches(std::uint32_t position) const {
        return rows_[position / Filter::wordRows] >> position % Filter::wordRows & 1;
    }

private:
    Expression expression_;
    std::vector<std::uint64_t> rows_; ///< a bit for each place in the index
    std::size_t word_ = 0; ///< of rows_, the next one
    std::uint64_t left_ = 0; ///< what is still to come of the one before
};

} // namespace Ostrel::TV
