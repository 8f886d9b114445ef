#pragma once

#include "Ostrel/transport/Outbox.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
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

    /// Keeps back what is pushed, for one write of all of it, until release(); but not when it is much.
    void hold() { held_ = true; }
    void release();

    /// Takes a notification away, if nothing stands behind it and it has not begun to go out.
    void withdraw(const RPCNotification& notification);

    /// Takes away what need not be sent any more: everything but the rest of what has begun, for
    /// which the client's time begins anew.
    void dropUnsent();

    /// Takes everything away; the connection has closed.
    void clear();

    /// Bytes that wait.
    std::size_t getWaiting() const { return outbox_.size(); }

    /// What keeping them costs.
    const Outbox::Cost& getCost() const { return outbox_.getCost(); }

    /// Looks what the client has taken since the last look: whether bytes wait, here or in the
    /// system's queue, and it has taken none for so long.
    bool isStalled(Clock::time_point now, std::chrono::milliseconds patience);

    /// How much of a burden this client is: what waits for it alone, times how long it has taken
    /// nothing. So it is not one who reads, though much may wait for it for a moment.
    double getBurden(Clock::time_point now);

    /// Whether the client has taken all, from the system's queue, too.
    bool hasGivenAll();

private:
    void send();
    void tellSent();
    bool writeAtOnce();
    void write();
    void look(Clock::time_point now);
    std::int64_t getQueued();

    Conversation& conversation_;
    Outbox outbox_;
    bool held_ = false;
    bool writing_ = false; ///< a write is under way, in whatever phase the conversation is
    std::int64_t written_ = 0; ///< bytes that the system has taken

    // At the last look:
    bool waited_ = false; ///< whether bytes waited
    std::int64_t taken_ = 0; ///< by the client
    Clock::time_point lastProgress_; ///< when the client had taken bytes, or nothing waited
};

} // namespace Ostrel
