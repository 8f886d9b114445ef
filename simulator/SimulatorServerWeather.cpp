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
    return answer<Weather::Settings>(call, [this](const Weather::Settings& settings) {
        weather_.set(settings);
        return tellWeather();
    });
}

void SimulatorServer::resetWeather() {
    weather_.reset();
    tellWeather();
}

/// Tells everybody what the rules are now.
Weather::Report SimulatorServer::tellWeather() {
    auto report = weather_.report();
    handleRPCNotification("Simulator::onWeather", report.serialize());
    return report;
}

} // namespace Ostrel
