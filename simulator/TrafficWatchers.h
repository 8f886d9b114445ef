#pragma once

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/rpc/RPCNotifier.h"
#include "Ostrel/transport/Traffic.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Ostrel {

/// Sends messages that pass to the connections that watch, as fast as each takes them.
///
/// For a watcher no more waits than a bound; all else it gets from the traffic's own memory once it
/// has taken that. What has gone from there meanwhile is missed, and the next message tells how many.
/// Any thread may call any operation.
class TrafficWatchers {
public:
    static constexpr std::size_t usualBound = 256u << 10;

    /// @param notifier  whose clients watch; outlives this object, as the traffic does
    /// @param bound     bytes that may wait for a watcher
    TrafficWatchers(Traffic& traffic, RPCNotifier& notifier, std::size_t bound = usualBound);
    ~TrafficWatchers();

    TrafficWatchers(const TrafficWatchers&) = delete;
    TrafficWatchers& operator=(const TrafficWatchers&) = delete;

    /// Sends that connection every message from now on, until it closes or watches no more.
    /// @throws std::system_error  there is no thread for it
    void watch(const std::shared_ptr<RPCPeer>& peer);
    void unwatch(const std::shared_ptr<RPCPeer>& peer);

private:
    struct Watcher;
    struct Bell;

    void run();
    bool sendNext(const std::shared_ptr<Watcher>& watcher);
    void send(const std::shared_ptr<Watcher>& watcher, TrafficMessage& message);
    void forget(const RPCPeer* peer);

    Traffic& traffic_;
    RPCNotifier& notifier_;
    const std::size_t bound_;
    const std::shared_ptr<Bell> bell_;
    std::atomic<std::size_t> count_ = 0; ///< of the watchers
    std::vector<std::shared_ptr<Watcher>> watchers_; ///< guarded by the bell's mutex
    std::thread thread_; ///< once somebody has watched; guarded likewise
};

} // namespace Ostrel
