#include "Ostrel/runtime/Clock.h"
#include "Ostrel/runtime/Cancellation.h"
#include "Ostrel/runtime/Task.h"
#include "Ostrel/runtime/Turn.h"
#include "tests/support/FakeTime.h"
#include "tests/support/HeldClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <sys/resource.h>

namespace Ostrel {
namespace {

using namespace std::chrono_literals;
using Test::HeldClock;

constexpr std::time_t noon = 1318766400;
constexpr unsigned hour = 3600u * 1000; // ms

int call(void* param) {
    (*static_cast<const std::function<void()>*>(param))();
    return 0;
}

/// Spawns a task that calls the function, which must outlive it.
TaskHandle spawn(const std::function<void()>& body) {
    return OS_TaskSpawnParam("test", 128, 0, call, const_cast<void*>(static_cast<const void*>(&body)), 0);
}

TEST(ClockTest, UntouchedItIsTheCLibrarysTime) {
    FakeTime time(noon);
    EXPECT_EQ(Clock::now(), noon);
    time.advance(5);
    EXPECT_EQ(Clock::now(), noon + 5);
    EXPECT_EQ(Clock::read().speed, 1);
}

TEST(ClockTest, SteeredItBeginsAtTheCLibrarysTimeAndReleasedItIsThatAgain) {
    FakeTime time(noon);
    Clock::set({}, 0);
    time.advance(5);
    EXPECT_EQ(Clock::now(), noon);
    EXPECT_EQ(Clock::read().speed, 0);
    Clock::release();
    EXPECT_EQ(Clock::now(), noon + 5);
    EXPECT_EQ(Clock::read().speed, 1);
}

TEST(ClockTest, AStepSteersIt) {
    FakeTime time(noon);
    EXPECT_TRUE(Clock::step(10s));
    EXPECT_GE(Clock::now(), noon + 10);
    EXPECT_EQ(Clock::read().speed, 1);
    time.advance(1000);
    EXPECT_LT(Clock::now(), noon + 1000);
    Clock::release();
}

/// Ends the tasks, which use what the test has.
struct TasksEnd {
    ~TasksEnd() {
        const Turn::Pause pause;
        stopTasks();
    }
};

/// Tasks on a clock that is held at noon. They run while it is stepped: the test has the turn.
class SteppedClockTest : public testing::Test {
protected:
    void note(const std::string& what) {
        done += (done.empty() ? "" : " ") + what + "@" + std::to_string(Clock::now() - noon);
    }

    /// Notes that it begins, and then when it wakes from each of these sleeps.
    std::function<void()> sleeper(const std::string& name, std::vector<unsigned> msec) {
        return [this, name, msec] {
            note(name);
            for (const unsigned delay : msec) {
                OS_TaskDelayMsec(delay);
                note(name);
            }
        };
    }

    std::string take() { return std::exchange(done, {}); }

    std::string done;
    HeldClock time{noon};
    const Turn::Hold turn;
};

TEST_F(SteppedClockTest, WakesWhatIsDueInOrderOfTimeAtItsTime) {
    const auto a = sleeper("a", {4000, 2000, 5000}), b = sleeper("b", {3000, 3000}), c = sleeper("c", {});
    const TasksEnd end;
    for (const auto* task : {&a, &b, &c}) {
        spawn(*task);
        EXPECT_TRUE(Clock::step(0s));
    }
    EXPECT_EQ(take(), "a@0 b@0 c@0");
    EXPECT_TRUE(Clock::step(3s));
    EXPECT_EQ(take(), "b@3");
    EXPECT_TRUE(Clock::step(7s));
    EXPECT_EQ(take(), "a@4 a@6 b@6");
    EXPECT_EQ(Clock::now(), noon + 10);
    EXPECT_EQ(countTasks(), 1u);
    EXPECT_TRUE(Clock::step(1h));
    EXPECT_EQ(take(), "a@11");
    EXPECT_EQ(Clock::now(), noon + 10 + 3600);
    EXPECT_EQ(countTasks(), 0u);
}

TEST_F(SteppedClockTest, WhoIsSpawnedInAStepBeginsThereAndThen) {
    const auto inner = sleeper("inner", {1000});
    const std::function<void()> outer = [&] {
        OS_TaskDelayMsec(2000);
        spawn(inner);
        OS_TaskDelayMsec(500);
        note("outer");
    };
    const TasksEnd end;
    spawn(outer);
    Clock::step(10s);
    EXPECT_EQ(take(), "inner@2 outer@2 inner@3");
}

TEST_F(SteppedClockTest, ToATimeAndNotBack) {
    const auto a = sleeper("a", {1500, 1500});
    const TasksEnd end;
    spawn(a);
    Clock::step(100ms);
    EXPECT_TRUE(Clock::stepTo(noon + 2));
    EXPECT_EQ(take(), "a@0 a@1");
    EXPECT_TRUE(Clock::stepTo(noon - 100));
    EXPECT_EQ(Clock::now(), noon + 2);
    Clock::step(999ms);
    EXPECT_EQ(Clock::now(), noon + 2);
    EXPECT_EQ(take(), "");
    Clock::step(1ms);
    EXPECT_EQ(take(), "a@3");
}

TEST_F(SteppedClockTest, SleepingForNothingTakesAMillisecond) {
    unsigned woken = 0;
    const std::function<void()> body = [&] {
        for (;; ++woken)
            OS_TaskDelayMsec(0);
    };
    const TasksEnd end;
    spawn(body);
    EXPECT_TRUE(Clock::step(300ms));
    EXPECT_EQ(woken, 300u);
}

TEST_F(SteppedClockTest, SetForwardItWakesWhoIsDueAtTheTimeItThenSays) {
    const auto a = sleeper("a", {5000, 5000}), b = sleeper("b", {10001});
    const TasksEnd end;
    spawn(a);
    spawn(b);
    time.run();
    take();
    time.set(noon + 10);
    time.run();
    EXPECT_EQ(take(), "a@10");
    Clock::step(1s);
    EXPECT_EQ(take(), "b@10");
    Clock::step(4s);
    EXPECT_EQ(take(), "a@15");
}

TEST_F(SteppedClockTest, SetForwardItWakesWhoWasAboutToSleepAsWell) {
    const std::function<void()> task = [this] {
        note("a");
        time.set(noon + 12);
        time.set(noon + 36);
        OS_TaskDelayMsec(500);
        note("a");
    };
    const TasksEnd end;
    spawn(task);
    Clock::step(0s); // cut by the setting, unless the task was there first
    EXPECT_TRUE(Clock::step(0s));
    EXPECT_EQ(take(), "a@0 a@36");
}

TEST_F(SteppedClockTest, SetBackItLeavesAsMuchSleepAsWasLeft) {
    const auto a = sleeper("a", {5000});
    const TasksEnd end;
    spawn(a);
    Clock::step(3s);
    take();
    time.set(noon - 100);
    Clock::step(1999ms);
    EXPECT_EQ(take(), "");
    Clock::step(1ms);
    EXPECT_EQ(take(), "a@-98");
}

TEST_F(SteppedClockTest, ReleasedItWakesWhoIsDueByTheCLibrary) {
    const auto a = sleeper("a", {hour});
    const TasksEnd end;
    spawn(a);
    time.run();
    take();
    FakeTime real(noon + 3600);
    Clock::release();
    time.run();
    EXPECT_EQ(take(), "a@3600");
}

TEST_F(SteppedClockTest, TasksThatBeginOneAnotherWithoutEndDoNotHoldItUp) {
    std::atomic<bool> enough = false;
    std::function<void()> body;
    body = [&] {
        if (!enough)
            spawn(body);
    };
    spawn(body);
    EXPECT_TRUE(Clock::step(1s));
    enough = true;
    Clock::step(0s);
    EXPECT_EQ(countTasks(), 0u);
}

TEST_F(SteppedClockTest, EndsWhereItIsWhenTheClockIsSet) {
    const auto other = sleeper("other", {6000});
    const std::function<void()> body = [&] {
        OS_TaskDelayMsec(5000);
        Clock::set(noon + 100, {});
        OS_TaskDelayMsec(1000);
    };
    const TasksEnd end;
    spawn(body);
    spawn(other);
    EXPECT_FALSE(Clock::step(10s));
    EXPECT_EQ(Clock::now(), noon + 100);
    EXPECT_EQ(Clock::read().speed, 0);
    EXPECT_TRUE(Clock::step(1s));
    EXPECT_EQ(Clock::now(), noon + 101);
}

TEST_F(SteppedClockTest, NoticesThatNobodyWaitsAnyMore) {
    std::atomic<bool> gone = false;
    unsigned woken = 0;
    const std::function<void()> body = [&] {
        for (;;) {
            OS_TaskDelayMsec(1000);
            gone = ++woken == 3;
        }
    };
    const TasksEnd end;
    spawn(body);
    {
        const Cancellation cancellation(gone);
        EXPECT_THROW(Clock::step(1000h), Cancelled);
    }
    EXPECT_EQ(Clock::now(), noon + 3);
    EXPECT_TRUE(Clock::step(2s)) << "the clock is as before";
    EXPECT_EQ(woken, 5u);
}

TEST_F(SteppedClockTest, NoticesItWhileATaskDoesNotSleep) {
    std::atomic<bool> gone = false, ended = false;
    const std::function<void()> body = [&] {
        gone = true;
        while (!ended)
            std::this_thread::yield();
    };
    const Turn::Pause pause;
    const TasksEnd end;
    spawn(body);
    {
        const Cancellation cancellation(gone);
        EXPECT_THROW(Clock::step(1s), Cancelled);
    }
    ended = true;
}

TEST(ClockTest, StepsOfSeveralThreadsGoOneAfterTheOther) {
    const HeldClock time(noon);
    std::atomic<unsigned> woken = 0;
    const std::function<void()> body = [&] {
        for (;; ++woken)
            OS_TaskDelayMsec(1000);
    };
    const TasksEnd end;
    spawn(body);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int step = 0; step < 25; ++step)
                Clock::step(1s);
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(Clock::now(), noon + 100);
    EXPECT_EQ(woken, 100u);
}

/// How often the process's threads have gone to sleep so far.
long countSleeps() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

TEST(ClockTest, AStepWakesNobodyWhoIsNotNext) {
    constexpr int tasks = 200, times = 10;
    const HeldClock time(noon);
    const std::function<void()> body = [] {
        for (int i = 0; i < times; ++i)
            OS_TaskDelayMsec(1000);
    };
    const TasksEnd end;
    for (int i = 0; i < tasks; ++i)
        spawn(body);
    Clock::step(0s);
    const auto before = countSleeps();
    EXPECT_TRUE(Clock::step(times * 1s));
    EXPECT_EQ(countTasks(), 0u);
    EXPECT_LT(countSleeps() - before, tasks * times * 30); // each would wake the 199 others
}

TEST(ClockTest, AStepEndsWhenTheHostStops) {
    const HeldClock time(noon);
    std::atomic<unsigned> woken = 0;
    const std::function<void()> body = [&] {
        for (;; ++woken)
            OS_TaskDelayMsec(1);
    };
    const TasksEnd end;
    spawn(body);
    std::thread stepper([] { Clock::step(24h * 365); });
    while (woken < 10)
        std::this_thread::yield();
    stopTasks();
    stepper.join();
    EXPECT_EQ(countTasks(), 0u);
}

TEST(ClockTest, AHeldClockThatRunsAgainWakesWhoSleeps) {
    const HeldClock time(noon);
    std::atomic<std::time_t> woken = 0;
    const std::function<void()> body = [&] {
        OS_TaskDelayMsec(hour / 60);
        woken = Clock::now();
    };
    const TasksEnd end;
    spawn(body);
    Clock::step(0s);
    EXPECT_EQ(countTasks(), 1u);
    Clock::set({}, Clock::fastest);
    while (countTasks() > 0)
        std::this_thread::yield();
    EXPECT_GE(woken, noon + 60);
}

TEST(ClockTest, HoweverFastItRunsTasksWakeAtTheirTimes) {
    const HeldClock time(noon);
    std::string woken;
    const std::function<void()> body = [&] {
        for (int times = 0; times < 100; ++times) {
            OS_TaskDelayMsec(1000);
            woken += std::to_string(Clock::now() - noon) + ' ';
            if (times % 10 == 0)
                std::this_thread::sleep_for(1ms); // late by more than three seconds of the clock
        }
    };
    const TasksEnd end;
    spawn(body);
    spawn(body);
    Clock::step(0s);
    Clock::set({}, Clock::fastest);
    while (countTasks() > 0)
        std::this_thread::yield();
    std::string expected;
    for (int second = 1; second <= 100; ++second)
        for (int task = 0; task < 2; ++task)
            expected += std::to_string(second) + ' ';
    EXPECT_EQ(woken, expected);
}

TEST(ClockTest, ItMayBeReadWhileItIsSteered) {
    std::atomic<bool> enough = false;
    std::thread reader([&] {
        while (!enough)
            Clock::read();
    });
    for (int round = 0; round < 1000; ++round) {
        Clock::set(noon + round, round % 3);
        Clock::step(1s);
        EXPECT_GE(Clock::now(), noon + round + 1);
        Clock::release();
    }
    enough = true;
    reader.join();
}

} // namespace
} // namespace Ostrel
