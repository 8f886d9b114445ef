#pragma once

#include "Ostrel/transport/Listener.h"
#include "TV/server/TVRPCServer.h"
#include "TV/server/dummy/DummyTVModule.h"
#include "simulator/SimulatorServer.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WireClient.h"

#include <atomic>
#include <optional>
#include <string>

namespace Ostrel::Test {

/// The module behind its servers and a listener, as the host has them, with one client at a WebSocket.
/// What a call could change can be made what it was, and be looked at. There is one in a process.
class Service {
public:
    static Service& instance();

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    const Address& getAddress() const { return listener_->getAddresses().front(); }

    /// Makes everything what it was the first time: the clock stands, no scan has been, and there are two
    /// contexts. The first has the list of all services selected and its cursor at the fourth.
    void prepare();

    /// Gives the client a new WebSocket to each server.
    void connectClients();
    void dropClients();

    WireClient& getClient() { return client_.value(); }
    WireClient& getSimulatorClient() { return simulatorClient_.value(); }

    /// A request to the TV server; "CONTEXT" in the params stands for the first context.
    std::string request(const std::string& method, std::string params) const;

    /// Calls by POST; what goes wrong is thrown.
    std::string post(const std::string& path, const std::string& request) const;
    std::string callTV(const std::string& method, const std::string& payload) const;

    /// Moves the clock, and lets the tasks do what is due.
    static void advance(std::time_t seconds);

    /// Everything that a call could have changed. It hangs where somebody has kept the turn or a lock.
    std::string describe();

    /// How many connections are open, once those that are being closed have gone.
    std::size_t countConnections(std::size_t expected) const;

    TV::DummyTVModule& getModule() { return module_; }

private:
    class Module : public TV::DummyTVModule {
    public:
        TV::TVModuleContext* createContext() override;
        void deleteContext(TV::TVModuleContext* context) override;

        std::atomic<int> contexts = 0;
    };

    Service();
    ~Service();

    void makeContexts();

    const LogCapture log_{DebugLevel::Error};
    Module module_;
    std::optional<TV::TVRPCServer> server_;
    std::optional<SimulatorServer> simulator_;
    std::optional<Listener> listener_;

    std::string contexts_[2]; ///< as clients know them
    std::optional<WireClient> client_;
    std::optional<WireClient> simulatorClient_;
};

} // namespace Ostrel::Test
