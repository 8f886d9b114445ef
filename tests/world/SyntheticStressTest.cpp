#include "tests/world/SyntheticWorld.h"

#include "TV/server/dummy/data/WorldFolder.h"
#include "tests/support/TempDirectory.h"
#include "world/Figures.h"
#include "world/Stress.h"
#include "world/StressTexts.h"
#include "world/SyntheticLineup.h"

#include <set>

namespace Ostrel::TV::Tool {

namespace {

/// Of a size at which every text comes about.
const SyntheticWorld& stressWorld() {
    static const SyntheticWorld made({.services = 40, .days = 3, .stress = true});
    return made;
}

/// The events of the only service that is called so.
const std::vector<const epgentry*>& eventsOf(const std::string& name) {
    return stressWorld().eventsOf(*stressWorld().findService(name));
}

bool isLength(const epgentry* event, int minutes) {
    return event->End - event->Start == minutes * 60;
}

} // namespace

TEST(SyntheticStressTest, HasEveryText) {
    std::set<std::pair<std::string, std::string>> found;
    std::size_t without = 0;
    for (const epgentry& row : stressWorld().world().rows) {
        found.emplace(stressWorld().title(row), stressWorld().text(row.Description));
        without += row.Title.offset == 0;
    }
    for (const StressText& text : stressTexts())
        EXPECT_TRUE(found.contains({text.title, text.synopsis})) << text.title;
    EXPECT_GT(without, 0u);
}

TEST(SyntheticStressTest, TextsAreOfAllScriptsAndLengths) {
    const Figures figures(stressWorld().world());
    EXPECT_EQ(figures.texts.longestTitle, 255u);
    EXPECT_GT(figures.texts.longestSynopsis, 3900u);
    std::set<std::string_view> scripts;
    for (const auto& script : figures.scripts)
        scripts.insert(script.name);
    for (const char* script : {"Latin", "Greek", "Cyrillic", "Hebrew", "Arabic", "Devanagari", "Thai", "Kana",
                               "Hangul", "Han", "emoji"})
        EXPECT_TRUE(scripts.contains(script)) << script;
    std::size_t unbroken = 0;
    for (const StressText& text : stressTexts())
        unbroken += text.title.size() == 255 && text.title.find(' ') == std::string::npos;
    EXPECT_GT(unbroken, 0u);
}

TEST(SyntheticStressTest, ServicesAreHardCases) {
    const auto& crowd = eventsOf("Two Thousand Events");
    EXPECT_EQ(crowd.size(), 2000u);
    EXPECT_GT(crowd.back()->Start - crowd.front()->Start, 60 * 3600);
    EXPECT_TRUE(eventsOf("Nothing Known").empty());
    EXPECT_TRUE(eventsOf("<Text & Data>").empty());
    EXPECT_EQ(stressWorld().findService("<Text & Data>")->type, 3u);
    const auto& minutes = eventsOf("Minute by Minute");
    EXPECT_GT(std::count_if(minutes.begin(), minutes.end(), [](auto* event) { return isLength(event, 1); }),
              900);
    const auto& endless = eventsOf("Thirty Hours");
    EXPECT_TRUE(
        std::all_of(endless.begin(), endless.end(), [](auto* event) { return isLength(event, 1800); }));
    EXPECT_EQ(endless.size(), 3u);
    const auto& gaps = eventsOf("Now and Then");
    ASSERT_GT(gaps.size(), 5u);
    for (std::size_t i = 1; i != gaps.size(); ++i)
        EXPECT_GE(gaps[i]->Start, gaps[i - 1]->End + 3600);

    std::multiset<std::string> names;
    std::set<int> numbers;
    std::size_t longest = 0;
    for (const LineupRow& row : stressWorld().world().lineup) {
        names.insert(stressWorld().name(row));
        numbers.insert(row.channelNumber);
        longest = std::max(longest, stressWorld().name(row).size());
    }
    EXPECT_EQ(names.count("Same Name"), 2u);
    EXPECT_EQ(names.count("Q"), 1u);
    EXPECT_GT(longest, 240u);
    EXPECT_EQ(*numbers.begin(), 1);
    EXPECT_EQ(*numbers.rbegin(), 9999);
}

// So that it is a guide still.
TEST(SyntheticStressTest, MostEventsAreAsWithoutStress) {
    const SyntheticWish wish{.services = 200, .days = 3, .stress = true};
    const SyntheticWorld made(wish);
    std::set<std::string> hard;
    for (const StressText& text : stressTexts())
        hard.insert(text.title);
    std::size_t all = 0, spoilt = 0;
    for (const LineupRow& row : made.world().lineup) {
        if (row.channelNumber > 9999 * int(wish.services - stressServices) / int(wish.services))
            continue;
        for (const epgentry* event : made.eventsOf(row)) {
            ++all;
            spoilt += hard.contains(made.title(*event));
        }
    }
    EXPECT_GT(spoilt * stressShare, all * 3 / 4);
    EXPECT_LT(spoilt * stressShare, all * 5 / 4);
}

TEST(SyntheticStressTest, ItsFolderIsTheSameWorld) {
    const Ostrel::Test::TempDirectory directory;
    const auto folder = directory.file("world");
    writeWorldFolder(stressWorld().world(), folder);
    const WorldFile again = readWorldFolder(folder);
    const World world = again.world();
    ASSERT_EQ(world.rows.size(), stressWorld().world().rows.size());
    for (std::size_t i = 0; i != world.rows.size(); ++i) {
        const epgentry &row = world.rows[i], &before = stressWorld().world().rows[i];
        const auto read = [&](PoolText text) {
            const char* const found = world.text(text);
            return std::string(found ? found : "");
        };
        ASSERT_EQ(row.ProgId, before.ProgId);
        ASSERT_EQ(row.Start, before.Start);
        ASSERT_EQ(row.End, before.End);
        ASSERT_EQ(row.Content, before.Content);
        ASSERT_EQ(row.ScheduleVersion, before.ScheduleVersion);
        ASSERT_EQ(read(row.Title), stressWorld().title(before));
        ASSERT_EQ(read(row.Description), stressWorld().text(before.Description));
        ASSERT_EQ(read(row.Guidance), stressWorld().text(before.Guidance));
    }
    ASSERT_EQ(world.lineup.size(), stressWorld().world().lineup.size());
    for (std::size_t i = 0; i != world.lineup.size(); ++i)
        EXPECT_EQ(world.text(world.lineup[i].name), stressWorld().name(stressWorld().world().lineup[i]));
}

} // namespace Ostrel::TV::Tool
