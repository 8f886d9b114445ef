// What all methods share, and those that are about the module itself.

#include "simulator/SimulatorServer.h"

#include "Ostrel/runtime/Clock.h"
#include "Ostrel/serialization/BooleanObject.h"
#include "simulator/Description.h"
#include "simulator/World.h"

namespace Ostrel {

namespace {

/// The params of signalSet.
class Signal {
public:
    explicit Signal(const Deserializer& params) {
        params.refuseUnknown({"strength", "quality"});
        const auto strength = params.readUnsigned("strength", 0, most);
        status_ = {strength, params.readUnsigned("quality", 0, most)};
    }

    const TV::ITVService::SignalStatus& getStatus() const { return status_; }

private:
    static constexpr unsigned most = 100; // percent

    TV::ITVService::SignalStatus status_;
};

} // namespace

SimulatorServer::SimulatorServer(TV::DummyTVModule& module, RPCServer& tv, Weather::Settings weather,
                                 const ClockStart& clock)
    : RPCServer("Simulator"), module_(module), clockStart_(clock), weather_(tv, std::move(weather)) {
    tv.addObserver(traffic_);
    publishModule();
    publishClock();
    publishWeather();
    publishTraffic();
    resetClock();
}

SimulatorServer::~SimulatorServer() {
    Clock::release();
}

std::string_view SimulatorServer::getDescription() const noexcept {
    return Simulator::description();
}

void SimulatorServer::publish(std::initializer_list<std::pair<const char*, Handler>> handlers) {
    auto& table = methods[getName()];
    for (const auto& [name, handler] : handlers)
        table.insert({name, static_cast<Method>(handler)});
}

void SimulatorServer::publishModule() {
    publish({
        {"signalSet", &SimulatorServer::signalSet},
        {"reset", &SimulatorServer::reset},
        {"worldGet", &SimulatorServer::worldGet},
    });
}

std::string SimulatorServer::signalSet(const Call& call) {
    return answer<Signal>(call, [this](const Signal& signal) {
        module_.setSignalStatus(signal.getStatus());
        return BooleanObject(true);
    });
}

std::string SimulatorServer::reset(const Call& call) {
    return answer<NoParams>(call, [this](const NoParams&) {
        auto weather = weather_.getStart();
        module_.reset(); // only up to here memory can run out
        setWeather(std::move(weather));
        resetClock();
        return BooleanObject(true);
    });
}

std::string SimulatorServer::worldGet(const Call& call) {
    return answer<NoParams>(call, [this](const NoParams&) { return World(module_.describeWorld()); });
}

} // namespace Ostrel
