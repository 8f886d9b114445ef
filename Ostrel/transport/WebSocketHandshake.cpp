#include "Ostrel/transport/WebSocketHandshake.h"

#include <boost/asio/error.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <stdexcept>

namespace Ostrel {

namespace beast = boost::beast;
namespace websocket = beast::websocket;

using boost::system::error_code;

namespace {

/// What Beast takes for a socket: it keeps what is written. Nothing is read, since the request is there.
class Writer {
public:
    using executor_type = Socket::executor_type;

    Writer(const executor_type& executor, std::string& written) : executor_(executor), written_(written) {}

    executor_type get_executor() const { return executor_; }

    template <class Buffers> std::size_t read_some(const Buffers&) {
        throw std::logic_error("never read here");
    }
    template <class Buffers> std::size_t read_some(const Buffers&, error_code& failure) {
        failure = boost::asio::error::operation_not_supported;
        return 0;
    }
    template <class Buffers> std::size_t write_some(const Buffers& buffers) {
        const auto bytes = beast::buffers_to_string(buffers);
        written_ += bytes;
        return bytes.size();
    }
    template <class Buffers> std::size_t write_some(const Buffers& buffers, error_code& failure) {
        failure = {};
        return write_some(buffers);
    }

private:
    executor_type executor_;
    std::string& written_;
};

} // namespace

WebSocketHandshake::WebSocketHandshake(const Socket::executor_type& executor, const Http::Request& request,
                                       const std::string& subProtocol) {
    websocket::stream<Writer, false> stream(executor, answer);
    stream.set_option(websocket::stream_base::decorator([&](websocket::response_type& response) {
        response.set("X-Content-Type-Options", "nosniff");
        response.set(beast::http::field::server, "ostrel"); // else Beast's name and version
        if (!subProtocol.empty())
            response.set(beast::http::field::sec_websocket_protocol, subProtocol);
    }));
    error_code failure;
    stream.accept(request, failure);
    isAccepted = !failure;
}

} // namespace Ostrel
