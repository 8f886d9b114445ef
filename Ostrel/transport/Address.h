// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Ostrel {

/// Where a listener listens: an IP address with a port, or the path of a Unix domain socket.
struct OSTREL_API Address {
    std::string host; ///< a numeric IP address without brackets; empty for a Unix domain socket
    std::uint16_t port = 0; ///< 0 lets the system choose
    std::string path; ///< of a Unix domain socket; empty otherwise

    /// Reads "127.0.0.1:8480", "[::1]:8480", "localhost:8480" or "unix:PATH".
    /// @throws StartError  it is none of these
    static Address parse(const std::string& text);

    /// Where somebody else has bound a listening socket. A name that is no file's begins with '@' here.
    /// @throws StartError  it is no socket on which clients of these kinds come in
    static Address ofSocket(int socket);

    bool isUnix() const { return !path.empty(); }

    /// Whether a host name or numeric address means this machine alone: localhost, 127.x.x.x, ::1.
    static bool isLoopbackHost(std::string_view host);

    /// Whether only this machine can reach it.
    bool isLoopback() const;

    /// The form that parse() reads.
    std::string toString() const;
};

} // namespace Ostrel
