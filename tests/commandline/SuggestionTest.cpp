#include "commandline/Suggestion.h"

#include <gtest/gtest.h>

using namespace Ostrel::CommandLine;

namespace {

TEST(SuggestionTest, DistanceCountsEdits) {
    EXPECT_EQ(getDistance("", ""), 0U);
    EXPECT_EQ(getDistance("", "abc"), 3U);
    EXPECT_EQ(getDistance("scan", "scan"), 0U);
    EXPECT_EQ(getDistance("scan", "scna"), 1U) << "swapped";
    EXPECT_EQ(getDistance("scan", "can"), 1U);
    EXPECT_EQ(getDistance("scan", "span"), 1U);
    EXPECT_EQ(getDistance("guide", "genres"), 4U);
}

struct Row {
    const char* name;
    const char* given;
    std::optional<std::string> meant;
};

class SuggestionTable : public testing::TestWithParam<Row> {};

TEST_P(SuggestionTable, IsMeant) {
    const std::vector<std::string> names{"services", "scan",   "signal", "now",
                                         "--limit",  "--list", "-h",     "--help"};
    EXPECT_EQ(findSimilar(GetParam().given, names), GetParam().meant);
}

// clang-format off
const Row rows[] = {
    {"Swapped",      "scna",          "scan"},
    {"Longer",       "servicess",     "services"},
    {"Beginning",    "serv",          "services"},
    {"FirstOfTwo",   "--li",          "--limit"},
    {"NearestOfTwo", "--lits",        "--list"},
    {"SameBeginning", "--limt",       "--limit"},
    {"OneOff",       "nwo",           "now"},
    {"TwoLettersOff", "snn",          {}},
    {"Far",          "frobnicate",    {}},
    {"OneLetter",    "s",             {}},
    {"DashesAlone",  "--",            {}},
    {"Empty",        "",              {}},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Suggestions, SuggestionTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(SuggestionTest, LongTextsAreNotMeasured) {
    EXPECT_EQ(findSimilar(std::string(65, 'a'), {std::string(65, 'a') + "b"}), std::nullopt);
    EXPECT_EQ(findSimilar(std::string(64, 'a'), {std::string(65, 'a')}), std::string(65, 'a'));
}

TEST(SuggestionTest, IsTheEndOfASentence) {
    EXPECT_EQ(suggest("scna", {"scan"}), "; did you mean \"scan\"?");
    EXPECT_EQ(suggest("frobnicate", {"scan"}), "");
}

} // namespace
