#pragma once

#include <chrono>
#include <string>

namespace Ostrel::Client {

/// How a client connects and waits.
struct ClientOptions {
    std::string token; ///< sent as "Authorization: Bearer"; empty: none
    std::chrono::milliseconds timeout{10000}; ///< for connecting, and for each reply
    bool stopOnInterrupt = false; ///< every SIGINT ends one wait with Interrupted
};

/// Reads a token from a file that holds it as its only line.
///
/// @throws SettingsError  names the file and what is wrong with it
std::string readToken(const std::string& path);

} // namespace Ostrel::Client
