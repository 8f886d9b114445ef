#pragma once

#include "clients/cpp/Client.h"

#include <csignal>
#include <optional>
#include <string>
#include <vector>

namespace Ostrel::Client::Tool {

/// What the options that every command takes say, and the connection made from them.
class Session {
public:
    std::string url = Url::defaultText;
    std::string tokenFile; ///< empty: no token
    double timeoutSeconds = 10;
    bool json = false; ///< standard output is for a script
    std::vector<int> stopSignals{SIGINT}; ///< as ClientOptions has them

    /// Connects at the first use.
    ///
    /// @throws SettingsError, ConnectError, Interrupted
    Client& getClient();

    /// @throws SettingsError
    ClientOptions getOptions() const;

private:
    std::optional<Client> client_;
};

} // namespace Ostrel::Client::Tool
