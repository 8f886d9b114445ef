// What all methods share, and those that are about the module itself.

#include "simulator/SimulatorServer.h"

#include "simulator/World.h"

namespace Ostrel {

SimulatorServer::SimulatorServer(TV::DummyTVModule& module) : RPCServer("Simulator"), module_(module) {
    publishModule();

    // publishClock()

    // publishWeather()

    // publishTraffic()
}

void SimulatorServer::publish(std::initializer_list<std::pair<const char*, Handler>> handlers) {
    auto& table = methods[getName()];
    for (const auto& [name, handler] : handlers)
        table.insert({name, static_cast<Method>(handler)});
}

void SimulatorServer::publishModule() {
    publish({
        {"worldGet", &SimulatorServer::worldGet},
    });
}

std::string SimulatorServer::worldGet(const Call& call) {
    return answer<NoParams>(call, [this](const NoParams&) { return World(module_.describeWorld()); });
}

} // namespace Ostrel
