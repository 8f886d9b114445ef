#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Ostrel::Bench {

/// What the servers that a host is measured beside have in common with it: they are started with
/// "--listen 127.0.0.1:0 --port-file FILE" and tell on standard output where they serve.
struct Yardstick {
    /// Reads the command line, which only programs write.
    /// @throws std::runtime_error  it names something else
    static Yardstick parse(int argc, char** argv);

    /// Returns a socket that listens on a port of 127.0.0.1 that the system chose, once that is told.
    /// @throws std::runtime_error
    int listen() const;

    std::string portFile{}; ///< empty for none
    std::string replyFile{}; ///< what it answers, byte by byte; empty for nothing
    std::vector<std::string> notificationFiles{}; ///< what it sends to everybody before
};

/// The bytes of a file.
/// @throws std::runtime_error
std::string readFile(const std::string& path);

/// What upgrades a connection for the key that upgradeRequest() sends.
constexpr const char* upgradeAnswer =
    "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
    "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n\r\n";

} // namespace Ostrel::Bench
