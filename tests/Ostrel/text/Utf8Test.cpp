#include "Ostrel/text/Utf8.h"

#include <gtest/gtest.h>

namespace Ostrel::Test {

namespace {

struct CutRow {
    const char* name;
    std::string text;
    std::size_t size;
    std::string cut;
};

std::ostream& operator<<(std::ostream& out, const CutRow& row) {
    return out << row.name;
}

// clang-format off
const CutRow cutRows[] = {
    {"Fits",            "abc",              3, "abc"},
    {"OnePast",         "abcd",             3, "abc"},
    {"Nothing",         "abc",              0, ""},
    {"BetweenTwoBytes", "ab\xc3\xa4",       3, "ab"},
    {"BehindTwoBytes",  "a\xc3\xa4z",       3, "a\xc3\xa4"},
    {"InsideFourBytes", "\xf0\x9f\x93\xba", 3, ""},
    {"NoUtf8AtAll",     "\x80\x80\x80\x80\x80\x80\x80", 6, "\x80\x80"},
};
// clang-format on

class CutText : public testing::TestWithParam<CutRow> {};

TEST_P(CutText, CutsBetweenCharacters) {
    EXPECT_EQ(cutText(GetParam().text, GetParam().size), GetParam().cut);
}

INSTANTIATE_TEST_SUITE_P(Utf8, CutText, testing::ValuesIn(cutRows),
                         [](const auto& row) { return row.param.name; });

struct WrongRow {
    const char* name;
    std::string text;
    std::string made;
};

std::ostream& operator<<(std::ostream& out, const WrongRow& row) {
    return out << row.name;
}

// clang-format off
const WrongRow wrongRows[] = {
    {"Right",           "a\xc3\xa4\xe2\x82\xac\xf0\x9f\x93\xba", "a\xc3\xa4\xe2\x82\xac\xf0\x9f\x93\xba"},
    {"LastOfAll",       "\xed\x9f\xbf\xf4\x8f\xbf\xbf", "\xed\x9f\xbf\xf4\x8f\xbf\xbf"},
    {"Continuation",    "a\x80z",           "a\xef\xbf\xbdz"},
    {"Overlong",        "\xc0\x80",         "\xef\xbf\xbd\xef\xbf\xbd"},
    {"OverlongOfThree", "\xe0\x9f\xbf",     "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
    {"OverlongOfFour",  "\xf0\x8f\xbf\xbf", "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
    {"HalfOfAPair",     "\xed\xa0\x80",     "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
    {"PastTheLast",     "\xf4\x90\x80\x80", "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
    {"Ascii",           "plain",            "plain"},
    {"CutOff",          "a\xe2\x82",        "a\xef\xbf\xbd\xef\xbf\xbd"},
    {"RightBehindIt",   "\xff\xc3\xa4",     "\xef\xbf\xbd\xc3\xa4"},
};
// clang-format on

class MakeUtf8 : public testing::TestWithParam<WrongRow> {};

TEST_P(MakeUtf8, ReplacesWhatIsNone) {
    auto text = GetParam().text;
    makeUtf8(text);
    EXPECT_EQ(text, GetParam().made);
}

// ASCII is passed over many bytes at a time.
TEST_P(MakeUtf8, FindsItWhereverItStands) {
    for (std::size_t before = 0; before != 80; ++before) {
        for (const std::size_t behind : {0u, 1u, 40u}) {
            const std::string front(before, 'a'), back(behind, 'z');
            auto text = front + GetParam().text + back;
            const auto made = front + GetParam().made + back;
            ASSERT_EQ(isUtf8(text), text == made);
            makeUtf8(text);
            ASSERT_EQ(text, made);
            ASSERT_TRUE(isUtf8(text));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Utf8, MakeUtf8, testing::ValuesIn(wrongRows),
                         [](const auto& row) { return row.param.name; });

} // namespace

} // namespace Ostrel::Test
