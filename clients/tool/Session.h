#pragma once

#include "clients/cpp/Client.h"
#include "clients/cpp/Simulator.h"

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

    /// Likewise, the controls of the simulation that the service is.
    ///
    /// @throws SettingsError, ConnectError, Interrupted
    Simulator getSimulator();

    /// The connection that getSimulator() uses, for calls that are not typed.
    Client& getSimulatorClient();

    /// @throws SettingsError
    ClientOptions getOptions() const;

private:
    std::optional<Client> client_;
    std::optional<Client> simulator_;
};

} // namespace Ostrel::Client::Tool
