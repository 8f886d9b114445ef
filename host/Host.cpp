#include "host/Host.h"

#include "Ostrel/runtime/Task.h"
#include "Ostrel/runtime/Turn.h"
#include "Ostrel/transport/StartError.h"
#include "TV/server/dummy/data/WorldFolder.h"
#include "TV/server/dummy/world/World.h"

#include <cstdlib>
#include <list>

namespace Ostrel {

namespace {

/// The options of the command line that people are pointed to.
constexpr const char* listenOption = "--listen";
constexpr const char* originOption = "--allow-origin";
constexpr const char* hostOption = "--allow-host";
constexpr const char* tokenOption = "--token-file";

Advice adviseOptions() {
    return {.addressInUse = std::string("choose another with ") + listenOption,
            .tokenNeeded = std::string("give a token with ") + tokenOption,
            .foreignHost = std::string("allow it with ") + hostOption,
            .foreignOrigin = std::string("allow them with ") + originOption,
            .noPage = "ostrel-tvd was built without its web page, which needs Node: ./dev run builds it in"};
}

/// Reads every value of an option; what is wrong with one names the option.
template <class Value> std::vector<Value> parseAll(const char* option, const std::vector<std::string>& texts,
                                                   Value (*parse)(const std::string&)) {
    std::vector<Value> values;
    values.reserve(texts.size());
    try {
        for (const auto& text : texts)
            values.push_back(parse(text));
    } catch (const StartError& error) {
        throw StartError(std::string(option) + ": " + error.what());
    }
    return values;
}

/// The module and what it has made of a world are good as long as its tables.
void loadWorld(const std::string& path) {
    static std::list<TV::WorldFile> loaded;
    TV::chooseWorld(loaded.emplace_back(TV::openWorld(path)).world());
}

} // namespace

Host::Host(const HostOptions& options) : tokenFile_(options.tokenFile) {
    const auto addresses = parseAll(listenOption, options.listen, Address::parse);
    Admission admission(parseAll(originOption, options.allowedOrigins, Admission::parseOrigin),
                        parseAll(hostOption, options.allowedHosts, Admission::parseHost),
                        options.tokenFile.empty() ? std::string()
                                                  : Admission::readTokenFile(options.tokenFile));

    auto weather =
        options.weatherFile.empty() ? Weather::Settings() : Weather::Settings::readFile(options.weatherFile);

    if (!options.world.empty())
        loadWorld(options.world);
    if (options.fakeTime)
        setenv("DUMMYFAKETIME", "", 1);
    if (options.today)
        module_.keepToday();
    module_.init();
    server_.emplace(&module_);
    if (!options.recordFile.empty())
        server_->addObserver(record_.emplace(options.recordFile));
    start(*server_, options);
    try {
        if (!options.noSimulator)
            start(simulator_.emplace(module_, *server_, std::move(weather), options.clock), options);
        listener_.emplace(addresses, std::move(admission),
                          ListenerOptions{.advice = adviseOptions(),
                                          .mainServer = server_->getName(),
                                          .page = options.page,
                                          .sockets = options.sockets});
        if (record_)
            record_->begin();
    } catch (...) {
        listener_.reset();
        server_->uninit();
        throw;
    }
}

/// @throws StartError  another one runs under that name
void Host::start(RPCServer& server, const HostOptions& options) {
    if (options.logRequests)
        server.addObserver(requestLog_);
    if (!server.init())
        throw StartError("another RPC server runs under the name " + server.getName());
}

void Host::reload() {
    if (!tokenFile_.empty())
        listener_->setToken(Admission::readTokenFile(tokenFile_));
}

bool Host::isAlive() {
    const bool turnMoves = Turn::isMoving();
    return listener_->isAlive() && turnMoves;
}

Host::~Host() {
    listener_->stop();
    stopTasks();
    server_->uninit();
    server_->shutdown();
    listener_.reset();
    simulator_.reset();
    server_.reset();
    module_.uninit();
}

} // namespace Ostrel
