// From a text to its tree. What becomes of the tree is in ExpressionFilter.cpp.

#include "TV/server/dummy/quoril/Expression.h"

namespace Ostrel::TV {

using Reason = Mistake::Reason;
using Token = Tokenizer::Token;

bool Expression::parse(const std::string& text) {
    nodeCount_ = 0;
    openParentheses_ = 0;
    root_ = nullptr;
    mistake_.reset();
    compiled_ = false;
    tokenizer_.emplace(text);
    advance();
    if (current_.type() == Token::End)
        return true;
    root_ = parseorexpr();
    if (root_ && current_.type() != Token::End)
        refuse(Reason::EndExpected);
    return root_ && !mistake_;
}

void Expression::advance() {
    current_ = tokenizer_->next();
}

/// The next node of the pool, empty whatever an earlier parse has left in it; null when there
/// is none left.
/// @param position  of what the node stands for
Expression::Node* Expression::take(std::uint32_t kind, std::size_t position) {
    if (nodeCount_ == nodeLimit)
        return fail(Reason::TooManyNodes, position);
    Node& node = nodes_[nodeCount_++];
    node.kind = kind;
    node.value = Value();
    node.left = node.right = nullptr;
    node.list.clear();
    return &node;
}

/// An operator over two operands; null when one of them failed.
Expression::Node* Expression::join(std::uint32_t kind, std::size_t position, Node* left, Node* right) {
    Node* node = left && right ? take(kind, position) : nullptr;
    if (node) {
        node->left = left;
        node->right = right;
    }
    return node;
}

/// Notes the mistake; null, for the step that made it to return.
Expression::Node* Expression::fail(Reason reason, std::size_t position) {
    mistake_ = Mistake{position, reason};
    return nullptr;
}

/// The same where the current token is not what is expected.
Expression::Node* Expression::refuse(Reason expected) {
    return fail(current_.type() == Token::Error ? Reason::NoToken : expected, tokenizer_->position());
}

Expression::Node* Expression::parseorexpr() {
    Node* left = parseandexpr();
    while (left && current_.type() == Token::Or) {
        const auto position = tokenizer_->position();
        advance();
        left = join(Node::Or, position, left, parseandexpr());
    }
    return left;
}

Expression::Node* Expression::parseandexpr() {
    Node* left = parsecomparison();
    while (left && current_.type() == Token::And) {
        const auto position = tokenizer_->position();
        advance();
        left = join(Node::And, position, left, parsecomparison());
    }
    return left;
}

std::uint32_t Expression::kindOf(Token::Type token) {
    switch (token) {
    case Token::LessThan:
        return Node::LessThan;
    case Token::LessOrEqual:
        return Node::LessOrEqual;
    case Token::GreaterThan:
        return Node::GreaterThan;
    case Token::GreaterOrEqual:
        return Node::GreaterOrEqual;
    case Token::Equal:
        return Node::Equal;
    case Token::In:
        return Node::In;
    default:
        return Node::Nothing;
    }
}

Expression::Node* Expression::parsecomparison() {
    if (current_.type() == Token::LeftParen) {
        if (openParentheses_ == parenthesisLimit)
            return refuse(Reason::TooManyParentheses);
        ++openParentheses_;
        advance();
        Node* inner = parseorexpr();
        if (!inner)
            return nullptr;
        if (current_.type() != Token::RightParen)
            return refuse(Reason::ParenthesisExpected);
        --openParentheses_;
        advance();
        return inner;
    }

    Node* left = parseelement();
    if (!left)
        return nullptr;
    const auto kind = kindOf(current_.type());
    if (kind == Node::Nothing)
        return refuse(Reason::OperatorExpected);
    const auto position = tokenizer_->position();
    advance();
    return join(kind, position, left, kind == Node::In ? parselist() : parseelement());
}

Expression::Node* Expression::parselist() {
    Node* list = take(Node::List, tokenizer_->position());
    if (!list)
        return nullptr;
    if (current_.type() != Token::LeftParen)
        return refuse(Reason::ListExpected);
    if (openParentheses_ == parenthesisLimit)
        return refuse(Reason::TooManyParentheses);
    do {
        advance();
        if (current_.type() != Token::Integer)
            return refuse(Reason::NumberExpected);
        Node* element = parseelement();
        if (!element)
            return nullptr;
        list->list.push_back(element);
    } while (current_.type() == Token::Comma);
    if (current_.type() != Token::RightParen)
        return refuse(Reason::CommaExpected);
    advance();
    return list;
}

Expression::Node* Expression::parseelement() {
    const auto type = current_.type();
    if (type != Token::Identifier && type != Token::Integer)
        return refuse(Reason::ElementExpected);
    Node* node = take(type == Token::Identifier ? Node::Field : Node::Literal, tokenizer_->position());
    if (!node)
        return nullptr;
    node->value =
        type == Token::Identifier ? Value(Value::Name, current_.string()) : Value(current_.integer());
    advance();
    return node;
}

} // namespace Ostrel::TV
