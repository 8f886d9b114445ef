#pragma once

#include "Ostrel/rpc/Exception.h"
#include "Ostrel/rpc/RPCServer.h"
#include "Ostrel/runtime/Turn.h"
#include "Ostrel/serialization/Deserializer.h"
#include "Ostrel/transport/Traffic.h"
#include "TV/server/dummy/DummyTVModule.h"
#include "simulator/ClockStart.h"
#include "simulator/TrafficWatchers.h"
#include "simulator/Weather.h"

#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Ostrel {

/// The RPC server "Simulator": what the simulation does besides answering its viewers.
///
/// Every method holds the turn. It reads all of its params first, and refuses what it does not
/// know; then it acts, as a whole.
class SimulatorServer : public RPCServer {
public:
    /// @param module   initialised; must live longer than the server
    /// @param tv       the server of the module, whose weather it is and whose messages it shows from now
    ///                 on; not serving yet, and must live longer, too
    /// @param weather  at the start
    /// @param clock    at the start, which is now
    SimulatorServer(TV::DummyTVModule& module, RPCServer& tv, Weather::Settings weather = {},
                    const ClockStart& clock = {});

    /// Leaves the clock to the system.
    ~SimulatorServer() override;

    std::string_view getDescription() const noexcept override;

private:
    using Call = IRPC::RPCSynchronousMethodObject;
    using Handler = std::string (SimulatorServer::*)(const Call&);

    /// The params of a method that takes none.
    struct NoParams {
        explicit NoParams(const Deserializer& params) { params.refuseUnknown({}); }
    };

    /// Adds methods to the table. Each part of the simulation publishes its own, in the source file
    /// that has them; the constructor calls them all.
    void publish(std::initializer_list<std::pair<const char*, Handler>> handlers);

    /// What every method shares: reads the params as a record and makes the reply.
    ///
    /// @tparam Params    made of a Deserializer, it refuses what is wrong by a DecodeError
    /// @param operation  called with the Params; returns the value of the reply. What it refuses is
    ///                   an Exception, and then it has changed nothing.
    template <typename Params, typename Operation>
    static std::string answer(const Call& call, Operation operation) {
        const auto params = read<Params>(call);
        try {
            return IRPC::RPCResultObject(call, operation(params)).serialize();
        } catch (const Exception& exception) {
            return IRPC::RPCErrorObject(call, exception.what()).serialize();
        }
    }

    /// A long text takes a while and the turn is others' meanwhile.
    template <typename Params> static Params read(const Call& call) {
        const auto decode = [&] {
            Deserializer params = call.decodeParameters();
            return Params(params);
        };
        if (call.getParameters().size() <= Call::shortParameters)
            return decode();
        const Turn::Pause pause;
        return decode();
    }

    // SimulatorServer.cpp
    void publishModule();
    std::string signalSet(const Call& call);
    std::string reset(const Call& call);
    std::string worldGet(const Call& call);

    // SimulatorServerClock.cpp
    class ClockRecord;
    void publishClock();
    std::string clockGet(const Call& call);
    std::string clockSet(const Call& call);
    std::string clockStep(const Call& call);
    bool stepClock(std::time_t seconds);
    bool stepToNextStart(std::optional<std::int32_t> serviceId, std::time_t before);
    void resetClock();
    ClockRecord tellClock() noexcept;

    // SimulatorServerWeather.cpp
    void publishWeather();
    std::string weatherGet(const Call& call);
    std::string weatherSet(const Call& call);
    void setWeather(Weather::Change change) noexcept;

    // SimulatorServerTraffic.cpp
    void publishTraffic();
    std::string trafficGet(const Call& call);
    std::string trafficWatch(const Call& call);

    TV::DummyTVModule& module_;
    const ClockStart clockStart_;
    Weather weather_;
    Traffic traffic_;
    TrafficWatchers watchers_{traffic_, *this};
};

} // namespace Ostrel
