#include "clients/tool/TimeSpan.h"

#include <gtest/gtest.h>

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

} // namespace
