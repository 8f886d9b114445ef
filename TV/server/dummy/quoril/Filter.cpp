#include "TV/server/dummy/quoril/Filter.h"

#include "TV/server/dummy/guide/StartTimeIndex.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

namespace Ostrel::TV {

namespace {

bool compare(std::int64_t left, Filter::Order order, std::int64_t right) {
    switch (order) {
    case Filter::Order::Equal:
        return left == right;
    case Filter::Order::LessThan:
        return left < right;
    case Filter::Order::LessOrEqual:
        return left <= right;
    case Filter::Order::GreaterThan:
        return left > right;
    case Filter::Order::GreaterOrEqual:
        return left >= right;
    }
    return false;
}

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

std::uint64_t markRange(const std::int32_t* column, std::int64_t low, std::int64_t high) {
    using Limits = std::numeric_limits<std::int32_t>;
    low = std::max<std::int64_t>(low, Limits::min());
    high = std::min<std::int64_t>(high, Limits::max());
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

void Filter::addRange(Column column, std::int64_t low, std::int64_t high) {
    Step& step = add(Kind::Range);
    step.column = column;
    step.low = low;
    step.high = high;
}

void Filter::addComparison(Column left, Order order, Column right) {
    Step& step = add(Kind::Comparison);
    step.column = left;
    step.order = order;
    step.right = right;
}

void Filter::addAmong(Column column, std::span<const std::int64_t> numbers) {
    Step& step = add(Kind::Among);
    step.column = column;
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

std::span<const std::int64_t> Filter::numbersOf(const Step& step) const {
    return std::span(numbers_).subspan(step.firstNumber, step.numberCount);
}

bool Filter::accepts(const epgentry& row) const {
    return accepts(Row{static_cast<std::uint32_t>(row.ServiceId), row.Start, row.End});
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
    const auto value = row[static_cast<std::size_t>(step.column)];
    switch (step.kind) {
    case Kind::Range:
        return value >= step.low && value <= step.high;
    case Kind::Comparison:
        return compare(value, step.order, row[static_cast<std::size_t>(step.right)]);
    case Kind::Among: {
        const auto numbers = numbersOf(step);
        return std::find(numbers.begin(), numbers.end(), value) != numbers.end();
    }
    default:
        return step.value;
    }
}

void Filter::select(const StartTimeIndex& index, std::size_t first, std::size_t last,
                    std::span<std::uint64_t> bits) const {
    if (first >= last)
        return;
    if (restricted_)
        return selectServices(index, first, last, bits);
    const auto firstWord = first / wordRows, lastWord = (last - 1) / wordRows;
    for (auto word = firstWord; word <= lastWord; ++word) {
        const auto row = word * wordRows;
        bits[word] = select({{index.serviceIds() + row, index.starts() + row, index.ends() + row}, false});
    }
    bits[firstWord] &= ~std::uint64_t{0} << first % wordRows;
    bits[lastWord] &= ~std::uint64_t{0} >> (wordRows - 1 - (last - 1) % wordRows);
}

void Filter::selectServices(const StartTimeIndex& index, std::size_t first, std::size_t last,
                            std::span<std::uint64_t> bits) const {
    const auto& columns = index.columnsByService();
    const std::uint32_t* const places = index.byService().data();
    for (const std::int64_t service : services_) {
        const auto positions = index.positionsOf(service);
        if (positions.empty())
            continue;
        const auto from = std::lower_bound(positions.begin(), positions.end(), first);
        const auto to = std::lower_bound(from, positions.end(), last);
        auto left = static_cast<std::size_t>(to - from);
        for (auto place = static_cast<std::size_t>(positions.data() - places + (from - positions.begin()));
             left != 0;) {
            auto found = select({{columns.serviceIds.data() + place, columns.starts.data() + place,
                                  columns.ends.data() + place},
                                 true});
            const auto rows = std::min(left, wordRows);
            found &= ~std::uint64_t{0} >> (wordRows - rows);
            for (; found != 0; found &= found - 1) {
                const auto position = places[place + static_cast<std::size_t>(std::countr_zero(found))];
                bits[position / wordRows] |= std::uint64_t{1} << position % wordRows;
            }
            place += rows;
            left -= rows;
        }
    }
}

std::uint64_t Filter::select(const Word& word) const {
    std::array<std::uint64_t, mostSteps + 1> stack;
    stack[0] = ~std::uint64_t{0};
    std::size_t top = 0;
    for (std::size_t i = 0; i != stepCount_; ++i) {
        const Step& step = steps_[i];
        if (step.kind == Kind::And || step.kind == Kind::Or) {
            const auto right = stack[top--];
            stack[top] = step.kind == Kind::And ? stack[top] & right : stack[top] | right;
        } else {
            stack[++top] = select(word, step);
        }
    }
    return stack[top];
}

std::uint64_t Filter::select(const Word& word, const Step& step) const {
    const std::int32_t* column = word.columns[static_cast<std::size_t>(step.column)];
    const bool same = step.kind != Kind::Comparison && step.column == Column::ServiceId && word.oneService;
    if (same || step.kind == Kind::Constant)
        return accepts(step, Row{*word.columns[0], 0, 0}) ? ~std::uint64_t{0} : 0;
    switch (step.kind) {
    case Kind::Range:
        return markRange(column, step.low, step.high);
    case Kind::Among:
        return markAmong(column, numbersOf(step));
    default: {
        const std::int32_t* right = word.columns[static_cast<std::size_t>(step.right)];
        return mark([&](std::size_t i) { return compare(column[i], step.order, right[i]); });
    }
    }
}

} // namespace Ostrel::TV
