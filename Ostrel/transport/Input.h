#pragma once

#include "Ostrel/transport/Conversation.h"
#include "Ostrel/transport/SocketReader.h"

#include <boost/asio/async_result.hpp>
#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/beast/core/buffers_prefix.hpp>

#include <chrono>
#include <cstddef>
#include <functional>
#include <new>
#include <utility>

namespace Ostrel {

/// Reads from one client, when the conversation may read; until then whoever reads waits. On
/// the listener's thread, and only with handlers that keep the conversation alive.
///
/// HTTP reads through it as through a socket, a WebSocket by read().
class Input {
public:
    using executor_type = Socket::executor_type;
    using error_code = boost::system::error_code;

    /// Bytes that are taken at a time, so that a round of all who send a long message is short.
    static constexpr std::size_t readSize = 16u << 10;

    explicit Input(Conversation& conversation)
        : conversation_(conversation), gate_(conversation.getSocket().get_executor()),
          socketReader_(conversation.getSocket(), [this](error_code failure, std::size_t size) {
              conversation_.guarded([&] { bytesCame(failure, size); })();
          }) {}

    executor_type get_executor() { return gate_.get_executor(); }

    /// Says what read() calls back.
    void onBytes(std::function<void(error_code failure, std::size_t size)> handler) {
        handler_ = std::move(handler);
    }

    /// Reads some bytes and calls back, unless the connection has closed meanwhile.
    /// @param where  must stay until then
    void read(const boost::asio::mutable_buffer& where) {
        whenAllowed([this, where = boost::asio::buffer(where, readSize),
                     self = conversation_.shared_from_this()]() mutable {
            socketReader_.read(where, std::move(self));
        });
    }

    template <class Buffers, class Handler> auto async_read_some(const Buffers& buffers, Handler&& handler) {
        return boost::asio::async_initiate<Handler, void(boost::system::error_code, std::size_t)>(
            [this](auto&& done, const Buffers& where) {
                whenAllowed([this, where, done = std::forward<decltype(done)>(done)]() mutable {
                    conversation_.getSocket().async_read_some(
                        boost::beast::buffers_prefix(readSize, where),
                        [this, done = std::move(done)](boost::system::error_code failure,
                                                       std::size_t size) mutable {
                            if (!failure)
                                conversation_.heard();
                            std::move(done)(failure, size);
                        });
                });
            },
            handler, buffers);
    }

    /// Calls back as soon as the conversation may read, at once if it may now.
    template <class Handler> void whenAllowed(Handler handler) {
        const auto when = conversation_.getReadingTime();
        const bool wasHeld = std::exchange(held_, when > Clock::time_point::min());
        if (wasHeld != held_)
            conversation_.inputHeld();
        if (!held_) {
            handler();
            return;
        }
        try {
            gate_.expires_at(when);
            gate_.async_wait([this, handler = std::move(handler)](boost::system::error_code) mutable {
                whenAllowed(std::move(handler));
            });
        } catch (const std::bad_alloc& exception) {
            conversation_.fail(exception.what()); // nobody else would ever end it
        }
    }

    /// The conversation may perhaps read now.
    void lookAgain() {
        if (held_)
            gate_.cancel();
    }

    /// Whether somebody waits until the conversation may read.
    bool isHeld() const { return held_; }

private:
    using Clock = std::chrono::steady_clock;

    void bytesCame(error_code failure, std::size_t size) {
        if (!failure)
            conversation_.heard();
        handler_(failure, size);
    }

    Conversation& conversation_;
    boost::asio::basic_waitable_timer<Clock, boost::asio::wait_traits<Clock>, executor_type>
        gate_; ///< runs out when reading may go on, if that is known; cancelling it opens it
    SocketReader socketReader_;
    std::function<void(error_code failure, std::size_t size)> handler_; ///< for what arrives
    bool held_ = false;
};

} // namespace Ostrel
