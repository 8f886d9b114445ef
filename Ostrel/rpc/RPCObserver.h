// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <chrono>
#include <string_view>

namespace Ostrel {

struct RPCPeer;

/// Sees what passes between a server and its clients.
class OSTREL_API RPCObserver {
public:
    enum class Direction { Request, Reply, Notification };

    /// One message as it travels; in a batch each request and each reply is one of its own.
    struct Message {
        Direction direction;
        std::chrono::sys_time<std::chrono::microseconds> time;
        const RPCPeer* peer; ///< the connection; null for a notification, which is one for all clients
        std::string_view method; ///< the whole name; empty when what came is no request
        /// The request's, as JSON text: empty when no reply is wanted, null when what came is no request.
        std::string_view id;
        std::string_view text; ///< a request's need not even be UTF-8; empty when a request has no reply
        std::chrono::microseconds took{0}; ///< of a reply, since its request came
    };

    virtual ~RPCObserver();

    /// Called for a request before it is carried out or refused, which in a batch is when those before
    /// it are done; for its reply, or when it is clear that there is none; and for a notification
    /// before any client is sent it. What no client is there for is no message.
    ///
    /// The thread has the message in hand, maybe with module locks held, and waits: this must be
    /// quick. Several may call at a time, though no two for one connection. The texts go away
    /// with the call.
    virtual void passed(const Message& message) noexcept = 0;
};

} // namespace Ostrel
