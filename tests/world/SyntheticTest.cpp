#include "tests/world/SyntheticWorld.h"

#include "commandline/UsageError.h"
#include "world/SyntheticLineup.h"

#include <set>

namespace Ostrel::TV::Tool {

namespace {

constexpr int minutesPerHour = 60, minutesPerDay = 24 * minutesPerHour;

/// Minutes since local midnight.
int timeOfDay(std::int64_t local) {
    return static_cast<int>(local / 60 % minutesPerDay);
}

/// 0 is Monday.
int weekday(std::int64_t local) {
    return static_cast<int>((local / 86400 + 3) % 7);
}

bool isTwin(const std::string& name) {
    return name.ends_with(" HD") || name.ends_with(" +1");
}

std::string cridOf(const SyntheticWorld& made, const epgentry& row, std::uint32_t type) {
    for (std::uint32_t i = 0; i != row.CridCount; ++i)
        if (row.Crids[i].CridType == type)
            return made.text(row.Crids[i].CridData);
    return {};
}

} // namespace

// The numbers are SplitMix64's, whatever compiler made the program.
TEST(RandomTest, IsTheSameOnEveryMachine) {
    Random random(7), branch = random.branch(3);
    std::vector<std::uint32_t> numbers, others;
    for (int i = 0; i != 5; ++i) {
        numbers.push_back(random.below(1000));
        others.push_back(branch.below(1000));
    }
    EXPECT_EQ(numbers, (std::vector<std::uint32_t>{389, 16, 900, 582, 452}));
    EXPECT_EQ(others, (std::vector<std::uint32_t>{604, 456, 175, 203, 214}));
}

TEST(SyntheticTest, TheSameWishGivesTheSameBytes) {
    const SyntheticWorld first({.services = 30, .days = 3}), again({.services = 30, .days = 3});
    EXPECT_EQ(first.bytes(), again.bytes());
    EXPECT_NE(first.bytes(), SyntheticWorld({.services = 30, .days = 3, .seed = 8}).bytes());
}

TEST(SyntheticTest, HasAsManyServicesAndDaysAsWished) {
    for (const std::uint32_t services : {1u, 2u, 3u, 50u}) {
        for (const std::uint32_t days : {1u, 9u}) {
            const SyntheticWorld made({.services = services, .days = days});
            ASSERT_EQ(made.world().lineup.size(), services);
            EXPECT_EQ(made.world().services.size(), services);
            for (const LineupRow& row : made.world().lineup) {
                const auto& events = made.eventsOf(row);
                const auto first = made.clock().toLocal(events.front()->Start);
                const auto last = made.clock().toLocal(events.back()->Start);
                EXPECT_LE(first, 1318377600 + 8 * 3600) << made.name(row); // 2011-10-12
                EXPECT_LT(last, 1318377600 + (days * 24 + 1) * 3600) << made.name(row);
                EXPECT_GT(last, 1318377600 + (days * 24 - 12) * 3600) << made.name(row);
            }
        }
    }
}

TEST(SyntheticTest, NamesAndNumbersAreUniqueHoweverManyThereAre) {
    const auto services = inventServices(mostServices, Random(7));
    ASSERT_EQ(services.size(), mostServices);
    std::set<std::string> names;
    std::set<unsigned> numbers, dvbIds;
    for (const SyntheticService& service : services) {
        names.insert(service.lineup.name);
        numbers.insert(service.lineup.channelNumber);
        dvbIds.insert(service.lineup.dvbId);
        // Where a blind scan looks.
        EXPECT_EQ((service.lineup.frequencyMHz - 474) % 8, 0u);
        EXPECT_LE(service.lineup.frequencyMHz, 850u);
    }
    EXPECT_EQ(names.size(), mostServices);
    EXPECT_EQ(numbers.size(), mostServices);
    EXPECT_EQ(dvbIds.size(), mostServices);
    EXPECT_EQ(*numbers.begin(), 1u);
    EXPECT_LE(*numbers.rbegin(), highestChannelNumber);
}

TEST(SyntheticTest, TwinsShowWhatTheirLeadersShow) {
    const SyntheticWorld made({.services = 60, .days = 3});
    unsigned hd = 0, later = 0;
    for (const LineupRow& row : made.world().lineup) {
        const auto name = made.name(row);
        if (!isTwin(name))
            continue;
        const LineupRow* const leader = made.findService(name.substr(0, name.rfind(' ')));
        ASSERT_NE(leader, nullptr) << name;
        const auto &twins = made.eventsOf(row), &leaders = made.eventsOf(*leader);
        ASSERT_EQ(twins.size(), leaders.size());
        const bool isHd = name.ends_with(" HD");
        EXPECT_EQ(row.highDefinition, isHd);
        ++(isHd ? hd : later);
        for (std::size_t i = 0; i != twins.size(); ++i) {
            EXPECT_EQ(made.title(*twins[i]), made.title(*leaders[i]));
            EXPECT_EQ(twins[i]->Start, leaders[i]->Start + (isHd ? 0 : 3600));
            EXPECT_EQ(twins[i]->IsHd, isHd);
            if (isHd) {
                EXPECT_EQ(leaders[i]->LinkedHdProgs, twins[i]->ProgId);
            }
        }
    }
    EXPECT_GT(hd, 3u);
    EXPECT_GT(later, 3u);
}

TEST(SyntheticTest, ARepeatIsOfWhatWasShown) {
    const SyntheticWorld made({.services = 40, .days = 7});
    std::size_t repeats = 0;
    for (const LineupRow& row : made.world().lineup) {
        std::map<std::string, const epgentry*> shown;
        for (const epgentry* event : made.eventsOf(row)) {
            const auto crid = cridOf(made, *event, 1);
            if (crid.empty())
                continue;
            const auto [first, isNew] = shown.emplace(crid, event);
            EXPECT_EQ(isNew, event->CridImi == 0);
            EXPECT_EQ(made.title(*event), made.title(*first->second));
            EXPECT_EQ(made.text(event->Description), made.text(first->second->Description));
            repeats += !isNew;
        }
    }
    EXPECT_GT(repeats, 100u);
}

struct Place {
    const char* name;
    const char* zone;
    const char* start;
};

void PrintTo(const Place& place, std::ostream* out) {
    *out << place.zone << " from " << place.start;
}

/// Over the days on which clocks are changed, where they are.
class SyntheticDaysTest : public testing::TestWithParam<Place> {};

TEST_P(SyntheticDaysTest, TheNewsComeAtTenAndFilmsAtNight) {
    const SyntheticWorld made(
        {.services = 60, .days = 14, .start = GetParam().start, .zone = GetParam().zone});
    const auto clock = made.clock();
    const auto countOn = [&](const LineupRow& service, auto condition) {
        std::set<std::int64_t> days;
        for (const epgentry* event : made.eventsOf(service))
            if (const auto start = clock.toLocal(event->Start); condition(*event, start))
                days.insert(start / 86400);
        return days.size();
    };
    unsigned general = 0, films = 0;
    for (const LineupRow* service : made.servicesOfHundred(0)) {
        if (isTwin(made.name(*service)))
            continue;
        ++general;
        EXPECT_EQ(countOn(*service,
                          [](const epgentry& event, std::int64_t start) {
                              return weekday(start) < 5 && timeOfDay(start) == 22 * minutesPerHour &&
                                     (event.Content & 0xF0) == 0x20;
                          }),
                  10u)
            << made.name(*service);
    }
    for (const LineupRow* service : made.servicesOfHundred(3)) {
        ++films;
        EXPECT_GE(countOn(*service,
                          [](const epgentry& event, std::int64_t start) {
                              return timeOfDay(start) >= 19 * minutesPerHour &&
                                     event.End - event.Start >= 75 * 60 && (event.Content & 0xF0) == 0x10;
                          }),
                  12u)
            << made.name(*service);
    }
    EXPECT_GE(general, 3u);
    EXPECT_GE(films, 3u);
}

TEST_P(SyntheticDaysTest, NothingIsMissingWhereClocksAreChanged) {
    const SyntheticWorld made(
        {.services = 60, .days = 14, .start = GetParam().start, .zone = GetParam().zone});
    for (const LineupRow* service : made.servicesOfHundred(0)) {
        const auto& events = made.eventsOf(*service);
        for (std::size_t i = 1; i != events.size(); ++i)
            EXPECT_EQ(events[i]->Start, events[i - 1]->End) << made.name(*service);
    }
}

INSTANTIATE_TEST_SUITE_P(Places, SyntheticDaysTest,
                         testing::Values(Place{"London", "Europe/London", "2011-10-12"},
                                         Place{"LondonInMarch", "Europe/London", "2026-03-23"},
                                         Place{"LondonInOctober", "Europe/London", "2026-10-19"},
                                         Place{"Tokyo", "Asia/Tokyo", "2026-03-23"},
                                         Place{"LosAngelesInMarch", "America/Los_Angeles", "2026-03-02"},
                                         Place{"LosAngelesInNovember", "America/Los_Angeles", "2026-10-26"}),
                         [](const auto& place) { return std::string(place.param.name); });

TEST(SyntheticTest, RefusesDaysThatAGuideCannotHave) {
    const auto refuse = [](const SyntheticWish& wish) {
        WorldWriter writer;
        EXPECT_THROW(inventWorld(wish, writer, [](std::size_t) {}), CommandLine::UsageError) << wish.start;
    };
    for (const char* start :
         {"", "today", "2011-10-12 ", "2011-02-30", "12.10.2011", "1970-01-01", "2038-01-13"})
        refuse({.services = 1, .days = 1, .start = start});
    WorldWriter writer;
    inventWorld({.services = 1, .days = 1, .start = "2038-01-11"}, writer, [](std::size_t) {});
    EXPECT_THROW(inventWorld({.services = 1, .zone = "Europe/Nowhere"}, writer, [](std::size_t) {}),
                 std::runtime_error);
}

} // namespace Ostrel::TV::Tool
