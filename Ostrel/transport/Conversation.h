#pragma once

#include "Ostrel/transport/Limits.h"
#include "Ostrel/transport/Socket.h"

#include <boost/beast/websocket/rfc6455.hpp>

#include <chrono>
#include <exception>
#include <memory>
#include <string>
#include <utility>

namespace Ostrel {

class Counter;
class Input;
class RPCNotification;

/// Where a conversation is. Down to Working it goes round, once for each request; from Open on it
/// goes only downwards.
enum class Phase {
    KeptAlive, ///< the last request is answered and the next has not begun
    ReadingHead,
    ReadingBody,
    Working, ///< a request is being carried out
    Open, ///< a WebSocket
    Goodbye, ///< a WebSocket whose close frame is queued; nothing may follow it
    Finishing, ///< what waits goes out, then the connection ends
    Draining, ///< all has gone out; what still comes is thrown away
    Closed,
};

/// A connection as its parts see it. On the listener's thread, unless said otherwise.
class Conversation : public std::enable_shared_from_this<Conversation> {
public:
    virtual ~Conversation() = default;

    virtual Phase getPhase() const noexcept = 0;
    virtual Socket& getSocket() noexcept = 0;
    virtual Input& getInput() noexcept = 0;
    virtual const Limits& getLimits() const noexcept = 0;

    /// When more may be read from the client: min() for at once, max() for not yet; then its input is
    /// told when that changes.
    virtual std::chrono::steady_clock::time_point getReadingTime() = 0;

    /// Queues bytes for the client: a head, then an answer's body or a notification.
    virtual void send(std::string head, std::string body) = 0;
    virtual void send(std::string head, std::shared_ptr<const RPCNotification> notification) = 0;

    /// The input has begun to make its reader wait, or has ceased to.
    virtual void inputHeld() = 0;

    /// Bytes have come from the client.
    virtual void heard() = 0;

    /// Takes a notification back that is not worth sending any more, if the client is far behind,
    /// nothing was sent behind it and it has not begun to go out.
    virtual void withdraw(const RPCNotification& notification) = 0;

    /// What waits for the client has become more or less.
    virtual void waitingChanged() = 0;

    /// The last byte that waited has gone out.
    virtual void allSent() = 0;

    /// Counts why this side ends the connection, the first time that there is a reason.
    virtual void countCutOff(Counter& reason) noexcept = 0;

    /// Closes a WebSocket with a code, which the client answers.
    virtual void sayGoodbye(boost::beast::websocket::close_code code) = 0;

    /// Sends what waits and ends the connection behind it.
    virtual void finish() = 0;

    /// Ends the connection now, whatever is under way.
    virtual void close() noexcept = 0;

    /// Closes because something went wrong here, and writes what to the log.
    virtual void fail(const char* what) noexcept = 0;

    /// The client has missed something and is better off without the connection, which closes soon.
    /// Any thread may call it.
    virtual void giveUp() noexcept = 0;

    /// Wraps a completion handler, which is called once: it keeps the connection alive, is skipped
    /// once that has closed, and what it throws ends this connection alone. So does an operation that
    /// gives its handler up, as Beast's do that throw.
    template <class Handler> auto guarded(Handler handler) {
        return Guarded<Handler>(shared_from_this(), std::move(handler));
    }

private:
    template <class Handler> class Guarded {
    public:
        Guarded(std::shared_ptr<Conversation> self, Handler handler)
            : self_(std::move(self)), handler_(std::move(handler)) {}
        Guarded(Guarded&& other) noexcept = default;
        ~Guarded() {
            if (self_ != nullptr)
                self_->giveUp();
        }

        Guarded(const Guarded&) = delete;
        Guarded& operator=(const Guarded&) = delete;

        template <class... Arguments> void operator()(Arguments&&... arguments) {
            const auto self = std::move(self_);
            if (self->getPhase() == Phase::Closed)
                return;
            try {
                handler_(std::forward<Arguments>(arguments)...);
            } catch (const std::exception& exception) {
                self->fail(exception.what());
            } catch (...) {
                self->fail("unknown");
            }
        }

    private:
        std::shared_ptr<Conversation> self_; ///< null when moved away, or called
        Handler handler_;
    };
};

} // namespace Ostrel
