// What comes back of a world that is exported and imported.

#include "TV/server/dummy/world/BuiltInWorld.h"
#include "tests/world/MadeWorld.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace Ostrel::TV;
using namespace Ostrel::TV::Tool;

namespace {

std::string textOf(const World& world, PoolText text) {
    const char* const found = world.text(text);
    return found == nullptr ? "" : std::string("\"") + found + "\"";
}

/// All that a row says, so that a failing one explains itself.
std::string describe(const World& world, const epgentry& row) {
    std::string text =
        std::to_string(row.ServiceId) + " " + std::to_string(row.ProgId) + " " + std::to_string(row.Start) +
        "-" + std::to_string(row.End) + " " + std::to_string(row.Content) + " " + textOf(world, row.Title) +
        textOf(world, row.Description) + textOf(world, row.Guidance) + " " + std::to_string(row.DvbOid) +
        "." + std::to_string(row.DvbTid) + "." + std::to_string(row.DvbSid) + " at " +
        std::to_string(row.ServicePosition) + " version " + std::to_string(row.ScheduleVersion) + " imi " +
        std::to_string(row.CridImi) + " links " + std::to_string(row.LinkedHdProgs) + "," +
        std::to_string(row.LinkedHdSimulcastProgs) + " ";
    for (std::size_t i = 0; i != row.CridCount; ++i)
        text += std::to_string(row.Crids[i].CridType) + ":" + textOf(world, row.Crids[i].CridData);
    for (const bool mark :
         {row.IsHd, row.UnsuitableBeforeWatershed, row.Next, row.Now, row.DataFromCurrentTs})
        text += mark ? " yes" : " no";
    return text;
}

std::string describe(const World& world, const LineupRow& row) {
    std::string text = std::to_string(row.frequencyMHz) + " " + std::to_string(row.channelNumber) + " " +
                       std::to_string(row.type) + " " + textOf(world, row.name) +
                       textOf(world, row.provider) + " " + std::to_string(row.originalNetworkId) + "." +
                       std::to_string(row.transportStreamId) + "." + std::to_string(row.dvbServiceId);
    for (const bool mark : {row.scrambled, row.highDefinition, row.visible, row.selectable})
        text += mark ? " yes" : " no";
    return text;
}

void expectSame(const World& before, const World& after) {
    EXPECT_EQ(after.name, before.name);
    EXPECT_EQ(after.timeZone, before.timeZone);
    ASSERT_EQ(after.lineup.size(), before.lineup.size());
    for (std::size_t i = 0; i != before.lineup.size(); ++i)
        EXPECT_EQ(describe(after, after.lineup[i]), describe(before, before.lineup[i]));
    ASSERT_EQ(after.rows.size(), before.rows.size());
    for (std::size_t i = 0; i != before.rows.size(); ++i)
        ASSERT_EQ(describe(after, after.rows[i]), describe(before, before.rows[i]));
}

TEST(RoundTripTest, TheBuiltInWorldComesBack) {
    const World world = builtInWorld();
    const MadeWorld made(exported(world));
    expectSame(world, made.world());
    for (std::size_t finding = 0; finding <= static_cast<std::size_t>(Finding::CategoryUnknown); ++finding)
        EXPECT_EQ(made.report.get(static_cast<Finding>(finding)), 0u) << finding;
}

/// What a writer wrote.
WorldFile finish(WorldWriter& writer) {
    const TemporaryFile image = makeTemporaryFile();
    writer.write(image.get());
    return WorldFile(image.get());
}

/// A world of what the built-in one has none of.
WorldFile makeOddWorld() {
    WorldWriter writer;
    writer.describe("odd & <named> \"?=%", "America/St_Johns");
    LineupService service;
    service.frequencyMHz = 999;
    service.channelNumber = 9999;
    service.type = 3;
    service.name = "7 & <8>";
    service.network = service.stream = service.dvbId = 0xFFFF;
    service.provider = "A&B=C%D?E 50% \u65E5\u672C";
    service.scrambled = service.highDefinition = true;
    service.visible = service.selectable = false;
    writer.addToLineup(service);
    service.channelNumber = service.dvbId = 1;
    service.name = "2";
    writer.addToLineup(service);

    GuideEvent event;
    event.programme = event.version = event.imi = 0x7FFFFFFF;
    event.start = 1;
    event.end = 0x7FFFFFFF;
    event.content = 0xFFFF;
    event.next = true;
    event.guidance = "'\"&<>";
    for (unsigned i = 0; i != 10; ++i)
        event.crids.push_back({3 - i % 3, "/crid~" + std::to_string(i)});
    writer.add({0x7FFFFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0x7FFFFFFF}, event);

    event = {};
    event.programme = 1;
    event.start = 1320000000; // an hour before clocks change
    event.end = 1320100000;
    event.content = 0;
    event.title = "-";
    event.synopsis = "\u0646\u0634\u0631\u0629 \U0001F6A2 e\u0301";
    event.late = true;
    writer.add({5, 1, 1, 77, 0}, event); // of a service that is not on the air
    event.programme = 2;
    writer.add({6, 3, 4, 1, 0}, event); // of one that is, with other identifiers there
    return finish(writer);
}

TEST(RoundTripTest, AWorldAtItsLimitsComesBack) {
    const WorldFile odd = makeOddWorld();
    expectSame(odd.world(), MadeWorld(exported(odd.world())).world());
}

TEST(RoundTripTest, OfBlanksInARowOneComesBack) {
    WorldWriter writer;
    LineupService service;
    service.frequencyMHz = 474;
    service.channelNumber = service.network = service.stream = service.dvbId = 1;
    service.name = "C";
    writer.addToLineup(service);
    GuideEvent event;
    event.programme = 1;
    event.start = 1000;
    event.end = 2000;
    event.title = "A  B";
    writer.add({1, 1, 1, 1, 0}, event);
    const MadeWorld made(exported(finish(writer).world()));
    EXPECT_EQ(textOf(made.world(), made.world().rows[0].Title), "\"A B\"");
}

} // namespace
