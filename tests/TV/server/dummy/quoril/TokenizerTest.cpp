#include "TV/server/dummy/quoril/Tokenizer.h"

#include "tests/TV/server/dummy/quoril/TokenizerRows.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace Ostrel::TV;
using Token = Tokenizer::Token;

namespace {

std::string describe(const Token& token) {
    switch (token.type()) {
    case Token::Error:
        return "Error";
    case Token::End:
        return "End";
    case Token::Integer:
        return "Integer(" + std::to_string(token.integer()) + ")";
    case Token::String:
        return "String(" + token.string() + ")";
    case Token::Identifier:
        return "Identifier(" + token.string() + ")";
    case Token::LessThan:
        return "LessThan";
    case Token::LessOrEqual:
        return "LessOrEqual";
    case Token::GreaterThan:
        return "GreaterThan";
    case Token::GreaterOrEqual:
        return "GreaterOrEqual";
    case Token::Equal:
        return "Equal";
    case Token::And:
        return "And";
    case Token::Or:
        return "Or";
    case Token::LeftParen:
        return "LeftParen";
    case Token::RightParen:
        return "RightParen";
    case Token::Comma:
        return "Comma";
    case Token::In:
        return "In";
    }
    return "no token";
}

/// The tokens up to the first End or Error.
std::string describe(const std::string& text) {
    Tokenizer tokenizer(text);
    std::string tokens;
    for (;;) {
        const Token token = tokenizer.next();
        tokens += describe(token);
        if (token.type() == Token::End || token.type() == Token::Error)
            return tokens;
        tokens += ' ';
    }
}

class TokenizerTable : public testing::TestWithParam<TokenizerRow> {};

} // namespace

TEST_P(TokenizerTable, GivesTheseTokens) {
    EXPECT_EQ(describe(GetParam().text), GetParam().tokens);
}

INSTANTIATE_TEST_SUITE_P(Texts, TokenizerTable, testing::ValuesIn(tokenizerRows),
                         [](const auto& row) { return row.param.name; });

TEST(TokenizerTest, EndComesAgain) {
    Tokenizer tokenizer("a");
    tokenizer.next();
    EXPECT_EQ(tokenizer.next().type(), Token::End);
    EXPECT_EQ(tokenizer.next().type(), Token::End);
}

TEST(TokenizerTest, AnErrorMakesTheEndAnError) {
    Tokenizer tokenizer("\"abc");
    EXPECT_EQ(tokenizer.next().type(), Token::Error);
    EXPECT_EQ(tokenizer.next().type(), Token::Error);
}

TEST(TokenizerTest, AnUnknownCharacterStays) {
    Tokenizer tokenizer("a\tb");
    tokenizer.next();
    EXPECT_EQ(tokenizer.next().type(), Token::Error);
    EXPECT_EQ(tokenizer.next().type(), Token::Error);
}

TEST(TokenizerTest, ALoneSignEatsItsNeighbour) {
    Tokenizer tokenizer("=(1");
    EXPECT_EQ(tokenizer.next().type(), Token::Error);
    const Token token = tokenizer.next();
    EXPECT_EQ(token.type(), Token::Integer);
    EXPECT_EQ(token.integer(), 1);
    EXPECT_EQ(tokenizer.next().type(), Token::Error);
}

TEST(TokenizerTest, ARefusedMinusIsConsumed) {
    Tokenizer tokenizer("-95");
    EXPECT_EQ(tokenizer.next().type(), Token::Error);
    EXPECT_EQ(tokenizer.next().integer(), 95);
}

TEST(TokenizerTest, KeepsItsOwnText) {
    std::string text = "ServiceId";
    Tokenizer tokenizer(text);
    text = "something else";
    EXPECT_EQ(tokenizer.next().string(), "ServiceId");
}

TEST(TokenTest, HoldsATypeATextOrANumber) {
    const Token none;
    EXPECT_EQ(static_cast<int>(none.type()), 0);
    EXPECT_EQ(none.string(), "");
    EXPECT_EQ(none.integer(), 0);

    std::string text = "Start";
    const Token name(Token::Identifier, text);
    EXPECT_EQ(name.type(), 5);
    EXPECT_EQ(name.string(), "Start");
    EXPECT_EQ(name.integer(), 0);

    Token copy = Token(Token::Integer, -7ll);
    EXPECT_EQ(copy.integer(), -7);
    EXPECT_EQ(copy.string(), "");
    copy = name;
    EXPECT_EQ(copy.string(), "Start");
}
