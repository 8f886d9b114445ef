#pragma once

#include "TV/server/dummy/guide/GuideTable.h"
#include "TV/server/dummy/quoril/Filter.h"
#include "TV/server/dummy/quoril/Tokenizer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// A guide filter, for example "(ServiceId in (1000, 1001)) && End > 1318615200".
///
///     expression: nothing at all, or any
///     any:        all { "||" all }
///     all:        comparison { "&&" comparison }
///     comparison: "(" any ")"
///               | element ( "==" | "<" | "<=" | ">" | ">=" ) element
///               | element "in" "(" integer { "," integer } ")"
///     element:    identifier | integer
///
/// The fields are ServiceId, Start and End; every other identifier makes the whole expression
/// Invalid, which no row matches but which is no error. At most 20 nodes and 256 parentheses
/// open at once; more do not parse.
///
/// It may be parsed again. One thread at a time.
class Expression {
public:
    class Value;

    /// How many fields, numbers, lists and operators an expression may hold in all.
    static constexpr std::size_t nodeLimit = 20;
    /// How many parentheses may be open at once, so that no text overflows the stack.
    static constexpr unsigned parenthesisLimit = 256;

    Expression();
    ~Expression();

    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;

    /// Takes another text.
    /// @returns false when it is not an expression; evaluate() means nothing then
    bool parse(const std::string& text);

    /// Returns a Boolean, or Invalid. The empty expression is true without a look at the row.
    Value evaluate(const epgentry* row) const;

    /// The same for many rows; nothing for an expression that is Invalid.
    const Filter* filter() const { return invalid_ ? nullptr : &filter_; }

private:
    struct Node;

    void advance();
    Node* take(std::uint32_t kind);
    Node* parseorexpr();
    Node* parseandexpr();
    Node* parsecomparison();
    Node* parselist();
    Node* parseelement();

    // What becomes of the tree once it stands. A field's name is looked up here, not per row.
    void compile();
    /// @returns false when the value would be Invalid for every row
    bool compile(const Node& node);
    bool compileComparison(const Node& node);
    bool compileList(const Node& node);
    /// The services beyond which no row can match; nothing when it might be any.
    static std::optional<std::vector<std::int64_t>> services(const Node& node);

    std::unique_ptr<std::array<Node, nodeLimit>> nodes_;
    std::uint32_t nodeCount_ = 0; ///< how many of them the current parse has taken
    unsigned openParentheses_ = 0;
    std::unique_ptr<Tokenizer> tokenizer_;
    Tokenizer::Token current_;
    Node* root_ = nullptr; ///< null for the empty expression
    Filter filter_;
    bool invalid_ = false;
};

/// What evaluating gives.
class Expression::Value {
public:
    enum Type { Integer = 1, Boolean = 2, Name = 3, Invalid = 4 };

    Value() = default;
    explicit Value(bool boolean) : type_(Boolean), integer_(boolean) {}
    explicit Value(long long integer) : type_(Integer), integer_(integer) {}
    Value(Type type, const std::string& string) : type_(type), string_(string) {}

    Type type() const { return type_; }
    /// Of a Name; empty otherwise.
    const std::string& string() const { return string_; }
    long long integer() const { return integer_; }
    bool boolean() const { return integer_ != 0; }

private:
    Type type_ = Invalid;
    std::string string_;
    long long integer_ = 0;
};

} // namespace Ostrel::TV
