#include "Ostrel/transport/SocketReader.h"

#include <boost/asio/error.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/uio.h>

namespace Ostrel {

namespace asio = boost::asio;

using boost::system::error_code;

namespace {

/// What the reactor knows about a socket.
struct Access : Socket {
    static asio::detail::reactor::per_descriptor_data& dataOf(Socket& socket) {
        return (socket.*(&Access::impl_)).get_implementation().reactor_data_;
    }
};

/// Whether the system says that a read has left nothing, the client's end neither.
bool hasLeftNothing(const msghdr& message) {
    const auto* const told = CMSG_FIRSTHDR(&message);
    if (told == nullptr || told->cmsg_level != IPPROTO_TCP || told->cmsg_type != TCP_CM_INQ)
        return false;
    int left = 0;
    std::memcpy(&left, CMSG_DATA(told), sizeof left);
    return left == 0;
}

} // namespace

SocketReader::SocketReader(Socket& socket, Handler handler)
    : reactor_op({}, &receive, &complete), socket_(socket),
      reactor_(asio::use_service<asio::detail::reactor>(socket.get_executor().context())),
      handler_(std::move(handler)) {}

void SocketReader::read(const asio::mutable_buffer& where, std::shared_ptr<void> keeper) noexcept {
    if (!std::exchange(asksWhatIsLeft_, true)) {
        const int yes = 1;
        ::setsockopt(socket_.native_handle(), IPPROTO_TCP, TCP_INQ, &yes, sizeof yes);
    }
    where_ = where;
    keeper_ = std::move(keeper);
    ec_ = {};
    bytes_transferred_ = 0;
    reactor_.start_op(asio::detail::reactor::read_op, socket_.native_handle(), Access::dataOf(socket_), this,
                      false, true);
}

/// Takes what there is; the reactor calls it when there may be something.
asio::detail::reactor_op::status SocketReader::receive(reactor_op* operation) noexcept {
    auto& self = *static_cast<SocketReader*>(operation);
    iovec part{self.where_.data(), self.where_.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    ssize_t size = 0;
    do
        size = ::recvmsg(self.socket_.native_handle(), &message, MSG_DONTWAIT);
    while (size < 0 && errno == EINTR);
    if (size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
        return not_done;
    if (size < 0)
        self.ec_ = error_code(errno, boost::system::system_category());
    else if (size == 0)
        self.ec_ = asio::error::eof;
    self.bytes_transferred_ = static_cast<std::size_t>(std::max<ssize_t>(size, 0));
    return size > 0 && hasLeftNothing(message) ? done_and_exhausted : done;
}

/// @param owner  null when the context goes and nobody is to be called
void SocketReader::complete(void* owner, asio::detail::operation* operation, const error_code&, std::size_t) {
    auto& self = *static_cast<SocketReader*>(static_cast<reactor_op*>(operation));
    const auto keeper = std::move(self.keeper_);
    if (owner != nullptr)
        self.handler_(error_code(self.ec_), self.bytes_transferred_);
}

} // namespace Ostrel
