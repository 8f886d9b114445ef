// The methods about the clock that the service goes by.

#include "simulator/SimulatorServer.h"

#include "Ostrel/rpc/ParameterError.h"
#include "Ostrel/runtime/Cancellation.h"
#include "Ostrel/runtime/Clock.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <limits>
#include <optional>

namespace Ostrel {

namespace {

constexpr std::time_t latest = std::numeric_limits<std::int32_t>::max(); ///< that the wire can tell

struct SetParams {
    explicit SetParams(Deserializer& params) {
        params.refuseUnknown({"now", "speed"});
        if (params.has("now"))
            now = params.readInt("now");
        if (params.has("speed"))
            speed = params.readNumber("speed", 0, fastest);
        if (!now && !speed)
            params.refuse("now", "is missing, and so is \"speed\"");
    }

    static constexpr int fastest = Clock::fastest;

    std::optional<std::time_t> now; ///< the service's
    std::optional<double> speed;
};

struct StepParams {
    explicit StepParams(Deserializer& params) {
        params.refuseUnknown({"seconds", "toNextStart"});
        if (params.has("seconds") == params.has("toNextStart"))
            params.refuse("seconds", params.has("seconds") ? "does not go together with \"toNextStart\""
                                                           : "is missing, and so is \"toNextStart\"");
        if (params.has("seconds"))
            seconds = params.readUnsigned("seconds", 1, latest);
        else
            readNextStart(params);
    }

    std::optional<std::time_t> seconds;
    // Without seconds:
    std::optional<std::int32_t> serviceId;
    std::time_t before = 0; ///< seconds

private:
    void readNextStart(Deserializer& params) {
        params.enterMember("toNextStart");
        params.refuseUnknown({"serviceId", "before"});
        if (params.has("serviceId"))
            serviceId = params.readInt("serviceId");
        before = deserialize<unsigned>("before", params, 0u);
        params.leaveMember("toNextStart");
    }
};

} // namespace

/// The clock as it travels.
class SimulatorServer::ClockRecord : public SerialObject {
public:
    explicit ClockRecord(std::time_t offset) : reading_(Clock::read()), offset_(offset) {}

    ClockRecord* clone() const override { return new ClockRecord(*this); }
    using SerialObject::serialize;
    void serialize(Serializer& out) const override {
        out.write("now", std::int64_t{std::min(reading_.now + offset_, latest)});
        out.write("speed", reading_.speed);
        out.write("real", std::int64_t{real_});
    }

private:
    Clock::Reading reading_;
    std::time_t offset_;
    std::time_t real_ = std::time(nullptr);
};

void SimulatorServer::publishClock() {
    publish({
        {"clockGet", &SimulatorServer::clockGet},
        {"clockSet", &SimulatorServer::clockSet},
        {"clockStep", &SimulatorServer::clockStep},
    });
    waitingMethods.insert("Simulator::clockSet");
    longMethods.insert("Simulator::clockStep");
}

std::string SimulatorServer::clockGet(const Call& call) {
    return answer<NoParams>(call, [this](const NoParams&) { return ClockRecord(module_.timeOffset); });
}

std::string SimulatorServer::clockSet(const Call& call) {
    return answer<SetParams>(call, [this](const SetParams& params) {
        auto now = params.now;
        if (now)
            *now -= module_.timeOffset;
        Clock::set(now, params.speed);
        auto clock = tellClock();
        Clock::step(std::chrono::seconds(0)); // what is due by then is done before the reply
        return clock;
    });
}

std::string SimulatorServer::clockStep(const Call& call) {
    return answer<StepParams>(call, [this](const StepParams& params) {
        bool isWhole = false;
        try {
            isWhole = params.seconds ? stepClock(*params.seconds)
                                     : stepToNextStart(params.serviceId, params.before);
        } catch (const Cancelled&) {
            tellClock();
            throw;
        }
        if (!isWhole)
            throw Exception(ReturnCode::InvalidState);
        return tellClock();
    });
}

bool SimulatorServer::stepClock(std::time_t seconds) {
    if (Clock::now() + module_.timeOffset + seconds > latest)
        throw ParameterError("seconds");
    return Clock::step(std::chrono::seconds(seconds));
}

bool SimulatorServer::stepToNextStart(std::optional<std::int32_t> serviceId, std::time_t before) {
    const auto now = Clock::now() + module_.timeOffset;
    const auto start = module_.findNextStart(serviceId, now + before);
    if (!start)
        throw ParameterError("toNextStart");
    return Clock::stepTo(*start - before - module_.timeOffset);
}

void SimulatorServer::resetClock() {
    if (clockStart_.isUntouched())
        Clock::release();
    else
        Clock::set(clockStart_.atGuideMidday ? module_.getGuideMidday() - module_.timeOffset
                   : clockStart_.now         ? *clockStart_.now - module_.timeOffset
                                             : std::time(nullptr),
                   clockStart_.speed);
    tellClock();
}

/// Tells everybody what the clock says now.
SimulatorServer::ClockRecord SimulatorServer::tellClock() noexcept {
    ClockRecord clock(module_.timeOffset);
    raiseInAnyCase([&] { handleRPCNotification("Simulator::onClock", clock.serialize()); });
    return clock;
}

} // namespace Ostrel
