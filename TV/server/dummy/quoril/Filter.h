#pragma once

#include "TV/server/dummy/guide/GuideTable.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Ostrel::TV {

class StartTimeIndex;

/// What an expression asks of a row, worked out as far as it can be without one: a short list
/// of steps over three columns, without names, texts or values of unknown type.
///
/// Steps are in postfix order: each leaves a truth value, And and Or take two of them away.
class Filter {
public:
    enum class Column : std::uint8_t { ServiceId, Start, End };
    enum class Order : std::uint8_t { Equal, LessThan, LessOrEqual, GreaterThan, GreaterOrEqual };

    /// As many rows as one word has bits.
    static constexpr std::size_t wordRows = 64;

    /// Back to the filter that is true for every row.
    void clear();

    void addConstant(bool value);
    /// low <= column <= high; nothing lies between when low is greater.
    void addRange(Column column, std::int64_t low, std::int64_t high);
    void addComparison(Column left, Order order, Column right);
    void addAmong(Column column, std::span<const std::int64_t> numbers);
    void addAnd();
    void addOr();

    /// Only rows of these services can pass.
    void restrictTo(std::vector<std::int64_t> services);
    bool isRestricted() const { return restricted_; }

    /// Whether a row passes.
    bool accepts(const epgentry& row) const;

    /// Sets the bits of those rows from first up to, but not including, last that pass.
    /// @param bits  one bit a row of the index, all 0
    void select(const StartTimeIndex& index, std::size_t first, std::size_t last,
                std::span<std::uint64_t> bits) const;

private:
    static constexpr std::size_t mostSteps = 20; ///< as many as an expression has nodes

    enum class Kind : std::uint8_t { Constant, Range, Comparison, Among, And, Or };

    struct Step {
        Kind kind;
        Column column;
        Column right;
        Order order;
        bool value;
        std::uint8_t firstNumber, numberCount;
        std::int64_t low, high;
    };

    /// The columns of one row, by Column.
    using Row = std::array<std::int64_t, 3>;

    /// A word of rows, the columns of the first one by Column.
    struct Word {
        std::array<const std::int32_t*, 3> columns;
        bool oneService; ///< all rows that count are of the first one's
    };

    Step& add(Kind kind);
    std::span<const std::int64_t> numbersOf(const Step& step) const;
    bool accepts(const Row& row) const;
    bool accepts(const Step& step, const Row& row) const;
    void selectServices(const StartTimeIndex& index, std::size_t first, std::size_t last,
                        std::span<std::uint64_t> bits) const;
    std::uint64_t select(const Word& word) const;
    std::uint64_t select(const Word& word, const Step& step) const;

    std::array<Step, mostSteps> steps_;
    std::size_t stepCount_ = 0;
    std::array<std::int64_t, mostSteps> numbers_; ///< of all lists, one behind the other
    std::size_t numberCount_ = 0;
    bool restricted_ = false;
    std::vector<std::int64_t> services_;
};

} // namespace Ostrel::TV
