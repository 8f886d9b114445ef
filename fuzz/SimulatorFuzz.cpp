// A method of the simulator and any text as its params: the reply is well-formed, a call that is refused has
// changed nothing and told nobody, and one that is not has done what it was told.

#include "Ostrel/runtime/Clock.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Task.h"
#include "Ostrel/runtime/Turn.h"
#include "TV/server/TVRPCServer.h"
#include "TV/server/dummy/DummyTVModule.h"
#include "fuzz/Require.h"
#include "simulator/SimulatorServer.h"

#include <boost/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace json = boost::json;
using namespace Ostrel;
using namespace Ostrel::Fuzz;

namespace {

constexpr std::int64_t startOfAll = 1318759201; ///< seconds since 1970-01-01 UTC

/// Counts what is told.
class Hearer : public RPCSubscriber {
public:
    void notify(const std::shared_ptr<const RPCNotification>& notification) noexcept override {
        require(!json::parse(notification->getText()).as_object().empty());
        ++heard;
    }

    unsigned heard = 0;
};

Weather::Settings stillWeather() {
    Weather::Settings settings;
    settings.seed = 1;
    return settings;
}

/// The service in this process. It stays.
struct Service {
    Service() {
        unsetenv("DUMMYFAKETIME");
        setDebugLevel(DebugLevel::Error);
        setDebugSink([](const DebugLine&) {});
        module.init();
        simulator.subscribe(hearer);
    }

    void startAnew() {
        call("weatherSet", R"({"rules":[],"seed":1})"); // a reset takes ten times as long
        module.setSignalStatus({});
        Clock::set(startOfAll, 0);
        hearer.heard = 0;
    }

    /// The members of the reply.
    json::object call(const std::string& method, const std::string& params) {
        const Turn::Hold turn;
        const auto text = simulator.handleRPCSynchronousMethod(
            IRPC::RPCSynchronousMethodObject("Simulator", method, "7", params));
        json::error_code problem;
        json::parse_options options;
        options.max_depth = 64;
        const auto reply = json::parse(text, problem, {}, options);
        require(!problem);
        const auto& members = reply.as_object();
        require(members.size() == 3 && members.at("jsonrpc") == "2.0" && members.at("id") == 7);
        if (const auto* error = members.if_contains("error"))
            require(error->at("code").is_int64() && !error->at("message").as_string().empty());
        else
            require(members.contains("result"));
        return members;
    }

    json::value get(const std::string& method) { return call(method, "{}").at("result"); }

    TV::DummyTVModule module;
    TV::TVRPCServer tv{&module};
    SimulatorServer simulator{module, tv, stillWeather()};
    Hearer hearer;
};

Service& theService() {
    static Service& service = *new Service;
    return service;
}

/// What a call may change.
struct State {
    explicit State(Service& service)
        : clock(service.get("clockGet").as_object()), weather(service.get("weatherGet")),
          signal(service.module.signalStatus.SerialObject::serialize()) {
        clock.erase("real"); // which is nobody's to change
    }

    bool operator==(const State& other) const {
        return clock == other.clock && weather == other.weather && signal == other.signal;
    }

    json::object clock;
    json::value weather;
    std::string signal;
};

/// That reader takes a zero with a large exponent, 0e400, for no number.
double numberOf(const json::value& value) {
    const double number = value.to_number<double>();
    return std::isnan(number) ? 0 : number;
}

/// Whether the same, as far as another reader's double can tell.
bool isNear(const json::value& value, double other) {
    return std::abs(numberOf(value) - other) <= std::abs(other) * 1e-12;
}

void compareClock(const json::object& params, const State& before, const State& after) {
    const auto* now = params.if_contains("now");
    const auto* speed = params.if_contains("speed");
    require(isNear(after.clock.at("speed"), speed != nullptr ? numberOf(*speed) : 0));
    if (numberOf(after.clock.at("speed")) == 0)
        require(isNear(after.clock.at("now"), numberOf(now != nullptr ? *now : before.clock.at("now"))));
    require(after.weather == before.weather && after.signal == before.signal);
}

void compareStep(const json::object& params, const State& before, const State& after) {
    const double passed = numberOf(after.clock.at("now")) - numberOf(before.clock.at("now"));
    if (const auto* seconds = params.if_contains("seconds"))
        require(isNear(*seconds, passed));
    require(passed > 0 && after.clock.at("speed") == before.clock.at("speed"));
    require(after.weather == before.weather && after.signal == before.signal);
}

void compareWeather(const json::object& params, const State& before, const State& after) {
    const auto& rules = after.weather.at("rules").as_array();
    require(rules.size() == params.at("rules").as_array().size());
    for (std::size_t i = 0; i != rules.size(); ++i) {
        const auto& rule = rules[i].as_object();
        require(rule.at("matched") == 0 && rule.at("applied") == 0);
        for (const auto& [name, value] : params.at("rules").at(i).as_object())
            require(rule.contains(name) && rule.at(name).is_string() == value.is_string());
    }
    if (const auto* seed = params.if_contains("seed"))
        require(isNear(after.weather.at("seed"), numberOf(*seed)));
    require(after.clock == before.clock && after.signal == before.signal);
}

void compareSignal(const json::object& params, const State& before, const State& after) {
    const auto signal = json::parse(after.signal);
    require(isNear(signal.at("strength"), numberOf(params.at("strength"))));
    require(isNear(signal.at("quality"), numberOf(params.at("quality"))));
    require(after.clock == before.clock && after.weather == before.weather);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const auto blank = std::min(input.find(' '), size);
    const auto method = input.substr(0, blank);
    const auto text = input.substr(std::min(blank + 1, size));

    Service& service = theService();
    service.startAnew();
    const State before(service);
    const auto reply = service.call(method, text);
    const auto heard = service.hearer.heard;
    const State after(service);
    require(countTasks() == 0);
    require(Turn::tryTake());
    Turn::give();
    if (reply.contains("error")) {
        require(after == before);
        require(heard == 0);
        return 0;
    }

    json::error_code problem;
    json::parse_options options;
    options.max_depth = 64;
    const auto given = json::parse(text, problem, {}, options);
    if (problem == json::error::exponent_overflow)
        return 0; // which is JSON, but more than that reader can do
    require(!problem && given.is_object());
    const auto& params = given.get_object();
    if (method == "clockSet")
        compareClock(params, before, after);
    else if (method == "clockStep")
        compareStep(params, before, after);
    else if (method == "weatherSet")
        compareWeather(params, before, after);
    else if (method == "signalSet")
        compareSignal(params, before, after);
    else if (method != "reset")
        require(after == before);
    const bool tells = method == "clockSet" || method == "clockStep" || method == "weatherSet";
    require(heard == (method == "reset" ? 2 : tells ? 1 : 0));
    return 0;
}
