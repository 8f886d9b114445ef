#include "TV/server/dummy/DummyTVModule.h"

#include "TV/server/TVModuleContext.h"
#include "tests/TV/server/dummy/BuiltInData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>

using namespace Ostrel;
using namespace Ostrel::TV;

namespace {

class DummyTVModuleTest : public testing::Test {
protected:
    void SetUp() override { EXPECT_TRUE(module.init()); }
    void TearDown() override { forgetBuiltInData(); }

    VectorObject<ITVService::ServiceInfo> services() OSTREL_NO_THREAD_SAFETY_ANALYSIS {
        return module.services;
    }
    std::vector<std::uint32_t> transponders() OSTREL_NO_THREAD_SAFETY_ANALYSIS { return module.transponders; }

    ITVService::ServiceInfo find(const std::string& name) {
        const auto list = services();
        const auto found = std::find_if(list.begin(), list.end(),
                                        [&](const auto& service) { return service.getName() == name; });
        return found != list.end() ? *found : list.at(list.size());
    }

    bool addTransponder(unsigned frequencyMHz) {
        const Mutex::Hold hold(module.mutex);
        return module.addTransponderUnderLock(frequencyMHz);
    }

    DummyTVModule module;
};

/// The line-up as "KIND:NUMBER NAME; ..." of one transponder.
std::string describeTransponder(std::uint32_t frequencyMHz) {
    std::ostringstream text;
    const char* separator = "";
    for (const LineupRow* row = lineup; row->channelNumber > 0; ++row) {
        if (row->frequencyMHz != frequencyMHz)
            continue;
        text << separator << row->channelNumber << (row->type == 2 ? " R " : " ") << row->name;
        separator = "; ";
    }
    return text.str();
}

TEST(LineupTest, HoldsTheseServices) {
    // clang-format off
    EXPECT_EQ(describeTransponder(690), "10 ITV3; 16 QVC; 17 G.O.L.D.; 191 ADULT redhotTV; 192 ADULT Filth; 23 bid tv; 26 Home; 27 ITV2 +1; 30 5*; 307 TOPUP Anytime1; 309 TOPUP Anytime3; 31 5 USA; 34 ESPN; 38 QUEST; 39 The Zone; 60 The Jewellery Channel; 72 CITV; 724 R Capital FM; 727 R Absolute Radio; 728 R Heart; 93 Television X");
    EXPECT_EQ(describeTransponder(722), "12 Yesterday; 15 Film4; 18 4Music; 21 VIVA; 22 Ideal World; 24 ITV4; 32 Big Deal; 40 Rocks & Co 1; 41 Sky Sports 1; 42 Sky Sports 2; 48 QVC Beauty; 711 R The Hits Radio; 712 R Smash Hits!; 713 R Kiss; 714 R heat; 715 R Magic; 716 R Q; 718 R SMOOTH RADIO; 722 R Kerrang!; 725 R Premier Radio; 85 Russia Today; 89 Al Jazeera Eng; 94 ADULT smileTV2; 96 ADULT Babestn");
    EXPECT_EQ(describeTransponder(738), "13 Channel 4+1; 14 More 4; 28 E4; 3 ITV1; 33 ITV1 +1; 4 Channel 4; 5 Channel 5; 6 ITV2");
    EXPECT_EQ(describeTransponder(770), "50 BBC One HD; 51 ITV1 HD; 52 Channel 4 HD; 54 BBC HD");
    EXPECT_EQ(describeTransponder(794), "1 BBC ONE; 105 BBC Red Button; 2 BBC TWO; 301 301; 7 BBC THREE; 70 CBBC Channel; 700 R BBC Radio 1; 701 R BBC R1X; 702 R BBC Radio 2; 703 R BBC Radio 3; 704 R BBC Radio 4; 705 R BBC R5L; 706 R BBC R5SX; 707 R BBC 6 Music; 708 R BBC Radio 4 Ex; 709 R BBC Asian Net.; 71 CBeebies; 710 R BBC World Sv.; 80 BBC NEWS; 81 BBC Parliament; 9 BBC FOUR");
    EXPECT_EQ(describeTransponder(842), "11 Pick TV; 19 Dave; 193 ADULT Babestn2; 20 Really; 25 Dave ja vu; 29 E4+1; 36 Create & Craft; 37 price-drop tv; 43 Gems TV; 46 Challenge; 47 Daystar; 49 Food Network; 723 R talkSPORT; 82 Sky News; 87 COMMUNITY; 95 ADULT smileTV3; 97 ADULT PARTY; 98 ADULT Blue");
    // clang-format on
}

TEST(LineupTest, TellingRowsAreThese) {
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
        const LineupRow& row = lineup[telling.number - 1];
        const std::string flags = std::string(row.scrambled ? "1" : "0") + (row.highDefinition ? "1" : "0") +
                                  (row.visible ? "1" : "0") + (row.selectable ? "1" : "0");
        EXPECT_EQ(row.frequencyMHz, telling.frequencyMHz);
        EXPECT_EQ(row.channelNumber, telling.channelNumber);
        EXPECT_STREQ(row.name, telling.name);
        EXPECT_EQ(row.transportStreamId, telling.stream) << telling.name;
        EXPECT_EQ(row.dvbServiceId, telling.service) << telling.name;
        EXPECT_STREQ(row.provider, telling.provider);
        EXPECT_EQ(flags, telling.flags) << telling.name;
    }
}

TEST(LineupTest, EveryRowKeepsTheRules) {
    const std::map<unsigned, unsigned> streams{{690, 0x3006}, {722, 0x6040}, {738, 0x200C},
                                               {770, 0x4082}, {794, 0x1041}, {842, 0x5040}};
    std::set<unsigned> services;
    unsigned number = 0;
    for (const LineupRow* row = lineup; row->channelNumber > 0; ++row) {
        ++number;
        services.insert(row->dvbServiceId);
        EXPECT_EQ(row->originalNetworkId, 0x233Au) << row->name;
        EXPECT_EQ(row->transportStreamId, number == 28 ? 0x5040u : streams.at(row->frequencyMHz))
            << row->name;
        EXPECT_EQ(row->guideServiceId, 0u) << row->name;
        EXPECT_EQ(row->scrambled, number == 30 || number == 31) << row->name;
        EXPECT_EQ(row->highDefinition, number >= 54 && number <= 57) << row->name;
        EXPECT_TRUE(row->visible && row->selectable) << row->name;
    }
    EXPECT_EQ(number, 96u);
    EXPECT_EQ(services.size(), 96u);
    EXPECT_EQ(lineup[96].frequencyMHz, 0u);
    EXPECT_EQ(lineup[96].name, nullptr);
}

TEST(DummyTVModuleLifeTest, LoadsNothingBeforeInit) {
    DummyTVModule module;
    const Mutex::Hold hold(module.mutex);
    EXPECT_EQ(module.magic, 0u);
    EXPECT_EQ(module.timeOffset, 0);
    EXPECT_TRUE(module.services.empty());
    EXPECT_TRUE(module.scannedServices.empty());
    EXPECT_TRUE(module.transponders.empty());
    EXPECT_TRUE(transponderStore.empty());
    EXPECT_EQ(module.mutex.getName(), "TV/server/dummy/DummyTVModule");
}

TEST_F(DummyTVModuleTest, ServicesAreSortedByChannelNumber) {
    const auto list = services();
    ASSERT_EQ(list.size(), 96u);
    EXPECT_TRUE(std::is_sorted(list.begin(), list.end(), [](const auto& a, const auto& b) {
        return a.getChannelNumber() < b.getChannelNumber();
    }));
    std::string first;
    for (std::size_t index = 0; index < 5; ++index)
        first += std::to_string(list[index].getChannelNumber()) + " " + list[index].getName() + ";";
    EXPECT_EQ(first, "1 BBC ONE;2 BBC TWO;3 ITV1;4 Channel 4;5 Channel 5;");
    EXPECT_EQ(list[0].getId(), 1043u);
    EXPECT_EQ(list[94].getName(), "Absolute Radio");
    EXPECT_EQ(list[95].getChannelNumber(), 728u);
    EXPECT_EQ(list[95].getName(), "Heart");
}

TEST_F(DummyTVModuleTest, ServiceCarriesItsRow) {
    EXPECT_EQ(
        find("Sky Sports 1").serialize(),
        R"({"channelNumber":41,"name":"Sky Sports 1","uri":"dvb://233a..6a60","id":1012,"type":1,)"
        R"("provider":"BT plc","scrambled":true,"highDefinition":false,"visible":true,"selectable":true})");
    EXPECT_EQ(
        find("BBC HD").serialize(),
        R"({"channelNumber":54,"name":"BBC HD","uri":"dvb://233a..4440","id":1000,"type":1,)"
        R"("provider":"BBC","scrambled":false,"highDefinition":true,"visible":true,"selectable":true})");
    EXPECT_EQ(find("SMOOTH RADIO").getType(), ITVService::ServiceInfo::Type::Radio);
    EXPECT_EQ(find("Big Deal").getProvider(), "");
}

TEST_F(DummyTVModuleTest, TwoDotsInTheUri) {
    EXPECT_EQ(find("ITV3").getUri(), "dvb://233a..3eb0");
    EXPECT_EQ(find("BBC ONE").getUri(), "dvb://233a..1041");
}

TEST_F(DummyTVModuleTest, StoreHoldsSixTransponders) {
    std::string store;
    for (const TransponderInfo& transponder : transponderStore)
        store += std::to_string(transponder.frequencyMHz) + ":" +
                 std::to_string(transponder.services.size()) + " ";
    EXPECT_EQ(store, "690:21 722:24 738:8 770:4 794:21 842:18 ");
    EXPECT_EQ(transponderStore[0].services[0].getName(), "ITV3");
    EXPECT_EQ(transponderStore[0].services[20].getName(), "Television X");
    EXPECT_EQ(transponderStore[1].services[6].getName(), "Big Deal");
}

TEST_F(DummyTVModuleTest, InitLeavesTheModuleReady) {
    const Mutex::Hold hold(module.mutex);
    EXPECT_EQ(module.magic, 42u);
    EXPECT_EQ(module.timeOffset, 0);
    EXPECT_TRUE(module.scannedServices.empty());
    EXPECT_FALSE(module.scanState.scanning);
    EXPECT_FALSE(module.scanState.infoValid);
}

TEST_F(DummyTVModuleTest, InitOnce) {
    module.init();
    EXPECT_EQ(services().size(), 96u + 2 * 96u);
    EXPECT_EQ(transponders().size(), 12u);
    EXPECT_EQ(services()[0].getName(), "BBC ONE");
    EXPECT_EQ(services()[2].getName(), "BBC ONE");
    EXPECT_EQ(services()[3].getName(), "BBC TWO");
    EXPECT_EQ(startTimeIndex.size(), 2 * 11658u);
    EXPECT_EQ(genreList.size(), 2 * 79u);
}

TEST_F(DummyTVModuleTest, TranspondersKeepTheStoresOrder) {
    EXPECT_EQ(transponders(), (std::vector<std::uint32_t>{690, 722, 738, 770, 794, 842}));
}

TEST_F(DummyTVModuleTest, TransponderGoesBeforeTheFirstGreaterOne) {
    EXPECT_TRUE(addTransponder(700));
    EXPECT_TRUE(addTransponder(0));
    EXPECT_TRUE(addTransponder(900));
    EXPECT_TRUE(addTransponder(4294967295u));
    EXPECT_EQ(transponders(),
              (std::vector<std::uint32_t>{0, 690, 700, 722, 738, 770, 794, 842, 900, 4294967295u}));
}

TEST_F(DummyTVModuleTest, FrequenciesTwice) {
    EXPECT_TRUE(addTransponder(722));
    EXPECT_EQ(transponders(), (std::vector<std::uint32_t>{690, 722, 722, 738, 770, 794, 842}));
}

TEST_F(DummyTVModuleTest, DeletingNoContextDoesNothing) {
    module.deleteContext(nullptr);
    EXPECT_EQ(services().size(), 96u);
}

TEST_F(DummyTVModuleTest, DeletingAContextEndsTheScan) {
    TVModuleContext* const context = module.createContext();
    const Mutex::Hold hold(module.mutex);
    module.scanState.scanning = true;
    module.scanState.infoValid = true;
    module.deleteContext(context);
    EXPECT_FALSE(module.scanState.scanning);
    EXPECT_TRUE(module.scanState.infoValid);
}

TEST_F(DummyTVModuleTest, SignalIsZeroForEverySource) {
    TVModuleContext* const context = module.createContext();
    for (const unsigned sourceId : {0u, 1u, 4294967295u})
        EXPECT_EQ(context->signalStatusGet(sourceId).serialize(), R"({"strength":0,"quality":0})");
    module.deleteContext(context);
}

} // namespace
