#include "Ostrel/rpc/Exception.h"
#include "Ostrel/runtime/Turn.h"
#include "Ostrel/serialization/Deserializer.h"
#include "TV/server/dummy/DummyTVModuleContext.h"
#include "tests/TV/server/dummy/BuiltInData.h"
#include "tests/support/HeldClock.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

using namespace Ostrel;
using namespace Ostrel::TV;
using namespace std::chrono_literals;
using Ostrel::Test::HeldClock;
using Ostrel::Test::LogCapture;

namespace {

/// Writes down what it hears: "start SOURCE", "PERCENT% SOURCE", "complete SOURCE".
class Recorder : public ITVConfig::ITVConfigListener {
public:
    void onScanStart(const unsigned& sourceId) override { note("start", sourceId); }
    void onScanComplete(const unsigned& sourceId) override { note("complete", sourceId); }
    void onScanProgress(const unsigned& sourceId, const unsigned& percent) override {
        note(std::to_string(percent) + "%", sourceId);
        if (onProgress)
            onProgress();
    }

    /// The events so far, which are forgotten.
    std::string take() { return std::exchange(events_, {}); }

    std::function<void()> onProgress;

private:
    void note(const std::string& event, unsigned sourceId) {
        events_ += (events_.empty() ? "" : ", ") + event + " " + std::to_string(sourceId);
    }

    std::string events_;
};

constexpr std::time_t start = 1318748400;

class ScanTest : public testing::Test {
protected:
    void SetUp() override {
        module.init();
        module.addListener(&recorder);
        recorder.onProgress = nullptr;
        // The first event after a listener was added clears the walk's flag.
        module.onScanComplete(0);
        recorder.take();
    }
    void TearDown() override { forgetBuiltInData(); }

    static ITVConfig::TuningParams tuning(unsigned frequencyKHz) {
        Deserializer text(R"({"frequencyKHz":)" + std::to_string(frequencyKHz) + "}");
        return ITVConfig::TuningParams(text);
    }

    std::vector<std::uint32_t> transponders() OSTREL_NO_THREAD_SAFETY_ANALYSIS { return module.transponders; }
    std::size_t serviceCount() OSTREL_NO_THREAD_SAFETY_ANALYSIS { return module.services.size(); }
    std::size_t newCount() OSTREL_NO_THREAD_SAFETY_ANALYSIS { return module.scannedServices.size(); }

    /// "progress found tv radio data" of the scan.
    std::string counters() {
        const auto info = context.scanInfoGet(1);
        return std::to_string(info.getProgress()) + " " + std::to_string(info.getServicesFound()) + " " +
               std::to_string(info.getTvServices()) + " " + std::to_string(info.getRadioServices()) + " " +
               std::to_string(info.getType3Services());
    }
    bool isScanning() { return context.scanInfoGet(1).getScanning(); }

    /// Runs something that must fail: "TEXT LINE", as it was thrown and logged.
    static std::string failure(const std::string& operation, const std::function<void()>& run) {
        LogCapture log;
        try {
            run();
        } catch (const Exception& exception) {
            const auto lines = log.take();
            if (lines.size() != 1 || lines[0].level != DebugLevel::Error ||
                lines[0].module != "DummyTVModule" ||
                lines[0].text != operation + "(): throwing exception: " + exception.what())
                return "it is logged otherwise";
            return exception.what() + (" " + std::to_string(lines[0].line));
        }
        return "it did not fail";
    }

    DummyTVModule module;
    Recorder recorder;
    HeldClock time{start}; ///< its tasks are gone before what they use
    const Turn::Hold turn; ///< as for a handler: tasks run while the clock is stepped
    DummyTVModuleContext context{&module};
};

TEST_F(ScanTest, NoInfoBeforeTheFirstScan) {
    EXPECT_EQ(failure("scanInfoGet", [&] { context.scanInfoGet(1); }), "Invalid state 1293");
    EXPECT_TRUE(context.scanBlindStart(1, 0));
    EXPECT_EQ(context.scanInfoGet(9).serialize(),
              R"({"scanning":true,"progress":0,"reserved1":0,"reserved2":0,"reserved3":0,"reserved4":0,)"
              R"("reserved5":0,"servicesFound":0,"tvServices":0,"radioServices":0,"type3Services":0,)"
              R"("reserved6":0,"reserved7":0})");
    time.advance(48);
    time.run();
    EXPECT_FALSE(isScanning());
    EXPECT_EQ(counters(), "100 0 0 0 0");
}

TEST_F(ScanTest, StartBeginsWithTwoEventsOnTheCallersThread) {
    EXPECT_TRUE(context.scanBlindStart(7, 1));
    EXPECT_EQ(recorder.take(), "start 7, 0% 7");
    EXPECT_EQ(countTasks(), 1u);
    const Mutex::Hold hold(module.mutex);
    auto& scan = module.scanState;
    EXPECT_EQ(scan.frequencies.size(), 48u);
    EXPECT_EQ(scan.frequencies.front(), 474u);
    EXPECT_EQ(scan.frequencies.back(), 850u);
    EXPECT_EQ(scan.startTime, start);
    EXPECT_EQ(scan.endTime, start + 48);
    EXPECT_NE(scan.task, nullptr);
}

TEST_F(ScanTest, TheTaskStepsAtOnceAndThenTwiceASecond) {
    Clock::step(600ms); // so that it does not step when the second changes
    context.scanBlindStart(1, 0);
    recorder.take();
    Clock::step(499ms);
    EXPECT_EQ(recorder.take(), "");
    Clock::step(1ms);
    EXPECT_EQ(recorder.take(), "2% 1");
    Clock::step(500ms);
    EXPECT_EQ(recorder.take(), "") << "an unchanged percentage is no event";
    Clock::step(47s);
    EXPECT_TRUE(recorder.take().ends_with(", 97% 1, 100% 1, complete 1"));
    EXPECT_EQ(countTasks(), 0u);
}

TEST_F(ScanTest, BlindScanFindsEverythingIn48Seconds) {
    context.transponderListDeleteAll(1);
    context.scanBlindStart(1, 0);
    Clock::step(48s);
    EXPECT_EQ(serviceCount(), 96u);
    EXPECT_EQ(newCount(), 96u);
    EXPECT_EQ(transponders(), (std::vector<std::uint32_t>{690, 722, 738, 770, 794, 842}));
    std::string events = "start 1, 0% 1";
    for (int second = 1; second <= 48; ++second)
        events += ", " + std::to_string(second * 100 / 48) + "% 1";
    EXPECT_EQ(recorder.take(), events + ", complete 1");
    EXPECT_EQ(Clock::now(), start + 48);
    const auto info = context.scanInfoGet(1);
    EXPECT_EQ(info.getTvServices() + info.getRadioServices(), 96u);
}

TEST_F(ScanTest, TranspondersAreReachedAtTheirPlaceInTheBand) {
    context.transponderListDeleteAll(1);
    context.scanBlindStart(1, 0);
    std::string reached;
    for (int second = 0; second <= 48; ++second) {
        const auto before = newCount();
        Clock::step(second > 0 ? 1s : 0s);
        if (newCount() != before)
            reached += std::to_string(second) + ":" + std::to_string(newCount() - before) + " ";
    }
    // A transponder is merged once the rounded target passes its place, 27, 31, 33, 37, 40 and 46.
    EXPECT_EQ(reached, "28:21 32:24 34:8 38:4 41:21 47:18 ");
}

TEST_F(ScanTest, ScanOfAnEmptyListEndsAtTheFirstStep) {
    context.transponderListDeleteAll(1);
    EXPECT_TRUE(context.scanStart(3, 0));
    EXPECT_EQ(recorder.take(), "start 3, 0% 3");
    time.run();
    EXPECT_EQ(recorder.take(), "100% 0, complete 0");
    EXPECT_EQ(serviceCount(), 0u);
    EXPECT_EQ(counters(), "100 0 0 0 0");
    EXPECT_FALSE(isScanning());
    EXPECT_EQ(countTasks(), 0u);
}

TEST_F(ScanTest, ScanOfAnEmptyListSurvivesAClockSetBack) {
    context.transponderListDeleteAll(1);
    context.scanStart(3, 0);
    time.set(start - 1000);
    time.run();
    EXPECT_EQ(recorder.take(), "start 3, 0% 3, 100% 0, complete 0");
}

TEST_F(ScanTest, SourceOfTheLatestBlindScan) {
    context.scanStart(3, 0);
    time.advance(3);
    time.run();
    EXPECT_EQ(recorder.take(), "start 3, 0% 3, 50% 0");
    time.advance(3);
    time.run();
    EXPECT_EQ(recorder.take(), "100% 0, complete 0");

    context.scanBlindStart(8, 0);
    context.scanStop(1);
    EXPECT_EQ(recorder.take(), "start 8, 0% 8, complete 8");
    time.run();

    context.scanStart(3, 0);
    time.advance(1);
    context.scanStop(2);
    EXPECT_EQ(recorder.take(), "start 3, 0% 3, 8% 8, complete 8");
    context.scanStart(4, 0);
    time.advance(100);
    time.run();
    EXPECT_EQ(recorder.take(), "start 4, 0% 4, 100% 8, complete 8");
}

TEST_F(ScanTest, FrequenciesTwice) {
    context.scanStart(1, 0);
    time.advance(6);
    time.run();
    EXPECT_EQ(transponders(),
              (std::vector<std::uint32_t>{690, 690, 722, 722, 738, 738, 770, 770, 794, 794, 842, 842}));
    context.scanStart(1, 0);
    const Mutex::Hold hold(module.mutex);
    EXPECT_EQ(module.scanState.endTime, start + 6 + 12);
}

TEST_F(ScanTest, StopReportsNoHundredPercent) {
    context.transponderListDeleteAll(1);
    context.scanBlindStart(1, 0);
    time.advance(20);
    time.run();
    recorder.take();
    time.advance(4);
    EXPECT_TRUE(context.scanStop(99));
    EXPECT_EQ(recorder.take(), "50% 1, complete 1");
    EXPECT_FALSE(isScanning());
    EXPECT_EQ(counters(), "50 0 0 0 0");
    {
        const Mutex::Hold hold(module.mutex);
        EXPECT_EQ(module.scanState.nextIndex, 24u);
    }
    time.run();
    EXPECT_EQ(recorder.take(), "");
    EXPECT_EQ(countTasks(), 0u);
}

TEST_F(ScanTest, StopMergesWhatItHasReached) {
    context.transponderListDeleteAll(1);
    context.scanBlindStart(1, 0);
    time.advance(28);
    EXPECT_TRUE(context.scanStop(1));
    EXPECT_EQ(recorder.take(), "start 1, 0% 1, 58% 1, complete 1");
    EXPECT_EQ(newCount(), 21u);
    EXPECT_EQ(transponders(), (std::vector<std::uint32_t>{690}));
}

TEST_F(ScanTest, StopAtAnUnchangedPercentageOnlyCompletes) {
    context.scanBlindStart(1, 0);
    time.advance(24);
    time.run();
    recorder.take();
    EXPECT_TRUE(context.scanStop(1));
    EXPECT_EQ(recorder.take(), "complete 1");
}

TEST_F(ScanTest, StopAtTheEndIsACompletion) {
    context.scanBlindStart(1, 0);
    recorder.take();
    time.advance(48);
    EXPECT_TRUE(context.scanStop(1));
    EXPECT_EQ(recorder.take(), "100% 1, complete 1");
    EXPECT_FALSE(context.scanStop(1));
}

TEST_F(ScanTest, StopWithoutAScanIsFalseAndSilent) {
    EXPECT_FALSE(context.scanStop(1));
    EXPECT_EQ(recorder.take(), "");
}

TEST_F(ScanTest, StartDuringAScanChangesNothing) {
    context.transponderListDeleteAll(1);
    context.scanBlindStart(5, 0);
    time.advance(32);
    time.run();
    recorder.take();
    const auto before = counters();
    EXPECT_EQ(failure("scanBlindStart", [&] { context.scanBlindStart(6, 0); }), "Not supported 1108");
    EXPECT_EQ(failure("scanStart", [&] { context.scanStart(6, 0); }), "Not supported 1146");
    EXPECT_EQ(counters(), before);
    EXPECT_EQ(recorder.take(), "");
    EXPECT_EQ(countTasks(), 1u);
    EXPECT_TRUE(isScanning());
    context.scanStop(1);
    EXPECT_EQ(recorder.take(), "complete 5");
}

TEST_F(ScanTest, HomeScanIsNotSupported) {
    EXPECT_EQ(failure("scanHomeStart", [&] { context.scanHomeStart(1, tuning(690000), 0); }),
              "Not supported 1136");
    EXPECT_EQ(recorder.take(), "");
}

TEST_F(ScanTest, ARefusalLeavesTheLockFree) {
    context.scanBlindStart(1, 0);
    LogCapture log;
    EXPECT_THROW(context.scanBlindStart(1, 0), Exception);
    EXPECT_THROW(context.scanStart(1, 0), Exception);
    EXPECT_THROW(context.scanHomeStart(1, tuning(1), 0), Exception);
    log.take();
    Mutex::releaseHeld("this test");
    EXPECT_TRUE(log.takeTexts().empty());
}

TEST_F(ScanTest, KnownServicesAreNeitherAddedNorCounted) {
    context.scanBlindStart(1, 0);
    time.advance(48);
    time.run();
    EXPECT_EQ(serviceCount(), 96u);
    EXPECT_EQ(newCount(), 0u);
    EXPECT_EQ(counters(), "100 0 0 0 0");
}

TEST_F(ScanTest, CountedTwice) {
    context.serviceListSet("all");
    context.serviceListSeekByChannelNumber(4);
    context.serviceListDelete();
    context.scanBlindStart(1, 0);
    time.advance(48);
    time.run();
    EXPECT_EQ(counters(), "100 2 1 0 0") << "put in before another";

    context.serviceListSeekByChannelNumber(728);
    context.serviceListDelete();
    context.scanBlindStart(1, 0);
    time.advance(48);
    time.run();
    EXPECT_EQ(counters(), "100 1 0 1 0") << "put in at the end";
    EXPECT_EQ(serviceCount(), 96u);
}

TEST_F(ScanTest, DataServicesAreCountedApartAndOthersNowhere) {
    const auto row = [](int channelNumber, unsigned type) {
        constexpr PoolText someName = {1}; // the first text of the built-in world
        return LineupRow{474, channelNumber, type, someName, 1, 1, 1, 0, {}, false, false, true, true};
    };
    std::vector<LineupRow> rows{row(801, 3), row(802, 4), row(801, 3)};
    sharedLineup() = Lineup();
    sharedLineup().load(rows, {});
    context.scanBlindStart(1, 0);
    time.advance(1);
    context.scanStop(1);
    EXPECT_EQ(counters(), "2 2 0 0 1");
    EXPECT_EQ(newCount(), 2u);
}

TEST_F(ScanTest, NewServicesAreForgottenByTheNextScan) {
    context.transponderListDeleteAll(1);
    context.scanBlindStart(1, 0);
    time.advance(48);
    time.run();
    context.serviceListSet("new");
    EXPECT_EQ(context.serviceListRead(1).at(0).getName(), "ITV3") << "in the order of finding";
    context.scanBlindStart(1, 0);
    EXPECT_TRUE(context.serviceListGet(96).empty());
}

TEST_F(ScanTest, EventsComeBeforeTheStepsServices) {
    context.transponderListDeleteAll(1);
    context.scanBlindStart(1, 0);
    time.advance(48);
    std::size_t seen = 1;
    recorder.onProgress = [&] { seen = newCount(); };
    time.run();
    EXPECT_EQ(seen, 0u);
    EXPECT_EQ(newCount(), 96u);
}

TEST_F(ScanTest, TransponderAddedInKiloHertzAndTwice) {
    EXPECT_TRUE(context.transponderListAdd(1, tuning(690000)));
    EXPECT_TRUE(context.transponderListAdd(1, tuning(690999)));
    EXPECT_TRUE(context.transponderListAdd(1, tuning(999)));
    EXPECT_EQ(transponders(), (std::vector<std::uint32_t>{0, 690, 690, 690, 722, 738, 770, 794, 842}));
}

TEST_F(ScanTest, ServicesGoWithTheTransponders) {
    EXPECT_TRUE(context.transponderListDeleteAll(1));
    EXPECT_TRUE(transponders().empty());
    EXPECT_EQ(serviceCount(), 0u);
}

TEST_F(ScanTest, ListsMayBeEmptiedDuringAScan) {
    context.scanStart(1, 0);
    time.advance(3);
    time.run();
    context.transponderListDeleteAll(1);
    time.advance(3);
    time.run();
    EXPECT_EQ(transponders(), (std::vector<std::uint32_t>{770, 794, 842})) << "the scan keeps its own list";
    EXPECT_EQ(serviceCount(), 43u);
    EXPECT_EQ(counters().substr(0, 4), "100 ");
}

TEST_F(ScanTest, FrequencyWithoutATransponderIsPassedOver) {
    context.transponderListDeleteAll(1);
    context.transponderListAdd(1, tuning(500000));
    context.transponderListAdd(1, tuning(770000));
    context.scanStart(1, 0);
    time.advance(2);
    time.run();
    EXPECT_EQ(transponders(), (std::vector<std::uint32_t>{500, 770, 770}));
    EXPECT_EQ(newCount(), 4u);
}

TEST_F(ScanTest, AClockSetBack) {
    context.transponderListDeleteAll(1);
    context.scanBlindStart(1, 0);
    recorder.take();
    time.set(start - 1000000);
    time.run();
    EXPECT_EQ(recorder.take(), "");
    EXPECT_EQ(counters(), "0 0 0 0 0");
    time.set(start + 32);
    time.run();
    EXPECT_EQ(recorder.take(), "66% 1");
    EXPECT_EQ(newCount(), 45u);
    time.set(0);
    Clock::step(499ms);
    EXPECT_EQ(recorder.take(), "") << "the task sleeps as long as it would have";
    Clock::step(1ms);
    EXPECT_EQ(recorder.take(), "0% 1");
    EXPECT_EQ(newCount(), 45u) << "what was found stays";
    time.set(start + 48);
    time.run();
    EXPECT_EQ(recorder.take(), "100% 1, complete 1");
    EXPECT_EQ(newCount(), 96u);
}

TEST_F(ScanTest, ClockSetForwardCompletes) {
    context.scanBlindStart(1, 0);
    recorder.take();
    time.set(std::time_t{1} << 40);
    time.run();
    EXPECT_EQ(recorder.take(), "100% 1, complete 1");
}

TEST_F(ScanTest, ScanWithoutATask) {
    std::vector<TaskHandle> others;
    for (unsigned i = 0; i < taskLimit; ++i)
        others.push_back(OS_TaskSpawnParam(
            "other", 0, 0, [](void*) { return 0; }, nullptr, 0));
    ASSERT_NE(others.back(), nullptr);
    EXPECT_TRUE(context.scanBlindStart(1, 0));
    EXPECT_EQ(recorder.take(), "start 1, 0% 1");
    time.run();
    EXPECT_EQ(countTasks(), 0u);
    time.advance(1000);
    EXPECT_TRUE(isScanning());
    EXPECT_EQ(counters(), "0 0 0 0 0");
    EXPECT_EQ(recorder.take(), "");
    EXPECT_TRUE(context.scanStop(1));
    EXPECT_EQ(recorder.take(), "100% 1, complete 1");
    EXPECT_TRUE(context.scanBlindStart(1, 0));
    EXPECT_EQ(countTasks(), 1u);
}

TEST_F(ScanTest, StopAndStartAtOnceLeaveTwoTasksOnOneScan) {
    context.transponderListDeleteAll(1);
    context.scanBlindStart(1, 0);
    time.run();
    context.scanStop(1);
    context.scanBlindStart(2, 0);
    EXPECT_EQ(countTasks(), 2u);
    recorder.take();
    Clock::step(48s);
    std::string events;
    for (int second = 1; second <= 48; ++second)
        events += std::to_string(second * 100 / 48) + "% 2, ";
    EXPECT_EQ(recorder.take(), events + "complete 2");
    EXPECT_EQ(newCount(), 96u);
}

TEST_F(ScanTest, TwoTasksAtRandomMomentsAreAsGoodAsOne) {
    std::mt19937 random(20261121);
    const auto moment = [&] { return std::chrono::milliseconds(random() % 500); };
    std::string events = "start 1, 0% 1";
    for (int second = 1; second <= 48; ++second)
        events += ", " + std::to_string(second * 100 / 48) + "% 1";
    for (int round = 0; round < 20; ++round) {
        context.transponderListDeleteAll(1);
        Clock::step(moment());
        context.scanBlindStart(1, 0);
        time.run();
        context.scanStop(1);
        Clock::step(moment());
        recorder.take();
        context.scanBlindStart(1, 0);
        EXPECT_EQ(countTasks(), 2u);
        while (countTasks() > 0)
            Clock::step(moment());
        EXPECT_EQ(recorder.take(), events + ", complete 1");
        EXPECT_EQ(newCount(), 96u);
        EXPECT_EQ(transponders(), (std::vector<std::uint32_t>{690, 722, 738, 770, 794, 842}));
    }
}

TEST_F(ScanTest, QuickStartsAndStopsStayWithinTheTaskLimit) {
    for (unsigned i = 0; i < 3 * taskLimit; ++i) {
        ASSERT_TRUE(context.scanBlindStart(1, 0));
        ASSERT_TRUE(context.scanStop(1));
    }
    EXPECT_EQ(countTasks(), taskLimit);
    recorder.take();

    // No task is left for this one; those that are there step it.
    context.scanBlindStart(1, 0);
    time.advance(12);
    time.run();
    EXPECT_EQ(recorder.take(), "start 1, 0% 1, 25% 1");
    context.scanStop(1);
    Clock::step(500ms);
    EXPECT_EQ(countTasks(), 0u);
}

TEST_F(ScanTest, DeletingAContextEndsTheScan) {
    context.scanBlindStart(1, 0);
    time.advance(24);
    time.run();
    recorder.take();
    module.deleteContext(module.createContext());
    EXPECT_FALSE(isScanning());
    time.advance(24);
    time.run();
    EXPECT_EQ(recorder.take(), "") << "without a completion";
    EXPECT_EQ(countTasks(), 0u);
    EXPECT_EQ(counters().substr(0, 3), "50 ");
    EXPECT_FALSE(context.scanStop(1));
    EXPECT_TRUE(context.scanStart(1, 0));
}

TEST_F(ScanTest, ContextsShareTheScan) {
    DummyTVModuleContext other(&module);
    context.scanBlindStart(1, 0);
    EXPECT_TRUE(other.scanInfoGet(1).getScanning());
    EXPECT_TRUE(other.scanStop(1));
    EXPECT_FALSE(isScanning());
}

TEST_F(ScanTest, StepWithoutAScanDoesNothing) {
    EXPECT_FALSE(module.updateScan());
    const Mutex::Hold hold(module.mutex);
    EXPECT_FALSE(module.updateScanUnderLock(true));
    EXPECT_EQ(recorder.take(), "");
}

} // namespace
