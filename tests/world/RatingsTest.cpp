#include "world/Ratings.h"

#include <gtest/gtest.h>

#include <ostream>

using namespace Ostrel::TV::Tool;

namespace {

struct Row {
    const char* name;
    std::vector<XmltvText> ratings;
    const char* warning; ///< with " late" behind it where that is said
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class RatingTable : public testing::TestWithParam<Row> {};

TEST_P(RatingTable, WarnsLikeThis) {
    const Warning warning = readRatings(GetParam().ratings);
    EXPECT_EQ(warning.guidance + (warning.isLate ? " late" : ""), GetParam().warning);
}

// clang-format off
const Row rows[] = {
    {"None",              {}, ""},
    {"ForAll",            {{"BBFC", "U"}}, ""},
    {"ForMost",           {{"MPAA", "PG"}}, ""},
    {"Seven",             {{"TV", "TV-Y7"}}, ""},
    {"Eleven",            {{"", "11"}}, ""},
    {"Twelve",            {{"BBFC", "12A"}}, "Rated 12A (BBFC)."},
    {"Thirteen",          {{"MPAA", "PG-13"}}, "Rated PG-13 (MPAA)."},
    {"Sixteen",           {{"FSK", "FSK 16"}}, "Rated FSK 16 (FSK)."},
    {"Seventeen",         {{"MPAA", "NC-17"}}, "Rated NC-17 (MPAA). late"},
    {"Eighteen",          {{"BBFC", "18"}}, "Rated 18 (BBFC). late"},
    {"R18",               {{"BBFC", "R18"}}, "Rated R18 (BBFC). late"},
    {"R",                 {{"MPAA", "R"}}, "Rated R (MPAA). late"},
    {"Mature",            {{"VCHIP", "TV-MA"}}, "Rated TV-MA (VCHIP). late"},
    {"NoSystem",          {{"", "15"}}, "Rated 15."},
    {"LaterIsHigher",     {{"A", "12"}, {"B", "18"}}, "Rated 12 (A). late"},
    {"Words",             {{"guidance", "Contains gales."}}, "Contains gales."},
    {"WordsBeforeAges",   {{"BBFC", "18"}, {"guidance", "Contains gales."}}, "Contains gales. late"},
    {"Watershed",         {{"watershed", "late"}}, " late"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Ratings, RatingTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

} // namespace
