// A WebSocket server as the documentation of Boost.Beast writes one: each message goes back as it came.

#include "bench/Yardstick.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <cstdio>
#include <exception>
#include <memory>
#include <utility>

namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;
namespace beast = boost::beast;

class Session : public std::enable_shared_from_this<Session> {
public:
    explicit Session(tcp::socket socket) : stream_(std::move(socket)) {
        using Timeout = beast::websocket::stream_base::timeout;
        stream_.set_option(Timeout::suggested(beast::role_type::server));
        stream_.text(true);
    }

    void start() {
        stream_.async_accept([self = shared_from_this()](error_code failure) {
            if (!failure)
                self->read();
        });
    }

private:
    void read() {
        stream_.async_read(buffer_, [self = shared_from_this()](error_code failure, std::size_t) {
            if (!failure)
                self->write();
        });
    }

    void write() {
        stream_.async_write(buffer_.data(), [self = shared_from_this()](error_code failure, std::size_t) {
            if (failure)
                return;
            self->buffer_.consume(self->buffer_.size());
            self->read();
        });
    }

    beast::websocket::stream<beast::tcp_stream> stream_;
    beast::flat_buffer buffer_;
};

void accept(tcp::acceptor& acceptor) {
    acceptor.async_accept([&acceptor](error_code failure, tcp::socket socket) {
        if (!failure) {
            socket.set_option(tcp::no_delay(true));
            std::make_shared<Session>(std::move(socket))->start();
        }
        accept(acceptor);
    });
}

} // namespace

int main(int argc, char** argv) {
    try {
        boost::asio::io_context context(1);
        tcp::acceptor acceptor(context, tcp::v4(), Ostrel::Bench::Yardstick::parse(argc, argv).listen());
        accept(acceptor);
        context.run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
}
