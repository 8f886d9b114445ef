// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <chrono>
#include <cstddef>

namespace Ostrel {

/// What clients may cost the process. The defaults are the ones that the wire promises.
struct Limits {
    std::size_t message = 1u << 20; ///< bytes of one incoming message
    /// Bytes of the messages of all clients that are being read, beyond the first 64 KiB of each, or
    /// being carried out; further ones wait unread.
    std::size_t messagesTogether = 64u << 20;
    std::size_t head = 16u << 10; ///< bytes of a request's line and headers
    std::size_t reply = 64u << 20; ///< bytes of one reply, or of a batch's replies together
    std::size_t batch = 100; ///< messages in a batch
    std::size_t connections = 256; ///< open at once

    // Bytes that wait are counted with what keeping them costs.
    std::size_t outbox = 1u << 20; ///< waiting for a client that is not read from until they have gone
    std::size_t waiting = 64u << 20; ///< notifications waiting for one client, beside its answers
    std::size_t waitingTogether = 512u << 20; ///< waiting for all clients, what they share once

    /// Notifications a second that the clients' calls have sent, all together, counted once for each
    /// who gets them. When there are more, who raises them is read from later.
    unsigned notifications = 20'000;

    // While bytes wait for the client, or the client for us, no time runs but the stalled reader's.
    std::chrono::milliseconds headTime{10'000}; ///< for a request's head to arrive
    std::chrono::milliseconds bodyTime{10'000}; ///< for a request's body to arrive
    std::chrono::milliseconds keepAlive{60'000}; ///< of an HTTP connection without a request
    std::chrono::milliseconds stalledReader{30'000}; ///< while bytes wait and none is taken
    std::chrono::milliseconds idleWebSocket{60'000}; ///< without an answer; pinged after half of it
    std::chrono::milliseconds housekeeping{30'000}; ///< after a connection has closed, for what it left
    std::chrono::milliseconds closing{3'000}; ///< for a client to take the end of a conversation
};

} // namespace Ostrel
