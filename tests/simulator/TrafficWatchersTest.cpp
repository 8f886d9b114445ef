#include "simulator/TrafficWatchers.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace Ostrel::Test {
namespace {

/// A client that takes its notifications when the test does.
class SlowClient : public RPCSubscriber {
public:
    void notify(const std::shared_ptr<const RPCNotification>& notification) noexcept override {
        const std::lock_guard lock(mutex_);
        waiting_.push_back(notification);
        came_.notify_all();
    }

    /// Takes the next one when it comes, and returns its text.
    std::string take() {
        std::shared_ptr<const RPCNotification> taken; // is given back without the lock
        std::unique_lock lock(mutex_);
        if (!came_.wait_for(lock, std::chrono::seconds(30), [this] { return !waiting_.empty(); }))
            throw std::runtime_error("no notification");
        taken = std::move(waiting_.front());
        waiting_.pop_front();
        lock.unlock();
        return taken->getText();
    }

    std::size_t countWaiting() {
        const std::lock_guard lock(mutex_);
        return waiting_.size();
    }

private:
    std::mutex mutex_;
    std::condition_variable came_;
    std::deque<std::shared_ptr<const RPCNotification>> waiting_;
};

class TrafficWatchersTest : public testing::Test {
protected:
    void pass(const std::string& text) {
        traffic_.passed({.direction = RPCObserver::Direction::Request,
                         .time = decltype(RPCObserver::Message::time)(std::chrono::microseconds(1'500'000)),
                         .peer = &sender_,
                         .method = "A::b",
                         .id = "7",
                         .text = text});
    }

    static std::string onTraffic(const std::string& text, const std::string& missed = {}) {
        return R"({"jsonrpc":"2.0","method":"Simulator::onTraffic","params":{"time":1.500000,"connection":3,)"
               R"("client":"unix","direction":"request","method":"A::b","id":7,"micros":0,"bytes":)" +
               std::to_string(text.size()) + R"(,"text":")" + text + '"' + missed + "}}";
    }

    const RPCPeer sender_{3, "unix"};
    Traffic traffic_{{.messages = 4, .bytes = 128u << 10}};
    RPCNotifier notifier_;
    std::shared_ptr<RPCPeer> peer_ = std::make_shared<RPCPeer>(1, "unix");
    SlowClient client_;
};

TEST_F(TrafficWatchersTest, AWatcherAloneIsSentEachMessage) {
    TrafficWatchers watchers(traffic_, notifier_);
    SlowClient other;
    const RPCPeer otherPeer(2, "unix");
    notifier_.subscribe(client_, peer_.get());
    notifier_.subscribe(other, &otherPeer);
    pass("before");
    watchers.watch(peer_);
    pass("one");
    EXPECT_EQ(client_.take(), onTraffic("one"));
    pass("two");
    EXPECT_EQ(client_.take(), onTraffic("two"));
    EXPECT_EQ(other.countWaiting(), 0u);
}

TEST_F(TrafficWatchersTest, WatchingTwiceIsWatching) {
    TrafficWatchers watchers(traffic_, notifier_);
    notifier_.subscribe(client_, peer_.get());
    watchers.watch(peer_);
    watchers.watch(peer_);
    pass("one");
    pass("two");
    EXPECT_EQ(client_.take(), onTraffic("one"));
    EXPECT_EQ(client_.take(), onTraffic("two"));
}

TEST_F(TrafficWatchersTest, WhoWatchesNoMoreIsSentNothing) {
    TrafficWatchers watchers(traffic_, notifier_);
    SlowClient other;
    const auto otherPeer = std::make_shared<RPCPeer>(2, "unix");
    notifier_.subscribe(client_, peer_.get());
    notifier_.subscribe(other, otherPeer.get());
    watchers.watch(peer_);
    watchers.watch(otherPeer);
    watchers.unwatch(peer_);
    pass("one");
    pass("two");
    EXPECT_EQ(other.take(), onTraffic("one"));
    EXPECT_EQ(other.take(), onTraffic("two")); // so both have had their turn with the first
    EXPECT_EQ(client_.countWaiting(), 0u);
}

TEST_F(TrafficWatchersTest, WhoFallsBehindIsToldHowManyWereMissed) {
    TrafficWatchers watchers(traffic_, notifier_, 1); // one waits, and no more
    notifier_.subscribe(client_, peer_.get());
    watchers.watch(peer_);
    pass("0");
    while (client_.countWaiting() == 0)
        std::this_thread::yield();
    for (int i = 1; i <= 10; ++i)
        pass(std::to_string(i)); // of which the last four are kept
    EXPECT_EQ(client_.take(), onTraffic("0"));
    EXPECT_EQ(client_.take(), onTraffic("7", R"(,"missed":6)"));
    for (const auto* text : {"8", "9", "10"})
        EXPECT_EQ(client_.take(), onTraffic(text));
}

TEST_F(TrafficWatchersTest, NoMoreWaitsForAWatcherThanTheBound) {
    TrafficWatchers watchers(traffic_, notifier_, 1);
    SlowClient other;
    const auto otherPeer = std::make_shared<RPCPeer>(2, "unix");
    notifier_.subscribe(client_, peer_.get());
    notifier_.subscribe(other, otherPeer.get());
    watchers.watch(peer_);
    watchers.watch(otherPeer); // which has its turn behind the first
    for (const auto* text : {"one", "two", "three"}) {
        pass(text);
        EXPECT_EQ(other.take(), onTraffic(text));
    }
    EXPECT_EQ(client_.countWaiting(), 1u);
}

TEST_F(TrafficWatchersTest, AWatcherThatHasGoneHoldsNothingUp) {
    TrafficWatchers watchers(traffic_, notifier_);
    SlowClient other;
    const auto otherPeer = std::make_shared<RPCPeer>(2, "unix");
    notifier_.subscribe(other, otherPeer.get());
    watchers.watch(peer_); // which takes no notifications any more
    watchers.watch(otherPeer);
    pass("one");
    EXPECT_EQ(other.take(), onTraffic("one"));
    peer_.reset();
    pass("two");
    EXPECT_EQ(other.take(), onTraffic("two"));
}

TEST_F(TrafficWatchersTest, WhatIsNoUtf8IsReplaced) {
    TrafficWatchers watchers(traffic_, notifier_);
    notifier_.subscribe(client_, peer_.get());
    watchers.watch(peer_);
    pass("a\xff");
    EXPECT_NE(client_.take().find("\"bytes\":2,\"text\":\"a\xef\xbf\xbd\""), std::string::npos);
}

TEST_F(TrafficWatchersTest, WhatIsOnItsWayMayOutliveThem) {
    {
        TrafficWatchers watchers(traffic_, notifier_);
        notifier_.subscribe(client_, peer_.get());
        watchers.watch(peer_);
        pass("one");
        while (client_.countWaiting() == 0)
            std::this_thread::yield();
    }
    EXPECT_EQ(client_.take(), onTraffic("one"));
}

} // namespace
} // namespace Ostrel::Test
