// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/rpc/RPCObserver.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace Ostrel {

/// A message that has passed, kept.
struct TrafficMessage {
    RPCObserver::Direction direction = RPCObserver::Direction::Request;
    std::int64_t time = 0; ///< microseconds since 1970-01-01 UTC
    std::uint64_t connection = 0; ///< 0 for a notification, which goes to all
    std::string client; ///< address and port, or "unix"; empty for a notification
    std::string method; ///< empty in what is no request, and in its reply
    std::string id; ///< as JSON text; empty for none
    std::uint64_t micros = 0; ///< of a reply, since its request came
    std::uint64_t bytes = 0; ///< of the message as it travelled
    std::string text; ///< the same, or its begin; a request's need not be UTF-8
};

/// The latest messages of a server, in the order in which they passed.
///
/// Nothing is allocated for a message: all goes into one block of memory, of which the system
/// gives only what has been written to. Any thread may call any operation.
class OSTREL_API Traffic final : public RPCObserver {
public:
    struct Limits {
        std::size_t messages = 10'000;
        std::size_t bytes = 16u << 20; ///< of memory, all in all; at least 128 KiB
    };

    /// Bytes of a method's name or a text; the rest is cut off, between characters. A longer id is
    /// left out.
    static constexpr std::size_t longestText = 16u << 10;

    /// Bytes that a message costs beside its texts; as many messages as the limit have it from the start.
    static constexpr std::size_t entrySize = 64;

    Traffic() : Traffic(Limits{}) {}
    explicit Traffic(const Limits& limits);
    ~Traffic() override;

    /// The number that the next message will have. The first has 0.
    std::uint64_t getEnd() const;

    /// Copies a message out, or the oldest that is still there when it is gone.
    /// @param number   of the message; is set to that of the one behind it
    /// @param message  keeps its memory from call to call
    /// @returns false when there is none yet
    /// @throws std::bad_alloc  nothing has changed
    bool read(std::uint64_t& number, TrafficMessage& message) const;

    /// Has something called after each message. To be set before anybody is served.
    /// @param bell  must be quick and not throw; the thread is the one that the message has
    void onMessage(std::function<void()> bell) { bell_ = std::move(bell); }

    void passed(const Message& message) noexcept override;

private:
    struct Entry;

    std::size_t getUsed() const;
    void put(std::size_t& place, std::string_view text) noexcept;
    void take(std::uint64_t& at, std::size_t size, std::string& text) const;

    const Limits limits_;
    const std::size_t room_; ///< bytes for texts
    std::function<void()> bell_;

    mutable std::mutex mutex_; ///< guards what follows
    std::unique_ptr<Entry[]> entries_; ///< a ring: message N is at N modulo the limit
    std::unique_ptr<char[]> texts_; ///< a ring, too
    std::uint64_t begin_ = 0; ///< number of the oldest message
    std::uint64_t end_ = 0; ///< number behind the latest
    std::uint64_t written_ = 0; ///< bytes of texts so far, which is where the next goes
};

} // namespace Ostrel
