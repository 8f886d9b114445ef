#include "commandline/Table.h"
#include "commandline/Text.h"

#include <gtest/gtest.h>

using namespace Ostrel::CommandLine;

namespace {

struct WidthRow {
    const char* name;
    const char* text;
    std::size_t width;
};

class WidthTable : public testing::TestWithParam<WidthRow> {};

TEST_P(WidthTable, IsSoManyColumns) {
    EXPECT_EQ(getWidth(GetParam().text), GetParam().width);
}

const WidthRow rows[] = {
    {"Empty", "", 0},    {"Ascii", "BBC ONE", 7},    {"Accents", "TÉLÉ", 4},    {"Combining", "e\u0301", 1},
    {"Wide", "日本", 4}, {"NotUtf8", "\xff\xc3", 2}, {"Cyrillic", "Россия", 6},
};

INSTANTIATE_TEST_SUITE_P(Widths, WidthTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(TableTest, CutsBetweenLetters) {
    EXPECT_EQ(cut("Télé", 2), "Té");
    EXPECT_EQ(cut("日本", 3), "日") << "half a letter is none";
    EXPECT_EQ(cut("e\u0301e", 1), "e\u0301") << "the accent takes no column";
    EXPECT_EQ(cut("\xff\xff", 1), "\xff");
    EXPECT_EQ(cut("BBC", 3), "BBC");
    EXPECT_EQ(cut("BBC", 0), "");
}

TEST(TableTest, AlignsByWidthAndEndsNoLineInBlanks) {
    Table table({{"No.", Table::Align::Right}, {"Name"}, {"Flags"}});
    table.add({"1", "Télé", ""});
    table.add({"1000", "日本", "HD"});
    table.add({"7", "", ""});
    EXPECT_EQ(table.format(), " No.  Name  Flags\n"
                              "   1  Télé\n"
                              "1000  日本  HD\n"
                              "   7\n");
}

TEST(TableTest, FitsByShorteningOneColumn) {
    Table table({{"No."}, {"Title"}});
    table.add({"1", "The Travelling Saleroom"});
    table.add({"2", "Short"});
    auto same = table;
    same.fit(1, 28);
    EXPECT_EQ(same.format(), table.format());
    auto shorter = table;
    shorter.fit(1, 27);
    EXPECT_EQ(shorter.format(), "No.  Title\n1    The Travelling Salero\u2026\n2    Short\n");
    auto shortest = table;
    shortest.fit(1, 1);
    EXPECT_EQ(shortest.format(), "No.  Title\n1    The Travell\u2026\n2    Short\n");
}

TEST(TableTest, WithoutRowsIsItsHeader) {
    EXPECT_EQ(Table({{"Code"}, {"Genre"}}).format(), "Code  Genre\n");
}

TEST(TableTest, ControlCharactersReachNoTerminal) {
    Table table({{"A"}});
    table.add({"\x1b[31mred\n\u009b\x7f é"});
    EXPECT_EQ(table.format(), "A\n\uFFFD[31mred\uFFFD\uFFFD\uFFFD é\n");
}

} // namespace
