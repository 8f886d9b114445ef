// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "clients/cpp/ClientOptions.h"
#include "clients/cpp/Context.h"
#include "clients/cpp/Errors.h"
#include "clients/cpp/Interfaces.h"
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
/// keptNotifications of them. The service's pings are answered only inside these operations: it
/// closes a client for which none runs for more than a minute. A program that has an event loop
/// calls handleInput() when getDescriptor() is readable; another one waits in next().
///
/// Every operation may throw ConnectionLost and Interrupted. One client, one thread: not for sharing.
class Client : public Context {
public:
    /// @throws ConnectError, Interrupted
    explicit Client(const Url& url, const ClientOptions& options = {});

    /// Closes the connection, unless a Context of it is still held. The contexts stay: the service
    /// releases them by itself, and deleting one would end a scan that somebody else runs.
    ~Client();

    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// Connects anew to the same service, for example after ConnectionLost. Notifications since then
    /// are lost, and nothing tells how many: what they would have told is to be asked for, as by
    /// getScanInfo(). Those from before are there for next(); a call that was under way may have
    /// been carried out.
    ///
    /// Contexts belong to no connection and go on, with their lists and cursors. But once the one
    /// that made it has closed, the service releases a context that is not used for 10 minutes.
    ///
    /// @return whether this client's own context is there; if not, the next call that needs it makes
    ///         a new one, with no list selected
    /// @throws ConnectError, Interrupted  nothing has changed, and this can be called again
    bool reconnect();

    /// Makes a further context.
    Context createContext();

    /// Returns a context that is there already, whoever made it.
    Context with(std::uint32_t context) const;

    /// Uses a context that is there already as this client's own from now on.
    void useContext(std::uint32_t context);

    /// Deletes a context. This ends a running scan, whoever started it.
    void deleteContext(std::uint32_t context);

    /// Returns a descriptor for the event loop of a program that waits for other things too: poll(),
    /// epoll, QSocketNotifier, g_unix_fd_add(). While it is readable there is something to do here:
    ///
    ///     client.handleInput();
    ///     while (const auto notification = client.next(0ms))
    ///         show(*notification);
    ///
    /// That is so too after a call beside whose reply a notification came, and once the connection is
    /// lost. The client owns the descriptor, which stays the same as long as the client lives: wait on
    /// it, and do nothing else with it. Signals do not make it readable.
    ///
    /// @throws Error  there are no more descriptors
    int getDescriptor();

    /// Takes in what has come, without waiting for more: keeps notifications for next(), drops replies
    /// that are too late, and answers pings. To call it now and then keeps an idle connection alive.
    ///
    /// @throws ConnectionLost  once no notification is left for next()
    /// @throws BadReply  what came is no message; the connection is as good as before
    void handleInput();

    /// Returns the next notification, or nothing when none comes in time; 0 ms does not wait.
    std::optional<Notification> next(std::chrono::milliseconds timeout);

    /// Waits for the next notification.
    Notification next();
};

} // namespace Ostrel::Client
