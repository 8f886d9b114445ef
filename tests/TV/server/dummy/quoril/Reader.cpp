// What the module makes of texts, for others that read the language too and are held to it. Each
// line of the standard input is a text as a JSON string; each line of the standard output, what
// became of it:
//
//     {"text":"End > 1","tokens":[…],"nodes":3,"tree":{…},"mistake":null}
//
// Tokens go up to the first End or Error, positions count bytes, numbers are texts as they have 64
// bits. With --rows it reads the texts of the tables that the module's own tests go through.

#include "TV/server/dummy/quoril/Expression.h"
#include "TV/server/dummy/quoril/Field.h"
#include "tests/TV/server/dummy/quoril/ExpressionRows.h"
#include "tests/TV/server/dummy/quoril/TokenizerRows.h"

#include <boost/json.hpp>

#include <iostream>
#include <iterator>
#include <string>
#include <string_view>

namespace json = boost::json;
using Ostrel::TV::Expression;
using Ostrel::TV::Mistake;
using Ostrel::TV::Tokenizer;
using Token = Tokenizer::Token;

namespace Ostrel::TV {

/// Looks into a parsed expression.
struct ExpressionReader {
    using Node = Expression::Node;

    static unsigned nodes(const Expression& expression) { return expression.nodeCount_; }

    static json::value tree(const Expression& expression) {
        return expression.root_ ? describe(*expression.root_) : json::value();
    }

private:
    static json::value describe(const Node& node) {
        static const char* const names[] = {"Equal",          "LessThan", "LessOrEqual", "GreaterThan",
                                            "GreaterOrEqual", "And",      "Or",          "In",
                                            "Field",          "Literal",  "List"};
        json::object described{{"kind", names[node.kind]}};
        if (node.kind == Node::Field)
            described["name"] = node.value.string();
        else if (node.kind == Node::Literal)
            described["number"] = std::to_string(node.value.integer());
        else if (node.kind == Node::List)
            for (const Node* element : node.list)
                described.emplace("numbers", json::array())
                    .first->value()
                    .as_array()
                    .push_back(describe(*element));
        else {
            described["left"] = describe(*node.left);
            described["right"] = describe(*node.right);
        }
        return described;
    }
};

} // namespace Ostrel::TV

namespace {

json::object describe(const Token& token, std::size_t position) {
    static const char* const names[] = {
        "",    "Error",    "End",         "Integer",     "String",         "Identifier",
        "",    "LessThan", "LessOrEqual", "GreaterThan", "GreaterOrEqual", "Equal",
        "And", "Or",       "LeftParen",   "RightParen",  "Comma",          "In"};
    json::object described{{"type", names[token.type()]}, {"at", position}};
    if (token.type() == Token::Integer)
        described["number"] = std::to_string(token.integer());
    if (token.type() == Token::String || token.type() == Token::Identifier)
        described["text"] = token.string();
    if (token.type() == Token::Identifier)
        described["isField"] = Ostrel::TV::findField(token.string()).has_value();
    return described;
}

json::array readTokens(const std::string& text) {
    Tokenizer tokenizer(text);
    json::array tokens;
    for (;;) {
        const Token token = tokenizer.next();
        tokens.push_back(describe(token, tokenizer.position()));
        if (token.type() == Token::End || token.type() == Token::Error)
            return tokens;
    }
}

json::value describe(const Mistake& mistake, const std::string& text) {
    static const char* const names[] = {
        "NoToken",       "ElementExpected",     "OperatorExpected", "ListExpected",       "NumberExpected",
        "CommaExpected", "ParenthesisExpected", "EndExpected",      "TooManyParentheses", "TooManyNodes"};
    return {{"at", mistake.position},
            {"reason", names[static_cast<std::size_t>(mistake.reason)]},
            {"explanation", explain(mistake, text)}};
}

void read(const std::string& text) {
    Expression expression;
    const bool parsed = expression.parse(text);
    const json::object line{
        {"text", text},
        {"tokens", readTokens(text)},
        {"nodes", Ostrel::TV::ExpressionReader::nodes(expression)},
        {"tree", parsed ? Ostrel::TV::ExpressionReader::tree(expression) : json::value()},
        {"mistake", parsed ? json::value() : describe(*expression.mistake(), text)},
    };
    std::cout << line << '\n';
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && argv[1] == std::string_view("--rows")) {
        for (const auto& row : tokenizerRows)
            read(row.text);
        for (const auto& row : expressionRows)
            read(row.text);
        return 0;
    }
    for (std::string line; std::getline(std::cin, line);)
        read(json::value_to<std::string>(json::parse(line)));
}
