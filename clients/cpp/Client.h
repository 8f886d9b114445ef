#pragma once

#include "clients/cpp/ClientOptions.h"
#include "clients/cpp/Context.h"
#include "clients/cpp/Errors.h"
#include "clients/cpp/Notification.h"
#include "clients/cpp/Url.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace Ostrel::Client {

/// Talks to one TV service over one WebSocket, with a context of its own: what it can ask for stands
/// in Context.
///
/// Notifications that come while it waits for something are kept for next(), the newest
/// keptNotifications of them. Only inside these operations the service's pings are answered: a
/// client that calls nothing for more than a minute is closed by the service.
///
/// Every operation may throw ConnectionLost and Interrupted. One client, one thread: not for sharing.
class Client : public Context {
public:
    /// @throws ConnectError, Interrupted
    explicit Client(const Url& url, const ClientOptions& options = {});

    /// Closes the connection. The context stays: the service releases it by itself, and
    /// deleting one would end a scan that somebody else runs.
    ~Client();

    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// Makes a further context.
    Context createContext();

    /// Returns a context that is there already, whoever made it.
    Context with(std::uint32_t context) const;

    /// Uses a context that is there already as this client's own from now on.
    void useContext(std::uint32_t context);

    /// Deletes a context. This ends a running scan, whoever started it.
    void deleteContext(std::uint32_t context);

    /// Returns the next notification, or nothing when none comes in time.
    std::optional<Notification> next(std::chrono::milliseconds timeout);

    /// Waits for the next notification.
    Notification next();
};

} // namespace Ostrel::Client
