#pragma once

#include "Ostrel/transport/Outbox.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace Ostrel {

class Conversation;
class RPCNotification;

/// Sends what waits for one client, as fast as the client takes it, and tells the conversation
/// how much waits. On the listener's thread.
class Output {
public:
    using Clock = std::chrono::steady_clock;

    explicit Output(Conversation& conversation) : conversation_(conversation) {}

    /// Queues a head and a body and sees to it that they are sent.
    void push(std::string head, std::string body);
    void push(std::string head, std::shared_ptr<const RPCNotification> notification);

    /// Takes away what need not be sent any more: everything but the rest of what has begun.
    void dropUnsent();

    /// Takes everything away; the connection has closed.
    void clear();

    /// Bytes that wait.
    std::size_t getWaiting() const { return outbox_.size(); }

    /// What keeping them costs.
    const Outbox::Cost& getCost() const { return outbox_.getCost(); }

    /// Looks what the client has taken since the last look: whether bytes wait and it has taken
    /// none for so long.
    bool isStalled(Clock::time_point now, std::chrono::milliseconds patience);

private:
    template <class Body> void add(std::string head, Body body);
    void flush();
    int getQueued();

    Conversation& conversation_;
    Outbox outbox_;
    bool writing_ = false; ///< a write is under way, in whatever phase the conversation is
    Clock::time_point lastProgress_; ///< when the client took bytes, or they began to wait
    int queued_ = 0; ///< getQueued() at the last look
};

} // namespace Ostrel
