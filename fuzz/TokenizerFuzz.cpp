// Any bytes: the tokenizer reads what the plain rules read, where they read it, however often it is asked.

#include "TV/server/dummy/quoril/Tokenizer.h"
#include "fuzz/PlainTokens.h"
#include "fuzz/Require.h"

#include <cstddef>
#include <memory>
#include <string>

using namespace Ostrel::Fuzz;
using Ostrel::TV::Tokenizer;

namespace {

const char* describe(Tokenizer::Token::Type type) {
    using Token = Tokenizer::Token;
    switch (type) {
    case Token::Error:
        return "error";
    case Token::End:
        return "end";
    case Token::Integer:
        return "integer";
    case Token::String:
        return "text";
    case Token::Identifier:
        return "name";
    case Token::LessThan:
        return "<";
    case Token::LessOrEqual:
        return "<=";
    case Token::GreaterThan:
        return ">";
    case Token::GreaterOrEqual:
        return ">=";
    case Token::Equal:
        return "==";
    case Token::And:
        return "&&";
    case Token::Or:
        return "||";
    case Token::LeftParen:
        return "(";
    case Token::RightParen:
        return ")";
    case Token::Comma:
        return ",";
    case Token::In:
        return "in";
    }
    return "none";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    // The caller's text goes away once the tokenizer has it.
    auto text = std::make_unique<std::string>(reinterpret_cast<const char*>(data), size);
    PlainTokens plain(*text);
    Tokenizer tokenizer(*text);
    text.reset();
    // Who asks on behind an error gets there, or stays where no token can start.
    std::size_t asked = 0;
    for (std::string last; asked++ <= size + 1 && last != "stuck";) {
        const auto token = tokenizer.next();
        const auto wanted = plain.next();
        requireEqual(describe(token.type()), wanted.kind);
        requireEqual(token.string(), wanted.text);
        require(token.integer() == wanted.number);
        require(tokenizer.position() == wanted.position);
        const std::string state = wanted.kind + std::to_string(wanted.position);
        last = state == last ? "stuck" : state;
    }
    return 0;
}
