#pragma once

#include "clients/cpp/ClientOptions.h"
#include "clients/cpp/MessageSocket.h"
#include "clients/cpp/Url.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace Ostrel::Client::Tool {

/// The connections of a record, each made anew when it is first used. No more than a few dozen stand
/// at a time; who goes on behind that finds another.
class ReplayConnections {
public:
    using Clock = std::chrono::steady_clock;

    ReplayConnections(const Url& url, const ClientOptions& options) : url_(url), options_(options) {}

    /// What came back.
    struct Answer {
        std::string reply;
        std::string failure; ///< why there is none, for people
    };

    /// Sends a message and waits for its reply.
    /// @throws ConnectError, Interrupted
    Answer request(std::uint64_t connection, const std::string& text);

    /// Sends a message that has no reply.
    /// @throws ConnectError, Interrupted
    void notify(std::uint64_t connection, const std::string& text);

    /// Waits, and lets none of the connections fall asleep.
    /// @throws Interrupted
    void waitUntil(Clock::time_point end);

private:
    struct Open {
        std::unique_ptr<MessageSocket> socket;
        Clock::time_point used;
    };

    MessageSocket& get(std::uint64_t connection);
    void makeRoom();
    void attend();

    const Url url_;
    const ClientOptions options_;
    std::map<std::uint64_t, Open> open_;
    Clock::time_point attended_; ///< when all were looked after
};

} // namespace Ostrel::Client::Tool
