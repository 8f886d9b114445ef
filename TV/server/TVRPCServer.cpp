#include "TV/server/TVRPCServer.h"

#include "Ostrel/rpc/ParameterError.h"
#include "Ostrel/runtime/Cancellation.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Turn.h"
#include "Ostrel/serialization/UInt32Object.h"
#include "TV/interfaces/Description.h"
#include "TV/server/TVModule.h"
#include "TV/server/TVModuleContext.h"

#include <exception>

namespace Ostrel::TV {

namespace {

constexpr const char* moduleName = "TVRPCServer";

/// Zero and an identifier that nobody has are refused alike.
/// @param line  0 for this line
[[noreturn]] void refuseContext(const char* name, int line) {
    const ParameterError error("context");
    ostrelDebugPrint(DebugLevel::Error, moduleName, moduleName, line != 0 ? line : __LINE__,
                     throwingException, name, error.what());
    throw error;
}

void logCaught(const char* name, const char* what, int line) {
    ostrelDebugPrint(DebugLevel::Error, moduleName, moduleName, line != 0 ? line : __LINE__, caughtException,
                     name, what);
}

} // namespace

TVRPCServer::Request::Request(Deserializer& deserializer)
    : context_(deserialize<unsigned>("context", deserializer)), object_(deserializer.findObject("payload")) {
    if (!object_)
        payload_ = deserializer.readObjectText("payload");
}

Deserializer TVRPCServer::decode(const Call& call) {
    if (call.getParameters().size() <= Call::shortParameters)
        return call.decodeParameters();
    const Turn::Pause pause;
    return call.decodeParameters();
}

Deserializer TVRPCServer::decode(const Request& request) {
    if (request.getPayload().size() <= Call::shortParameters)
        return request.decodePayload();
    const Turn::Pause pause;
    return request.decodePayload();
}

TVRPCServer::TVRPCServer(TVModule* module, ContextTable::Clock clock)
    : TVServer(module), RPCServer("TV"), contexts_(std::move(clock)) {
    publish("ITVService", serviceMethods_,
            {
                {"createContext", &TVRPCServer::createContext},
                {"deleteContext", &TVRPCServer::deleteContext},
                {"serviceListSet", &TVRPCServer::serviceListSet},
                {"serviceListDelete", &TVRPCServer::serviceListDelete},
                {"serviceListDeleteAll", &TVRPCServer::serviceListDeleteAll},
                {"serviceListSeek", &TVRPCServer::serviceListSeek},
                {"serviceListSeekByUri", &TVRPCServer::serviceListSeekByUri},
                {"serviceListSeekByChannelNumber", &TVRPCServer::serviceListSeekByChannelNumber},
                {"serviceListGet", &TVRPCServer::serviceListGet},
                {"serviceListRead", &TVRPCServer::serviceListRead},
                {"nowNextGet", &TVRPCServer::nowNextGet},
                {"signalStatusGet", &TVRPCServer::signalStatusGet},
                {"utcTimeGet", &TVRPCServer::utcTimeGet},
            });
    publish("ITVConfig", configMethods_,
            {
                {"transponderListAdd", &TVRPCServer::transponderListAdd},
                {"transponderListDeleteAll", &TVRPCServer::transponderListDeleteAll},
                {"scanBlindStart", &TVRPCServer::scanBlindStart},
                {"scanHomeStart", &TVRPCServer::scanHomeStart},
                {"scanStart", &TVRPCServer::scanStart},
                {"scanStop", &TVRPCServer::scanStop},
                {"scanInfoGet", &TVRPCServer::scanInfoGet},
            });
    publish("ITVGuide", guideMethods_,
            {
                {"query", &TVRPCServer::query},
                {"queryEventInfo", &TVRPCServer::queryEventInfo},
                {"queryNowNextEventInfo", &TVRPCServer::queryNowNextEventInfo},
                {"getGenreStringMapList", &TVRPCServer::getGenreStringMapList},
            });
    readOnlyInterfaces.insert("ITVGuide");
    briefInterfaces.insert("ITVGuide");
    waitingMethods.insert("ITVService::deleteContext");
}

void TVRPCServer::publish(const std::string& interfaceName, MethodMap& group,
                          std::initializer_list<std::pair<const char*, Handler>> handlers) {
    for (const auto& [name, handler] : handlers)
        group.insert({name, static_cast<Method>(handler)});
    methods.insert({interfaceName, group});
}

TVRPCServer::~TVRPCServer() {
    try {
        for (const std::uint32_t identifier : contexts_.getIdentifiers())
            release(identifier);
    } catch (...) {
        ostrelDebugPrint(DebugLevel::Error, moduleName, moduleName, __LINE__,
                         "%s(): the module could not take back its contexts\n", "~TVRPCServer");
    }
}

bool TVRPCServer::init() {
    return TVServer::init() && RPCServer::init();
}

std::string_view TVRPCServer::getDescription() const noexcept {
    return description();
}

// This method and the next catch nothing: the platform answers what is thrown.
// Meant so: docs/oddities.md, "A failure leaves the handler".
std::string TVRPCServer::createContext(const Call& call) {
    const std::uint32_t identifier =
        contexts_.add([this] { return getModule()->createContext(); }, call.getPeer());
    return IRPC::RPCResultObject(call, UInt32Object(identifier)).serialize();
}

std::string TVRPCServer::deleteContext(const Call& call) {
    Deserializer params = decode(call);
    const Request request(params);
    if (!release(request.getContext()))
        refuseContext("deleteContext", 0);
    return IRPC::RPCReturnObject(call).serialize();
}

bool TVRPCServer::release(std::uint32_t identifier) {
    TVModuleContext* const context = contexts_.remove(identifier);
    if (context == nullptr)
        return false;
    getModule()->deleteContext(context);
    return true;
}

bool TVRPCServer::housekeep() {
    const auto abandoned = contexts_.findAbandoned();
    if (!abandoned.empty() && !isScanRunning(*abandoned.front().context)) {
        for (const auto& each : abandoned)
            release(each.identifier);
        ostrelDebugPrint(DebugLevel::Information, moduleName, moduleName, __LINE__,
                         "%s(): released %zu abandoned contexts\n", "housekeep", abandoned.size());
    }
    return !contexts_.getIdentifiers().empty();
}

bool TVRPCServer::isScanRunning(TVModuleContext& context) const {
    // Without a scan the question is an error that the module logs.
    if (!scanHeard_)
        return false;
    try {
        return context.scanInfoGet(0).getScanning();
    } catch (const Exception&) {
        return false;
    }
}

std::string TVRPCServer::answerGuarded(const Call& call, const char* name, Lines lines, const Work& work) {
    std::string reply;
    try {
        Deserializer params = decode(call);
        const Request request(params);
        const auto context = contexts_.pin(request.getContext());
        if (!context)
            refuseContext(name, lines.throwing);
        reply = work(*context, request);
    } catch (const Exception& exception) {
        logCaught(name, exception.what(), lines.catching);
        reply = IRPC::RPCErrorObject(call, exception.what()).serialize();
    } catch (const std::exception& exception) {
        logCaught(name, exception.what(), lines.catching);
        reply = IRPC::RPCErrorObject(call, exception.what()).serialize();
    } catch (const Cancelled&) {
        throw;
    } catch (...) {
        ostrelDebugPrint(DebugLevel::Error, moduleName, moduleName,
                         lines.catching != 0 ? lines.catching : __LINE__, caughtUnknownException, name);
        reply = IRPC::RPCErrorObject(call, "unknown").serialize();
    }
    return reply;
}

} // namespace Ostrel::TV
