#include "clients/tool/TimeSpan.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

using namespace Ostrel::Client;
using namespace Ostrel::Client::Tool;

namespace {

struct Row {
    const char* name;
    std::int32_t start;
    std::int32_t end;
    std::int64_t now;
    const char* text;
};

class TimeLeftTable : public testing::TestWithParam<Row> {};

TEST_P(TimeLeftTable, IsDrawnThus) {
    EventInfo event;
    event.startTime = GetParam().start;
    event.endTime = GetParam().end;
    EXPECT_EQ(formatTimeLeft(event, GetParam().now), GetParam().text);
}

// clang-format off
const Row rows[] = {
    {"Start",          0, 1800, 0,           "[..........] 30 min"},
    {"Half",           0, 1800, 900,         "[#####.....] 15 min"},
    {"JustBeforeHalf", 0, 1800, 899,         "[####......] 16 min"},
    {"LastSecond",     0, 1800, 1799,        "[#########.] 1 min"},
    {"End",            0, 1800, 1800,        "[##########] 0 min"},
    {"Hours",          0, 7200, 2400,        "[###.......] 1 h 20 min"},
    {"WholeHour",      0, 3600, 0,           "[..........] 1 h 0 min"},
    {"NotYet",         100, 1900, 0,         "[..........] 30 min"},
    {"Over",           0, 1800, 5000000000,  "[##########] 0 min"},
    {"NoLength",       5, 5, 5,              "[##########] 0 min"},
    {"Longest",        -2147483647 - 1, 2147483647, -2147483647, "[..........] 1193046 h 29 min"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(TimesLeft, TimeLeftTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

struct SpanRow {
    const char* name;
    std::int32_t start;
    std::int32_t end;
    const char* text;
};

class SpanTable : public testing::TestWithParam<SpanRow> {};

TEST_P(SpanTable, IsWrittenThus) {
    const char* zone = std::getenv("TZ");
    const std::string former = zone != nullptr ? zone : "";
    setenv("TZ", "UTC", 1);
    tzset();
    EventInfo event;
    event.startTime = GetParam().start;
    event.endTime = GetParam().end;
    EXPECT_EQ(formatSpan(event), GetParam().text);
    setenv("TZ", former.c_str(), 1);
    tzset();
}

// clang-format off
const SpanRow spans[] = {
    {"OneDay",           1318716000, 1318719600, "22:00-23:00"},
    {"OverMidnight",     1318720800, 1318726500, "23:20-00:55 +1"},
    {"UntilMidnight",    1318719600, 1318723200, "23:00-00:00"},
    {"PastMidnight",     1318719600, 1318723201, "23:00-00:00 +1"},
    {"TwoNights",        1318719600, 1318813200, "23:00-01:00 +2"},
    {"NoLength",         1318723200, 1318723200, "00:00-00:00"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Spans, SpanTable, testing::ValuesIn(spans),
                         [](const auto& row) { return row.param.name; });

} // namespace
