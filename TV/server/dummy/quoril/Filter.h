#pragma once

#include "TV/server/dummy/quoril/Field.h"
#include "TV/server/dummy/quoril/Limits.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace Ostrel::TV {

/// What an expression asks of a row, worked out as far as it can be without one: a short list
/// of steps over three columns, without names, texts or values of unknown type.
///
/// Steps are in postfix order: each leaves a truth value, And and Or take two of them away. An
/// expression has a node for each of them, so that there are nodeLimit at most.
class Filter {
public:
    /// Numbered as the nodes of an Expression that mean the same.
    enum class Order : std::uint8_t { Equal, LessThan, LessOrEqual, GreaterThan, GreaterOrEqual };

    /// As many rows as one word has bits.
    static constexpr std::size_t wordRows = 64;

    /// One row, by Field.
    using Row = std::array<std::int64_t, fieldCount>;

    /// Rows column by column.
    struct Columns {
        std::array<const std::int32_t*, fieldCount> fields; ///< by Field
        bool oneService; ///< all rows that matter have the first one's service
    };

    /// From low to high, both included; nothing when low is greater.
    struct Range {
        std::int64_t low = std::numeric_limits<std::int64_t>::min();
        std::int64_t high = std::numeric_limits<std::int64_t>::max();
    };

    static bool holds(std::int64_t left, Order order, std::int64_t right);

    /// Back to the filter that is true for every row.
    void clear();

    void addConstant(bool value);
    void addRange(Field field, const Range& range);
    void addComparison(Field left, Order order, Field right);
    void addAmong(Field field, std::span<const std::int64_t> numbers);
    void addAnd();
    void addOr();

    /// Only rows of these services can pass.
    void restrictTo(std::vector<std::int64_t> services);
    /// Those services; null when rows of any can.
    const std::vector<std::int64_t>* services() const { return restricted_ ? &services_ : nullptr; }

    /// Only rows that start and end in these ranges can pass.
    void restrictTo(const Range& starts, const Range& ends);
    const Range& starts() const { return starts_; }
    const Range& ends() const { return ends_; }

    bool accepts(const Row& row) const;

    /// Sets a bit for each row that passes and clears the others: that of the first row is the lowest
    /// of the first word.
    /// @param columns  with wordRows rows for each word
    void select(const Columns& columns, std::span<std::uint64_t> words) const;

private:
    enum class Kind : std::uint8_t { Constant, Range, Comparison, Among, And, Or };

    struct Step {
        Kind kind;
        Field field;
        Field right;
        Order order;
        bool value;
        std::uint8_t firstNumber, numberCount;
        Range range;
    };

    Step& add(Kind kind);
    std::span<const std::int64_t> numbersOf(const Step& step) const;
    bool accepts(const Step& step, const Row& row) const;
    std::uint64_t select(const Columns& columns, std::size_t first) const;
    std::uint64_t select(const Columns& columns, std::size_t first, const Step& step) const;

    std::array<Step, nodeLimit> steps_;
    std::size_t stepCount_ = 0;
    std::array<std::int64_t, nodeLimit> numbers_; ///< of all lists, one behind the other
    std::size_t numberCount_ = 0;
    bool restricted_ = false;
    std::vector<std::int64_t> services_;
    Range starts_, ends_;
};

inline bool Filter::holds(std::int64_t left, Order order, std::int64_t right) {
    switch (order) {
    case Order::Equal:
        return left == right;
    case Order::LessThan:
        return left < right;
    case Order::LessOrEqual:
        return left <= right;
    case Order::GreaterThan:
        return left > right;
    case Order::GreaterOrEqual:
        return left >= right;
    }
    return false;
}

} // namespace Ostrel::TV
