#include "TV/server/dummy/quoril/Filter.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

namespace Ostrel::TV {

namespace {

/// One byte a row, 1 or 0. A loop over bytes is what compilers turn into vector instructions.
using Marks = std::array<std::uint8_t, Filter::wordRows>;

/// Row i becomes bit i.
std::uint64_t pack(const Marks& marks) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i != marks.size(); i += 8) {
        std::uint64_t eight;
        std::memcpy(&eight, marks.data() + i, sizeof eight);
        // The product gathers the eight lowest bits in the highest byte, the first row lowest.
        static_assert(std::endian::native == std::endian::little);
        bits |= (eight * 0x0102040810204080u >> 56) << i;
    }
    return bits;
}

template <typename Matches> std::uint64_t mark(Matches matches) {
    Marks marks;
    for (std::size_t i = 0; i != marks.size(); ++i)
        marks[i] = matches(i);
    return pack(marks);
}

/// The number as one that a column can hold; false when no column can.
bool asColumnValue(std::int64_t number, std::int32_t& value) {
    value = static_cast<std::int32_t>(number);
    return value == number;
}

std::uint64_t markRange(const std::int32_t* column, const Filter::Range& range) {
    using Limits = std::numeric_limits<std::int32_t>;
    const auto low = std::max<std::int64_t>(range.low, Limits::min());
    const auto high = std::min<std::int64_t>(range.high, Limits::max());
    if (low > high)
        return 0;
    const auto least = static_cast<std::int32_t>(low), most = static_cast<std::int32_t>(high);
    if (most == Limits::max())
        return mark([=](std::size_t i) { return column[i] >= least; });
    if (least == Limits::min())
        return mark([=](std::size_t i) { return column[i] <= most; });
    return mark([=](std::size_t i) { return (column[i] >= least) & (column[i] <= most); });
}

std::uint64_t markAmong(const std::int32_t* column, std::span<const std::int64_t> numbers) {
    Marks marks{};
    for (const std::int64_t number : numbers) {
        std::int32_t value;
        if (!asColumnValue(number, value))
            continue;
        for (std::size_t i = 0; i != marks.size(); ++i)
            marks[i] |= column[i] == value;
    }
    return pack(marks);
}

} // namespace

void Filter::clear() {
    stepCount_ = 0;
    numberCount_ = 0;
    restricted_ = false;
    services_.clear();
    starts_ = ends_ = Range();
}

Filter::Step& Filter::add(Kind kind) {
    Step& step = steps_[stepCount_++];
    step = Step();
    step.kind = kind;
    return step;
}

void Filter::addConstant(bool value) {
    add(Kind::Constant).value = value;
}

void Filter::addRange(Field field, const Range& range) {
    Step& step = add(Kind::Range);
    step.field = field;
    step.range = range;
}

void Filter::addComparison(Field left, Order order, Field right) {
    Step& step = add(Kind::Comparison);
    step.field = left;
    step.order = order;
    step.right = right;
}

void Filter::addAmong(Field field, std::span<const std::int64_t> numbers) {
    Step& step = add(Kind::Among);
    step.field = field;
    step.firstNumber = static_cast<std::uint8_t>(numberCount_);
    step.numberCount = static_cast<std::uint8_t>(numbers.size());
    std::copy(numbers.begin(), numbers.end(), numbers_.begin() + static_cast<std::ptrdiff_t>(numberCount_));
    numberCount_ += numbers.size();
}

void Filter::addAnd() {
    add(Kind::And);
}

void Filter::addOr() {
    add(Kind::Or);
}

void Filter::restrictTo(std::vector<std::int64_t> services) {
    restricted_ = true;
    services_ = std::move(services);
}

void Filter::restrictTo(const Range& starts, const Range& ends) {
    starts_ = starts;
    ends_ = ends;
}

std::span<const std::int64_t> Filter::numbersOf(const Step& step) const {
    return std::span(numbers_).subspan(step.firstNumber, step.numberCount);
}

bool Filter::accepts(const Row& row) const {
    std::uint32_t stack = 1; // the latest truth value is the lowest bit
    for (std::size_t i = 0; i != stepCount_; ++i) {
        const Step& step = steps_[i];
        if (step.kind == Kind::And)
            stack = stack >> 1 & (stack | ~1u);
        else if (step.kind == Kind::Or)
            stack = stack >> 1 | (stack & 1u);
        else
            stack = stack << 1 | accepts(step, row);
    }
    return stack & 1;
}

bool Filter::accepts(const Step& step, const Row& row) const {
    const auto value = row[static_cast<std::size_t>(step.field)];
    switch (step.kind) {
    case Kind::Range:
        return value >= step.range.low && value <= step.range.high;
    case Kind::Comparison:
        return holds(value, step.order, row[static_cast<std::size_t>(step.right)]);
    case Kind::Among: {
        const auto numbers = numbersOf(step);
        return std::find(numbers.begin(), numbers.end(), value) != numbers.end();
    }
    default:
        return step.value;
    }
}

void Filter::select(const Columns& columns, std::span<std::uint64_t> words) const {
    for (std::size_t i = 0; i != words.size(); ++i)
        words[i] = select(columns, i * wordRows);
}

/// @param first  the first row of the word
std::uint64_t Filter::select(const Columns& columns, std::size_t first) const {
    std::array<std::uint64_t, nodeLimit + 1> stack;
    stack[0] = ~std::uint64_t{0};
    std::size_t top = 0;
    for (std::size_t i = 0; i != stepCount_; ++i) {
        const Step& step = steps_[i];
        if (step.kind == Kind::And || step.kind == Kind::Or) {
            const auto right = stack[top--];
            stack[top] = step.kind == Kind::And ? stack[top] & right : stack[top] | right;
        } else {
            stack[++top] = select(columns, first, step);
        }
    }
    return stack[top];
}

std::uint64_t Filter::select(const Columns& columns, std::size_t first, const Step& step) const {
    const std::int32_t* column = columns.fields[static_cast<std::size_t>(step.field)] + first;
    const bool same = step.kind != Kind::Comparison && step.field == Field::ServiceId && columns.oneService;
    if (same || step.kind == Kind::Constant)
        return accepts(step, Row{*column, 0, 0}) ? ~std::uint64_t{0} : 0;
    switch (step.kind) {
    case Kind::Range:
        return markRange(column, step.range);
    case Kind::Among:
        return markAmong(column, numbersOf(step));
    default: {
        const std::int32_t* right = columns.fields[static_cast<std::size_t>(step.right)] + first;
        return mark([&](std::size_t i) { return holds(column[i], step.order, right[i]); });
    }
    }
}

} // namespace Ostrel::TV
