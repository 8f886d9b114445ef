#pragma once

#include "Ostrel/transport/Socket.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/detail/reactor.hpp>
#include <boost/asio/detail/reactor_op.hpp>

#include <cstddef>
#include <functional>
#include <memory>

namespace Ostrel {

/// Reads from a socket, one read at a time. After one that has left nothing behind the next waits
/// at once; Asio's own looks first, in vain, which is one system call in four of a small request.
///
/// A read that does not fill its room has not taken all: the client's end may stand behind it, of which
/// the system tells once. So the system is asked, with each read, what it has left, and counts the end.
/// Where it does not tell, the next read looks first.
///
/// An operation of Asio's reactor can do that, which Asio calls a detail of its own.
class SocketReader final : private boost::asio::detail::reactor_op {
public:
    using Handler = std::function<void(const boost::system::error_code& failure, std::size_t size)>;

    /// @param socket   outlives this
    /// @param handler  is called when a read is over, never from inside read()
    SocketReader(Socket& socket, Handler handler);
    SocketReader(const SocketReader&) = delete;
    SocketReader& operator=(const SocketReader&) = delete;

    /// Begins to read; nobody else may be reading.
    /// @param where   must stay until the read is over or the socket closed
    /// @param keeper  keeps this alive until then
    void read(const boost::asio::mutable_buffer& where, std::shared_ptr<void> keeper) noexcept;

private:
    static status receive(reactor_op* operation) noexcept;
    static void complete(void* owner, boost::asio::detail::operation* operation,
                         const boost::system::error_code&, std::size_t);

    Socket& socket_;
    boost::asio::detail::reactor& reactor_;
    const Handler handler_;
    bool asksWhatIsLeft_ = false;

    // The read under way:
    boost::asio::mutable_buffer where_;
    std::shared_ptr<void> keeper_;
};

} // namespace Ostrel
