#pragma once

#include "Ostrel/rpc/RPCMessage.h"
#include "Ostrel/transport/Limits.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace Ostrel {

/// Carries messages out: a quick request on the caller's own thread where the turn is free or not
/// needed, which saves it two changes of thread; everything else on threads where waiting hurts
/// nobody. What needs the turn and is quick has a thread of its own, and so has what may go on for
/// long; all else shares a few.
///
/// Of requests that only read it shows when they run which of them are quick (RPCServer::isBrief()):
/// one that is not is left and begun anew on another thread, and so are those that follow it from the
/// same client, until one was quick there.
///
/// A message that is delayed waits aside, without a thread, until its time has come.
///
/// Among those who wait, the client goes first that has used least of these threads' time lately;
/// of a batch the requests line up one by one. So a dear request delays its own client; and one
/// thread is kept for the clients whose requests are quick. Whose requests have notifications sent,
/// more than all may send together, waits until others notice nothing.
class Lanes {
public:
    /// Takes the reply.
    using Done = std::function<void(RPCMessage::Reply reply)>;

    /// One client as the lanes know it: who it is, and how much of their time it has taken.
    class Client {
    public:
        using Clock = std::chrono::steady_clock;

        explicit Client(std::shared_ptr<RPCPeer> peer, Clock::time_point now = Clock::now());

        const std::shared_ptr<RPCPeer>& getPeer() const { return peer_; }

        /// Adds to the time that the client has used. What it used ten seconds ago counts half.
        void charge(Clock::duration time, Clock::time_point now);

        /// Lower goes first. It compares with that of others at any time, since what all of them have used
        /// fades alike.
        double getUrgency() const { return urgency_; }

        /// Whether it has used little of late. A client that has just come has not shown that it does.
        bool isQuick(Clock::time_point now) const;

        /// Nothing more is to be carried out for it till then, since its requests have had too many
        /// notifications sent. Any thread may ask.
        Clock::time_point getSlowedUntil() const { return slowedUntil_; }
        void slowDown(Clock::time_point until) { slowedUntil_ = until; }

        /// Whether its requests are tried on the caller's thread that may turn out not to be quick. Any
        /// thread may ask.
        bool isTried() const { return isTried_; }
        void setTried(bool isTried) { isTried_ = isTried; }

    private:
        double getUsed(Clock::time_point now) const;
        void setUsed(double milliseconds, Clock::time_point now);

        const std::shared_ptr<RPCPeer> peer_;
        double urgency_ = 0;
        std::atomic<Clock::time_point> slowedUntil_ = Clock::time_point();
        std::atomic<bool> isTried_ = true;
    };

    /// From two to eight.
    static unsigned countProcessors();

    /// @param readers  how many threads may be busy with dear requests at a time, at least one
    /// @param notifications  that clients' requests may have sent in a second
    /// @throws std::system_error  the system has no threads left
    explicit Lanes(unsigned readers = countProcessors(), unsigned notifications = Limits().notifications);
    ~Lanes();

    Lanes(const Lanes&) = delete;
    Lanes& operator=(const Lanes&) = delete;

    /// Begins to carry a message out, whose requests may all be done in no time. A client has one
    /// message here at a time.
    /// @param text  may go away
    /// @returns the message, for finish() unless it is done
    std::unique_ptr<RPCMessage> begin(std::string_view text, RPCServer& server, Client& client,
                                      const RPCMessage::Limits& limits);

    /// Carries out what is left of it.
    /// @param done  called on another thread, unless the client has left or the lanes stop; must not
    ///              throw. It may be destroyed on any thread.
    void finish(std::unique_ptr<RPCMessage> message, std::shared_ptr<Client> client, Done done);

    /// Whether the client's message waits for its time.
    bool isDelayed(const Client& client);

    /// Drops what has not begun of the client's message, and lets what has begun know.
    void leave(Client& client) noexcept;

    /// Does something of the host's own where it holds up nobody. It must not throw.
    void post(std::function<void()> chore);

    /// Begins nothing any more. What is left of the messages is dropped.
    void beginStop();

    /// Begins to stop and waits for the requests that are under way.
    void stop();

private:
    /// A client's message, or a chore of the host's.
    struct Job {
        std::shared_ptr<Client> client = {}; ///< null for a chore
        std::unique_ptr<RPCMessage> message = {}; ///< null for a chore
        Done done = {};
        std::function<void()> chore = {};
        bool isDear = false; ///< while a thread has it: it is among those that Lane::dear counts
        std::size_t replySize = 0; ///< bytes of its reply so far, while it waits
    };

    /// By urgency, or by time where they are delayed: the first goes first.
    using Queue = std::multimap<double, Job>;

    /// Threads with a queue of their own.
    struct Lane {
        const unsigned mostDear = 1; ///< how many may work for clients that are not quick
        Queue queue = {};
        Queue delayed = {}; ///< for whose first a thread waits that has nothing else to do
        unsigned dear = 0; ///< how many do
        std::condition_variable wanted = {};
    };

    void enqueue(Job job);
    Lane& choose(const Job& job);
    void push(Queue::node_type job);
    void run(Lane& lane);
    static void wait(Lane& lane, std::unique_lock<std::mutex>& lock, Client::Clock::time_point end);
    void endDelays(Lane& lane);
    Queue::node_type takeJob(Lane& lane, std::unique_lock<std::mutex>& lock);
    static Client::Clock::duration work(Job& job);
    void noteReply(Job& job, std::size_t size);
    void chargeNotifications(Client& client, RPCMessage& message);
    void handBack(Lane& lane, Queue::node_type job, Client::Clock::duration took,
                  std::unique_lock<std::mutex>& lock);

    std::mutex mutex_; ///< guards what follows, and what the lanes know of their clients
    bool stopping_ = false;
    std::size_t replies_ = 0; ///< bytes of replies in the making
    const unsigned mostNotified_; ///< notifications a second
    Client::Clock::time_point notified_; ///< when what was sent of notifications is no more than that
    Lane turn_;
    Lane readers_;
    Lane waiters_; ///< for requests that are long
    std::vector<std::thread> threads_;
};

} // namespace Ostrel
