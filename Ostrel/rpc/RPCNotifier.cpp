#include "Ostrel/rpc/RPCNotifier.h"

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/rpc/RPCInterceptor.h"
#include "Ostrel/rpc/RPCObserver.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Families.h"
#include "Ostrel/runtime/WallClock.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace Ostrel {

namespace {

Counter raisedOnes({"ostrel_notifications_raised_total",
                    "Notifications that servers have raised for all clients."});
Counter sentOnes({"ostrel_notifications_sent_total",
                  "Notifications put in line for a client, once for each client."});
Gauge costOfAll(waitingBytes, "notifications");
thread_local std::atomic<unsigned>* raised = nullptr; ///< where this thread counts

/// It may be kept for long and by nobody who would widen it.
std::string withoutSpare(std::string text) {
    text.shrink_to_fit();
    return text;
}

} // namespace

RPCNotification::RPCNotification(std::string text, std::string topic, Clock::time_point due)
    : text_(withoutSpare(std::move(text))), topic_(std::move(topic)), due_(due) {
    costOfAll.increment(std::int64_t(getCost()));
}

RPCNotification::~RPCNotification() {
    costOfAll.decrement(std::int64_t(getCost()));
}

std::size_t RPCNotification::getCost() const {
    // With what the allocator and the shared pointers keep beside two allocations.
    return sizeof *this + 48 + text_.capacity() + topic_.capacity();
}

std::size_t RPCNotification::getCostOfAll() {
    return std::size_t(costOfAll.get());
}

RPCNotificationCount::RPCNotificationCount(std::atomic<unsigned>* count) noexcept
    : outer_(std::exchange(raised, count)) {}

RPCNotificationCount::~RPCNotificationCount() {
    raised = outer_;
}

RPCSubscriber::~RPCSubscriber() = default;

void RPCSubscriber::missed() noexcept {}

RPCNotifier::~RPCNotifier() = default;

void RPCNotifier::handleRPCNotification(const std::string& name, const std::string& payload,
                                        const std::string& topic) {
    raisedOnes.increment();
    RPCNotification::Clock::time_point due;
    if (auto* interceptor = getInterceptor()) {
        const auto fate = interceptor->judgeNotification(name);
        if (fate.isLost)
            return;
        if (fate.delay.count() > 0)
            due = RPCNotification::Clock::now() + fate.delay;
    }
    const auto notification = std::make_shared<const RPCNotification>(
        IRPC::RPCNotificationObject(name, payload).serialize(), topic, due);
    const std::lock_guard lock(mutex_);
    if (subscriptions_.empty())
        return;
    if (raised != nullptr)
        *raised += unsigned(subscriptions_.size());
    const RPCObserver::Message message{.direction = RPCObserver::Direction::Notification,
                                       .time = floor<std::chrono::microseconds>(wallClock()),
                                       .peer = nullptr,
                                       .method = name,
                                       .id = {},
                                       .text = notification->getText()};
    for (auto* observer : observers_)
        observer->passed(message);
    sentOnes.increment(subscriptions_.size());
    for (const auto& subscription : subscriptions_)
        subscription.subscriber->notify(notification);
}

void RPCNotifier::tellMissed() noexcept {
    ostrelDebugPrint(DebugLevel::Error, "RPCNotifier", "RPCNotifier", __LINE__,
                     "no memory for a notification; whoever misses it is cut off\n");
    const std::lock_guard lock(mutex_);
    for (const auto& subscription : subscriptions_)
        subscription.subscriber->missed();
}

bool RPCNotifier::notify(const RPCPeer& peer, const std::shared_ptr<const RPCNotification>& notification) {
    const std::lock_guard lock(mutex_);
    for (const auto& subscription : subscriptions_) {
        if (subscription.peer != &peer)
            continue;
        sentOnes.increment();
        subscription.subscriber->notify(notification);
        return true;
    }
    return false;
}

bool RPCNotifier::isSubscribed(const RPCPeer& peer) {
    const std::lock_guard lock(mutex_);
    return std::any_of(subscriptions_.begin(), subscriptions_.end(),
                       [&](const auto& subscription) { return subscription.peer == &peer; });
}

void RPCNotifier::subscribe(RPCSubscriber& subscriber, const RPCPeer* peer) {
    const std::lock_guard lock(mutex_);
    subscriptions_.push_back({&subscriber, peer});
}

void RPCNotifier::unsubscribe(RPCSubscriber& subscriber) {
    const std::lock_guard lock(mutex_);
    std::erase_if(subscriptions_,
                  [&](const auto& subscription) { return subscription.subscriber == &subscriber; });
}

} // namespace Ostrel
