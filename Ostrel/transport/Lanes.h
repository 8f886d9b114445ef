#pragma once

#include "Ostrel/rpc/RPCMessage.h"

#include <boost/asio/thread_pool.hpp>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Ostrel {

/// Carries messages out: a small request on the caller's own thread, where nothing else runs
/// module code, which saves it two changes of thread; everything else on threads where waiting
/// hurts nobody. What needs the turn has a thread of its own; what only reads shares a few.
class Lanes {
public:
    /// Takes the reply's text; empty when there is nothing to reply.
    using Done = std::function<void(std::string reply)>;

    Lanes();
    ~Lanes();

    Lanes(const Lanes&) = delete;
    Lanes& operator=(const Lanes&) = delete;

    /// Carries every request of the message out.
    /// @param text  may go away
    /// @param done  called on another thread, unless the message was done here; must not throw
    /// @returns the reply when the message was done here
    std::optional<std::string> carryOut(std::string_view text, RPCServer& server,
                                        std::shared_ptr<RPCPeer> peer, const RPCMessage::Limits& limits,
                                        Done done);

    /// Lets every running server do what it does by itself.
    void housekeep();

    /// Begins nothing any more and waits for the requests that are under way. What is left of
    /// their messages is dropped.
    void stop();

private:
    using Message = std::shared_ptr<RPCMessage>;

    template <class Work> void post(boost::asio::thread_pool& lane, Work work);
    void goOn(Message message, Done done);
    boost::asio::thread_pool& laneOf(const RPCMessage& message);
    void work(const Message& message, const Done& done, const boost::asio::thread_pool& lane);

    std::atomic<unsigned> busy_ = 0; ///< messages on the lanes
    std::atomic<bool> stopping_ = false;
    boost::asio::thread_pool turn_;
    boost::asio::thread_pool readers_;
};

} // namespace Ostrel
