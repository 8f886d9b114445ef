#include "simulator/TrafficWatchers.h"

#include "Ostrel/serialization/Serializer.h"
#include "simulator/Message.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <new>
#include <utility>

#include <pthread.h>

namespace Ostrel {

namespace {
constexpr std::chrono::milliseconds tryAgain{100}; ///< where there is no memory
}

/// Wakes the thread: something has passed, or a watcher has taken something. Those who ring may
/// outlive the watchers.
struct TrafficWatchers::Bell {
    std::mutex mutex;
    std::condition_variable rung;
    bool hasRung = false;
    bool isStopping = false;

    void ring() {
        {
            const std::lock_guard lock(mutex);
            hasRung = true;
        }
        rung.notify_one();
    }
};

struct TrafficWatchers::Watcher {
    explicit Watcher(const std::shared_ptr<RPCPeer>& connection) : peer(connection) {}

    const std::weak_ptr<RPCPeer> peer;
    std::atomic<std::size_t> waiting = 0; ///< bytes on their way to it
    // The thread's own:
    std::uint64_t next = 0; ///< number of the message to be sent
    std::uint64_t missed = 0;
};

TrafficWatchers::TrafficWatchers(Traffic& traffic, RPCNotifier& notifier, std::size_t bound)
    : traffic_(traffic), notifier_(notifier), bound_(bound), bell_(std::make_shared<Bell>()) {
    traffic_.onMessage([this] {
        if (count_ > 0)
            bell_->ring();
    });
}

TrafficWatchers::~TrafficWatchers() {
    {
        const std::lock_guard lock(bell_->mutex);
        bell_->isStopping = true;
    }
    bell_->rung.notify_one();
    if (thread_.joinable())
        thread_.join();
}

void TrafficWatchers::watch(const std::shared_ptr<RPCPeer>& peer) {
    const std::lock_guard lock(bell_->mutex);
    if (!thread_.joinable()) {
        thread_ = std::thread([this] { run(); });
        pthread_setname_np(thread_.native_handle(), "watchers");
    }
    // Of those who have left without a message passing since, nobody else learns.
    std::erase_if(watchers_, [](const auto& watcher) { return watcher->peer.expired(); });
    const bool watches = std::any_of(watchers_.begin(), watchers_.end(),
                                     [&](const auto& watcher) { return watcher->peer.lock() == peer; });
    if (watches)
        return;
    watchers_.push_back(std::make_shared<Watcher>(peer));
    count_ = watchers_.size(); // first: whoever passes a message behind the next number must ring
    watchers_.back()->next = traffic_.getEnd();
}

void TrafficWatchers::unwatch(const std::shared_ptr<RPCPeer>& peer) {
    forget(peer.get());
}

/// Drops a watcher, and all whose connections have gone.
void TrafficWatchers::forget(const RPCPeer* peer) {
    const std::lock_guard lock(bell_->mutex);
    std::erase_if(watchers_, [&](const auto& watcher) {
        const auto other = watcher->peer.lock();
        return other == nullptr || other.get() == peer;
    });
    count_ = watchers_.size();
}

void TrafficWatchers::run() {
    bool isBusy = false;
    for (;;) {
        std::vector<std::shared_ptr<Watcher>> watchers;
        {
            std::unique_lock lock(bell_->mutex);
            bell_->rung.wait(lock, [&] { return isBusy || bell_->hasRung || bell_->isStopping; });
            if (bell_->isStopping)
                return;
            bell_->hasRung = false;
            try {
                watchers = watchers_;
            } catch (const std::bad_alloc&) {
                bell_->rung.wait_for(lock, tryAgain, [&] { return bell_->isStopping; });
                isBusy = true; // who rang is not forgotten
                continue;
            }
        }
        isBusy = false;
        for (const auto& watcher : watchers)
            isBusy |= sendNext(watcher);
    }
}

/// Returns whether there may be more for that watcher at once.
bool TrafficWatchers::sendNext(const std::shared_ptr<Watcher>& watcher) {
    if (watcher->waiting >= bound_)
        return false;
    const auto wanted = watcher->next;
    try {
        TrafficMessage message;
        if (!traffic_.read(watcher->next, message))
            return false;
        watcher->missed += watcher->next - 1 - wanted;
        send(watcher, message);
    } catch (const std::exception&) {
        ++watcher->missed; // there is no memory for it
        watcher->next = std::max(watcher->next, wanted + 1);
    }
    return true;
}

void TrafficWatchers::send(const std::shared_ptr<Watcher>& watcher, TrafficMessage& message) {
    Serializer params;
    params.beginObject("");
    writeMessage(message, watcher->missed, params);
    params.endObject("");
    auto made = std::make_unique<const RPCNotification>(
        IRPC::RPCNotificationObject("Simulator::onTraffic", params.generate()).serialize());
    const auto cost = made->getCost();
    watcher->waiting += cost;
    // It lives until it has gone out to its one client, or is dropped with that client's connection.
    const std::shared_ptr<const RPCNotification> notification(
        made.release(), [watcher, cost, bell = bell_](const RPCNotification* sent) {
            delete sent;
            watcher->waiting -= cost;
            bell->ring();
        });
    watcher->missed = 0;
    const auto peer = watcher->peer.lock();
    if (peer == nullptr || !notifier_.notify(*peer, notification))
        forget(peer.get());
}

} // namespace Ostrel
