#include "world/Categories.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <ostream>
#include <string>

#include <unistd.h>

using namespace Ostrel::TV;
using namespace Ostrel::TV::Tool;

namespace {

struct Row {
    const char* name;
    std::vector<std::string_view> categories;
    int code; ///< -1: none
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class CategoryTable : public testing::TestWithParam<Row> {};

TEST_P(CategoryTable, HasThisCode) {
    EXPECT_EQ(Categories().choose(GetParam().categories).value_or(-1), GetParam().code);
}

// clang-format off
const Row rows[] = {
    {"None",             {}, -1},
    {"Known",            {"News"}, 0x20},
    {"AnyCase",          {"sOAP"}, 0x15},
    {"OtherLanguages",   {"Krimi"}, 0x11},
    {"Umlaut",           {"Fußball"}, 0x43},
    {"Unknown",          {"Seafaring"}, -1},
    {"UnknownFirst",     {"Seafaring", "Jazz"}, 0x64},
    {"KindBeforeGenre",  {"Music", "Jazz"}, 0x64},
    {"FirstKind",        {"Football", "Tennis"}, 0x43},
    {"FirstGenre",       {"Music", "News"}, 0x60},
    {"FirstPart",        {"Film/Drama"}, 0x10},
    {"KnownPart",        {"Boats, Travel"}, 0xA1},
    {"WholeBeforeParts", {"Rock/Pop"}, 0x61},
    {"Code",             {"0x2E"}, 0x2E},
    {"LongCode",         {"0x1234"}, 0x1234},
    {"NoCode",           {"0x"}, -1},
    {"CodeTooLarge",     {"0x12345"}, -1},
    {"NegativeCode",     {"0x-1"}, -1},
    {"Empty",            {""}, -1},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Categories, CategoryTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(CategoriesTest, ACodeIsCalledByTheFirstNameOfItsLine) {
    const Categories categories;
    EXPECT_EQ(categories.nameOf(0x23), "Documentary");
    EXPECT_EQ(categories.nameOf(0x2E), std::nullopt);
}

TEST(CategoriesTest, WhatACodeIsCalledHasThatCode) {
    const Categories categories;
    int known = 0;
    for (int code = 0; code != 0x100; ++code)
        if (const auto name = categories.nameOf(code)) {
            EXPECT_EQ(categories.choose({*name}), code) << *name;
            ++known;
        }
    EXPECT_EQ(known, 75);
}

/// A file of lines, for as long as this.
class Lines {
public:
    explicit Lines(const std::string& text) { std::ofstream(path) << text; }
    ~Lines() { ::unlink(path.c_str()); }

    const std::string path = testing::TempDir() + "categories-" + std::to_string(::getpid()) + ".txt";
};

TEST(CategoriesTest, LinesOfOnesOwnGoFirst) {
    Categories categories;
    categories.add(Lines("# mine\n0x48 | Seafaring | Jazz\n").path);
    EXPECT_EQ(categories.find("seafaring"), 0x48);
    EXPECT_EQ(categories.find("Jazz"), 0x48);
    EXPECT_EQ(categories.find("Blues"), 0x64);
}

TEST(CategoriesTest, BadLinesAreBlamed) {
    const auto mistake = [](const std::string& text) {
        const Lines lines(text);
        try {
            Categories().add(lines.path);
        } catch (const TextFileError& error) {
            return std::string(error.what()).substr(lines.path.size());
        }
        return std::string("none");
    };
    EXPECT_EQ(mistake("\n0x48\n"), ":2: expected: CODE | NAME | NAME ...");
    EXPECT_EQ(mistake("sport | Darts\n"), ":1: content code \"sport\" is not a number from 0 to 65535");
    EXPECT_EQ(mistake("0x48 | Darts | \n"), ":1: a name is empty");
    EXPECT_EQ(mistake("0x48 | Darts\n0x49 | DARTS\n"), ":2: \"DARTS\" has a code already");
}

} // namespace
