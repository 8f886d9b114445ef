#pragma once

#include "TV/server/dummy/guide/Guide.h"
#include "TV/server/dummy/query/RowBits.h"
#include "TV/server/dummy/quoril/Expression.h"
#include "TV/server/dummy/quoril/Filter.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// Goes through those rows of a guide that start in a window and fulfil an expression, from the
/// earliest start to the latest.
///
/// One request makes one, gives init() its text, and takes rows for as long as there are any. There
/// are none without an init() that succeeded.
class QuorilQuery {
public:
    /// @param guide  must stay where it is
    explicit QuorilQuery(const Guide& guide) : index_(guide.index()) {}

    /// @param base   the smallest start, seconds since 1970-01-01 UTC
    /// @param limit  the first start that is too late
    /// @returns false when the text is not an expression
    bool init(const std::string& expression, unsigned base, unsigned limit);

    /// The same with what an expression asks.
    /// @param filter  must stay where it is
    void init(const Filter& filter, unsigned base, unsigned limit);

    /// Takes one more row; null once all are taken, and from then on.
    const epgentry* next();

    /// The same as the row's position in the index.
    std::optional<std::uint32_t> nextPosition() {
        while (left_ == 0) {
            if (word_ == rows_.size())
                return std::nullopt;
            left_ = rows_[word_++];
        }
        const auto bit = static_cast<std::size_t>(std::countr_zero(left_));
        left_ &= left_ - 1;
        return static_cast<std::uint32_t>(first_ + (word_ - 1) * Filter::wordRows + bit);
    }

    /// How many rows there are in all.
    std::size_t count() const { return countRows(rows_); }

    /// Leaves out the rows whose bits are cleared.
    /// @param clear  is given a bit for each position, and the position of the first bit
    template <typename Clear> void narrow(Clear clear) {
        clear(std::span(rows_), first_);
        if (left_ != 0)
            left_ &= rows_[word_ - 1];
    }

    /// Whether the row at a position is one of them.
    bool matches(std::uint32_t position) const {
        const std::size_t bit = position - first_; // huge for a position before the first
        return bit / Filter::wordRows < rows_.size() &&
               (rows_[bit / Filter::wordRows] >> bit % Filter::wordRows & 1);
    }

    /// All positions that matches() may be true for, service by service, ids ascending.
    std::vector<std::span<const std::uint32_t>> byService() const;

    /// Whether the expression names the services, so that these positions are few.
    bool namesServices() const { return services_ != nullptr; }

private:
    /// Positions, the last one not included.
    struct Window {
        std::size_t first, last;
    };

    void clear();
    Window windowOf(const Filter& filter, unsigned base, unsigned limit) const;
    void selectAll(const Filter& filter, Window window);
    void selectServices(const Filter& filter, Window window);

    const StartTimeIndex& index_;
    std::optional<Expression> expression_; ///< of init() with a text
    std::size_t first_ = 0; ///< position of the first bit of rows_
    std::vector<std::uint64_t> rows_; ///< a bit for each position that a row can have
    const std::vector<std::int64_t>* services_ = nullptr; ///< of the filter
    std::size_t word_ = 0; ///< of rows_, the next one
    std::uint64_t left_ = 0; ///< what is still to come of the one before
};

} // namespace Ostrel::TV
