#include "Ostrel/transport/Door.h"

#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Families.h"
#include "Ostrel/transport/OwnFile.h"
#include "Ostrel/transport/StartError.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/local/stream_protocol.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Ostrel {

namespace asio = boost::asio;

using asio::ip::tcp;
using boost::system::error_code;
using Local = asio::local::stream_protocol;

namespace {

Counter heldUp(holdUps, "accept");

/// Bytes; the system takes twice as much, and up to 6 MiB of its own accord.
constexpr int receiveBuffer = 128 << 10;
constexpr int sendBuffer = 256 << 10;

constexpr std::chrono::minutes silentTime{1}; ///< between lines in the log that tell of it

/// Whether nobody serves on a socket file any more.
bool isStale(const Local::endpoint& endpoint) {
    // It does not wait, as it would for one who serves and whose queue is full.
    const int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const bool refused =
        ::connect(probe, endpoint.data(), socklen_t(endpoint.size())) != 0 && errno == ECONNREFUSED;
    if (probe >= 0)
        ::close(probe);
    return refused;
}

/// Makes room for a socket file, where one stands that nobody serves on.
/// @throws StartError  something else stands there
void makeRoom(const Address& address) {
    struct stat there {};
    if (::lstat(address.path.c_str(), &there) != 0)
        return;
    if (!S_ISSOCK(there.st_mode))
        throw StartError("cannot listen on " + address.toString() + ": that is " +
                         (S_ISDIR(there.st_mode) ? "a folder" : "a file and no socket"));
    if (isStale(Local::endpoint(address.path)))
        ::unlink(address.path.c_str());
}

/// As people write it: through an IPv6 socket an IPv4 address comes wrapped.
std::string textOf(const asio::ip::address& address) {
    if (address.is_v6() && address.to_v6().is_v4_mapped())
        return make_address_v4(asio::ip::v4_mapped, address.to_v6()).to_string();
    return address.to_string();
}

tcp::endpoint tcpOf(const asio::generic::stream_protocol::endpoint& endpoint) {
    tcp::endpoint result;
    std::memcpy(result.data(), endpoint.data(), std::min(endpoint.size(), result.capacity()));
    return result;
}

} // namespace

Door::Door(asio::io_context& context, const Address& address, const std::string& addressInUse)
    : address_(address), acceptor_(context) {
    if (address.path.size() >= sizeof(sockaddr_un::sun_path))
        throw StartError("cannot listen on " + address.toString() + ": the path is too long");
    const auto failure = address.isUnix() ? listenLocal() : listenTcp();
    if (failure)
        removeFile();
    if (failure == asio::error::address_in_use)
        throw StartError(address.toString() + " is in use" +
                         (addressInUse.empty() ? std::string() : "; " + addressInUse));
    if (failure)
        throw StartError("cannot listen on " + address.toString() + ": " + failure.message());
    checkRoomForClient();
}

Door::Door(asio::io_context& context, int socket) : address_(Address::ofSocket(socket)), acceptor_(context) {
    int family = 0;
    socklen_t size = sizeof family;
    ::getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &family, &size);
    error_code failure;
    acceptor_.assign(asio::generic::stream_protocol(family, 0), socket, failure);
    if (!failure && !address_.isUnix())
        failure = limitBuffers();
    if (failure)
        throw StartError("cannot listen on " + address_.toString() + ": " + failure.message());
    checkRoomForClient();
}

/// @throws StartError  the system gives us no other descriptor
void Door::checkRoomForClient() {
    const int spare = ::fcntl(acceptor_.native_handle(), F_DUPFD_CLOEXEC, 0);
    if (spare >= 0) {
        ::close(spare);
        return;
    }
    removeFile();
    throw StartError("cannot listen on " + address_.toString() +
                     ": no descriptor is left for a client; raise the limit of open files");
}

Door::~Door() {
    removeFile();
}

void Door::removeFile() noexcept {
    if (file_)
        removeOwnFile(address_.path, *file_);
    file_.reset();
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
        failure = limitBuffers();
    if (!failure)
        acceptor_.bind(endpoint, failure);
    if (!failure)
        acceptor_.listen(asio::socket_base::max_listen_connections, failure);
    if (!failure)
        address_.port = tcpOf(acceptor_.local_endpoint()).port();
    return failure;
}

/// What the system keeps for a client is bounded as well; its sockets inherit it.
error_code Door::limitBuffers() {
    error_code failure;
    acceptor_.set_option(asio::socket_base::receive_buffer_size(receiveBuffer), failure);
    if (!failure)
        acceptor_.set_option(asio::socket_base::send_buffer_size(sendBuffer), failure);
    return failure;
}

error_code Door::listenLocal() {
    makeRoom(address_);
    error_code failure;
    acceptor_.open(Local(), failure);
    if (!failure) {
        const auto mask = ::umask(0177);
        acceptor_.bind(Local::endpoint(address_.path), failure);
        ::umask(mask);
    }
    struct stat ours {};
    if (!failure && ::lstat(address_.path.c_str(), &ours) == 0)
        file_ = ours;
    if (!failure)
        acceptor_.listen(asio::socket_base::max_listen_connections, failure);
    return failure;
}

void Door::open(Welcome welcome, Blocked blocked) {
    welcome_ = std::move(welcome);
    blocked_ = std::move(blocked);
    acceptor_.non_blocking(true);
    accept();
}

void Door::close() {
    removeFile();
    error_code ignored;
    acceptor_.close(ignored);
}

void Door::tryAgain() {
    if (std::exchange(isBlocked_, false) && acceptor_.is_open())
        accept();
}

/// Waits for the next client before it is taken from the system's queue: an operation that took it
/// would be lost, and with it all who come, where there is no memory for its socket.
void Door::accept() {
    try {
        acceptor_.async_wait(Acceptor::wait_read, [this](error_code failure) {
            if (!acceptor_.is_open())
                return;
            if (!failure)
                letOneIn(failure);
            if (!failure || failure == asio::error::would_block)
                accept();
            else
                acceptLater(failure);
        });
    } catch (const std::bad_alloc&) {
        acceptLater(make_error_code(boost::system::errc::not_enough_memory));
    }
}

void Door::acceptLater(const error_code& why) noexcept {
    heldUp.increment();
    const auto now = Clock::now();
    if (now >= silentUntil_) {
        silentUntil_ = now + silentTime;
        char text[128]; // there may be no memory for another
        ostrelDebugPrint(DebugLevel::Warning, "Listener", "Door", __LINE__,
                         "no more clients can be let in for now: %s\n", why.message(text, sizeof text));
    }
    isBlocked_ = true;
    blocked_();
}

void Door::letOneIn(error_code& failure) {
    try {
        auto socket = acceptor_.accept(failure);
        if (!failure)
            letIn(std::move(socket));
    } catch (...) {
        failure = make_error_code(boost::system::errc::not_enough_memory);
    }
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
        welcome_({std::move(socket), textOf(local.address()),
                  Address{textOf(remote.address()), remote.port(), {}}.toString()});
}

} // namespace Ostrel
