#include "Ostrel/runtime/Turn.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

namespace Ostrel {
namespace {

void awaitWaiting(unsigned count) {
    while (Turn::countWaiting() != count)
        std::this_thread::yield();
}

TEST(TurnTest, IsHandedOnInTheOrderOfAsking) {
    std::vector<int> order; // guarded by the turn
    std::vector<std::thread> threads;
    Turn::take();
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&order, i] {
            const Turn::Hold turn;
            order.push_back(i);
        });
        awaitWaiting(static_cast<unsigned>(i) + 1);
    }
    Turn::give();
    for (auto& thread : threads)
        thread.join();
    EXPECT_THAT(order, testing::ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
}

TEST(TurnTest, WhoGivesItAndAsksAgainIsLast) {
    bool other = false;
    Turn::take();
    std::thread thread([&other] {
        const Turn::Hold turn;
        other = true;
    });
    awaitWaiting(1);
    Turn::give();
    Turn::take();
    EXPECT_TRUE(other);
    Turn::give();
    thread.join();
}

TEST(TurnTest, MovesUnlessSomebodyKeepsIt) {
    Turn::isMoving(); // whatever was before
    EXPECT_TRUE(Turn::isMoving());
    Turn::take();
    EXPECT_FALSE(Turn::isMoving());
    EXPECT_FALSE(Turn::isMoving());
    Turn::give();
    Turn::take();
    EXPECT_TRUE(Turn::isMoving());
    EXPECT_FALSE(Turn::isMoving());
    Turn::give();
    EXPECT_TRUE(Turn::isMoving());
}

TEST(TurnTest, TryTakeTakesAFreeTurnOnly) {
    ASSERT_TRUE(Turn::tryTake());
    EXPECT_FALSE(Turn::tryTake());
    Turn::give();
    ASSERT_TRUE(Turn::tryTake());
    Turn::give();
}

TEST(TurnTest, TryTakeRefusesBehindAWaiter) {
    for (int round = 0; round < 20; ++round) {
        std::promise<void> done;
        Turn::take();
        std::thread waiter([&done] {
            const Turn::Hold turn;
            done.get_future().wait();
        });
        awaitWaiting(1);
        Turn::give();
        // The waiter may not have woken yet: the turn is its all the same.
        EXPECT_FALSE(Turn::tryTake());
        done.set_value();
        waiter.join();
        EXPECT_TRUE(Turn::tryTake());
        Turn::give();
    }
}

TEST(TurnTest, OneHoldsItAtATime) {
    int count = 0; // unguarded but for the turn
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&count] {
            for (int j = 0; j < 1000; ++j) {
                const Turn::Hold turn;
                ++count;
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(count, 4000);
    EXPECT_EQ(Turn::countWaiting(), 0u);
}

TEST(TurnTest, APauseIsForOthers) {
    Turn::take();
    {
        const Turn::Pause pause;
        std::thread([] { const Turn::Hold turn; }).join(); // hangs without the pause
    }
    EXPECT_FALSE(Turn::tryTake());
    Turn::give();
}

TEST(TurnTest, WhoDoesNotHoldItHasNothingToPause) {
    { const Turn::Pause pause; }
    EXPECT_TRUE(Turn::tryTake());
    Turn::give();
}

} // namespace
} // namespace Ostrel
