#pragma once

#include "TV/server/dummy/quoril/Filter.h"
#include "TV/server/dummy/quoril/Limits.h"
#include "TV/server/dummy/quoril/Mistake.h"
#include "TV/server/dummy/quoril/Tokenizer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace Ostrel::TV {

struct epgentry;

/// Reads the query language, which tells by their service and times which rows of the guide are
/// wanted: "ServiceId in (1000, 1043) && End > 1318748400".
///
///     expression: nothing at all, or any
///     any:        all { "||" all }
///     all:        comparison { "&&" comparison }
///     comparison: "(" any ")"
///               | element ( "==" | "<" | "<=" | ">" | ">=" ) element
///               | element "in" "(" integer { "," integer } ")"
///     element:    identifier | integer
///
/// An identifier that findField() does not know makes the whole expression Invalid, which no row
/// matches but which is no error. What takes more than nodeLimit nodes, or opens more than
/// parenthesisLimit parentheses at once, does not parse.
///
/// It may be parsed again. One thread at a time.
class Expression {
public:
    /// What evaluating gives.
    class Value {
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

    Expression() = default;

    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;

    /// Takes another text.
    /// @returns false when it is not an expression; evaluate() and filter() mean nothing then
    bool parse(const std::string& text);

    /// Where and why the latest text did not parse; nothing when it did.
    const std::optional<Mistake>& mistake() const { return mistake_; }

    // The part of the module: a client that only reads expressions links without it.

    /// Returns a Boolean, or Invalid. The empty expression is true without a look at the row.
    Value evaluate(const epgentry* row);

    /// The same for many rows; null for an expression that is Invalid. It is worked out when it
    /// is first asked for, and stays until another text is parsed.
    const Filter* filter();

private:
    friend struct ExpressionReader; // tests print the tree

    /// A part of an expression. Which members count is a matter of the kind.
    struct Node {
        enum Kind : std::uint32_t {
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

        std::uint32_t kind = Nothing;
        Value value; ///< the name of a Field, the number of a Literal
        Node* left = nullptr;
        Node* right = nullptr;
        std::list<Node*> list; ///< what a List holds: Literals, as they are written
    };

    void advance();
    /// The operator that a token stands for.
    static std::uint32_t kindOf(Tokenizer::Token::Type token);
    Node* take(std::uint32_t kind, std::size_t position);
    Node* join(std::uint32_t kind, std::size_t position, Node* left, Node* right);
    Node* fail(Mistake::Reason reason, std::size_t position);
    Node* refuse(Mistake::Reason expected);
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
    static Filter::Range rangeOf(const Node& node, Field field);

    std::array<Node, nodeLimit> nodes_;
    std::uint32_t nodeCount_ = 0; ///< how many of them the current parse has taken
    unsigned openParentheses_ = 0;
    std::optional<Tokenizer> tokenizer_;
    Tokenizer::Token current_;
    Node* root_ = nullptr; ///< null for the empty expression
    std::optional<Mistake> mistake_;
    Filter filter_;
    bool compiled_ = false; ///< filter_ and invalid_ are of the latest text
    bool invalid_ = false;
};

} // namespace Ostrel::TV
