#include "commandline/Moment.h"

#include "commandline/UsageError.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>

using namespace Ostrel::CommandLine;

namespace {

constexpr std::int64_t now = 1000000;

/// Makes London's time the local one for a while.
class London {
public:
    London() {
        if (const char* zone = std::getenv("TZ"))
            former_ = zone;
        setZone("Europe/London");
    }
    ~London() { setZone(former_ ? former_->c_str() : nullptr); }

    London(const London&) = delete;
    London& operator=(const London&) = delete;

private:
    static void setZone(const char* zone) {
        if (zone != nullptr)
            setenv("TZ", zone, 1);
        else
            unsetenv("TZ");
        tzset();
    }

    std::optional<std::string> former_;
};

struct Row {
    const char* name;
    const char* text;
    std::optional<std::int64_t> seconds; ///< nothing: refused
};

class MomentTable : public testing::TestWithParam<Row> {};

TEST_P(MomentTable, IsThisTime) {
    const London london;
    const auto& row = GetParam();
    std::optional<std::int64_t> seconds;
    try {
        seconds = Moment(row.text).getSeconds(now);
    } catch (const Ostrel::CommandLine::UsageError&) {
    }
    EXPECT_EQ(seconds, row.seconds);
}

// clang-format off
const Row rows[] = {
    {"Now",              "now",                       now},
    {"HoursOn",          "+2h",                       now + 7200},
    {"MinutesBack",      "-30m",                      now - 1800},
    {"Together",         "+1d2h3m4s",                 now + 93784},
    {"FromNow",          "now-1h",                    now - 3600},
    {"Utc",              "2011-10-12T20:00Z",         1318449600},
    {"UtcWithSeconds",   "2011-10-12T20:00:01Z",      1318449601},
    {"Ahead",            "2011-10-12T20:00+01:00",    1318446000},
    {"Behind",           "2011-10-12T20:00-0330",     1318462200},
    {"HoursAhead",       "2011-10-12T20:00+01",       1318446000},
    {"Fraction",         "2011-10-12T20:00:01.999Z",  1318449601},
    {"FractionByComma",  "2011-10-12T20:00:01,5",     1318446001},
    {"LocalInSummer",    "2011-10-12T20:00",          1318446000},
    {"LocalInWinter",    "2011-12-12T20:00",          1323720000},
    {"BlankForT",        "2011-10-12 20:00",          1318446000},
    {"DateAlone",        "2011-10-12",                1318374000},
    {"LeapDay",          "2012-02-29T00:00Z",         1330473600},
    {"First",            "1970-01-01T00:00:00Z",      0},
    {"Last",             "2038-01-19T03:14:07Z",      2147483647},
    {"PastTheLast",      "2038-01-19T03:14:08Z",      {}},
    {"BeforeTheFirst",   "1969-12-31T23:59:59Z",      {}},
    {"TooFarBack",       "-12d",                      {}},
    {"Seconds",          "@1318449600",               1318449600},
    {"LastSecond",       "@2147483647",               2147483647},
    {"PastTheLastSecond", "@2147483648",              {}},
    {"NoSeconds",        "@",                         {}},
    {"NegativeSeconds",  "@-1",                       {}},
    {"SecondsAndMore",   "@1Z",                       {}},
    {"Empty",            "",                          {}},
    {"NoUnit",           "+2",                        {}},
    {"NoNumber",         "+h",                        {}},
    {"SignAlone",        "+",                         {}},
    {"UnknownUnit",      "+2w",                       {}},
    {"NowAndMore",       "nowish",                    {}},
    {"NoLeapDay",        "2011-02-29",                {}},
    {"NoMonth",          "2011-13-01",                {}},
    {"NoHour",           "2011-10-12T24:00",          {}},
    {"NoMinute",         "2011-10-12T20:60",          {}},
    {"HourAlone",        "2011-10-12T20",             {}},
    {"MinuteOfTheZone",  "2011-10-12T20:00+01:",      {}},
    {"ShortZone",        "2011-10-12T20:00+1",        {}},
    {"NoFraction",       "2011-10-12T20:00:01.Z",     {}},
    {"FractionOfMinute", "2011-10-12T20:00.5Z",       {}},
    {"ShortDay",         "2011-10-1",                 {}},
    {"MoreBehind",       "2011-10-12T20:00Zx",        {}},
    {"ZoneForADate",     "2011-10-12Z",               {}},
    {"Word",             "tomorrow",                  {}},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Moments, MomentTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(DurationTest, IsReadInSeconds) {
    EXPECT_EQ(readDuration("10s"), 10U);
    EXPECT_EQ(readDuration("10"), 10U);
    EXPECT_EQ(readDuration("1d2h3m4s"), 93784U);
    EXPECT_EQ(readDuration("0"), 0U);
    EXPECT_EQ(readDuration("24855d"), 2147472000U);
    for (const char* const wrong : {"", "s", "10w", "-10s", "+10s", "10s ", "1.5h", "24856d", "9999999999"})
        EXPECT_THROW(readDuration(wrong), UsageError) << wrong;
}

} // namespace
