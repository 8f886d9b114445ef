// Every rule that the tables of a world can break, and what is said of it.

#include "TV/server/dummy/data/WorldRules.h"
#include "tests/TV/server/dummy/data/SmallImage.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using namespace Ostrel::TV;

namespace {

/// A world whose tables may be changed.
struct Tables {
    Tables() {
        const std::vector<char> image = Ostrel::Test::smallImage();
        const World world = reinterpret_cast<const WorldImage*>(image.data())->world();
        rows.assign(world.rows.begin(), world.rows.end());
        startOrder.assign(world.startOrder.begin(), world.startOrder.end());
        services.assign(world.services.begin(), world.services.end());
        lineup.assign(world.lineup.begin(), world.lineup.end());
        zoneOffsets.assign(world.zoneOffsets.begin(), world.zoneOffsets.end());
        texts = world.texts;
    }

    /// Where a text stands from now on.
    PoolText add(const std::string& text) {
        const PoolText at{static_cast<std::uint32_t>(texts.size())};
        texts += text + '\0';
        return at;
    }

    /// What is said of them, a line each.
    std::string check() const {
        World world;
        world.name = name;
        world.timeZone = timeZone;
        world.rows = rows;
        world.startOrder = startOrder;
        world.services = services;
        world.lineup = lineup;
        world.zoneOffsets = zoneOffsets;
        world.texts = texts;
        WorldProblems problems;
        checkWorld(world, WorldPlaces::names(world), problems);
        return problems.text();
    }

    std::string name = "small", timeZone = "Europe/London";
    std::vector<epgentry> rows;
    std::vector<std::uint32_t> startOrder;
    std::vector<GuideServiceRows> services;
    std::vector<LineupRow> lineup;
    std::vector<ZoneOffset> zoneOffsets;
    std::string texts;
};

struct Row {
    const char* name;
    void (*change)(Tables&);
    const char* said;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

constexpr const char* badOrder = "world: the order of starts is not the order of the events' starts";
constexpr const char* badServices = "world: the services are not where the table of services says";
constexpr const char* noOverlap =
    "event 11 of service 5: starts before the event in front of it has ended, programme 10";

// clang-format off
const Row rows[] = {
    {"Good", [](Tables&) {}, ""},
    {"NoGuideAtAll", [](Tables& t) { t.rows.clear(); t.startOrder.clear(); t.services.clear(); }, ""},

    {"NoName", [](Tables& t) { t.name = ""; }, "world: the world has no name"},
    {"NameWithBlanks", [](Tables& t) { t.name = " a"; }, "world: a text begins or ends with a blank"},
    {"NoZone", [](Tables& t) { t.timeZone = ""; }, "world: the time zone has no name like Europe/London"},
    {"ZoneWithABreak", [](Tables& t) { t.timeZone = "Europe/\n"; }, "world: the time zone has no name like Europe/London"},
    {"NoOffset", [](Tables& t) { t.zoneOffsets.clear(); }, "world: the offsets of the time zone are not in the order of time"},
    {"OffsetsInDisorder", [](Tables& t) { t.zoneOffsets.push_back(t.zoneOffsets.back()); }, "world: the offsets of the time zone are not in the order of time"},
    {"OffsetOfADay", [](Tables& t) { t.zoneOffsets[0].seconds = -86400; }, ""},
    {"OffsetOfMore", [](Tables& t) { t.zoneOffsets[0].seconds = -86401; }, "world: the time zone is more than a day from UTC"},

    {"LineupEmpty", [](Tables& t) { t.lineup.clear(); }, "line-up: there is no service in the line-up"},
    {"Frequency", [](Tables& t) { t.lineup[0].frequencyMHz = 1000; }, "channel 1: the frequency is not a number from 1 to 999"},
    {"ChannelNumber9999", [](Tables& t) { t.lineup[0].channelNumber = 9999; }, ""},
    {"ChannelNumber10000", [](Tables& t) { t.lineup[0].channelNumber = 10000; }, "channel 10000: the channel number is not a number from 1 to 9999"},
    {"ChannelNumber0", [](Tables& t) { t.lineup[0].channelNumber = 0; }, "channel 0: the channel number is not a number from 1 to 9999"},
    {"ChannelNumberTaken", [](Tables& t) { t.lineup[0].channelNumber = 2; }, "channel 2: channel number 2 is taken"},
    {"Type0", [](Tables& t) { t.lineup[0].type = 0; }, "channel 1: the type is not a number from 1 to 3"},
    {"Type4", [](Tables& t) { t.lineup[0].type = 4; }, "channel 1: the type is not a number from 1 to 3"},
    {"LineupNetwork", [](Tables& t) { t.lineup[0].originalNetworkId = 0; }, "channel 1: the network is not a number from 1 to 65535"},
    {"LineupStream", [](Tables& t) { t.lineup[0].transportStreamId = 65536; }, "channel 1: the stream is not a number from 1 to 65535"},
    {"LineupService", [](Tables& t) { t.lineup[0].dvbServiceId = 0; }, "channel 1: the service is not a number from 1 to 65535"},
    {"LineupServiceTaken", [](Tables& t) { t.lineup[1].dvbServiceId = 1; }, "channel 2: service 1 is taken"},
    {"LineupKnowsTheGuide", [](Tables& t) { t.lineup[0].guideServiceId = 5; }, "channel 1: a line-up does not know guide service ids"},
    {"LineupNoName", [](Tables& t) { t.lineup[0].name = {0}; }, "channel 1: the service has no name"},
    {"LineupEmptyName", [](Tables& t) { t.lineup[0].name = t.add(""); }, "channel 1: the service has no name"},
    {"LineupNameWithABar", [](Tables& t) { t.lineup[0].name = t.add("A|B"); }, "channel 1: a name holds a bar, which separates the fields of lineup.txt"},
    {"LineupProviderControl", [](Tables& t) { t.lineup[0].provider = t.add("A\tB"); }, "channel 1: a text holds a control character"},

    {"StartZero", [](Tables& t) { t.rows[0].Start = 0; }, "event 10 of service 5: does not start behind 1970-01-01T00:00:00Z"},
    {"EndAtStart", [](Tables& t) { t.rows[1].End = t.rows[1].Start; }, "event 11 of service 5: ends before it has lasted a second"},
    {"Programme0", [](Tables& t) { t.rows[0].ProgId = 0; }, "event 0 of service 5: the programme is not a number from 1 to 2147483647"},
    {"ProgrammeTooLarge", [](Tables& t) { t.rows[1].ProgId = 0x80000000; }, "event 2147483648 of service 5: the programme is not a number from 1 to 2147483647"},
    {"ProgrammesInDisorder", [](Tables& t) { std::swap(t.rows[0].ProgId, t.rows[1].ProgId); }, "event 10 of service 5: the rows of a service are not in the order of their programmes"},
    {"ProgrammeTwiceOnAService", [](Tables& t) { t.rows[1].ProgId = 10; }, "event 10 of service 5: programme 10 comes twice, before on service 5"},
    {"ProgrammeTwice", [](Tables& t) { t.rows[0].LinkedHdProgs = t.rows[0].LinkedHdSimulcastProgs = 0; t.rows[2].ProgId = 11; }, "event 11 of service 6: programme 11 comes twice, before on service 5"},
    {"Content", [](Tables& t) { t.rows[0].Content = -2; }, "event 10 of service 5: the content code is not a number from 0 to 65535"},
    {"ContentTooLarge", [](Tables& t) { t.rows[0].Content = 65536; }, "event 10 of service 5: the content code is not a number from 0 to 65535"},
    {"ImiTooLarge", [](Tables& t) { t.rows[0].CridImi = 0x80000000; }, "event 10 of service 5: the imi, the version or the place is not a number from 0 to 2147483647"},
    {"ElevenCrids", [](Tables& t) { t.rows[0].CridCount = 11; }, "event 10 of service 5: an event has at most 10 crids"},
    {"CridTypeZero", [](Tables& t) { t.rows[0].Crids[1].CridType = 0; }, "event 10 of service 5: a crid's type is 1, 2 or 3"},
    {"CridTypeFour", [](Tables& t) { t.rows[0].Crids[1].CridType = 4; }, "event 10 of service 5: a crid's type is 1, 2 or 3"},
    {"CridTypeThree", [](Tables& t) { t.rows[0].Crids[1].CridType = 3; }, ""},
    {"CridAbsent", [](Tables& t) { t.rows[0].CridCount = 3; t.rows[0].Crids[2].CridType = 3; }, "event 10 of service 5: a crid has 1 to 64 characters"},
    {"Crid64", [](Tables& t) { t.rows[0].Crids[0].CridData = t.add(std::string(64, 'a')); }, ""},
    {"Crid65", [](Tables& t) { t.rows[0].Crids[0].CridData = t.add(std::string(65, 'a')); }, "event 10 of service 5: a crid has 1 to 64 characters"},
    {"CridAmpersand", [](Tables& t) { t.rows[0].Crids[0].CridData = t.add("a&b"); }, "event 10 of service 5: a crid has no characters but those of ASCII, and no blank, \", \\, <, >, & or '"},
    {"CridBlank", [](Tables& t) { t.rows[0].Crids[0].CridData = t.add("a b"); }, "event 10 of service 5: a crid has no characters but those of ASCII, and no blank, \", \\, <, >, & or '"},
    {"CridUmlaut", [](Tables& t) { t.rows[0].Crids[0].CridData = t.add("\u00e4"); }, "event 10 of service 5: a crid has no characters but those of ASCII, and no blank, \", \\, <, >, & or '"},
    {"TitleControl", [](Tables& t) { t.rows[3].Title = t.add("A\x7F"); }, "event 21 of service 6: a text holds a control character"},
    {"SynopsisNotUtf8", [](Tables& t) { t.rows[3].Description = t.add("12345678\x80"); }, "event 21 of service 6: a text is not UTF-8"},
    {"GuidanceTooLong", [](Tables& t) { t.rows[3].Guidance = t.add(std::string(65536, 'a')); }, "event 21 of service 6: a text is longer than 65535 bytes"},
    {"AllOfUnicode", [](Tables& t) { t.rows[3].Title = t.add("\u00a0\u07ff\u0800\ud7ff\ue000\ufffd\U00010000\U0010ffff"); }, ""},
    {"NoTexts", [](Tables& t) { t.rows[3].Title = t.rows[3].Description = {0}; }, ""},

    {"ServicesInDisorder", [](Tables& t) { t.services[1].serviceId = 5; t.rows[2].ServiceId = t.rows[3].ServiceId = 5; t.rows[0].LinkedHdProgs = t.rows[0].LinkedHdSimulcastProgs = t.rows[1].LinkedHdProgs = t.rows[1].LinkedHdSimulcastProgs = 0; }, "event 20 of service 5: the services are not in the order of their ids, from 1"},
    {"ServiceZero", [](Tables& t) { t.services[0].serviceId = 0; t.rows[0].ServiceId = t.rows[1].ServiceId = 0; }, "event 10 of service 0: the services are not in the order of their ids, from 1"},
    {"ServiceMissing", [](Tables& t) { t.services.pop_back(); }, badServices},
    {"ServiceEmpty", [](Tables& t) { t.services[1].count = 0; }, badServices},
    {"ServiceTooLong", [](Tables& t) { t.services[1].count = 3; }, badServices},
    {"ServiceElsewhere", [](Tables& t) { t.services[1].first = 1; }, badServices},
    {"RowOfAnother", [](Tables& t) { t.rows[3].ServiceId = 7; }, "event 21 of service 7: stands among the rows of service 6"},
    {"DvbIdsDiffer", [](Tables& t) { t.rows[3].DvbTid = 2; }, "event 21 of service 6: has other DVB identifiers or another place than its service"},
    {"DvbIdTwice", [](Tables& t) { t.rows[2].DvbSid = t.rows[3].DvbSid = 1; }, "event 20 of service 6: service 5 has the same DVB service id, 1"},
    {"DvbIdZero", [](Tables& t) { t.rows[2].DvbOid = t.rows[3].DvbOid = 0; }, "event 20 of service 6: one of the service's DVB identifiers is not a number from 1 to 65535"},
    {"Overlap", [](Tables& t) { t.rows[0].End += 1; }, noOverlap},
    {"OverlapOfTheSameStart", [](Tables& t) { t.rows[1].Start = t.rows[0].Start; t.startOrder = {0, 1, 2, 3}; }, noOverlap},
    {"ServicesMayOverlap", [](Tables& t) { t.rows[1].End += 10000; }, ""},

    {"LinkToSd", [](Tables& t) { t.rows[2].IsHd = false; }, "event 10 of service 5: hd-event 20 is not an HD event of another service"},
    {"LinkToNowhere", [](Tables& t) { t.rows[0].LinkedHdSimulcastProgs = 22; }, "event 10 of service 5: hd-event 22 is not an HD event of another service"},
    {"LinkToItself", [](Tables& t) { t.rows[2].LinkedHdProgs = 20; }, "event 20 of service 6: hd-event 20 is not an HD event of another service"},

    {"OrderTooShort", [](Tables& t) { t.startOrder.pop_back(); }, badOrder},
    {"OrderOutside", [](Tables& t) { t.startOrder[3] = 4; }, badOrder},
    {"OrderTwice", [](Tables& t) { t.startOrder[1] = t.startOrder[0]; }, badOrder},
    {"OrderWrong", [](Tables& t) { std::swap(t.startOrder[1], t.startOrder[2]); }, badOrder},
    {"OrderOfEqualStarts", [](Tables& t) { std::swap(t.startOrder[0], t.startOrder[1]); }, badOrder},

    {"AllOfThem", [](Tables& t) { t.name = ""; t.lineup[0].type = 4; t.rows[3].Content = -2; t.startOrder.pop_back(); },
        "world: the world has no name\n"
        "channel 1: the type is not a number from 1 to 3\n"
        "event 21 of service 6: the content code is not a number from 0 to 65535\n"
        "world: the order of starts is not the order of the events' starts"},
};
// clang-format on

class WorldRulesTable : public testing::TestWithParam<Row> {};

TEST_P(WorldRulesTable, SaysWhatIsWrong) {
    Tables tables;
    GetParam().change(tables);
    EXPECT_EQ(tables.check(), GetParam().said);
}

INSTANTIATE_TEST_SUITE_P(Rules, WorldRulesTable, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace
