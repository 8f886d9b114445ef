#include "clients/tool/Session.h"

#include <algorithm>

namespace Ostrel::Client::Tool {

Client& Session::getClient() {
    if (!client_)
        client_.emplace(Url(url), getOptions());
    return *client_;
}

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

} // namespace Ostrel::Client::Tool
