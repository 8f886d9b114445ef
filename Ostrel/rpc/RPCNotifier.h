// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Ostrel {

class RPCInterceptor;
class RPCObserver;
struct RPCPeer;

/// A notification on its way to the clients, who share it.
///
/// Any thread may hold one; nobody changes it.
class OSTREL_API RPCNotification {
public:
    using Clock = std::chrono::steady_clock;

    /// @param due  when it may be sent; the clock's beginning for at once
    explicit RPCNotification(std::string text, std::string topic = {}, Clock::time_point due = {});
    ~RPCNotification();

    RPCNotification(const RPCNotification&) = delete;
    RPCNotification& operator=(const RPCNotification&) = delete;

    /// As it travels.
    const std::string& getText() const { return text_; }

    /// Whether it says anew what an earlier one has said, so that nobody needs that any more.
    bool replaces(const RPCNotification& earlier) const {
        return !topic_.empty() && topic_ == earlier.topic_;
    }

    /// Whether it is not to be sent yet, nor what was raised behind it.
    bool isDelayed() const { return due_ != Clock::time_point() && Clock::now() < due_; }
    Clock::time_point getDue() const { return due_; }

    /// Bytes that keeping it costs, however many share it.
    std::size_t getCost() const;

    /// What all notifications of the process cost that somebody still holds.
    static std::size_t getCostOfAll();

private:
    const std::string text_;
    const std::string topic_; ///< empty when each stands for itself
    const Clock::time_point due_;
};

/// Counts, while it lives, the notifications that the calling thread has sent: once for each client
/// who gets them. One may live inside another's scope; the inner one counts.
class OSTREL_API RPCNotificationCount {
public:
    /// @param count  must outlive the scope; null when nobody counts
    explicit RPCNotificationCount(std::atomic<unsigned>* count) noexcept;
    ~RPCNotificationCount();

    RPCNotificationCount(const RPCNotificationCount&) = delete;
    RPCNotificationCount& operator=(const RPCNotificationCount&) = delete;

private:
    std::atomic<unsigned>* const outer_;
};

/// Takes the notifications of one notifier, in the order in which they were raised.
class OSTREL_API RPCSubscriber {
public:
    virtual ~RPCSubscriber();

    /// Queues a notification. Must return at once and never throw; any thread may be the caller,
    /// with module locks held.
    virtual void notify(const std::shared_ptr<const RPCNotification>& notification) noexcept = 0;

    /// A notification could not be made, for want of memory. Called as notify() is; nothing unless
    /// overridden.
    virtual void missed() noexcept;
};

/// Passes notifications on to everybody who has subscribed.
///
/// Any thread may call any operation, with or without a module lock held.
class OSTREL_API RPCNotifier {
public:
    virtual ~RPCNotifier();

    /// Sends a notification to every client that is connected now.
    ///
    /// Returns at once: the text is queued for each connection, and a client that does
    /// not read is cut off at its own limit while the others notice nothing. A client
    /// sees the notifications of one server in the order of these calls.
    ///
    /// A notification with a topic takes the place of the one raised before it, where that has the
    /// same topic and waits, with nothing behind it, for a client that is far behind: there only
    /// the latest arrives, in an order that is right.
    ///
    /// @param name     interface and operation, for example "ITVConfig::onScanStart"
    /// @param payload  the members, as the text of a JSON object
    /// @param topic    what it tells the latest of; empty when every single one matters
    /// @throws std::bad_alloc  nothing was sent
    void handleRPCNotification(const std::string& name, const std::string& payload,
                               const std::string& topic = {});

    /// Raises notifications of what has happened and cannot be taken back: where there is no memory
    /// for one, every client misses it and is cut off.
    /// @param raise  calls handleRPCNotification()
    template <class Raise> void raiseInAnyCase(Raise raise) noexcept {
        try {
            raise();
        } catch (...) {
            tellMissed();
        }
    }

    /// Lets somebody decide from now on what becomes of the notifications, and of the calls where the
    /// notifier is a server.
    /// @param interceptor  null for nobody; not owned, and must outlive the notifier's use
    void setInterceptor(RPCInterceptor* interceptor) noexcept { interceptor_ = interceptor; }
    RPCInterceptor* getInterceptor() const noexcept { return interceptor_; }

    /// Sends a notification to one client alone, as that to all does; a client sees both kinds in the
    /// order of the calls. Observers are not told.
    /// @returns whether that client is there
    bool notify(const RPCPeer& peer, const std::shared_ptr<const RPCNotification>& notification);

    /// Whether a connection takes notifications, which those of HTTP do not.
    bool isSubscribed(const RPCPeer& peer);

    /// Adds a subscriber, who must unsubscribe before it goes away.
    /// @param peer  the connection that it sends them by, which must live as long; null for none
    void subscribe(RPCSubscriber& subscriber, const RPCPeer* peer = nullptr);

    /// When it returns, the subscriber is not being notified and will not be any more.
    void unsubscribe(RPCSubscriber& subscriber);

    /// Shows an observer every message from now on. To be called before anybody is served; the
    /// observer must live as long as somebody is.
    void addObserver(RPCObserver& observer) { observers_.push_back(&observer); }

    const std::vector<RPCObserver*>& getObservers() const { return observers_; }

private:
    void tellMissed() noexcept;

    struct Subscription {
        RPCSubscriber* subscriber;
        const RPCPeer* peer;
    };

    std::atomic<RPCInterceptor*> interceptor_ = nullptr;
    std::mutex mutex_; ///< guards the subscriptions; held through a fan-out, which keeps the order
    std::vector<Subscription> subscriptions_;
    std::vector<RPCObserver*> observers_;
};

} // namespace Ostrel
