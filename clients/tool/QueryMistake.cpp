// The service refuses a query without a word about where it goes wrong, so it is parsed here once
// more, by the module's own parser.

#include "clients/tool/QueryMistake.h"

#include "clients/tool/Output.h"

#include "TV/server/dummy/quoril/Expression.h"
#include "TV/server/dummy/quoril/Field.h"
#include "TV/server/dummy/quoril/Mistake.h"
#include "TV/server/dummy/quoril/Tokenizer.h"

#include <algorithm>

namespace Ostrel::Client::Tool {

namespace {

constexpr std::size_t indent = 2;
constexpr const char* ellipsis = "\u2026";

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
    TV::Expression parsed;
    if (parsed.parse(expression))
        return std::nullopt;
    return QueryMistake{parsed.mistake()->position, explain(*parsed.mistake(), expression)};
}

std::optional<std::string> findUnknownField(const std::string& expression) {
    using Token = TV::Tokenizer::Token;
    TV::Tokenizer tokenizer(expression);
    for (auto token = tokenizer.next(); token.type() != Token::End && token.type() != Token::Error;
         token = tokenizer.next()) {
        if (token.type() == Token::Identifier && !TV::findField(token.string()))
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
