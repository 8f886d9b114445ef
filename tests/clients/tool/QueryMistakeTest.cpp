#include "clients/tool/QueryMistake.h"

#include <gtest/gtest.h>

using namespace Ostrel::Client::Tool;

namespace {

std::string repeat(const std::string& text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

struct Row {
    const char* name;
    std::string text;
    const char* shown; ///< what stands at the mistake, and why it is one; empty: there is none
};

class QueryMistakeTable : public testing::TestWithParam<Row> {};

TEST_P(QueryMistakeTable, IsFoundHere) {
    const auto mistake = findQueryMistake(GetParam().text);
    const auto shown =
        mistake ? GetParam().text.substr(mistake->position).substr(0, 8) + ": " + mistake->reason : "";
    EXPECT_EQ(shown, GetParam().shown);
}

// clang-format off
const Row rows[] = {
    {"Empty",           "",                       ""},
    {"Good",            "(ServiceId in (1, 2)) && End > 3 || Start <= End", ""},
    {"EndsTooEarly",    "End > ",                 ": a field or a number is expected"},
    {"NoOperator",      "End",                    ": ==, <, <=, >, >= or in is expected"},
    {"TwoInARow",       "End > 1 Start",          "Start: &&, || or the end is expected"},
    {"LoneEquals",      "End = 1",                "= 1: \"=\" alone is no operator; == compares"},
    {"LoneAnd",         "End > 1 & Start",        "& Start: \"&\" alone is no operator; && means both"},
    {"LoneOr",          "End > 1 |",              "|: \"|\" alone is no operator; || means either"},
    {"MinusNine",       "End > -9",               "-9: a digit from 0 to 8 is expected behind the minus sign"},
    {"Text",            "Title == \"a\"",         "\"a\": a field or a number is expected"},
    {"TextWithoutEnd",  "Title == \"a",           "\"a: the text in quotation marks has no end"},
    {"Not",             "!End",                   "!End: there is no \"not\" in the query language"},
    {"Tab",             "\tEnd > 1",              "\tEnd > 1: only blanks may stand between words, no tabs and line breaks"},
    {"LineBreak",       "End > 1\n",              "\n: only blanks may stand between words, no tabs and line breaks"},
    {"Bracket",         "[End > 1]",              "[End > 1: the query language does not have this character"},
    {"NoRightParen",    "(End > 1",               ": &&, || or ) is expected"},
    {"NothingInParens", "()",                     "): a field or a number is expected"},
    {"NoList",          "End in 1",               "1: a list such as (1000, 1001) is expected"},
    {"EmptyList",       "End in ()",              "): a number is expected"},
    {"FieldInList",     "End in (Start)",         "Start): a number is expected"},
    {"NoComma",         "End in (1 2)",           "2): , or ) is expected"},
    {"MostNodes",       "End in (1" + repeat(",1", 16) + ")", ""},
    {"OneNodeTooMany",  "End in (1" + repeat(",1", 17) + ")",
     "in (1,1,: this is one too many: an expression holds at most 20 fields, numbers, lists and operators"},
    {"MostParens",      repeat("(", 256) + "1<2" + repeat(")", 256), ""},
    {"OneParenTooMany", repeat("(", 257) + "1<2" + repeat(")", 257),
     "(1<2)))): no more than 256 parentheses may be open at once"},
    {"MostParensAndAList", repeat("(", 255) + "1 in (2)" + repeat(")", 255), ""},
    {"ListPastTheParens",  repeat("(", 256) + "1 in (2)" + repeat(")", 256),
     "(2)))))): no more than 256 parentheses may be open at once"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Mistakes, QueryMistakeTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(QueryMistakeTest, TheFirstNameThatIsNoFieldIsUnknown) {
    EXPECT_EQ(findUnknownField("ServiceId in (1) && (Start > 2 || Title == 5) && Genre == 6"), "Title");
    for (const std::string known : {"ServiceId", "Start", "End"})
        EXPECT_EQ(findUnknownField("1 < " + known), std::nullopt) << known;
    for (const std::string unknown : {"serviceid", "START", "Title", "_"})
        EXPECT_EQ(findUnknownField("1 < " + unknown), unknown);
}

TEST(PointAtTest, PutsTheCaretBelowThePosition) {
    EXPECT_EQ(pointAt("End = 1", 4, 80), "  End = 1\n      ^\n");
    EXPECT_EQ(pointAt("", 0, 80), "  \n  ^\n");
    EXPECT_EQ(pointAt("End > ", 6, 80), "  End > \n        ^\n");
}

TEST(PointAtTest, CountsColumnsAndNotBytes) {
    const std::string text = "\"\u00e9\u65e5e\u0301\" =";
    EXPECT_EQ(pointAt(text, text.size() - 1, 80), "  " + text + "\n         ^\n");
    EXPECT_EQ(pointAt("\x1b[ =", 3, 80), "  \uFFFD[ =\n     ^\n");
}

TEST(PointAtTest, ShowsWhatIsNearThePosition) {
    const auto text = repeat("a", 100) + "!" + repeat("b", 100);
    EXPECT_EQ(pointAt(text, 0, 24), "  " + repeat("a", 20) + "\u2026\n  ^\n");
    EXPECT_EQ(pointAt(text, 100, 24),
              "  \u2026" + repeat("a", 10) + "!" + repeat("b", 8) + "\u2026\n             ^\n");
    EXPECT_EQ(pointAt(text, 201, 24), "  \u2026" + repeat("b", 20) + "\n                       ^\n");
}

} // namespace
