#pragma once

#include "clients/cpp/ClientOptions.h"
#include "clients/cpp/Notification.h"
#include "clients/cpp/Readiness.h"
#include "clients/cpp/Url.h"

#include <boost/json/value.hpp>

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Ostrel::Client {

class MessageSocket;

/// One connection to a service: requests, the replies to them, and what is told unasked.
class Connection {
public:
    /// @throws ConnectError, Interrupted
    Connection(const Url& url, const ClientOptions& options);
    ~Connection();

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Sends one request and returns its result.
    ///
    /// @param params  the text of a JSON object; empty: none are sent
    boost::json::value request(std::string_view method, std::string_view params,
                               std::chrono::milliseconds timeout);

    /// Returns the next notification, or nothing when none comes in time.
    std::optional<Notification> next(std::chrono::milliseconds timeout);

    /// See Client.
    int getDescriptor();
    void handleInput();

    /// Connects anew, to the same service. What was told before is still there for next().
    ///
    /// @throws ConnectError, Interrupted  nothing has changed
    void reconnect();

private:
    class Settling;

    std::optional<std::string> receive(std::chrono::steady_clock::time_point deadline);
    std::string takeUnread();
    void readReady();
    void takeReady();
    void settle() noexcept;
    bool takeMessage(const std::string& text, std::int64_t id, boost::json::value& result);

    const Url url_;
    const ClientOptions options_;
    std::unique_ptr<MessageSocket> socket_;
    std::optional<Readiness> readiness_; ///< once somebody waits on it
    std::deque<std::string> unread_; ///< messages that are there, not looked at yet
    std::deque<Notification> notifications_;
    std::int64_t lastId_ = 0; ///< of the latest request
    std::int64_t answeredId_ = 0; ///< of the latest that was answered: replies keep the order of requests
};

} // namespace Ostrel::Client
