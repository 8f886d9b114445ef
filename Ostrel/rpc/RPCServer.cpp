#include "Ostrel/rpc/RPCServer.h"

#include "Ostrel/runtime/Cancellation.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Mutex.h"
#include "Ostrel/runtime/QuietExceptions.h"
#include "Ostrel/text/Printable.h"

#include <array>
#include <mutex>

namespace Ostrel {

namespace {

constexpr std::string_view discoverMethod = "rpc.discover";

/// By IRPC::Outcome.
constexpr std::array<std::string_view, IRPC::outcomes> outcomeNames{"ok", "refused", "failed", "lost"};

/// The running servers by name.
struct Registry {
    std::mutex mutex;
    std::map<std::string, RPCServer*> servers;
};

Registry& registry() {
    static Registry instance;
    return instance;
}

/// Surrounds a handler: its exceptions are told by the error object that comes of them, and
/// what it left locked is released, however it ends.
class HandlerScope {
public:
    explicit HandlerScope(std::string_view methodName) : methodName_(methodName) {}
    ~HandlerScope() { Mutex::releaseHeld(methodName_); }

    HandlerScope(const HandlerScope&) = delete;
    HandlerScope& operator=(const HandlerScope&) = delete;

private:
    const std::string_view methodName_;
    const QuietExceptions quiet_;
};

std::string refuse(const IRPC::RPCSynchronousMethodObject& method, const std::string& what) {
    ostrelDebugPrint(DebugLevel::Information, "RPCServer", "RPCServer", __LINE__, "%s\n", what.c_str());
    method.setOutcome(IRPC::Outcome::Refused);
    return IRPC::RPCErrorObject(std::string(method.getId()), IRPC::MethodNotFound, what).serialize();
}

/// The description of a server as a value.
class Description : public SerialObject {
public:
    explicit Description(std::string_view text) : text_(text) {}

    Description* clone() const override { return new Description(*this); }
    void serialize(Serializer& out) const override { out.writeJson("", text_); }
    void serialize(const std::string& key, Serializer& out) const override { out.writeJson(key, text_); }

private:
    std::string_view text_;
};

std::string discover(const IRPC::RPCSynchronousMethodObject& method, std::string_view description) {
    try {
        return IRPC::RPCResultObject(method, Description(description)).serialize();
    } catch (const TextTooLarge& failure) {
        return IRPC::RPCErrorObject(method, failure.what()).serialize();
    }
}

} // namespace

RPCServer::RPCServer(const std::string& name) : name_(name) {}

RPCServer::~RPCServer() {
    RPCServer::shutdown();
}

bool RPCServer::init() {
    auto& [mutex, servers] = registry();
    const std::lock_guard lock(mutex);
    return servers.emplace(name_, this).second;
}

void RPCServer::shutdown() {
    auto& [mutex, servers] = registry();
    const std::lock_guard lock(mutex);
    const auto found = servers.find(name_);
    if (found != servers.end() && found->second == this)
        servers.erase(found);
}

std::string RPCServer::getFixedRPCAddress() const {
    return {};
}

std::string RPCServer::handleRPCSynchronousMethod(const IRPC::RPCSynchronousMethodObject& method) {
    const auto interfaceName = method.getInterfaceName();
    const auto methodName = method.getMethodName();
    if (interfaceName.empty() && methodName == discoverMethod && !getDescription().empty())
        return discover(method, getDescription());
    if (interfaceName.empty())
        return refuse(method, "unknown method \"" + excerpt(methodName) + "\"; names read INTERFACE::METHOD");
    const auto interface = methods.find(interfaceName);
    if (interface == methods.end())
        return refuse(method, "unknown interface \"" + excerpt(interfaceName) + '"');
    const auto handler = interface->second.find(methodName);
    if (handler == interface->second.end())
        return refuse(method, "unknown method \"" +
                                  excerpt(std::string(interfaceName) + "::" + std::string(methodName)) + '"');

    const HandlerScope scope(methodName);
    const auto& peer = method.getPeer();
    const RPCNotificationCount count(peer != nullptr ? &peer->notifications : nullptr);
    try {
        return (this->*handler->second.method)(method);
    } catch (const Cancelled&) {
        throw;
    } catch (...) {
        return IRPC::RPCErrorObject::forEscaped(method).serialize();
    }
}

const RPCServer::Entry* RPCServer::findMethod(std::string_view interfaceName,
                                              std::string_view methodName) const noexcept {
    const auto interface = methods.find(interfaceName);
    if (interface == methods.end())
        return nullptr;
    const auto method = interface->second.find(methodName);
    return method == interface->second.end() ? nullptr : &method->second;
}

RPCCallMetrics& RPCServer::getCallMetrics(std::string_view interfaceName,
                                          std::string_view methodName) const noexcept {
    if (const auto* entry = findMethod(interfaceName, methodName))
        return entry->calls;
    return interfaceName.empty() && methodName == discoverMethod ? discoveries_ : unknown_;
}

/// Calls the action with the name and the metrics of each method that was called: with all of them
/// the page would be long and mostly zeros.
template <class Action> void RPCServer::forEachCalled(Action action) const {
    const auto pass = [&](std::string_view name, const RPCCallMetrics& calls) {
        if (calls.getDuration().getCount() > 0)
            action(name, calls);
    };
    for (const auto& [interface, group] : methods) {
        auto name = interface + "::";
        const auto begin = name.size();
        for (const auto& [method, entry] : group)
            pass(name.replace(begin, name.npos, method), entry.calls);
    }
    pass(discoverMethod, discoveries_);
    pass("unknown", unknown_);
}

void RPCServer::writeCallMetrics(MetricsText& out) {
    const auto servers = running();
    out.begin("ostrel_requests_total", "Requests that were carried out or refused, by what came of them.",
              "counter");
    for (const auto* server : servers)
        server->forEachCalled([&](std::string_view method, const RPCCallMetrics& calls) {
            for (std::size_t i = 0; i < outcomeNames.size(); ++i)
                out.add("", {{"server", server->name_}, {"method", method}, {"outcome", outcomeNames[i]}},
                        std::to_string(calls.get(IRPC::Outcome(i))));
        });
    out.begin("ostrel_request_duration_seconds", "From when a request had come to when its reply was made.",
              "histogram");
    for (const auto* server : servers)
        server->forEachCalled([&](std::string_view method, const RPCCallMetrics& calls) {
            calls.getDuration().write(out, {"server", server->name_}, {"method", method});
        });
}

std::string_view RPCServer::getDescription() const noexcept {
    return {};
}

bool RPCServer::housekeep() {
    return false;
}

RPCServer* RPCServer::find(const std::string& name) {
    auto& [mutex, servers] = registry();
    const std::lock_guard lock(mutex);
    const auto found = servers.find(name);
    return found == servers.end() ? nullptr : found->second;
}

std::vector<RPCServer*> RPCServer::running() {
    auto& [mutex, servers] = registry();
    const std::lock_guard lock(mutex);
    std::vector<RPCServer*> result;
    result.reserve(servers.size());
    for (const auto& [name, server] : servers)
        result.push_back(server);
    return result;
}

} // namespace Ostrel
