#include "world/XmltvTime.h"

#include <gtest/gtest.h>

#include <ostream>

using namespace Ostrel::TV;
using namespace Ostrel::TV::Tool;

namespace {

struct Row {
    const char* name;
    const char* text;
    std::int64_t utc; ///< 0: refused
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class XmltvTimeTable : public testing::TestWithParam<Row> {};

TEST_P(XmltvTimeTable, IsThisTime) {
    const auto time = readXmltvTime(GetParam().text);
    EXPECT_EQ(time ? time->seconds - time->offset.value_or(0) : 0, GetParam().utc);
}

// clang-format off
const Row rows[] = {
    {"Utc",             "20261024200000 +0000",  1792872000},
    {"EastOfGreenwich", "20261024200000 +0200",  1792864800},
    {"WestOfGreenwich", "20261024200000 -0330",  1792884600},
    {"WithAColon",      "20261024200000 +02:00", 1792864800},
    {"HoursAlone",      "20261024200000 +02",    1792864800},
    {"WithoutABlank",   "20261024200000+0200",   1792864800},
    {"Named",           "20261024200000 BST",    1792868400},
    {"NamedUtc",        "20261024200000 Z",      1792872000},
    {"WithoutAZone",    "20261024200000",        1792872000},
    {"WithoutSeconds",  "202610242000 +0000",    1792872000},
    {"WithoutMinutes",  "2026102420 +0000",      1792872000},
    {"ADay",            "20261024",              1792800000},
    {"LeapDay",         "20240229000000",        1709164800},
    {"LeapSecond",      "20161231235960",        1483228800},
    {"NoLeapDay",       "20260229000000",        0},
    {"Month13",         "20261301000000",        0},
    {"Hour24",          "20261024240000",        0},
    {"Minute60",        "20261024206000",        0},
    {"AMonth",          "202610",                0},
    {"OddDigits",       "202610242",             0},
    {"TooManyDigits",   "2026102420000000",      0},
    {"UnknownZone",     "20261024200000 IST",    0},
    {"HalfAZone",       "20261024200000 +020",   0},
    {"ZoneTooFar",      "20261024200000 +1600",  0},
    {"Empty",           "",                      0},
    {"Words",           "tonight",               0},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Times, XmltvTimeTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(XmltvTimeTest, IsWrittenInLocalTime) {
    EXPECT_EQ(formatXmltvTime(1792864800, 7200), "20261024200000 +0200");
    EXPECT_EQ(formatXmltvTime(1792884600, -12600), "20261024200000 -0330");
    EXPECT_EQ(formatXmltvTime(1, 0), "19700101000001 +0000");
}

/// Clocks go back by an hour at 1000000 and forward by one at 2000000.
const ZoneOffset zone[] = {{0, 7200}, {1000000, 3600}, {2000000, 7200}};

TEST(XmltvTimeTest, LocalTimesFollowTheZone) {
    EXPECT_EQ(offsetAt(zone, 999999), 7200);
    EXPECT_EQ(offsetAt(zone, 1000000), 3600);
    EXPECT_EQ(offsetAt(zone, -1), 7200);
    EXPECT_EQ(localToUtc(zone, 500000 + 7200), 500000);
    EXPECT_EQ(localToUtc(zone, 1500000 + 3600), 1500000);
    EXPECT_EQ(localToUtc(zone, 2500000 + 7200), 2500000);
}

TEST(XmltvTimeTest, OfAnHourThatComesTwiceTheFirstIsMeant) {
    EXPECT_EQ(localToUtc(zone, 1000000 - 1 + 7200), 1000000 - 1);
    EXPECT_EQ(localToUtc(zone, 1000000 + 7200), 1000000 + 3600);
}

TEST(XmltvTimeTest, AnHourThatIsMissingCountsOnFromTheOneBefore) {
    EXPECT_EQ(localToUtc(zone, 2000000 + 3600 + 60), 2000000 + 60);
}

} // namespace
