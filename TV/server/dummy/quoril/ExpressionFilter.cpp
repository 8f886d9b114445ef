// What an expression asks, worked out of its tree as far as it can be without a row.

#include "TV/server/dummy/quoril/Expression.h"

#include "Ostrel/runtime/DebugPrint.h"
#include "TV/server/dummy/quoril/Field.h"
#include "TV/server/dummy/world/epgentry.h"

#include <algorithm>
#include <utility>

namespace Ostrel::TV {

namespace {

constexpr const char* moduleName = "DummyTVModule";

using Order = Filter::Order;

/// The same comparison with its sides exchanged.
Order mirrored(Order order) {
    switch (order) {
    case Order::LessThan:
        return Order::GreaterThan;
    case Order::LessOrEqual:
        return Order::GreaterOrEqual;
    case Order::GreaterThan:
        return Order::LessThan;
    case Order::GreaterOrEqual:
        return Order::LessOrEqual;
    case Order::Equal:
        break;
    }
    return order;
}

constexpr Filter::Range nothing = {.low = 1, .high = 0};

/// What a field may be so that "field ORDER number" holds.
Filter::Range valuesFor(Order order, std::int64_t number) {
    constexpr Filter::Range all;
    switch (order) {
    case Order::Equal:
        return {number, number};
    case Order::LessThan:
        return number == all.low ? nothing : Filter::Range{all.low, number - 1};
    case Order::LessOrEqual:
        return {all.low, number};
    case Order::GreaterThan:
        return number == all.high ? nothing : Filter::Range{number + 1, all.high};
    case Order::GreaterOrEqual:
        return {number, all.high};
    }
    return all;
}

/// The least range that has all of both.
Filter::Range uniteRanges(const Filter::Range& a, const Filter::Range& b) {
    if (a.low > a.high || b.low > b.high)
        return a.low > a.high ? b : a;
    return {std::min(a.low, b.low), std::max(a.high, b.high)};
}

Filter::Range intersect(const Filter::Range& a, const Filter::Range& b) {
    return {std::max(a.low, b.low), std::min(a.high, b.high)};
}

} // namespace

Expression::Value Expression::evaluate(const epgentry* row) {
    if (!root_)
        return Value(true);
    const Filter* const found = filter();
    if (!found)
        return Value();
    return Value(found->accepts({static_cast<std::uint32_t>(row->ServiceId), row->Start, row->End}));
}

const Filter* Expression::filter() {
    if (!compiled_)
        compile();
    return invalid_ ? nullptr : &filter_;
}

void Expression::compile() {
    filter_.clear();
    invalid_ = root_ && !compile(*root_);
    if (auto only = root_ ? services(*root_) : std::nullopt)
        filter_.restrictTo(std::move(*only));
    if (root_)
        filter_.restrictTo(rangeOf(*root_, Field::Start), rangeOf(*root_, Field::End));
    compiled_ = true;
}

// Types do not depend on the row: a known field and a number are Integers, a comparison of two
// Integers is a Boolean, and an unknown field spoils everything that it is a part of.
bool Expression::compile(const Node& node) {
    switch (node.kind) {
    case Node::And:
    case Node::Or: {
        if (!compile(*node.left) || !compile(*node.right))
            return false;
        node.kind == Node::And ? filter_.addAnd() : filter_.addOr();
        return true;
    }
    case Node::In:
        return compileList(node);
    case Node::Equal:
    case Node::LessThan:
    case Node::LessOrEqual:
    case Node::GreaterThan:
    case Node::GreaterOrEqual:
        return compileComparison(node);
    default:
        ostrelDebugPrint(DebugLevel::Error, moduleName, moduleName, __LINE__, "unrecognised node %d\n",
                         static_cast<int>(node.kind));
        return false;
    }
}

bool Expression::compileComparison(const Node& node) {
    const Node& left = *node.left;
    const Node& right = *node.right;
    const auto order = static_cast<Order>(node.kind);
    if (left.kind == Node::Literal && right.kind == Node::Literal) {
        filter_.addConstant(Filter::holds(left.value.integer(), order, right.value.integer()));
        return true;
    }
    const auto field = findField((left.kind == Node::Field ? left : right).value.string());
    if (!field)
        return false;
    if (right.kind == Node::Literal) {
        filter_.addRange(*field, valuesFor(order, right.value.integer()));
        return true;
    }
    if (left.kind == Node::Literal) {
        filter_.addRange(*field, valuesFor(mirrored(order), left.value.integer()));
        return true;
    }
    const auto other = findField(right.value.string());
    if (!other)
        return false;
    filter_.addComparison(*field, order, *other);
    return true;
}

bool Expression::compileList(const Node& node) {
    std::vector<std::int64_t> numbers;
    bool found = false;
    for (const Node* element : node.right->list) {
        numbers.push_back(element->value.integer());
        found = found || (node.left->kind == Node::Literal && numbers.back() == node.left->value.integer());
    }
    if (node.left->kind == Node::Literal) {
        filter_.addConstant(found);
        return true;
    }
    const auto field = findField(node.left->value.string());
    if (!field)
        return false;
    filter_.addAmong(*field, numbers);
    return true;
}

/// What a field may be in rows that fulfil a part of the expression; more than that, perhaps.
Filter::Range Expression::rangeOf(const Node& node, Field field) {
    const auto isField = [field](const Node& other) {
        return other.kind == Node::Field && findField(other.value.string()) == field;
    };
    switch (node.kind) {
    case Node::And:
        return intersect(rangeOf(*node.left, field), rangeOf(*node.right, field));
    case Node::Or:
        return uniteRanges(rangeOf(*node.left, field), rangeOf(*node.right, field));
    case Node::Equal:
    case Node::LessThan:
    case Node::LessOrEqual:
    case Node::GreaterThan:
    case Node::GreaterOrEqual: {
        const auto order = static_cast<Order>(node.kind);
        if (isField(*node.left) && node.right->kind == Node::Literal)
            return valuesFor(order, node.right->value.integer());
        if (isField(*node.right) && node.left->kind == Node::Literal)
            return valuesFor(mirrored(order), node.left->value.integer());
        return {};
    }
    default:
        return {};
    }
}

std::optional<std::vector<std::int64_t>> Expression::services(const Node& node) {
    const auto isServiceId = [](const Node& other) {
        return other.kind == Node::Field && findField(other.value.string()) == Field::ServiceId;
    };
    std::vector<std::int64_t> found;
    switch (node.kind) {
    case Node::Equal:
        if (isServiceId(*node.left) && node.right->kind == Node::Literal)
            return std::vector{std::int64_t{node.right->value.integer()}};
        if (isServiceId(*node.right) && node.left->kind == Node::Literal)
            return std::vector{std::int64_t{node.left->value.integer()}};
        return std::nullopt;
    case Node::In:
        if (!isServiceId(*node.left))
            return std::nullopt;
        for (const Node* element : node.right->list)
            found.push_back(element->value.integer());
        return found;
    case Node::And: {
        auto left = services(*node.left), right = services(*node.right);
        if (left && right)
            return left->size() <= right->size() ? left : right;
        return left ? left : right;
    }
    case Node::Or: {
        auto left = services(*node.left);
        const auto right = services(*node.right);
        if (!left || !right)
            return std::nullopt;
        left->insert(left->end(), right->begin(), right->end());
        return left;
    }
    default:
        return std::nullopt;
    }
}

} // namespace Ostrel::TV
