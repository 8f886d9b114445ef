#include "Ostrel/transport/Door.h"

#include "Ostrel/transport/StartError.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/local/stream_protocol.hpp>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace Ostrel {

namespace asio = boost::asio;

using asio::ip::tcp;
using boost::system::error_code;
using Local = asio::local::stream_protocol;

namespace {

constexpr std::chrono::milliseconds pauseTime{250}; ///< before accepting is tried again

/// Removes the socket file that a host has left behind which ended without stopping.
void removeStaleSocket(asio::io_context& context, const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode))
        return;
    Local::socket probe(context);
    error_code failure;
    probe.connect(Local::endpoint(path), failure);
    if (failure == asio::error::connection_refused)
        ::unlink(path.c_str());
}

tcp::endpoint tcpOf(const asio::generic::stream_protocol::endpoint& endpoint) {
    tcp::endpoint result;
    std::memcpy(result.data(), endpoint.data(), std::min(endpoint.size(), result.capacity()));
    return result;
}

} // namespace

Door::Door(asio::io_context& context, const Address& address, const std::string& addressInUse)
    : address_(address), acceptor_(context), pause_(context) {
    if (address.path.size() >= sizeof(sockaddr_un::sun_path))
        throw StartError("cannot listen on " + address.toString() + ": the path is too long");
    const auto failure = address.isUnix() ? listenLocal() : listenTcp();
    if (failure == asio::error::address_in_use)
        throw StartError(address.toString() + " is in use" +
                         (addressInUse.empty() ? std::string() : "; " + addressInUse));
    if (failure)
        throw StartError("cannot listen on " + address.toString() + ": " + failure.message());
}

Door::~Door() {
    if (address_.isUnix())
        ::unlink(address_.path.c_str());
}

error_code Door::listenTcp() {
    const tcp::endpoint endpoint(asio::ip::make_address(address_.host), address_.port);
    error_code failure;
    acceptor_.open(endpoint.protocol(), failure);
    if (!failure)
        acceptor_.set_option(tcp::acceptor::reuse_address(true), failure);
    if (!failure && endpoint.address().is_v6())
        acceptor_.set_option(asio::ip::v6_only(true), failure);
    if (!failure)
        acceptor_.bind(endpoint, failure);
    if (!failure)
        acceptor_.listen(asio::socket_base::max_listen_connections, failure);
    if (!failure)
        address_.port = tcpOf(acceptor_.local_endpoint()).port();
    return failure;
}

error_code Door::listenLocal() {
    removeStaleSocket(acceptor_.get_executor().context(), address_.path);
    error_code failure;
    acceptor_.open(Local(), failure);
    if (!failure) {
        const auto mask = ::umask(0177);
        acceptor_.bind(Local::endpoint(address_.path), failure);
        ::umask(mask);
    }
    if (!failure)
        acceptor_.listen(asio::socket_base::max_listen_connections, failure);
    return failure;
}

void Door::open(Welcome welcome) {
    welcome_ = std::move(welcome);
    accept();
}

void Door::close() {
    error_code ignored;
    acceptor_.close(ignored);
    pause_.cancel();
}

void Door::accept() {
    try {
        acceptor_.async_accept([this](error_code failure, Socket socket) {
            if (!acceptor_.is_open())
                return;
            if (failure) {
                acceptLater();
                return;
            }
            // The next one is waited for first: what is thrown for this one keeps nobody out.
            accept();
            letIn(std::move(socket));
        });
    } catch (const std::bad_alloc&) {
        acceptLater();
    }
}

void Door::acceptLater() {
    pause_.expires_after(pauseTime);
    pause_.async_wait([this](error_code cancelled) {
        if (!cancelled && acceptor_.is_open())
            accept();
    });
}

void Door::letIn(Socket socket) {
    if (address_.isUnix()) {
        welcome_({std::move(socket), {}, "unix"});
        return;
    }
    error_code gone;
    socket.set_option(tcp::no_delay(true), gone);
    const auto local = tcpOf(socket.local_endpoint(gone));
    const auto remote = tcpOf(socket.remote_endpoint(gone));
    if (!gone)
        welcome_({std::move(socket), local.address().to_string(),
                  Address{remote.address().to_string(), remote.port(), {}}.toString()});
}

} // namespace Ostrel
