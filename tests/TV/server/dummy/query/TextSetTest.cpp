#include "TV/server/dummy/query/TextSet.h"

#include "Ostrel/runtime/Cancellation.h"
#include "TV/server/dummy/query/RowBits.h"
#include "tests/TV/server/dummy/AnyWorld.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <string>
#include <vector>

using namespace Ostrel::TV;

namespace {

std::vector<std::string_view> viewsOf(const std::vector<std::string>& texts) {
    return {texts.begin(), texts.end()};
}

/// Those that occur, in the order of the set.
std::string describe(const TextSet& set, const std::vector<std::string>& wanted, const std::string& text) {
    TextSet::Marks marks;
    set.mark(text.c_str(), marks);
    EXPECT_EQ(set.occurIn(text.c_str()), marks.any()) << text;
    std::string found;
    for (std::size_t i = 0; i != wanted.size(); ++i)
        if (marks[i])
            found += (found.empty() ? "" : " ") + wanted[i];
    return found;
}

struct Row {
    const char* name;
    std::vector<std::string> wanted; ///< ascending
    const char* text;
    const char* found;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class TextSetTable : public testing::TestWithParam<Row> {};

// clang-format off
const Row textRows[] = {
    {"Nothing",             {"a"},                                  "",            ""},
    {"OneByte",             {"a"},                                  "bab",         "a"},
    {"OneByteAtTheEnd",     {"a"},                                  "ba",          "a"},
    {"TwoBytes",            {"ab"},                                 "aab",         "ab"},
    {"HalfOfTwo",           {"ab"},                                 "ba",          ""},
    {"ThreeBytes",          {"abc"},                                "ababc",       "abc"},
    {"FourBytes",           {"abcd"},                               "abcabcd",     "abcd"},
    {"FiveBytes",           {"abcde"},                              "abcdabcde",   "abcde"},
    {"TheTextItself",       {"abcdefgh"},                           "abcdefgh",    "abcdefgh"},
    {"OneTooLong",          {"abcdefghi"},                          "abcdefgh",    ""},
    {"EachIsTheNextsStart", {"a", "ab", "abc", "abcd", "abcde"},    "xabcde",      "a ab abc abcd abcde"},
    {"TheLongestIsMissed",  {"a", "ab", "abc", "abcd", "abcde"},    "xabcdx",      "a ab abc abcd"},
    {"EachIsTheNextsEnd",   {"abcde", "bcde", "cde", "de", "e"},    "abcde",       "abcde bcde cde de e"},
    {"SharedStarts",        {"abcdef", "abcdeg", "abcdfg"},         "abcdeabcdfg", "abcdfg"},
    {"SharedThree",         {"abc", "abca", "abcb", "abcc"},        "abcbabcc",    "abc abcb abcc"},
    {"LessThanAll",         {"bb", "bbb", "bbbb", "bbbbb"},         "ba",          ""},
    {"MoreThanAll",         {"bb", "bbb", "bbbb", "bbbbb"},         "bc",          ""},
    {"HighBytes",           {"\x80", "\xC3\xA9", "\xFF\xFF\xFF\xFF"}, "a\xC3\xA9\xFF\xFF\xFF", "\xC3\xA9"},
};
// clang-format on

TEST_P(TextSetTable, FindsThese) {
    const TextSet set(viewsOf(GetParam().wanted));
    EXPECT_EQ(describe(set, GetParam().wanted, GetParam().text), GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(TextSet, TextSetTable, testing::ValuesIn(textRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(TextSetTest, RandomSetsFindWhatEachOfTheirTextsFinds) {
    std::mt19937 random(1043);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    std::size_t found = 0, missed = 0;
    for (unsigned round = 0; round != 3000; ++round) {
        // Few letters make many starts that are shared; the lengths cross every border.
        const auto letters = 1 + below(4), longest = 1 + below(9);
        const auto makeText = [&](std::size_t size) {
            std::string text;
            for (std::size_t i = 0; i != size; ++i)
                text += static_cast<char>((round % 2 == 0 ? 'a' : 0xE0) + static_cast<int>(below(letters)));
            return text;
        };
        std::vector<std::string> wanted;
        for (std::size_t i = 0, count = 1 + below(TextSet::limit); i != count; ++i)
            wanted.push_back(makeText(1 + below(longest)));
        std::sort(wanted.begin(), wanted.end());
        wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
        const TextSet set(viewsOf(wanted));
        ASSERT_EQ(set.size(), wanted.size());
        const std::string text = makeText(below(round % 10 == 0 ? 1000 : 20));
        TextSet::Marks marks;
        set.mark(text.c_str(), marks);
        ASSERT_EQ(set.occurIn(text.c_str()), marks.any());
        for (std::size_t i = 0; i != wanted.size(); ++i) {
            ASSERT_EQ(marks[i], text.find(wanted[i]) != std::string::npos) << wanted[i] << " in " << text;
            ++(marks[i] ? found : missed);
        }
    }
    EXPECT_GT(found, 10000u);
    EXPECT_GT(missed, 10000u);
}

using TextSetInGuideTest = AnyWorld;
OSTREL_TEST_ANY_WORLD(TextSetInGuideTest);

TEST_P(TextSetInGuideTest, FindsEveryTextThatHoldsOneOfThem) {
    const std::vector<std::string> wanted{"Film", "News", "lighthouse keeper", "no such text", "q"};
    FoundTexts found(index());
    TextSet(viewsOf(wanted)).find(found);
    std::vector<std::uint64_t> rows(index().size() / rowBits + 1, ~std::uint64_t{0});
    rows.resize(index().size() / rowBits); // all but the last ones, which are no whole word
    found.narrow(rows, 0, true);
    std::size_t count = 0;
    for (std::uint32_t position = 0; position != rows.size() * rowBits; ++position) {
        const epgentry& row = *index()[position];
        const bool holds = std::any_of(wanted.begin(), wanted.end(), [&](const std::string& text) {
            const auto isIn = [&](const char* given) {
                return given && std::string_view(given).find(text) != std::string_view::npos;
            };
            return isIn(row.Title) || isIn(row.Description);
        });
        ASSERT_EQ(rows[position / rowBits] >> position % rowBits & 1, holds) << position;
        count += holds;
    }
    EXPECT_GT(count, 100u);
}

TEST_P(TextSetInGuideTest, CanBeLeftWhileItReadsTheTexts) {
    const std::vector<std::string> wanted{"no such text"};
    const TextSet set(viewsOf(wanted));
    FoundTexts found(index());
    const std::atomic<bool> cancelled = true;
    const Ostrel::Cancellation scope(cancelled);
    EXPECT_THROW(set.find(found), Ostrel::Cancelled);
}

TEST(TextSetTest, MarksAreAddedToThoseThatAreThere) {
    const std::vector<std::string> wanted{"ab", "bc", "cd"};
    const TextSet set(viewsOf(wanted));
    TextSet::Marks marks;
    set.mark("ab", marks);
    set.mark("bcd", marks);
    EXPECT_EQ(marks.count(), 3u);
    set.mark("nothing", marks);
    EXPECT_EQ(marks.count(), 3u);
}

TEST(TextSetTest, ALongTextIsReadToItsEnd) {
    const std::vector<std::string> wanted{"b"};
    const TextSet set(viewsOf(wanted));
    for (const std::size_t size : {255u, 256u, 257u, 511u, 512u, 100000u}) {
        EXPECT_FALSE(set.occurIn(std::string(size, 'a').c_str()));
        EXPECT_TRUE(set.occurIn((std::string(size, 'a') + 'b').c_str())) << size;
    }
}

} // namespace
