#include "tests/faults/Service.h"

#include "Ostrel/runtime/Clock.h"
#include "Ostrel/runtime/Task.h"
#include "Ostrel/runtime/Turn.h"

#include <chrono>
#include <stdexcept>
#include <thread>

namespace Ostrel::Test {

namespace {

using namespace std::chrono_literals;

constexpr std::time_t startTime = 1318762900;

std::atomic<std::chrono::steady_clock::duration> lateness; ///< of the clock that contexts age by

std::chrono::steady_clock::time_point now() {
    return std::chrono::steady_clock::now() + lateness.load();
}

std::string resultOf(const std::string& reply) {
    constexpr std::string_view member = "\"result\":";
    const auto at = reply.find(member);
    if (at == std::string::npos)
        throw std::logic_error("no result: " + reply);
    return reply.substr(at + member.size(), reply.size() - 1 - at - member.size());
}

/// No time-out makes up for a client that is forgotten: before that the client complains.
constexpr Limits patient{
    .headTime = 10min, .bodyTime = 10min, .keepAlive = 10min, .stalledReader = 10min, .idleWebSocket = 10min};

constexpr PageFile page[] = {{"/index.html", "text/html", "<title>page</title>", {}, "1", false}};

} // namespace

TV::TVModuleContext* Service::Module::createContext() {
    auto* context = DummyTVModule::createContext();
    ++contexts;
    return context;
}

void Service::Module::deleteContext(TV::TVModuleContext* context) {
    DummyTVModule::deleteContext(context);
    --contexts;
}

Service& Service::instance() {
    static Service service;
    return service;
}

Service::Service() {
    module_.init();
    server_.emplace(&module_, &now);
    server_->init();
    Weather::Settings weather;
    weather.seed = 1;
    simulator_.emplace(module_, *server_, weather, ClockStart{.now = startTime, .speed = 0});
    simulator_->init();
    listener_.emplace(std::vector{Address::parse("127.0.0.1:0")}, Admission({}, {}, ""),
                      ListenerOptions{.limits = patient, .mainServer = "TV", .page = page});
}

Service::~Service() {
    dropClients();
    listener_->stop();
    stopTasks();
    server_->uninit();
}

void Service::connectClients() {
    dropClients();
    countConnections(0); // what closes late must not take part
    client_.emplace(getAddress()).upgrade("/rpc/TV");
    simulatorClient_.emplace(getAddress()).upgrade("/rpc/Simulator");
}

void Service::dropClients() {
    client_.reset();
    simulatorClient_.reset();
}

std::string Service::request(const std::string& method, std::string params) const {
    constexpr std::string_view name = "CONTEXT";
    for (auto at = params.find(name); at != std::string::npos; at = params.find(name))
        params.replace(at, name.size(), contexts_[0]);
    return R"({"jsonrpc":"2.0","id":1,"method":")" + method + '"' +
           (params.empty() ? "" : ",\"params\":" + params) + '}';
}

std::string Service::post(const std::string& path, const std::string& request) const {
    return WireClient(getAddress()).post(path, request).body;
}

std::string Service::callTV(const std::string& method, const std::string& payload) const {
    return resultOf(post("/rpc/TV", request(method, R"({"context":CONTEXT,"payload":)" + payload + '}')));
}

void Service::prepare() {
    resultOf(post("/rpc/Simulator", request("Simulator::reset", "")));
    stopTasks();
    makeContexts();
    callTV("ITVService::serviceListSet", R"({"base":"all"})");
    callTV("ITVService::serviceListSeek", R"({"offset":3,"whence":0})");
}

/// Whose reply was lost, nobody knows: those contexts go as they would some time later.
void Service::makeContexts() {
    const auto isAlive = [this](const std::string& context) {
        return !context.empty() &&
               post("/rpc/TV",
                    R"({"jsonrpc":"2.0","id":1,"method":"ITVService::utcTimeGet","params":{"context":)" +
                        context + R"(,"payload":{}}})")
                       .find("result") != std::string::npos;
    };
    if (module_.contexts == 2 && isAlive(contexts_[0]) && isAlive(contexts_[1]))
        return;
    dropClients();
    while (module_.contexts > 0) {
        lateness = lateness.load() + TV::ContextTable::patience;
        const Turn::Hold turn;
        server_->housekeep();
    }
    for (auto& context : contexts_)
        context = resultOf(post("/rpc/TV", request("ITVService::createContext", "")));
}

void Service::advance(std::time_t seconds) {
    Clock::step(0s); // who works sleeps first, from the time that it is now
    Clock::set(Clock::now() + seconds, {});
    Clock::step(0s);
}

std::string Service::describe() {
    Clock::step(0s); // what is due has been done
    std::string state;
    {
        const Turn::Hold turn;
        const Mutex::Hold hold(module_.mutex);
        const auto scan = module_.scanState;
        state = "services " + module_.services.serialize() + "\nnew " + module_.scannedServices.serialize() +
                "\ntransponders";
        for (const auto frequencyMHz : module_.transponders)
            state += ' ' + std::to_string(frequencyMHz);
        state += "\nscan of " + std::to_string(scan.sourceId) + ", at " + std::to_string(scan.nextIndex) +
                 " of " + std::to_string(scan.frequencies.size()) + ' ' +
                 (scan.describe() ? scan.describe()->serialize() : "none");
        state += "\nsignal " + module_.signalStatus.serialize();
    }
    state += "\ncontexts " + std::to_string(module_.contexts) + "\ncursors ";
    std::string cursors;
    for (const auto& context : contexts_)
        for (const auto* call :
             {R"("ITVService::serviceListSeek","params":{"payload":{"offset":0,"whence":1})",
              R"("ITVService::serviceListGet","params":{"payload":{"limit":1})"})
            cursors += std::string(cursors.empty() ? "[" : ",") + R"({"jsonrpc":"2.0","id":1,"method":)" +
                       call + ",\"context\":" + context + "}}";
    state += post("/rpc/TV", cursors + ']');
    state += "\nclock " + std::to_string(Clock::read().now) + ' ' + std::to_string(Clock::read().speed);
    state += "\nweather " + post("/rpc/Simulator", request("Simulator::weatherGet", ""));
    return state;
}

std::size_t Service::countConnections(std::size_t expected) const {
    for (int i = 0; i < 30'000 && listener_->getStatus().connections != expected; ++i)
        std::this_thread::sleep_for(1ms); // a notice takes no time that a test could hold
    return listener_->getStatus().connections;
}

} // namespace Ostrel::Test
