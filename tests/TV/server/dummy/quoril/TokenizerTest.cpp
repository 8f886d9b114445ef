#include "TV/server/dummy/quoril/Tokenizer.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace Ostrel::TV;
using Token = Tokenizer::Token;

namespace {

struct Row {
    const char* name;
    std::string text;
    const char* tokens;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

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

class TokenizerTable : public testing::TestWithParam<Row> {};

// clang-format off
const Row rows[] = {
    {"Empty",                 "",                  "End"},
    {"Blanks",                "   ",               "End"},
    {"NoBlanksNeeded",        "ServiceId==1000",   "Identifier(ServiceId) Equal Integer(1000) End"},
    {"BlanksDoNotMatter",     " a  <  1 ",         "Identifier(a) LessThan Integer(1) End"},
    {"TabIsNoBlank",          "a\tb",              "Identifier(a) Error"},
    {"LineBreakIsNoBlank",    "a\nb",              "Identifier(a) Error"},
    {"CarriageReturnIsNone",  "\r",                "Error"},
    {"Signs",                 "(),<<=>>===&&||",   "LeftParen RightParen Comma LessThan LessOrEqual GreaterThan GreaterOrEqual Equal And Or End"},
    {"BlankInsideASign",      "< =",               "LessThan Error"},
    {"GreaterAtTheEnd",       ">",                 "GreaterThan End"},
    {"LessAtTheEnd",          "<",                 "LessThan End"},
    {"LoneEqualsAtTheEnd",    "=",                 "Error"},
    {"LoneAnd",               "&x",                "Error"},
    {"LoneOr",                "|",                 "Error"},
    {"NotEqual",              "!=",                "Error"},
    {"Point",                 "1.5",               "Integer(1) Error"},
    {"HighByte",              "\xC3\xA9",          "Error"},
    {"EmbeddedNul",           std::string("a\0", 2), "Identifier(a) Error"},
    {"Zeros",                 "007",               "Integer(7) End"},
    {"NumberThenName",        "12abc",             "Integer(12) Identifier(abc) End"},
    {"NumbersWithoutBlank",   "1-2",               "Integer(1) Integer(-2) End"},
    {"MinusEight",            "-8",                "Integer(-8) End"},
    {"MinusEightyNine",       "-89",               "Integer(-89) End"},
    {"MinusTen",              "-10",               "Integer(-10) End"},
    {"MinusZero",             "-0",                "Integer(0) End"},
    {"MinusNine",             "-9",                "Error"},
    {"MinusNinetyFive",       "-95",               "Error"},
    {"MinusAlone",            "-",                 "Error"},
    {"MinusBlank",            "- 1",               "Error"},
    {"MinusMinus",            "--1",               "Error"},
    {"LargestNumber",         "9223372036854775807",  "Integer(9223372036854775807) End"},
    {"DigitsThatWrap",        "9223372036854775808",  "Integer(-9223372036854775808) End"},
    {"WrapToZero",            "18446744073709551616", "Integer(0) End"},
    {"WrapToMinusOne",        "18446744073709551615", "Integer(-1) End"},
    {"SmallestNegated",       "-18446744073709551615", "Integer(1) End"},
    {"HundredDigits",         std::string(100, '9'), "Integer(-1) End"},
    {"In",                    "in",                "In End"},
    {"LongerThanIn",          "inx",               "Identifier(inx) End"},
    {"UpperCaseIn",           "IN",                "Identifier(IN) End"},
    {"MixedCaseIn",           "In",                "Identifier(In) End"},
    {"UnderscoreIn",          "_in",               "Identifier(_in) End"},
    {"InThenNumber",          "in1",               "Identifier(in1) End"},
    {"NameWithEverything",    "_aZ09_",            "Identifier(_aZ09_) End"},
    {"String",                R"("abc")",          "String(abc) End"},
    {"EmptyString",           R"("")",             "String() End"},
    {"StringOfAnyByte",       "\"\t\xFF\n\"",      "String(\t\xFF\n) End"},
    {"EscapedQuote",          R"("say \"hi\"")",   R"(String(say "hi") End)"},
    {"OneEscape",             R"("a\nb")",         R"(String(a\nb) End)"},
    {"TwoBackslashes",        R"("\\")",           R"(String(\\) End)"},
    {"TwoBackslashesAndMore", R"("\\x")",          R"(String(\\x) End)"},
    {"Unfinished",            R"("abc)",           "Error"},
    {"UnfinishedEscape",      "\"a\\",             "Error"},
};
// clang-format on

} // namespace

TEST_P(TokenizerTable, GivesTheseTokens) {
    EXPECT_EQ(describe(GetParam().text), GetParam().tokens);
}

INSTANTIATE_TEST_SUITE_P(Texts, TokenizerTable, testing::ValuesIn(rows),
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
