// The guide that is always on air, and how it turns.

#include "TV/server/dummy/guide/Today.h"
#include "TV/server/dummy/world/BuiltInWorld.h"

#include "TV/server/dummy/data/GuideText.h"
#include "TV/server/dummy/guide/NowNext.h"
#include "TV/server/dummy/guide/ViewerZone.h"
#include "TV/server/dummy/query/QuorilQuery.h"
#include "tests/TV/server/dummy/guide/SmallWorld.h"
#include "tests/TV/server/dummy/guide/ZoneSet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace Ostrel::TV;

namespace {

constexpr std::time_t hour = 3600, day = 86400;
constexpr int bbcOne = 1043;

const World& theBuiltInWorld() {
    static const World world = builtInWorld();
    return world;
}

std::time_t at(const std::string& time) {
    return parseTime(TextLine(), time);
}

void expectOnAir(const Guide& guide, std::time_t now) {
    EXPECT_GE(now - guide.earliestStart(), day) << formatTime(now);
    EXPECT_GE(guide.latestEnd() - now, 7 * day) << formatTime(now);
    const NowNext found = findNowNext(guide, unsigned{bbcOne}, now);
    EXPECT_NE(found.now, nullptr) << formatTime(now);
    EXPECT_NE(found.next, nullptr) << formatTime(now);
}

/// The events that start in a span of time: what a client keeps of each.
std::set<std::string> read(const Guide& guide, std::time_t from, std::time_t to) {
    std::set<std::string> events;
    for (const epgentry& row : guide.world().rows)
        if (row.Start >= from && row.Start < to)
            events.insert(std::to_string(row.ProgId) + " " + std::to_string(row.ServiceId) + " " +
                          std::to_string(row.Start) + " " + std::to_string(row.End) + " " +
                          static_cast<const char*>(row.Title));
    return events;
}

class TodayZones : public testing::TestWithParam<const char*> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(Zones, TodayZones,
                         testing::Values("Europe/London", "Asia/Tokyo", "America/Los_Angeles",
                                         "Australia/Lord_Howe", "JST-9"));

TEST_P(TodayZones, AtAnyMomentADayLiesBehindAndSevenAhead) {
    const ZoneSet zone(GetParam());
    SmallWorld small; // so that it turns often
    const auto monday = at("2026-01-05T00:00:00Z");
    small.fill(bbcOne, monday, monday + 7 * day, hour / 2);
    const World& world = small.world();
    Today today(world);
    // Across both changes of summer time of all of them.
    for (auto now = at("2026-02-20T00:00:00Z"); now < at("2026-11-20T00:00:00Z"); now += hour / 2)
        expectOnAir(*today.guideAt(now), now);
}

TEST_P(TodayZones, TheGuideStandsOnWhateverTheClockIsSetTo) {
    const ZoneSet zone(GetParam());
    Today today(theBuiltInWorld());
    for (const char* time : {"2026-11-22T12:00:00Z", "2027-11-22T12:00:00Z", "2026-11-22T12:00:01Z",
                             "2025-11-22T12:00:00Z", "1971-01-01T00:00:00Z", "2037-12-01T00:00:00Z"})
        expectOnAir(*today.guideAt(at(time)), at(time));
    // Where seconds do not fit there is nothing, and no harm.
    using Limits = std::numeric_limits<std::int32_t>;
    for (const auto far : {std::time_t{Limits::max()}, std::time_t{Limits::min()}, std::time_t{1} << 33})
        EXPECT_LE(today.guideAt(far)->latestEnd(), Limits::max());
}

TEST(TodayTest, TheGuideTurnsAtMidnight) {
    const ZoneSet zone("Europe/London");
    Today today(theBuiltInWorld());
    const auto noon = at("2026-06-10T11:00:00Z"), midnight = at("2026-06-10T23:00:00Z");
    const auto guide = today.guideAt(noon);
    EXPECT_EQ(today.turnBehind(noon), midnight);
    EXPECT_EQ(today.guideAt(midnight - 1), guide);
    const auto next = today.guideAt(midnight);
    EXPECT_NE(next, guide);
    EXPECT_EQ(next->earliestStart() - guide->earliestStart(), day);
    EXPECT_EQ(today.turnBehind(midnight), midnight + day);
    // Whoever has the old one may go on.
    expectOnAir(*guide, midnight);
    // A clock that goes back a little turns nothing.
    EXPECT_EQ(today.guideAt(midnight - 1), next);
}

TEST(TodayTest, IdentifiersStayWhateverTurnsBetween) {
    const ZoneSet zone("Europe/London");
    Today today(theBuiltInWorld());
    const auto now = at("2026-06-10T11:00:00Z");
    const auto before = read(*today.guideAt(now), now, now + 6 * day);
    EXPECT_GT(before.size(), 7000u);
    today.guideAt(now + 365 * day);
    EXPECT_EQ(read(*today.guideAt(now + day), now, now + 6 * day), before);
    today.guideAt(now - 365 * day);
    EXPECT_EQ(read(*today.guideAt(now), now, now + 6 * day), before);
}

TEST(TodayTest, AMonthTurnsTheSameGuideDayByDayOrAtOnce) {
    const ZoneSet zone("Asia/Tokyo");
    const auto now = at("2026-06-10T11:00:00Z"), later = now + 30 * day;
    Today running(theBuiltInWorld()), jumping(theBuiltInWorld());
    for (auto time = now; time <= later; time += day)
        running.guideAt(time);
    jumping.guideAt(now);
    EXPECT_EQ(read(*running.guideAt(later), later - day, later + 7 * day),
              read(*jumping.guideAt(later), later - day, later + 7 * day));
}

TEST(TodayTest, ADayThatEndsInADoubledHourEndsOnce) {
    const ZoneSet zone("Europe/London"); // 2026-10-25: 02:00 is 01:00
    SmallWorld small;
    const auto begin = at("2026-01-05T01:30:00Z");
    small.fill(1, begin, begin + 7 * day, hour / 2);
    const World& world = small.world();
    Today today(world);
    const auto again = at("2026-10-25T01:10:00Z"); // 01:10, the second time
    EXPECT_EQ(today.turnBehind(again), at("2026-10-26T01:30:00Z"));
    EXPECT_EQ(today.guideAt(again), today.guideAt(again));
}

TEST(TodayTest, WhoAsksAtOnceGetsTheSameGuide) {
    const ZoneSet zone("UTC");
    for (int round = 0; round != 20; ++round) {
        Today today(theBuiltInWorld());
        constexpr int askers = 4;
        std::atomic<int> waiting = askers;
        std::vector<std::shared_ptr<const Guide>> guides(askers);
        std::vector<std::thread> threads;
        for (auto& guide : guides)
            threads.emplace_back([&] {
                --waiting;
                while (waiting != 0)
                    std::this_thread::yield();
                guide = today.guideAt(at("2026-06-10T11:00:00Z"));
            });
        for (auto& thread : threads)
            thread.join();
        for (const auto& guide : guides)
            EXPECT_EQ(guide, guides.front());
    }
}

TEST(TodayTest, WhatIsAskedWhileItTurnsIsWhole) {
    const ZoneSet zone("Europe/London");
    SmallWorld small; // so that it turns often
    const auto monday = at("2026-01-05T00:00:00Z");
    for (int service = 1; service != 5; ++service)
        small.fill(service, monday, monday + 7 * day, hour);
    const World& world = small.world();
    Today today(world);
    std::atomic<std::time_t> clock = at("2026-06-10T11:00:00Z");
    std::atomic<int> asked = 0, turned = 0;
    const auto ask = [&] {
        std::shared_ptr<const Guide> last;
        while (turned != 60 || last == nullptr) {
            const auto now = clock.load();
            const auto guide = today.guideAt(now);
            const NowNext found = findNowNext(*guide, 3, now);
            ASSERT_NE(found.now, nullptr);
            ASSERT_LE(found.now->Start, now);
            QuorilQuery query(*guide);
            ASSERT_TRUE(query.init("ServiceId == 2", 0, std::numeric_limits<unsigned>::max()));
            ASSERT_EQ(query.count(), guide->world().services[1].count);
            last = guide;
            ++asked;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i != 4; ++i)
        threads.emplace_back(ask);
    for (int turn = 0; turn != 60; ++turn) {
        const int before = asked;
        clock += turn % 7 == 6 ? -40 * day : 9 * hour;
        while (asked < before + 8)
            std::this_thread::yield();
        ++turned;
    }
    for (auto& thread : threads)
        thread.join();
}

TEST(TodayTest, ItsMemoryIsThatOfElevenDays) {
    const ZoneSet zone("UTC");
    Today today(theBuiltInWorld());
    const auto guide = today.guideAt(at("2026-06-10T11:00:00Z"));
    const auto rows = guide->index().size();
    EXPECT_GT(rows, 11u * 1300);
    EXPECT_LT(rows, 11u * 1500);
    // Texts are the world's.
    EXPECT_EQ(guide->world().texts.data(), theBuiltInWorld().texts.data());
}

TEST(ViewerZoneTest, NamesTheZoneOfTheProcess) {
    const std::map<std::string, std::string> names = {
        {"Europe/London", "Europe/London"},
        {":Asia/Tokyo", "Asia/Tokyo"},
        {"/usr/share/zoneinfo/America/New_York", "America/New_York"},
        {"", "UTC"},
        {"UTC", "UTC"},
        {"UTC0", "UTC"},
        {"JST-9", ""}, // has no name
        {"Nowhere/AtAll", ""},
        {"../zoneinfo/Europe/London", ""},
    };
    for (const auto& [set, name] : names) {
        const ZoneSet zone(set);
        EXPECT_EQ(findViewerZone(), name) << set;
    }
}
