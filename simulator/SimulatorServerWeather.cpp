// The methods about what calls and notifications meet on their way.

#include "simulator/SimulatorServer.h"

namespace Ostrel {

void SimulatorServer::publishWeather() {
    publish({
        {"weatherGet", &SimulatorServer::weatherGet},
        {"weatherSet", &SimulatorServer::weatherSet},
    });
}

std::string SimulatorServer::weatherGet(const Call& call) {
    return answer<NoParams>(call, [this](const NoParams&) { return weather_.report(); });
}

std::string SimulatorServer::weatherSet(const Call& call) {
    Weather::Change change = read<Weather::Settings>(call);
    // Its reply may be long: when there is no memory for it, nothing has changed.
    const Weather::Report report(change);
    auto reply = IRPC::RPCResultObject(call, report).serialize();
    setWeather(std::move(change));
    return reply;
}

/// Tells everybody, too, what the rules are now.
void SimulatorServer::setWeather(Weather::Change change) noexcept {
    weather_.set(std::move(change));
    raiseInAnyCase([this] { handleRPCNotification("Simulator::onWeather", weather_.report().serialize()); });
}

} // namespace Ostrel
