// The service refuses a query without a word about the place. Here it is read once more, with the
// module's own words and limits.

#include "clients/tool/QueryMistake.h"

#include "clients/tool/Output.h"
#include "clients/tool/Table.h"

#include "TV/server/dummy/quoril/Expression.h"
#include "TV/server/dummy/quoril/Tokenizer.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace Ostrel::Client::Tool {

namespace {

using TV::Expression;
using TV::Tokenizer;
using Token = TV::Tokenizer::Token;

constexpr std::string_view fields[] = {"ServiceId", "Start", "End"};

constexpr std::size_t indent = 2;
constexpr const char* ellipsis = "\u2026";

/// Goes through an expression as Expression::parse() does, rule by rule, and throws the first
/// mistake. Nodes are counted when that takes them, so that the same one is the first too many.
class ExpressionReader {
public:
    explicit ExpressionReader(const std::string& expression)
        : expression_(expression), tokenizer_(expression) {}

    void read() {
        advance();
        if (is(Token::End))
            return;
        readAny();
        if (!is(Token::End))
            fail("&&, || or the end is expected");
    }

private:
    void readAny() {
        readAll();
        while (is(Token::Or))
            readRight([this] { readAll(); });
    }

    void readAll() {
        readComparison();
        while (is(Token::And))
            readRight([this] { readComparison(); });
    }

    /// Reads an operator and what stands behind it.
    template <class Rule> void readRight(Rule rule) {
        const auto position = tokenizer_.position();
        advance();
        rule();
        take(position);
    }

    void readComparison() {
        if (is(Token::LeftParen)) {
            readParentheses();
            return;
        }
        readElement("a field or a number is expected");
        if (is(Token::In))
            readRight([this] { readList(); });
        else if (isComparison())
            readRight([this] { readElement("a field or a number is expected"); });
        else
            fail("==, <, <=, >, >= or in is expected");
    }

    void readParentheses() {
        checkParentheses();
        ++openParentheses_;
        advance();
        readAny();
        if (!is(Token::RightParen))
            fail("&&, || or ) is expected");
        --openParentheses_;
        advance();
    }

    void checkParentheses() const {
        if (openParentheses_ == Expression::parenthesisLimit)
            fail("no more than " + std::to_string(Expression::parenthesisLimit) +
                 " parentheses may be open at once");
    }

    void readList() {
        take(tokenizer_.position());
        if (!is(Token::LeftParen))
            fail("a list such as (1000, 1001) is expected");
        checkParentheses();
        do {
            advance();
            if (is(Token::Identifier))
                fail("a number is expected");
            readElement("a number is expected");
        } while (is(Token::Comma));
        if (!is(Token::RightParen))
            fail(", or ) is expected");
        advance();
    }

    void readElement(const char* expected) {
        if (!is(Token::Identifier) && !is(Token::Integer))
            fail(expected);
        take(tokenizer_.position());
        advance();
    }

    bool isComparison() const {
        return is(Token::Equal) || is(Token::LessThan) || is(Token::LessOrEqual) || is(Token::GreaterThan) ||
               is(Token::GreaterOrEqual);
    }

    void take(std::size_t position) {
        if (nodeCount_++ == Expression::nodeLimit)
            throw QueryMistake{position, "this is one too many: an expression holds at most " +
                                             std::to_string(Expression::nodeLimit) +
                                             " fields, numbers, lists and operators"};
    }

    bool is(Token::Type type) const { return current_.type() == type; }

    void advance() { current_ = tokenizer_.next(); }

    [[noreturn]] void fail(const std::string& expected) const {
        throw QueryMistake{tokenizer_.position(), is(Token::Error) ? explainError() : expected};
    }

    std::string explainError() const {
        const auto position = tokenizer_.position();
        switch (position < expression_.size() ? expression_[position] : '\0') {
        case '=':
            return "\"=\" alone is no operator; == compares";
        case '&':
            return "\"&\" alone is no operator; && means both";
        case '|':
            return "\"|\" alone is no operator; || means either";
        case '-':
            return "a digit from 0 to 8 is expected behind the minus sign";
        case '"':
            return "the text in quotation marks has no end";
        case '\t':
        case '\n':
        case '\r':
            return "only blanks may stand between words, no tabs and line breaks";
        case '!':
            return "there is no \"not\" in the query language";
        default:
            return "the query language does not have this character";
        }
    }

    const std::string& expression_;
    Tokenizer tokenizer_;
    Token current_;
    std::size_t nodeCount_ = 0;
    unsigned openParentheses_ = 0;
};

bool continuesLetter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

/// The end of a text, no wider than a number of columns.
std::string cutFront(std::string text, std::size_t columns) {
    // A letter is up to 4 bytes; more of them need not be measured.
    text.erase(0, text.size() - std::min(text.size(), 4 * columns));
    do {
        while (!text.empty() && continuesLetter(text.front()))
            text.erase(0, 1);
        if (getWidth(text) <= columns)
            break;
        text.erase(0, 1);
    } while (!text.empty());
    return text;
}

} // namespace

std::optional<QueryMistake> findQueryMistake(const std::string& expression) {
    try {
        ExpressionReader(expression).read();
        return std::nullopt;
    } catch (const QueryMistake& mistake) {
        return mistake;
    }
}

std::optional<std::string> findUnknownField(const std::string& expression) {
    Tokenizer tokenizer(expression);
    for (auto token = tokenizer.next(); token.type() != Token::End && token.type() != Token::Error;
         token = tokenizer.next()) {
        if (token.type() == Token::Identifier &&
            std::count(std::begin(fields), std::end(fields), token.string()) == 0)
            return token.string();
    }
    return std::nullopt;
}

std::string pointAt(const std::string& expression, std::size_t position, std::size_t columns) {
    const auto room = std::max<std::size_t>(columns, 20) - indent - 2; // an ellipsis at either end
    auto before = printable(expression.substr(0, position));
    auto after = printable(expression.substr(position, 4 * room));
    if (getWidth(before) + getWidth(after) > room) {
        const auto wanted = std::max(room / 2, room - std::min(room, getWidth(after)));
        if (auto end = cutFront(before, wanted); end != before)
            before = ellipsis + end;
    }
    const auto left = room - std::min(room, getWidth(before));
    if (auto start = cut(after, left); start != after || position + 4 * room < expression.size())
        after = start + ellipsis;
    return std::string(indent, ' ') + before + after + "\n" + //
           std::string(indent + getWidth(before), ' ') + "^\n";
}

} // namespace Ostrel::Client::Tool
