#include "TV/server/dummy/quoril/Expression.h"

#include "Ostrel/runtime/DebugPrint.h"

#include <iterator>
#include <limits>
#include <utility>

namespace Ostrel::TV {

namespace {

constexpr const char* moduleName = "DummyTVModule";

enum NodeKind : std::uint32_t {
    Equal = 0,
    LessThan = 1,
    LessOrEqual = 2,
    GreaterThan = 3,
    GreaterOrEqual = 4,
    And = 5,
    Or = 6,
    In = 7,
    Field = 8,
    Literal = 9,
    List = 10, ///< the right side of an In, never evaluated by itself
    Nothing = 11, ///< the token stands for no operator
};

using Column = Filter::Column;
using Order = Filter::Order;
using Token = Tokenizer::Token;

// Names are told apart by case.
std::optional<Column> findColumn(const std::string& name) {
    if (name == "ServiceId")
        return Column::ServiceId;
    if (name == "Start")
        return Column::Start;
    if (name == "End")
        return Column::End;
    return std::nullopt;
}

Order orderOf(std::uint32_t kind) {
    return static_cast<Order>(kind);
}

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

bool compare(long long left, Order order, long long right) {
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

/// "column ORDER number" as a range of the column.
void addRange(Filter& filter, Column column, Order order, std::int64_t number) {
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    switch (order) {
    case Order::Equal:
        return filter.addRange(column, number, number);
    case Order::LessThan:
        return number == least ? filter.addConstant(false) : filter.addRange(column, least, number - 1);
    case Order::LessOrEqual:
        return filter.addRange(column, least, number);
    case Order::GreaterThan:
        return number == most ? filter.addConstant(false) : filter.addRange(column, number + 1, most);
    case Order::GreaterOrEqual:
        return filter.addRange(column, number, most);
    }
}

std::uint32_t kindOf(Token::Type token) {
    switch (token) {
    case Token::LessThan:
        return LessThan;
    case Token::LessOrEqual:
        return LessOrEqual;
    case Token::GreaterThan:
        return GreaterThan;
    case Token::GreaterOrEqual:
        return GreaterOrEqual;
    case Token::Equal:
        return Equal;
    case Token::In:
        return In;
    default:
        return Nothing;
    }
}

} // namespace

struct Expression::Node {
    std::uint32_t kind = Nothing;
    Value value; ///< the name of a Field, the number of a Literal
    Node* left = nullptr;
    Node* right = nullptr;
    std::list<Node*> list; ///< the Literals of a list, in the order of the text
};

Expression::Expression() : nodes_(std::make_unique<std::array<Node, nodeLimit>>()) {}

Expression::~Expression() = default;

bool Expression::parse(const std::string& text) {
    nodeCount_ = 0;
    openParentheses_ = 0;
    tokenizer_ = std::make_unique<Tokenizer>(text);
    advance();
    const bool empty = current_.type() == Token::End;
    root_ = empty ? nullptr : parseorexpr();
    compile();
    return empty || (root_ && current_.type() == Token::End);
}

void Expression::advance() {
    current_ = tokenizer_->next();
}

/// The next node of the pool, empty whatever an earlier parse has left in it; null when there
/// is none left.
Expression::Node* Expression::take(std::uint32_t kind) {
    if (nodeCount_ == nodeLimit)
        return nullptr;
    Node& node = (*nodes_)[nodeCount_++];
    node.kind = kind;
    node.value = Value();
    node.left = node.right = nullptr;
    node.list.clear();
    return &node;
}

Expression::Node* Expression::parseorexpr() {
    Node* left = parseandexpr();
    while (left && current_.type() == Token::Or) {
        advance();
        Node* right = parseandexpr();
        Node* node = right ? take(Or) : nullptr;
        if (node) {
            node->left = left;
            node->right = right;
        }
        left = node;
    }
    return left;
}

Expression::Node* Expression::parseandexpr() {
    Node* left = parsecomparison();
    while (left && current_.type() == Token::And) {
        advance();
        Node* right = parsecomparison();
        Node* node = right ? take(And) : nullptr;
        if (node) {
            node->left = left;
            node->right = right;
        }
        left = node;
    }
    return left;
}

Expression::Node* Expression::parsecomparison() {
    if (current_.type() == Token::LeftParen) {
        if (openParentheses_ == parenthesisLimit)
            return nullptr;
        ++openParentheses_;
        advance();
        Node* inner = parseorexpr();
        if (!inner || current_.type() != Token::RightParen)
            return nullptr;
        --openParentheses_;
        advance();
        return inner;
    }

    Node* left = parseelement();
    if (!left)
        return nullptr;
    const auto kind = kindOf(current_.type());
    if (kind == Nothing)
        return nullptr;
    advance();
    Node* right = kind == In ? parselist() : parseelement();
    Node* node = right ? take(kind) : nullptr;
    if (node) {
        node->left = left;
        node->right = right;
    }
    return node;
}

Expression::Node* Expression::parselist() {
    Node* list = take(List);
    if (!list || current_.type() != Token::LeftParen || openParentheses_ == parenthesisLimit)
        return nullptr;
    for (;;) {
        advance();
        Node* element = parseelement();
        if (!element || element->kind != Literal)
            return nullptr;
        list->list.push_back(element);
        if (current_.type() == Token::RightParen)
            break;
        if (current_.type() != Token::Comma)
            return nullptr;
    }
    advance();
    return list;
}

Expression::Node* Expression::parseelement() {
    Node* node = nullptr;
    if (current_.type() == Token::Identifier) {
        if ((node = take(Field)))
            node->value = Value(Value::Name, current_.string());
    } else if (current_.type() == Token::Integer) {
        if ((node = take(Literal)))
            node->value = Value(current_.integer());
    }
    if (node)
        advance();
    return node;
}

void Expression::compile() {
    filter_.clear();
    invalid_ = false;
    if (!root_)
        return;
    invalid_ = !compile(*root_);
    if (auto only = services(*root_))
        filter_.restrictTo(std::move(*only));
}

// Types do not depend on the row: a known field and a number are Integers, a comparison of two
// Integers is a Boolean, and an unknown field spoils everything that it is a part of.
bool Expression::compile(const Node& node) {
    switch (node.kind) {
    case And:
    case Or: {
        if (!compile(*node.left) || !compile(*node.right))
            return false;
        node.kind == And ? filter_.addAnd() : filter_.addOr();
        return true;
    }
    case In:
        return compileList(node);
    case Equal:
    case LessThan:
    case LessOrEqual:
    case GreaterThan:
    case GreaterOrEqual:
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
    const auto leftColumn = left.kind == Field ? findColumn(left.value.string()) : std::nullopt;
    const auto rightColumn = right.kind == Field ? findColumn(right.value.string()) : std::nullopt;
    if ((left.kind == Field && !leftColumn) || (right.kind == Field && !rightColumn))
        return false;

    const auto order = orderOf(node.kind);
    if (leftColumn && rightColumn)
        filter_.addComparison(*leftColumn, order, *rightColumn);
    else if (leftColumn)
        addRange(filter_, *leftColumn, order, right.value.integer());
    else if (rightColumn)
        addRange(filter_, *rightColumn, mirrored(order), left.value.integer());
    else
        filter_.addConstant(compare(left.value.integer(), order, right.value.integer()));
    return true;
}

bool Expression::compileList(const Node& node) {
    std::vector<std::int64_t> numbers;
    bool found = false;
    for (const Node* element : node.right->list) {
        numbers.push_back(element->value.integer());
        found = found || (node.left->kind == Literal && numbers.back() == node.left->value.integer());
    }
    if (node.left->kind == Literal) {
        filter_.addConstant(found);
        return true;
    }
    const auto column = findColumn(node.left->value.string());
    if (!column)
        return false;
    filter_.addAmong(*column, numbers);
    return true;
}

std::optional<std::vector<std::int64_t>> Expression::services(const Node& node) {
    const auto isServiceId = [](const Node& other) {
        return other.kind == Field && findColumn(other.value.string()) == Column::ServiceId;
    };
    std::vector<std::int64_t> found;
    switch (node.kind) {
    case Equal:
        if (isServiceId(*node.left) && node.right->kind == Literal)
            return std::vector{std::int64_t{node.right->value.integer()}};
        if (isServiceId(*node.right) && node.left->kind == Literal)
            return std::vector{std::int64_t{node.left->value.integer()}};
        return std::nullopt;
    case In:
        if (!isServiceId(*node.left))
            return std::nullopt;
        for (const Node* element : node.right->list)
            found.push_back(element->value.integer());
        return found;
    case And: {
        auto left = services(*node.left), right = services(*node.right);
        if (left && right)
            return left->size() <= right->size() ? left : right;
        return left ? left : right;
    }
    case Or: {
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

Expression::Value Expression::evaluate(const epgentry* row) const {
    if (!root_)
        return Value(true);
    if (invalid_)
        return Value();
    return Value(filter_.accepts(*row));
}

} // namespace Ostrel::TV
