#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Ostrel::Bench {

/// Connects to a port of this machine. The caller closes the socket, which waits for nothing before it sends.
/// @param receiveBuffer  bytes that wait in the system at most; 0 leaves that to it
/// @throws std::runtime_error  nobody listens there
inline int connectTo(std::uint16_t port, int receiveBuffer = 0) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (receiveBuffer != 0)
        ::setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(port);
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0) {
        ::close(socket);
        throw std::runtime_error("nobody listens on port " + std::to_string(port));
    }
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return socket;
}

} // namespace Ostrel::Bench
