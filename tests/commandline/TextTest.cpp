#include "commandline/Text.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace Ostrel::CommandLine;

namespace {

struct Row {
    const char* name;
    const char* text;
    const char* wrapped; ///< at 10 columns, two of them indent
};

class WrapTable : public testing::TestWithParam<Row> {};

TEST_P(WrapTable, IsBrokenThus) {
    EXPECT_EQ(wrap(GetParam().text, 2, 10), GetParam().wrapped);
}

// clang-format off
const Row rows[] = {
    {"Empty",        "",                    "\n"},
    {"Fits",         "abcd efg",            "abcd efg\n"},
    {"OneTooMany",   "abcd efgh",           "abcd\n  efgh\n"},
    {"LongWord",     "a bcdefghijklmn o",   "a\n  bcdefghijklmn\n  o\n"},
    {"LinesAreJoined", "a\nb",              "a b\n"},
    {"Paragraphs",   "a\n\nb",              "a\n\n  b\n"},
    {"WholeLine",    "a\n  one two three\nb", "a\n    one two three\n  b\n"},
    {"WholeLines",   "  a\n  b",            "  a\n    b\n"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Texts, WrapTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(TextTest, WidthIsThatOfColumnsWithinBounds) {
    const auto widthFor = [](const char* columns) {
        setenv("COLUMNS", columns, 1);
        const auto width = getTextWidth();
        unsetenv("COLUMNS");
        return width;
    };
    EXPECT_EQ(widthFor("60"), 60U);
    EXPECT_EQ(widthFor("39"), 40U);
    EXPECT_EQ(widthFor("40"), 40U);
    EXPECT_EQ(widthFor("100"), 100U);
    EXPECT_EQ(widthFor("101"), 100U);
    EXPECT_EQ(widthFor("0"), getTextWidth());
    EXPECT_EQ(widthFor("wide"), getTextWidth());
}

TEST(TextTest, ControlCharactersAreReplaced) {
    EXPECT_EQ(printable("a\x1b[1mb\n\x7f\xc2\x9b\xc3\xa4"), "a\uFFFD[1mb\uFFFD\uFFFD\uFFFD\xc3\xa4");
}

} // namespace
