// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace Ostrel::Client {

/// How a client connects and waits.
struct ClientOptions {
    std::string token; ///< sent as "Authorization: Bearer"; empty: none
    /// For connecting, the look-up of the host's name included, and for each reply. As here, wherever
    /// this library takes a time to wait std::chrono::milliseconds::max() waits for ever.
    std::chrono::milliseconds timeout{10000};
    /// Signals, such as SIGINT, each of which ends one wait with Interrupted as long as the client
    /// lives. Their handlers are the process's: two clients may name the same ones.
    std::vector<int> stopSignals;
};

/// Reads a token from a file that holds it as its only line.
///
/// @throws SettingsError  names the file and what is wrong with it
std::string readToken(const std::string& path);

} // namespace Ostrel::Client
