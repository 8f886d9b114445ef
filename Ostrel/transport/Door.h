#pragma once

#include "Ostrel/transport/Address.h"
#include "Ostrel/transport/Socket.h"

#include <boost/asio/basic_socket_acceptor.hpp>

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include <sys/stat.h>

namespace Ostrel {

/// One bound address, by which clients come in.
///
/// The file of a Unix domain socket takes the place of one that a host has left behind which did
/// not stop, and goes with the door, unless somebody has put another in its place. A socket that
/// somebody else has bound is served as it is, and its file stays.
///
/// Made and closed on any thread; in between on the thread that runs the context.
class Door {
public:
    /// A client that has come in.
    struct Guest {
        Socket socket;
        std::string localAddress; ///< numeric, that it reached; empty on a Unix domain socket
        std::string name; ///< what the log calls it: its address and port, or "unix"
    };
    using Welcome = std::function<void(Guest guest)>;
    using Blocked = std::function<void()>;

    /// Binds the address; the system puts clients into a queue from now on.
    /// @param addressInUse  what the refusal advises when somebody else has the address
    /// @throws StartError  the address cannot be had, or no descriptor is left for a client
    Door(boost::asio::io_context& context, const Address& address, const std::string& addressInUse);

    /// Takes a listening socket over, and closes it at the end.
    /// @throws StartError  it is none, or no descriptor is left for a client
    Door(boost::asio::io_context& context, int socket);
    ~Door();

    Door(const Door&) = delete;
    Door& operator=(const Door&) = delete;

    /// The address, with the port that the system chose.
    const Address& getAddress() const { return address_; }

    /// Lets clients in from now on, one after another. While the system or the memory has no room
    /// for another one, they wait in the system's queue; the log tells of it once a minute.
    /// @param blocked  called when that is so: it is time for tryAgain() a little later. Must not throw.
    void open(Welcome welcome, Blocked blocked);

    /// Looks whether there is room again, where there was none.
    void tryAgain();

    /// Lets nobody in any more.
    void close();

private:
    using Clock = std::chrono::steady_clock;
    using Acceptor = boost::asio::basic_socket_acceptor<boost::asio::generic::stream_protocol,
                                                        boost::asio::io_context::executor_type>;

    boost::system::error_code listenTcp();
    boost::system::error_code listenLocal();
    boost::system::error_code limitBuffers();
    void checkRoomForClient();
    void removeFile() noexcept;
    void accept();
    void acceptLater(const boost::system::error_code& why) noexcept;
    void letOneIn(boost::system::error_code& failure);
    void letIn(Socket socket);

    Address address_;
    Acceptor acceptor_;
    std::optional<struct stat> file_; ///< of a Unix domain socket, while it may be there
    bool isBlocked_ = false; ///< nobody waits for the next client
    Clock::time_point silentUntil_ = Clock::time_point::min(); ///< no line in the log about it
    Welcome welcome_;
    Blocked blocked_;
};

} // namespace Ostrel
