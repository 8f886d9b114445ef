#include "TV/server/dummy/DummyTVModule.h"

#include "TV/server/TVModuleContext.h"
#include "tests/TV/server/dummy/BuiltInData.h"

#include <gtest/gtest.h>

#include <algorithm>
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
        const auto known = services();
        const auto found = std::find_if(known.begin(), known.end(),
                                        [&](const auto& service) { return service.getName() == name; });
        return found != known.end() ? *found : known.at(known.size());
    }

    bool addTransponder(unsigned frequencyMHz) {
        const Mutex::Hold hold(module.mutex);
        return module.addTransponderUnderLock(frequencyMHz);
    }

    DummyTVModule module;
};

TEST(DummyTVModuleLifeTest, LoadsNothingBeforeInit) {
    DummyTVModule module;
    const Mutex::Hold hold(module.mutex);
    EXPECT_EQ(module.magic, 0u);
    EXPECT_EQ(module.timeOffset, 0);
    EXPECT_TRUE(module.services.empty());
    EXPECT_TRUE(module.scannedServices.empty());
    EXPECT_TRUE(module.transponders.empty());
    EXPECT_TRUE(sharedLineup().getTransponders().empty());
    EXPECT_EQ(module.mutex.getName(), "TV/server/dummy/DummyTVModule");
}

TEST_F(DummyTVModuleTest, ServicesAreSortedByChannelNumber) {
    const auto known = services();
    ASSERT_EQ(known.size(), 96u);
    EXPECT_TRUE(std::is_sorted(known.begin(), known.end(), [](const auto& a, const auto& b) {
        return a.getChannelNumber() < b.getChannelNumber();
    }));
    std::string first;
    for (std::size_t index = 0; index < 5; ++index)
        first += std::to_string(known[index].getChannelNumber()) + " " + known[index].getName() + ";";
    EXPECT_EQ(first, "1 BBC ONE;2 BBC TWO;3 ITV1;4 Channel 4;5 Channel 5;");
    EXPECT_EQ(known[0].getId(), 1043u);
    EXPECT_EQ(known[94].getName(), "Absolute Radio");
    EXPECT_EQ(known[95].getChannelNumber(), 728u);
    EXPECT_EQ(known[95].getName(), "Heart");
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
    // The line-up has every service twice by then, and gives both to the list that had one.
    EXPECT_EQ(sharedLineup().getTransponders().size(), 6u);
    EXPECT_EQ(sharedLineup().getTransponders()[0].services.size(), 2 * 21u);
    const auto all = services();
    ASSERT_EQ(all.size(), 288u);
    for (std::size_t index = 0; index != all.size(); index += 3) {
        EXPECT_EQ(all[index].serialize(), all[index + 1].serialize());
        EXPECT_EQ(all[index].serialize(), all[index + 2].serialize());
    }
    EXPECT_EQ(transponders(), (std::vector<std::uint32_t>{690, 722, 738, 770, 794, 842, //
                                                          690, 722, 738, 770, 794, 842}));
    EXPECT_EQ(sharedGuide().index().size(), 2 * 11658u);
    EXPECT_EQ(sharedGuide().genres().size(), 2 * 79u);
}

TEST_F(DummyTVModuleTest, InitOnceInAProcess) {
    DummyTVModule other;
    other.init();
    const Mutex::Hold hold(other.mutex);
    EXPECT_EQ(other.services.size(), 192u) << "each service twice in an empty list";
    EXPECT_EQ(other.transponders.size(), 6u);
    EXPECT_EQ(services().size(), 96u);
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
