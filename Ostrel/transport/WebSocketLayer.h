#pragma once

#include "Ostrel/transport/Conversation.h"
#include "Ostrel/transport/Input.h"

#include <boost/asio/async_result.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/bind_handler.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/core/role.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>

namespace Ostrel {

/// What Beast takes for the socket below a WebSocket. Reads go to the input, after the bytes
/// that were read behind the upgrade request; writes go to the outbox, where Beast's pongs
/// and close frames queue up with our messages instead of cutting into them.
class WebSocketLayer {
public:
    using executor_type = Socket::executor_type;

    /// @param early  what was read behind the upgrade request
    WebSocketLayer(Conversation& conversation, std::string early)
        : conversation_(conversation), early_(std::move(early)) {}

    executor_type get_executor() const { return conversation_.getSocket().get_executor(); }

    template <class Buffers, class Handler> auto async_read_some(const Buffers& buffers, Handler&& handler) {
        return boost::asio::async_initiate<Handler, void(boost::system::error_code, std::size_t)>(
            [this](auto&& done, const Buffers& where) {
                if (early_.empty()) {
                    conversation_.getInput().async_read_some(where, std::forward<decltype(done)>(done));
                    return;
                }
                const auto size = boost::asio::buffer_copy(where, boost::asio::buffer(early_));
                early_.erase(0, size);
                complete(std::forward<decltype(done)>(done), size);
            },
            handler, buffers);
    }

    template <class Buffers, class Handler> auto async_write_some(const Buffers& buffers, Handler&& handler) {
        return boost::asio::async_initiate<Handler, void(boost::system::error_code, std::size_t)>(
            [this](auto&& done, const Buffers& what) {
                complete(std::forward<decltype(done)>(done), push(what));
            },
            handler, buffers);
    }

    // accept() is given the request and writes its answer; it reads nothing.
    template <class Buffers> std::size_t read_some(const Buffers&) {
        throw std::logic_error("never read here");
    }
    template <class Buffers> std::size_t read_some(const Buffers&, boost::system::error_code& failure) {
        failure = boost::asio::error::operation_not_supported;
        return 0;
    }
    template <class Buffers> std::size_t write_some(const Buffers& buffers) { return push(buffers); }
    template <class Buffers>
    std::size_t write_some(const Buffers& buffers, boost::system::error_code& failure) {
        failure = {};
        return push(buffers);
    }

    friend void beast_close_socket(WebSocketLayer& layer) { layer.conversation_.close(); }

    // The connection ends the socket itself, when the outbox is empty.
    [[maybe_unused]] friend void teardown(boost::beast::role_type, WebSocketLayer&,
                                          boost::system::error_code& failure) {
        failure = {};
    }
    template <class Handler>
    friend void async_teardown(boost::beast::role_type, WebSocketLayer& layer, Handler&& handler) {
        boost::asio::post(
            layer.get_executor(),
            boost::beast::bind_front_handler(std::forward<Handler>(handler), boost::system::error_code()));
    }

private:
    template <class Buffers> std::size_t push(const Buffers& buffers) {
        auto bytes = boost::beast::buffers_to_string(buffers);
        const auto size = bytes.size();
        conversation_.send(std::move(bytes), std::string());
        return size;
    }

    template <class Handler> void complete(Handler&& handler, std::size_t size) {
        boost::asio::post(get_executor(),
                          boost::beast::bind_front_handler(std::forward<Handler>(handler),
                                                           boost::system::error_code(), size));
    }

    Conversation& conversation_;
    std::string early_;
};

} // namespace Ostrel
