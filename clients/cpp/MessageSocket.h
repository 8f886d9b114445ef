#pragma once

#include "clients/cpp/ClientOptions.h"
#include "clients/cpp/Url.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace Ostrel::Client {

/// A WebSocket that one thread uses with blocking calls.
///
/// Everything happens inside these calls: while none runs, pings are not answered.
class MessageSocket {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    static constexpr TimePoint never = TimePoint::max();

    /// Returns when so much time has passed, never where that is beyond what a clock can show.
    static TimePoint deadlineAfter(std::chrono::milliseconds timeout);

    /// @throws ConnectError, Interrupted
    MessageSocket(const Url& url, const ClientOptions& options);

    /// Says good-bye, for at most a second.
    ~MessageSocket();

    /// Sends one message. When the deadline passes first, the connection is lost.
    ///
    /// @throws ConnectionLost, Interrupted
    void send(const std::string& text, TimePoint deadline);

    /// Returns the next message, or nothing when the deadline passes first.
    ///
    /// @throws ConnectionLost, Interrupted
    std::optional<std::string> receive(TimePoint deadline);

    /// Returns the next message if it is there, lost or not, and answers pings. Does not wait.
    std::optional<std::string> takeReady();

    /// Returns why the connection is lost; nothing while it stands.
    const std::optional<std::string>& getLoss() const;

    /// Returns the socket, to wait on only: what it has shown may have been read already.
    int getDescriptor() const;

private:
    class Stream;

    std::unique_ptr<Stream> stream_;
};

} // namespace Ostrel::Client
