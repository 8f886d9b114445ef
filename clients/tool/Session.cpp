#include "clients/tool/Session.h"

#include <algorithm>

namespace Ostrel::Client::Tool {

ClientOptions Session::getOptions() const {
    ClientOptions options;
    if (!tokenFile.empty())
        options.token = readToken(tokenFile);
    // Up to a day, so that no number is too large, nor too small to be milliseconds.
    const double seconds = std::max(0.001, std::min(86400.0, timeoutSeconds));
    options.timeout = std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
    options.stopSignals = stopSignals;
    return options;
}

Client& Session::getClient() {
    if (!client_)
        client_.emplace(Url(url), getOptions());
    return *client_;
}

Client& Session::getSimulatorClient() {
    if (!simulator_)
        simulator_.emplace(Url(url).withServer("Simulator"), getOptions());
    return *simulator_;
}

Simulator Session::getSimulator() {
    return Simulator(getSimulatorClient());
}

} // namespace Ostrel::Client::Tool
