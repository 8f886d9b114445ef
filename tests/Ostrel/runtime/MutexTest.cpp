#include "Ostrel/runtime/Mutex.h"
#include "tests/support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace Ostrel {
namespace {

using Test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

/// Locks and unlocks on another thread; hangs when the calling one holds it.
void lockElsewhere(Mutex& mutex) {
    std::thread([&mutex] { const Mutex::Hold hold(mutex); }).join();
}

TEST(MutexTest, TheSameThreadMayLockAgain) OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    const LogCapture log;
    Mutex mutex("recursive", 0);
    mutex.lock();
    mutex.lock();
    mutex.unlock();
    mutex.unlock();
    lockElsewhere(mutex);
    Mutex::releaseHeld("test");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(MutexTest, KeepsOtherThreadsOut) {
    Mutex mutex("counter");
    int count = 0;
    const auto work = [&] {
        for (int i = 0; i < 1000; ++i) {
            const Mutex::Hold hold(mutex);
            ++count;
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(count, 2000);
}

TEST(MutexTest, ALockLeftHeldIsReleasedAndLoggedOnce) OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    const LogCapture log;
    Mutex mutex("TV/server/dummy/DummyTVModule", 0);
    mutex.lock();
    mutex.lock();
    mutex.lock();
    Mutex::releaseHeld("serviceListSeek");
    ASSERT_THAT(log.texts(), ElementsAre("TV/server/dummy/DummyTVModule was still held when "
                                         "serviceListSeek ended; released"));
    EXPECT_EQ(log.lines()[0].level, DebugLevel::Error);
    EXPECT_EQ(log.lines()[0].module, "Mutex");
    lockElsewhere(mutex);
    Mutex::releaseHeld("serviceListSeek");
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST(MutexTest, EveryLockLeftHeldIsReleased) OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    const LogCapture log;
    Mutex first("first");
    Mutex second("second");
    Mutex third("third");
    first.lock();
    second.lock();
    third.lock();
    second.unlock(); // not in the order of locking
    Mutex::releaseHeld("test");
    EXPECT_THAT(log.texts(), ElementsAre("third was still held when test ended; released",
                                         "first was still held when test ended; released"));
    for (auto* mutex : {&first, &second, &third})
        lockElsewhere(*mutex);
}

TEST(MutexTest, WhatAnotherThreadHoldsIsLeftAlone) OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    const LogCapture log;
    Mutex mutex("mine");
    mutex.lock();
    std::thread([] { Mutex::releaseHeld("other"); }).join();
    EXPECT_THAT(log.texts(), IsEmpty());
    mutex.unlock();
}

TEST(MutexTest, ADestroyedMutexIsNotHeldAnyMore) OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    const LogCapture log;
    auto mutex = std::make_unique<Mutex>("gone");
    mutex->lock();
    mutex->lock();
    mutex.reset();
    Mutex::releaseHeld("test");
    EXPECT_THAT(log.texts(), IsEmpty());
}

} // namespace
} // namespace Ostrel
