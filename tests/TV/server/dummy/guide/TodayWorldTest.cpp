// A world's days laid around a day of the viewer's. Times are written as in guide files.

#include "TV/server/dummy/guide/TodayWorld.h"
#include "TV/server/dummy/world/BuiltInWorld.h"

#include "TV/server/dummy/data/GuideText.h"
#include "TV/server/dummy/data/WorldRules.h"
#include "TV/server/dummy/data/ZoneOffsets.h"
#include "tests/TV/server/dummy/StressWorld.h"
#include "tests/TV/server/dummy/guide/SmallWorld.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <tuple>

using namespace Ostrel::TV;

namespace {

constexpr std::int64_t hour = 3600, day = 86400;
constexpr int bbcOne = 1043;

std::int64_t at(const std::string& time) {
    return parseTime(TextLine(), time);
}

/// Three weeks around a day, laid from two days before it to eight days behind it.
struct Laid {
    Laid(const World& source, const std::string& zone, const std::string& noon)
        : days(source), offsets(readZoneOffsets(zone, static_cast<std::int32_t>(at(noon) - 9 * day),
                                                static_cast<std::int32_t>(at(noon) + 12 * day))),
          clock(offsets), today(days.dayAt(clock.toLocal(at(noon)))), window{today - 2, today + 8},
          laid(source, days, window, zone, offsets) {}

    const World& world() const { return laid.world(); }
    std::int64_t begin() const { return clock.toUtc(days.beginOf(window.first)); }
    std::int64_t end() const { return clock.toUtc(days.beginOf(window.last + 1)); }

    const RepeatedDays days;
    const std::vector<ZoneOffset> offsets;
    const ZoneClock clock;
    const std::int64_t today;
    const TodayWorld::Window window;
    const TodayWorld laid;
};

const char* titleOf(const World& world, const epgentry& row) {
    return world.text(row.Title);
}

/// The event of a service that is on at a time; null when there is none.
const epgentry* findOn(const World& world, int serviceId, std::int64_t time) {
    for (const epgentry& row : world.rows)
        if (row.ServiceId == serviceId && row.Start <= time && time < row.End)
            return &row;
    return nullptr;
}

/// What is laid keeps the rules of every world.
void expectSound(const World& world) {
    WorldProblems problems;
    checkWorld(world, WorldPlaces::names(world), problems);
    EXPECT_EQ(problems.count(), 0u) << problems.text();
    const epgentry zero{};
    EXPECT_EQ(std::memcmp(world.rows.data() + world.rows.size(), &zero, sizeof zero), 0);
}

/// The starts, as hours behind a time; for services with few events.
std::vector<std::int64_t> hoursOf(const World& world, std::int64_t from) {
    std::vector<std::int64_t> hours;
    for (const epgentry& row : world.rows)
        hours.push_back((row.Start - from) / hour);
    return hours;
}

struct Place {
    const char* name;
    const char* zone;
    const char* noon; ///< UTC; a time of the day that it is there
};

class TodayWorldPlaces : public testing::TestWithParam<Place> {};

} // namespace

// clang-format off
INSTANTIATE_TEST_SUITE_P(Days, TodayWorldPlaces, testing::Values(
    Place{"LondonMonday",         "Europe/London",       "2026-11-23T12:00:00Z"},
    Place{"LondonTuesday",        "Europe/London",       "2026-11-24T12:00:00Z"},
    Place{"LondonSaturday",       "Europe/London",       "2026-11-28T12:00:00Z"},
    Place{"LondonSpring",         "Europe/London",       "2026-03-29T12:00:00Z"},
    Place{"LondonBeforeSpring",   "Europe/London",       "2026-03-24T12:00:00Z"},
    Place{"LondonAutumn",         "Europe/London",       "2026-10-25T12:00:00Z"},
    Place{"LondonBeforeAutumn",   "Europe/London",       "2026-10-20T12:00:00Z"},
    Place{"TokyoTuesday",         "Asia/Tokyo",          "2026-11-24T03:00:00Z"},
    Place{"TokyoSaturday",        "Asia/Tokyo",          "2026-11-28T03:00:00Z"},
    Place{"LosAngelesTuesday",    "America/Los_Angeles", "2026-11-24T20:00:00Z"},
    Place{"LosAngelesSaturday",   "America/Los_Angeles", "2026-11-28T20:00:00Z"},
    Place{"LosAngelesSpring",     "America/Los_Angeles", "2026-03-08T20:00:00Z"},
    Place{"LosAngelesAutumn",     "America/Los_Angeles", "2026-11-01T20:00:00Z"},
    Place{"KathmanduQuarterHour", "Asia/Kathmandu",      "2026-11-24T06:00:00Z"},
    Place{"CairoChangesAtMidnight", "Africa/Cairo",      "2026-04-24T10:00:00Z"}),
    [](const auto& each) { return std::string(each.param.name); });
// clang-format on

TEST_P(TodayWorldPlaces, TheBuiltInWorldIsSoundThere) {
    const Laid laid(builtInWorld(), GetParam().zone, GetParam().noon);
    expectSound(laid.world());
    EXPECT_EQ(laid.world().timeZone, GetParam().zone);
    EXPECT_EQ(laid.world().name, "built-in");
}

TEST_P(TodayWorldPlaces, TheTenOClockNewsComesAtTenAndASundayStaysASunday) {
    const Laid laid(builtInWorld(), GetParam().zone, GetParam().noon);
    for (auto number = laid.window.first; number <= laid.window.last; ++number) {
        const auto ten = laid.clock.toUtc(number * day + 22 * hour);
        const epgentry* const row = findOn(laid.world(), bbcOne, ten);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->Start, ten);
        EXPECT_EQ(row->Content, 0x21) << titleOf(laid.world(), *row);
        const auto weekday = (number + 4) % 7; // from Sunday, 0
        EXPECT_EQ(std::strstr(titleOf(laid.world(), *row), "Weekend") != nullptr,
                  weekday == 0 || weekday == 6)
            << titleOf(laid.world(), *row);
    }
}

/// Whoever is on around the clock is so here.
TEST_P(TodayWorldPlaces, NoDayEndsInAGap) {
    const Laid laid(builtInWorld(), GetParam().zone, GetParam().noon);
    const epgentry* before = nullptr;
    for (const epgentry& row : laid.world().rows) {
        if (row.ServiceId != bbcOne)
            continue;
        if (before != nullptr) {
            EXPECT_EQ(row.Start, before->End) << titleOf(laid.world(), row);
        }
        before = &row;
    }
}

TEST_P(TodayWorldPlaces, ADayIsTheSameWheneverItIsLaid) {
    const Laid first(builtInWorld(), GetParam().zone, GetParam().noon);
    const TodayWorld::Window later{first.window.first + 3, first.window.last + 3};
    const TodayWorld second(builtInWorld(), first.days, later, GetParam().zone, first.offsets);
    // Of the days that both have, and whose first event does not come from a day that one lacks.
    const auto from = first.clock.toUtc(first.days.beginOf(later.first + 1)), to = first.end();
    const auto read = [&](const World& world) {
        std::vector<std::tuple<std::uint32_t, int, std::int32_t, std::int32_t, std::string, std::uint32_t>>
            rows;
        for (const epgentry& row : world.rows)
            if (row.Start >= from && row.Start < to)
                rows.emplace_back(row.ProgId, row.ServiceId, row.Start, row.End, titleOf(world, row),
                                  row.LinkedHdProgs);
        return rows;
    };
    EXPECT_EQ(read(first.world()), read(second.world()));
    EXPECT_GT(read(first.world()).size(), 1000u);
}

TEST_P(TodayWorldPlaces, AWorldOfStressIsSoundThere) {
    const Laid laid(stressWorld(), GetParam().zone, GetParam().noon);
    expectSound(laid.world());
    EXPECT_GT(laid.world().rows.size(), 1000u);
}

TEST(TodayWorldTest, LinksLeadToTheSameDay) {
    const Laid laid(builtInWorld(), "Europe/London", "2026-11-24T12:00:00Z");
    std::map<std::uint32_t, const epgentry*> programmes;
    for (const epgentry& row : laid.world().rows)
        programmes[row.ProgId] = &row;
    std::size_t links = 0;
    for (const epgentry& row : laid.world().rows) {
        if (row.LinkedHdProgs == 0)
            continue;
        ++links;
        const epgentry& twin = *programmes.at(row.LinkedHdProgs);
        EXPECT_STREQ(titleOf(laid.world(), twin), titleOf(laid.world(), row));
        EXPECT_EQ(twin.Start, row.Start);
        EXPECT_EQ(row.LinkedHdSimulcastProgs, row.LinkedHdProgs);
    }
    // As many as on eleven days of the source: its seven, and four of them again.
    EXPECT_GT(links, 126u);
}

TEST(TodayWorldTest, ALinkToWhatIsLeftOutIsNone) {
    // 2026-03-29 in London: 01:00 is 02:00.
    SmallWorld small;
    const auto sunday = at("2026-01-04T00:00:00Z");
    for (int number = 0; number != 7; ++number)
        small.add(1, sunday + number * day, sunday + (number + 1) * day);
    for (int number = 0; number != 7; ++number) {
        const auto twin = small.add(2, sunday + number * day + hour, sunday + number * day + 2 * hour);
        small.row(twin).IsHd = true;
        small.row(static_cast<std::uint32_t>(number + 1)).LinkedHdProgs = twin;
    }
    const Laid laid(small.world(), "Europe/London", "2026-03-29T12:00:00Z");
    expectSound(laid.world());
    for (const epgentry& row : laid.world().rows)
        if (row.ServiceId == 1) {
            EXPECT_EQ(row.LinkedHdProgs == 0, row.Start == at("2026-03-29T00:00:00Z"));
        }
}

TEST(TodayWorldTest, ALinkToTheNextDayIsNoneWhereAnotherDayFollows) {
    SmallWorld small;
    const auto friday = at("2026-01-02T00:00:00Z");
    const auto sd = small.add(1, friday + 23 * hour, friday + 25 * hour);
    small.add(1, friday + 30 * hour, friday + 3 * day);
    const auto sameDay = small.add(2, friday, friday + hour);
    const auto nextDay = small.add(2, friday + day, friday + 25 * hour); // both are the second of their days
    small.row(sameDay).IsHd = small.row(nextDay).IsHd = true;
    small.row(sd).LinkedHdProgs = nextDay;
    small.row(sd).LinkedHdSimulcastProgs = sameDay;
    const Laid laid(small.world(), "UTC", "2026-11-24T12:00:00Z"); // a Tuesday
    expectSound(laid.world());
    std::string links;
    for (const epgentry& row : laid.world().rows)
        if (row.ServiceId == 1 && row.End - row.Start == 2 * hour)
            links += row.LinkedHdProgs == 0 ? "none " : "next ";
    // Of Monday, Thursday, which the first day follows, Friday and Monday.
    EXPECT_EQ(links, "next none next next ");
}

TEST(TodayWorldTest, WhatFallsIntoAMissingHourIsLeftOut) {
    // 2026-03-29 in London: 01:00 is 02:00.
    SmallWorld small;
    small.fill(1, at("2026-01-04T00:00:00Z"), at("2026-01-11T00:00:00Z"), hour / 2); // from a Sunday
    const Laid laid(small.world(), "Europe/London", "2026-03-29T12:00:00Z");
    expectSound(laid.world());
    const auto midnight = at("2026-03-29T00:00:00Z");
    std::size_t ofTheDay = 0;
    for (const epgentry& row : laid.world().rows) {
        EXPECT_EQ(row.End - row.Start, hour / 2);
        ofTheDay += row.Start >= midnight && row.Start < midnight + 23 * hour;
    }
    EXPECT_EQ(ofTheDay, 46u);
}

TEST(TodayWorldTest, WhatIsOnInADoubledHourLastsLonger) {
    // 2026-10-25 in London: 02:00 is 01:00.
    SmallWorld small;
    small.fill(1, at("2026-01-04T00:00:00Z"), at("2026-01-11T00:00:00Z"), hour / 2);
    const Laid laid(small.world(), "Europe/London", "2026-10-25T12:00:00Z");
    expectSound(laid.world());
    const epgentry* const last = findOn(laid.world(), 1, at("2026-10-25T01:30:00Z"));
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->Start, at("2026-10-25T00:30:00Z"));
    EXPECT_EQ(last->End, at("2026-10-25T02:00:00Z"));
    for (std::int64_t time = laid.begin(); time < laid.end(); time += hour / 4)
        EXPECT_NE(findOn(laid.world(), 1, time), nullptr) << formatTime(time);
}

TEST(TodayWorldTest, ADoubledHourOfTheSourceIsShownOnce) {
    const auto offsets =
        readZoneOffsets("Europe/London", static_cast<std::int32_t>(at("2026-10-20T00:00:00Z")),
                        static_cast<std::int32_t>(at("2026-11-03T00:00:00Z")));
    ASSERT_EQ(offsets.size(), 2u);
    SmallWorld small(offsets);
    small.fill(1, at("2026-10-20T23:00:00Z"), at("2026-10-28T00:00:00Z"), hour / 2);
    const Laid laid(small.world(), "UTC", "2026-06-07T12:00:00Z");
    expectSound(laid.world());
    for (std::int64_t time = laid.begin(); time < laid.end(); time += hour / 4)
        EXPECT_NE(findOn(laid.world(), 1, time), nullptr) << formatTime(time);
}

TEST(TodayWorldTest, AtASeamWhatRunsOnEndsWithTheDayThatFollows) {
    SmallWorld small;
    const auto monday = at("2026-01-05T00:00:00Z");
    small.fill(1, monday, monday + 6 * day + 23 * hour, hour);
    small.add(1, monday + 6 * day + 23 * hour, monday + 7 * day + 2 * hour); // beyond the week's end
    const auto nextMonday = at("2026-11-30T00:00:00Z");
    for (const char* noon : {"2026-11-24T12:00:00Z", "2026-11-21T12:00:00Z"}) { // the latter up to Sunday
        const Laid laid(small.world(), "UTC", noon);
        expectSound(laid.world());
        const epgentry* const last = findOn(laid.world(), 1, nextMonday - 1);
        ASSERT_NE(last, nullptr);
        EXPECT_EQ(last->End, nextMonday);
    }
}

TEST(TodayWorldTest, AtASeamNoGapComesThatTheSourceLacks) {
    SmallWorld small;
    const auto sunday = at("2026-01-04T22:00:00Z"), monday = sunday + 2 * hour;
    small.add(1, sunday, monday + 3 * hour); // before the first whole day
    small.fill(1, monday + 3 * hour, monday + 7 * day, hour);
    small.add(1, monday + 7 * day, monday + 7 * day + 20 * hour);
    const Laid laid(small.world(), "UTC", "2026-11-24T12:00:00Z");
    expectSound(laid.world());
    const epgentry* const last = findOn(laid.world(), 1, at("2026-11-30T01:00:00Z"));
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->Start, at("2026-11-29T23:00:00Z"));
    EXPECT_EQ(last->End, at("2026-11-30T03:00:00Z"));
}

TEST(TodayWorldTest, AtASeamAllEndsThatADoubledHourPutBehindIt) {
    // 2026-10-25 in London: 02:00 is 01:00, and the week ends in between, at half past one.
    SmallWorld small(readZoneOffsets("Europe/London", static_cast<std::int32_t>(at("2026-10-18T00:00:00Z")),
                                     static_cast<std::int32_t>(at("2026-10-26T00:00:00Z"))));
    small.add(1, at("2026-10-18T00:30:00Z"), at("2026-10-18T01:30:00Z"));
    small.add(1, at("2026-10-24T23:30:00Z"), at("2026-10-25T00:50:00Z")); // until ten to two
    small.add(1, at("2026-10-25T01:10:00Z"), at("2026-10-25T02:10:00Z")); // from ten past one
    const Laid laid(small.world(), "UTC", "2026-11-28T12:00:00Z"); // a Saturday
    expectSound(laid.world());
    const epgentry* const last = findOn(laid.world(), 1, at("2026-11-29T01:00:00Z"));
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->End, at("2026-11-29T01:30:00Z"));
}

TEST(TodayWorldTest, BeforeTheEndOfTimeNothingIsLostToWhatIsBehindIt) {
    SmallWorld small;
    const auto monday = at("2026-01-05T22:00:00Z"), tuesday = monday + 2 * hour;
    small.add(1, monday, tuesday + 4 * hour); // before the first whole day
    small.fill(1, tuesday + 4 * hour, tuesday + 7 * day, hour);
    small.add(1, tuesday + 7 * day, tuesday + 7 * day + 20 * hour);
    const Laid laid(small.world(), "UTC", "2038-01-18T12:00:00Z"); // the day before, a Monday
    expectSound(laid.world());
    const epgentry* const last = findOn(laid.world(), 1, at("2038-01-18T23:30:00Z"));
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->End, at("2038-01-19T00:00:00Z"));
}

TEST(TodayWorldTest, GapsStay) {
    SmallWorld small;
    const auto monday = at("2026-01-05T00:00:00Z");
    for (int number = 0; number != 7; ++number)
        small.fill(1, monday + number * day + 6 * hour, monday + number * day + 23 * hour, hour);
    const Laid laid(small.world(), "UTC", "2026-11-24T12:00:00Z");
    expectSound(laid.world());
    EXPECT_EQ(laid.world().rows.size(), 11u * 17);
    for (auto midnight = laid.begin(); midnight < laid.end(); midnight += day) {
        EXPECT_EQ(findOn(laid.world(), 1, midnight + 6 * hour - 1), nullptr);
        EXPECT_NE(findOn(laid.world(), 1, midnight + 6 * hour), nullptr);
        EXPECT_EQ(findOn(laid.world(), 1, midnight + 23 * hour), nullptr);
    }
}

TEST(TodayWorldTest, ADayAloneIsEveryDay) {
    SmallWorld small;
    small.add(1, at("2026-01-07T18:00:00Z"), at("2026-01-07T19:00:00Z"));
    small.add(1, at("2026-01-07T20:00:00Z"), at("2026-01-07T22:00:00Z"));
    const Laid laid(small.world(), "UTC", "2026-11-24T12:00:00Z");
    expectSound(laid.world());
    std::vector<std::int64_t> hours;
    for (int number = -2; number <= 8; ++number)
        for (const int start : {18, 20})
            hours.push_back(number * 24 + start);
    EXPECT_EQ(hoursOf(laid.world(), at("2026-11-24T00:00:00Z")), hours);
}

TEST(TodayWorldTest, WhatStrayedInFromAnotherYearEmptiesNoDay) {
    const auto begin = at("2011-10-10T00:00:00Z");
    for (const std::int64_t years : {-30, 20}) {
        SmallWorld source;
        if (years < 0)
            source.add(5, begin + years * 365 * day, begin + years * 365 * day + hour);
        source.fill(5, begin, begin + 7 * day, hour);
        if (years > 0)
            source.add(5, begin + years * 365 * day, begin + years * 365 * day + hour);
        const Laid laid(source.world(), "UTC", "2026-11-22T12:00:00Z");
        EXPECT_EQ(laid.days.count(), 7);
        EXPECT_EQ(laid.world().rows.size(), 11u * 24);
        expectSound(laid.world());
    }
    SmallWorld endless; // the last event's end is wrong
    endless.fill(5, begin, begin + 7 * day, hour);
    endless.add(5, begin + 7 * day, begin + 5000 * day);
    EXPECT_EQ(RepeatedDays(endless.world()).count(), 14);
}

TEST(TodayWorldTest, ThreeDaysStandOnTheirOwnWeekdaysAndTakeTurnsOtherwise) {
    SmallWorld small;
    const auto friday = at("2026-01-02T00:00:00Z");
    for (int number = 0; number != 3; ++number) // events of one, two and three hours
        small.fill(1, friday + number * day, friday + (number + 1) * day, (number + 1) * hour);
    const Laid laid(small.world(), "UTC", "2026-11-24T12:00:00Z"); // a Tuesday
    expectSound(laid.world());
    std::string lengths;
    for (auto midnight = laid.begin(); midnight < laid.end(); midnight += day) {
        const epgentry* const row = findOn(laid.world(), 1, midnight);
        ASSERT_NE(row, nullptr);
        lengths += std::to_string((row->End - row->Start) / hour);
    }
    EXPECT_EQ(lengths, "31231"
                       "12312"
                       "3"); // from Sunday on
}

TEST(TodayWorldTest, TwoWeeksComeInTurn) {
    SmallWorld small;
    const auto monday = at("2026-01-05T00:00:00Z");
    small.fill(1, monday, monday + 7 * day, hour);
    small.fill(1, monday + 7 * day, monday + 14 * day, 2 * hour);
    const auto lengthOn = [&](const std::string& noon) {
        const Laid laid(small.world(), "UTC", noon);
        expectSound(laid.world());
        const epgentry* const row = findOn(laid.world(), 1, at(noon));
        return row == nullptr ? 0 : (row->End - row->Start) / hour;
    };
    EXPECT_EQ(lengthOn("2026-01-07T12:00:00Z"), 1);
    EXPECT_EQ(lengthOn("2026-01-14T12:00:00Z"), 2);
    EXPECT_EQ(lengthOn("2026-01-21T12:00:00Z"), 1);
    EXPECT_EQ(lengthOn("2025-12-31T12:00:00Z"), 2);
}

TEST(TodayWorldTest, AWeekThatBeginsInTheAfternoonIsAWeek) {
    SmallWorld small;
    const auto begin = at("2026-01-05T14:00:00Z");
    small.fill(1, begin, begin + 7 * day, hour);
    const Laid laid(small.world(), "UTC", "2026-11-24T12:00:00Z");
    EXPECT_EQ(laid.days.count(), 7);
    expectSound(laid.world());
    for (std::int64_t time = laid.begin(); time < laid.end(); time += hour)
        EXPECT_NE(findOn(laid.world(), 1, time), nullptr);
}

TEST(TodayWorldTest, AnEventOfThirtyHoursIsLaid) {
    SmallWorld small;
    const auto monday = at("2026-01-05T00:00:00Z");
    small.fill(1, monday, monday + 3 * day, hour);
    small.add(1, monday + 3 * day, monday + 3 * day + 30 * hour);
    small.fill(1, monday + 3 * day + 30 * hour, monday + 7 * day, hour);
    const Laid laid(small.world(), "UTC", "2026-11-24T12:00:00Z");
    expectSound(laid.world());
    const epgentry* const row = findOn(laid.world(), 1, at("2026-11-27T05:00:00Z")); // a Friday
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->End - row->Start, 30 * hour);
}

TEST(TodayWorldTest, AWorldWithoutEventsStaysEmpty) {
    SmallWorld small;
    const Laid laid(small.world(), "UTC", "2026-11-24T12:00:00Z");
    EXPECT_TRUE(laid.world().rows.empty());
    EXPECT_TRUE(laid.world().services.empty());
}

TEST(TodayWorldTest, TheTimesOf32BitsAreLeft) {
    const Laid late(builtInWorld(), "UTC", "2038-01-18T12:00:00Z");
    expectSound(late.world());
    const RepeatedDays days(builtInWorld());
    for (const std::int64_t number : {-100'000, 0, 100'000}) {
        const TodayWorld far(builtInWorld(), days, {number - 2, number + 8}, "UTC", {{0, 0}});
        EXPECT_EQ(far.world().rows.empty(), number != 0) << number;
        if (number == 0)
            expectSound(far.world());
    }
}
