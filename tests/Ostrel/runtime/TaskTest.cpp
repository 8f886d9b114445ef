#include "Ostrel/runtime/Task.h"
#include "Ostrel/runtime/Mutex.h"
#include "Ostrel/runtime/Turn.h"
#include "tests/support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace Ostrel {
namespace {

/// Joins what the last test has spawned: a finished task is otherwise joined by the next spawn.
struct JoinedTasks : testing::Environment {
    void TearDown() override { stopTasks(); }
};
const auto* const joinedTasks = testing::AddGlobalTestEnvironment(new JoinedTasks);

using Test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned hour = 3600u * 1000;

int call(void* param) {
    (*static_cast<const std::function<void()>*>(param))();
    return 0;
}

/// Spawns a task that calls the function, which must outlive it.
TaskHandle spawn(const std::function<void()>& body, const char* name = "test", unsigned stackSize = 0) {
    return OS_TaskSpawnParam(name, 128, stackSize, call, const_cast<void*>(static_cast<const void*>(&body)),
                             0);
}

void awaitEnd() {
    while (countTasks() > 0)
        std::this_thread::yield();
}

void awaitTrue(const std::atomic<bool>& flag) {
    while (!flag)
        std::this_thread::yield();
}

bool turnIsFree() {
    if (!Turn::tryTake())
        return false;
    Turn::give();
    return true;
}

class TaskTest : public testing::Test {
protected:
    const LogCapture log;
};

TEST_F(TaskTest, RunsWithTheTurnHeld) {
    bool free = true;
    const std::function<void()> body = [&] { free = turnIsFree(); };
    ASSERT_NE(spawn(body), nullptr);
    awaitEnd();
    stopTasks();
    EXPECT_FALSE(free);
    EXPECT_TRUE(turnIsFree());
}

TEST_F(TaskTest, BeginsWhenTheTurnIsIts) {
    std::atomic<bool> begun = false;
    const std::function<void()> body = [&] { begun = true; };
    Turn::take();
    spawn(body);
    while (Turn::countWaiting() == 0)
        std::this_thread::yield();
    EXPECT_FALSE(begun);
    Turn::give();
    awaitEnd();
    EXPECT_TRUE(begun);
}

TEST_F(TaskTest, GivesTheTurnUpWhileItSleeps) {
    std::atomic<bool> begun = false;
    const std::function<void()> body = [&] {
        begun = true;
        OS_TaskDelayMsec(hour);
    };
    spawn(body);
    awaitTrue(begun);
    Turn::take(); // hangs as long as the task keeps the turn
    EXPECT_EQ(countTasks(), 1u);
    Turn::give();
    stopTasks();
}

TEST_F(TaskTest, HoldsTheTurnAgainAfterItsSleep) {
    bool free = true;
    const std::function<void()> body = [&] {
        OS_TaskDelayMsec(1);
        free = turnIsFree();
    };
    spawn(body);
    awaitEnd();
    stopTasks();
    EXPECT_FALSE(free);
}

TEST_F(TaskTest, IsUnwoundOutOfALongSleep) {
    std::atomic<bool> begun = false;
    bool unwound = false;
    bool free = true;
    bool wentOn = false;
    const std::function<void()> body = [&] {
        begun = true;
        try {
            OS_TaskDelayMsec(hour);
        } catch (const std::exception&) {
            return; // it is none
        } catch (...) {
            unwound = true;
            free = turnIsFree();
            throw;
        }
        wentOn = true;
    };
    spawn(body);
    awaitTrue(begun);
    stopTasks();
    EXPECT_EQ(countTasks(), 0u);
    EXPECT_TRUE(unwound);
    EXPECT_FALSE(free) << "what unwinds runs with the turn held";
    EXPECT_FALSE(wentOn);
    EXPECT_TRUE(turnIsFree());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(TaskTest, NoneIsSpawnedWhileTheHostStopsAndAfterwardsAgain) {
    std::atomic<bool> begun = false;
    TaskHandle meanwhile = nullptr;
    const std::function<void()> nothing = [] {};
    const std::function<void()> body = [&] {
        begun = true;
        try {
            OS_TaskDelayMsec(hour);
        } catch (...) {
            meanwhile = spawn(nothing);
            throw;
        }
    };
    ASSERT_NE(spawn(body), nullptr);
    awaitTrue(begun);
    stopTasks();
    EXPECT_EQ(meanwhile, nullptr);
    EXPECT_NE(spawn(nothing), nullptr);
    stopTasks();
}

TEST_F(TaskTest, TheLimitIs256AliveAtOnce) {
    const std::function<void()> body = [] { OS_TaskDelayMsec(hour); };
    std::set<TaskHandle> handles;
    for (unsigned i = 0; i < taskLimit; ++i)
        handles.insert(spawn(body));
    EXPECT_EQ(handles.size(), 256u);
    EXPECT_EQ(handles.count(nullptr), 0u);
    EXPECT_EQ(countTasks(), 256u);
    EXPECT_EQ(spawn(body), nullptr);
    stopTasks();
    EXPECT_EQ(countTasks(), 0u);
    EXPECT_NE(spawn(body), nullptr);
    stopTasks();
}

TEST_F(TaskTest, TasksThatHaveEndedDoNotCount) {
    const std::function<void()> body = [] {};
    for (unsigned i = 0; i < 2 * taskLimit; ++i) {
        ASSERT_NE(spawn(body), nullptr) << i;
        awaitEnd();
    }
}

TEST_F(TaskTest, ALockLeftHeldIsReleasedAtTheEnd) OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    Mutex mutex("module");
    const std::function<void()> body = [&]() OSTREL_NO_THREAD_SAFETY_ANALYSIS { mutex.lock(); };
    spawn(body, "scanner");
    awaitEnd();
    const Mutex::Hold hold(mutex);
    EXPECT_THAT(log.texts(), ElementsAre("module was still held when scanner ended; released"));
}

TEST_F(TaskTest, ALockLeftHeldIsReleasedBeforeASleep) OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    Mutex mutex("module");
    std::atomic<bool> begun = false;
    const std::function<void()> body = [&]() OSTREL_NO_THREAD_SAFETY_ANALYSIS {
        mutex.lock();
        begun = true;
        OS_TaskDelayMsec(hour);
    };
    spawn(body, "scanner");
    awaitTrue(begun);
    {
        const Mutex::Hold hold(mutex);
        EXPECT_THAT(log.texts(), ElementsAre("module was still held when scanner ended; released"));
    }
    stopTasks();
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST_F(TaskTest, AnExceptionEndsTheTaskAlone) {
    const std::function<void()> body = [] { throw 1; };
    spawn(body, "scanner");
    awaitEnd();
    EXPECT_THAT(log.texts(), ElementsAre("scanner ended by an exception"));
    EXPECT_TRUE(turnIsFree());
}

TEST_F(TaskTest, TheThreadBearsTheNamesFirst15Bytes) {
    char name[32] = "";
    const std::function<void()> body = [&] { pthread_getname_np(pthread_self(), name, sizeof name); };
    spawn(body, "a name of more than fifteen bytes");
    stopTasks();
    EXPECT_STREQ(name, "a name of more ");
}

TEST_F(TaskTest, TheStackIsAsLargeAsAskedFor) {
    std::size_t size = 0;
    const std::function<void()> body = [&] {
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &size);
        pthread_attr_destroy(&attributes);
    };
    spawn(body, "large", (4u << 20) + 1);
    stopTasks();
    EXPECT_GT(size, 4u << 20);
    ASSERT_NE(spawn(body, "small", 1), nullptr);
    stopTasks();
    EXPECT_GE(size, 256u << 10);
}

TEST_F(TaskTest, AnyOtherThreadOnlySleeps) {
    const auto begin = std::chrono::steady_clock::now();
    OS_TaskDelayMsec(2);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(2));
    EXPECT_TRUE(turnIsFree());
}

TEST_F(TaskTest, StoppingWithoutTasksReturns) {
    stopTasks();
    EXPECT_EQ(countTasks(), 0u);
}

} // namespace
} // namespace Ostrel
