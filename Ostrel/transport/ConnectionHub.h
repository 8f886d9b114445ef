#pragma once

#include "Ostrel/transport/Advice.h"
#include "Ostrel/transport/Limits.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace Ostrel {

class Admission;
class Connection;
class Lanes;
class MessageBudget;
class Page;

/// What the connections of one listener have in common. On the listener's thread.
class ConnectionHub {
public:
    virtual ~ConnectionHub() = default;

    virtual const Limits& getLimits() const = 0;
    virtual const Admission& getAdmission() const = 0;
    virtual const Advice& getAdvice() const = 0;
    virtual const std::string& getMainServer() const = 0;
    virtual const Page& getPage() const = 0;
    virtual Lanes& getLanes() = 0;
    virtual MessageBudget& getBudget() = 0;

    /// What waits for a connection costs more or less, without the texts that others share. When
    /// all together wait for too much, the one is cut off that is the greatest burden.
    virtual void addWaiting(std::ptrdiff_t change) = 0;

    /// Somebody was not let in; the log tells why.
    virtual void logRefusal(const std::string& why) = 0;

    /// How often a connection is looked at that has to be looked at again and again.
    static constexpr std::chrono::milliseconds tickTime{250};

    /// Somebody must be looked at then, or up to tickTime later.
    virtual void wakeAt(std::chrono::steady_clock::time_point when) noexcept = 0;

    /// Something could not be seen to, for want of memory: everybody is looked at a little later,
    /// for which none is needed. Any thread may call it.
    virtual void lookSoon() noexcept = 0;

    /// The connection has closed.
    virtual void remove(Connection& connection) = 0;
};

} // namespace Ostrel
