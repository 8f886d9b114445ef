// What an expression asks, worked out of its tree as far as it can be without a row.

#include "TV/server/dummy/quoril/Expression.h"

#include "Ostrel/runtime/DebugPrint.h"
#include "TV/server/dummy/quoril/Field.h"
#include "TV/server/dummy/world/epgentry.h"

#include <limits>
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

/// "field ORDER number" as a range of the field.
void addRange(Filter& filter, Field field, Order order, std::int64_t number) {
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    switch (order) {
    case Order::Equal:
        return filter.addRange(field, number, number);
    case Order::LessThan:
        return number == least ? filter.addConstant(false) : filter.addRange(field, least, number - 1);
    case Order::LessOrEqual:
        return filter.addRange(field, least, number);
    case Order::GreaterThan:
        return number == most ? filter.addConstant(false) : filter.addRange(field, number + 1, most);
    case Order::GreaterOrEqual:
        return filter.addRange(field, number, most);
    }
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
        addRange(filter_, *field, order, right.value.integer());
        return true;
    }
    if (left.kind == Node::Literal) {
        addRange(filter_, *field, mirrored(order), left.value.integer());
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
