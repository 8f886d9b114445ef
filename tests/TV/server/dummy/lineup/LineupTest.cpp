#include "TV/server/dummy/lineup/Lineup.h"
#include "TV/server/dummy/world/ChosenWorld.h"

#include "TV/server/dummy/DummyTVModule.h"
#include "TV/server/dummy/world/World.h"
#include "tests/TV/server/dummy/BuiltInData.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace Ostrel::TV;

namespace {

/// The line-up of one transponder: "NUMBER NAME; NUMBER R NAME; ...", R for radio.
std::string describeTransponder(std::uint32_t frequencyMHz) {
    std::ostringstream text;
    const char* separator = "";
    for (const LineupRow& row : lineupRows()) {
        if (row.frequencyMHz != frequencyMHz)
            continue;
        text << separator << row.channelNumber << (row.type == 2 ? " R " : " ") << row.name;
        separator = "; ";
    }
    return text.str();
}

TEST(LineupTableTest, HoldsTheseServices) {
    // clang-format off
    EXPECT_EQ(describeTransponder(690), "10 ITV3; 16 QVC; 17 G.O.L.D.; 191 ADULT redhotTV; 192 ADULT Filth; 23 bid tv; 26 Home; 27 ITV2 +1; 30 5*; 307 TOPUP Anytime1; 309 TOPUP Anytime3; 31 5 USA; 34 ESPN; 38 QUEST; 39 The Zone; 60 The Jewellery Channel; 72 CITV; 724 R Capital FM; 727 R Absolute Radio; 728 R Heart; 93 Television X");
    EXPECT_EQ(describeTransponder(722), "12 Yesterday; 15 Film4; 18 4Music; 21 VIVA; 22 Ideal World; 24 ITV4; 32 Big Deal; 40 Rocks & Co 1; 41 Sky Sports 1; 42 Sky Sports 2; 48 QVC Beauty; 711 R The Hits Radio; 712 R Smash Hits!; 713 R Kiss; 714 R heat; 715 R Magic; 716 R Q; 718 R SMOOTH RADIO; 722 R Kerrang!; 725 R Premier Radio; 85 Russia Today; 89 Al Jazeera Eng; 94 ADULT smileTV2; 96 ADULT Babestn");
    EXPECT_EQ(describeTransponder(738), "13 Channel 4+1; 14 More 4; 28 E4; 3 ITV1; 33 ITV1 +1; 4 Channel 4; 5 Channel 5; 6 ITV2");
    EXPECT_EQ(describeTransponder(770), "50 BBC One HD; 51 ITV1 HD; 52 Channel 4 HD; 54 BBC HD");
    EXPECT_EQ(describeTransponder(794), "1 BBC ONE; 105 BBC Red Button; 2 BBC TWO; 301 301; 7 BBC THREE; 70 CBBC Channel; 700 R BBC Radio 1; 701 R BBC R1X; 702 R BBC Radio 2; 703 R BBC Radio 3; 704 R BBC Radio 4; 705 R BBC R5L; 706 R BBC R5SX; 707 R BBC 6 Music; 708 R BBC Radio 4 Ex; 709 R BBC Asian Net.; 71 CBeebies; 710 R BBC World Sv.; 80 BBC NEWS; 81 BBC Parliament; 9 BBC FOUR");
    EXPECT_EQ(describeTransponder(842), "11 Pick TV; 19 Dave; 193 ADULT Babestn2; 20 Really; 25 Dave ja vu; 29 E4+1; 36 Create & Craft; 37 price-drop tv; 43 Gems TV; 46 Challenge; 47 Daystar; 49 Food Network; 723 R talkSPORT; 82 Sky News; 87 COMMUNITY; 95 ADULT smileTV3; 97 ADULT PARTY; 98 ADULT Blue");
    // clang-format on
}

TEST(LineupTableTest, TellingRowsAreThese) {
    struct Telling {
        unsigned number; ///< of the row, from 1
        unsigned frequencyMHz;
        int channelNumber;
        const char* name;
        unsigned stream, service;
        const char* provider;
        const char* flags;
    };
    // clang-format off
    const Telling rows[] = {
        {1,  690, 10,  "ITV3",         0x3006, 0x3EB0, "ITV",     "0011"},
        {28, 722, 32,  "Big Deal",     0x5040, 0x5DC0, "",        "0011"},
        {30, 722, 41,  "Sky Sports 1", 0x6040, 0x6A60, "BT plc",  "1011"},
        {31, 722, 42,  "Sky Sports 2", 0x6040, 0x6AA0, "BT plc",  "1011"},
        {39, 722, 718, "SMOOTH RADIO", 0x6040, 0x6700, "GMG",     "0011"},
        {54, 770, 50,  "BBC One HD",   0x4082, 0x4484, "BBC",     "0111"},
        {57, 770, 54,  "BBC HD",       0x4082, 0x4440, "BBC",     "0111"},
        {58, 794, 1,   "BBC ONE",      0x1041, 0x1041, "BBC",     "0011"},
        {89, 842, 47,  "Daystar",      0x5040, 0x5F00, "Daystar", "0011"},
    };
    // clang-format on
    for (const Telling& telling : rows) {
        const LineupRow& row = lineupRows()[telling.number - 1];
        const std::string flags = std::string(row.scrambled ? "1" : "0") + (row.highDefinition ? "1" : "0") +
                                  (row.visible ? "1" : "0") + (row.selectable ? "1" : "0");
        EXPECT_EQ(row.frequencyMHz, telling.frequencyMHz);
        EXPECT_EQ(row.channelNumber, telling.channelNumber);
        EXPECT_STREQ(row.name, telling.name);
        EXPECT_EQ(row.transportStreamId, telling.stream) << telling.name;
        EXPECT_EQ(row.dvbServiceId, telling.service) << telling.name;
        EXPECT_STREQ(row.provider ? row.provider : "", telling.provider);
        EXPECT_EQ(flags, telling.flags) << telling.name;
    }
}

TEST(LineupTableTest, EveryRowKeepsTheRules) {
    const std::map<unsigned, unsigned> streams{{690, 0x3006}, {722, 0x6040}, {738, 0x200C},
                                               {770, 0x4082}, {794, 0x1041}, {842, 0x5040}};
    std::set<unsigned> services;
    unsigned number = 0;
    for (const LineupRow& row : lineupRows()) {
        ++number;
        services.insert(row.dvbServiceId);
        EXPECT_EQ(row.originalNetworkId, 0x233Au) << row.name;
        EXPECT_EQ(row.transportStreamId, number == 28 ? 0x5040u : streams.at(row.frequencyMHz)) << row.name;
        EXPECT_EQ(row.guideServiceId, 0u) << row.name;
        EXPECT_EQ(row.scrambled, number == 30 || number == 31) << row.name;
        EXPECT_EQ(row.highDefinition, number >= 54 && number <= 57) << row.name;
        EXPECT_TRUE(row.visible && row.selectable) << row.name;
    }
    EXPECT_EQ(number, 96u);
    EXPECT_EQ(services.size(), 96u);
    const LineupRow& end = lineupRows().data()[96];
    EXPECT_EQ(end.frequencyMHz, 0u);
    EXPECT_EQ(end.channelNumber, 0);
    EXPECT_EQ(end.name, nullptr);
}

constexpr PoolText someText = {1}; // the first one of the built-in world

LineupRow makeRow(unsigned frequencyMHz, int channelNumber, unsigned dvbServiceId) {
    return {frequencyMHz, channelNumber, 1,     someText, 0x233A, 1, dvbServiceId, 0,
            {},           false,         false, true,     true};
}

/// The guide service ids in the order of the rows.
std::string describeIds(const Lineup& lineup) {
    std::string ids;
    for (const LineupRow& row : lineup.getRows())
        ids += std::to_string(row.guideServiceId) + " ";
    return ids;
}

TEST(LineupTest, IsEmptyBeforeItIsLoaded) {
    const Lineup lineup;
    EXPECT_TRUE(lineup.getTransponders().empty());
    EXPECT_EQ(lineup.findTransponder(474), nullptr);
    EXPECT_TRUE(lineup.getRows().empty());
}

TEST(LineupTest, NumbersOnFromTheLargestIdOfTheGuide) {
    std::vector<LineupRow> rows{makeRow(474, 1, 11), makeRow(474, 2, 12), makeRow(474, 3, 13)};
    Lineup lineup;
    // A service that is not on the air counts as well.
    lineup.load(rows, std::vector<Lineup::GuideLink>{{99, 2000}, {12, 1500}});
    EXPECT_EQ(describeIds(lineup), "2001 1500 2002 ");
}

TEST(LineupTest, NumbersFromOneWithoutAGuide) {
    std::vector<LineupRow> rows{makeRow(474, 1, 11), makeRow(474, 2, 12)};
    Lineup lineup;
    lineup.load(rows, {});
    EXPECT_EQ(describeIds(lineup), "1 2 ");
}

TEST(LineupTest, TheFirstOneGetsTheGuide) {
    std::vector<LineupRow> rows{makeRow(474, 1, 11), makeRow(474, 2, 12), makeRow(482, 3, 12)};
    Lineup lineup;
    lineup.load(rows, std::vector<Lineup::GuideLink>{{12, 1000}});
    EXPECT_EQ(describeIds(lineup), "1001 1000 1002 ");
}

TEST(LineupTest, TheFrequencyAloneDecides) {
    std::vector<LineupRow> rows{makeRow(690, 1, 11), makeRow(474, 2, 12), makeRow(690, 3, 13)};
    rows[2].transportStreamId = 2;
    Lineup lineup;
    lineup.load(rows, {});
    ASSERT_EQ(lineup.getTransponders().size(), 2u);
    EXPECT_EQ(lineup.getTransponders()[0].frequencyMHz, 690u) << "in the order of the table";
    ASSERT_EQ(lineup.findTransponder(690), &lineup.getTransponders()[0]);
    EXPECT_EQ(lineup.findTransponder(690)->services.size(), 2u);
    EXPECT_EQ(lineup.findTransponder(474)->services.at(0).getChannelNumber(), 2u);
    EXPECT_EQ(lineup.findTransponder(475), nullptr);
}

TEST(LineupTest, TwoDotsInTheUri) {
    std::vector<LineupRow> rows{makeRow(474, 1, 0x3EB0), makeRow(474, 2, 0xA)};
    Lineup lineup;
    lineup.load(rows, {});
    const auto& services = lineup.getTransponders().at(0).services;
    EXPECT_EQ(services[0].getUri(), "dvb://233a..3eb0");
    EXPECT_EQ(services[1].getUri(), "dvb://233a..a") << "without padding";
}

/// The line-up as a module loads it.
class BuiltInLineupTest : public testing::Test {
protected:
    void SetUp() override { module.init(); }
    void TearDown() override { forgetBuiltInData(); }

    DummyTVModule module;
};

TEST_F(BuiltInLineupTest, HoldsSixTransponders) {
    const auto& transponders = sharedLineup().getTransponders();
    std::string store;
    for (const TransponderInfo& transponder : transponders)
        store += std::to_string(transponder.frequencyMHz) + ":" +
                 std::to_string(transponder.services.size()) + " ";
    EXPECT_EQ(store, "690:21 722:24 738:8 770:4 794:21 842:18 ");
    EXPECT_EQ(transponders[0].services[0].getName(), "ITV3");
    EXPECT_EQ(transponders[0].services[20].getName(), "Television X");
    EXPECT_EQ(transponders[1].services[6].getName(), "Big Deal");
}

TEST_F(BuiltInLineupTest, TakesTheIdsOfTheGuide) {
    std::map<std::uint32_t, std::int32_t> known;
    for (const epgentry& row : guideRows())
        known[row.DvbSid] = row.ServiceId;
    std::map<std::string, std::uint32_t> ids;
    unsigned linked = 0;
    for (const LineupRow& row : sharedLineup().getRows()) {
        ids[static_cast<const char*>(row.name)] = row.guideServiceId;
        const auto found = known.find(row.dvbServiceId);
        if (found == known.end())
            continue;
        ++linked;
        EXPECT_EQ(static_cast<std::int32_t>(row.guideServiceId), found->second) << row.name;
    }
    EXPECT_EQ(linked, 74u);
    EXPECT_EQ(ids["BBC HD"], 1000u);
    EXPECT_EQ(ids["ITV1"], 1033u);
    EXPECT_EQ(ids["BBC ONE"], 1043u);
}

TEST_F(BuiltInLineupTest, ServicesWithoutAGuideFollowInTheOrderOfTheTable) {
    std::vector<std::pair<std::uint32_t, std::string>> without;
    for (const LineupRow& row : sharedLineup().getRows())
        if (row.guideServiceId > 1084)
            without.emplace_back(row.guideServiceId, row.name);
    ASSERT_EQ(without.size(), 22u);
    for (std::size_t index = 0; index != without.size(); ++index)
        EXPECT_EQ(without[index].first, 1085 + index) << without[index].second;
    EXPECT_EQ(without.front().second, "ITV3");
    EXPECT_EQ(without[20].second, "Television X");
    EXPECT_EQ(without[21].second, "Daystar");
}

} // namespace
