#pragma once

#include "Ostrel/transport/Listener.h"
#include "Ostrel/transport/RequestLog.h"
#include "TV/server/TVRPCServer.h"
#include "TV/server/dummy/DummyTVModule.h"
#include "simulator/SimulatorServer.h"
#include "simulator/TrafficRecord.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Ostrel {

/// What the host is told on its command line.
struct HostOptions {
    std::vector<std::string> listen = {}; ///< addresses as Address::parse() reads them
    std::vector<int> sockets = {}; ///< that listen already, and are taken over
    std::vector<std::string> allowedOrigins = {}; ///< as Admission::parseOrigin() reads them
    std::vector<std::string> allowedHosts = {}; ///< as Admission::parseHost() reads them
    std::string tokenFile = {}; ///< empty for none
    std::string recordFile = {}; ///< where all messages of the TV server go; empty for none
    bool logRequests = false; ///< a log line for every call
    bool fakeTime = false; ///< the module's clock starts in the middle of its guide
    std::string world = {}; ///< a folder or a compiled file; empty for the built-in one
    bool today = false; ///< the guide is laid around the module's clock
    bool noSimulator = false; ///< the simulation's own controls are left out
    std::string weatherFile = {}; ///< for the simulator; empty for none
    ClockStart clock = {}; ///< for the simulator
    std::span<const PageFile> page = {}; ///< the web page's files; they must live longer than the host
};

/// Brings module, servers and listener up in their order, and down in reverse.
class Host {
public:
    /// Serves when it returns. A world that it has loaded stays as long as the process.
    /// @throws StartError      nothing is served
    /// @throws TV::WorldError  nor is it then; a line for each reason
    explicit Host(const HostOptions& options);

    /// Stops serving, ends every task, and destroys what was built.
    ~Host();

    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// Reads again what may change while it serves: the token file, if there is one.
    /// @throws StartError  the token stays as it was
    void reload();

    /// Whether the listener's thread and the turn have moved on since the last time this was asked. One
    /// thread asks.
    /// @throws std::bad_alloc
    bool isAlive();

    /// Where it serves.
    const std::vector<Address>& getAddresses() const { return listener_->getAddresses(); }

private:
    void start(RPCServer& server, const HostOptions& options);

    const std::string tokenFile_;
    RequestLog requestLog_;
    std::optional<TrafficRecord> record_;
    TV::DummyTVModule module_;
    std::optional<TV::TVRPCServer> server_;
    std::optional<SimulatorServer> simulator_;
    std::optional<Listener> listener_;
};

} // namespace Ostrel
