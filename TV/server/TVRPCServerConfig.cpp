// The methods of ITVConfig, and the scan events as notifications.

#include "TV/server/TVRPCServer.h"

#include "Ostrel/runtime/Turn.h"
#include "Ostrel/serialization/BooleanObject.h"
#include "Ostrel/serialization/Serializer.h"
#include "TV/server/TVModuleContext.h"

#include <memory>
#include <optional>
#include <string>

namespace Ostrel::TV {

namespace {

std::shared_ptr<ITVConfig::TuningParams> readTuningParams(Deserializer& payload) {
    // They may be as long as the payload, which is too long to be read with the turn in hand.
    std::optional<Turn::Pause> pause;
    if (payload.getSize() > IRPC::RPCSynchronousMethodObject::shortParameters)
        pause.emplace();
    return std::shared_ptr<ITVConfig::TuningParams>(
        createSerialObject<ITVConfig::TuningParams>("tuningParams", payload));
}

} // namespace

std::string TVRPCServer::scanStart(const Call& call) {
    constexpr Lines lines{339, 347};
    return answer(
        call, "scanStart",
        [](TVModuleContext& context, Deserializer& payload) {
            const auto sourceId = deserialize<unsigned>("sourceId", payload);
            const auto useNIT = deserialize<int>("useNIT", payload);
            return BooleanObject(context.scanStart(sourceId, useNIT));
        },
        lines);
}

std::string TVRPCServer::scanStop(const Call& call) {
    constexpr Lines lines{362, 369};
    return answer(
        call, "scanStop",
        [](TVModuleContext& context, Deserializer& payload) {
            return BooleanObject(context.scanStop(deserialize<unsigned>("sourceId", payload)));
        },
        lines);
}

// The flag is read first and passed last.
// Meant so: docs/oddities.md, "scanHomeStart reads the flag first".
std::string TVRPCServer::scanHomeStart(const Call& call) {
    constexpr Lines lines{384, 393};
    return answer(
        call, "scanHomeStart",
        [](TVModuleContext& context, Deserializer& payload) {
            const auto sourceId = deserialize<unsigned>("sourceId", payload);
            const auto useNIT = deserialize<int>("useNIT", payload);
            const auto tuningParams = readTuningParams(payload);
            return BooleanObject(context.scanHomeStart(sourceId, *tuningParams, useNIT));
        },
        lines);
}

std::string TVRPCServer::scanBlindStart(const Call& call) {
    constexpr Lines lines{408, 416};
    return answer(
        call, "scanBlindStart",
        [](TVModuleContext& context, Deserializer& payload) {
            const auto sourceId = deserialize<unsigned>("sourceId", payload);
            const auto useNIT = deserialize<int>("useNIT", payload);
            return BooleanObject(context.scanBlindStart(sourceId, useNIT));
        },
        lines);
}

std::string TVRPCServer::scanInfoGet(const Call& call) {
    constexpr Lines lines{431, 438};
    return answer(
        call, "scanInfoGet",
        [](TVModuleContext& context, Deserializer& payload) {
            return context.scanInfoGet(deserialize<unsigned>("sourceId", payload));
        },
        lines);
}

std::string TVRPCServer::transponderListAdd(const Call& call) {
    constexpr Lines lines{453, 461};
    return answer(
        call, "transponderListAdd",
        [](TVModuleContext& context, Deserializer& payload) {
            const auto sourceId = deserialize<unsigned>("sourceId", payload);
            const auto tuningParams = readTuningParams(payload);
            return BooleanObject(context.transponderListAdd(sourceId, *tuningParams));
        },
        lines);
}

std::string TVRPCServer::transponderListDeleteAll(const Call& call) {
    constexpr Lines lines{477, 484};
    return answer(
        call, "transponderListDeleteAll",
        [](TVModuleContext& context, Deserializer& payload) {
            return BooleanObject(
                context.transponderListDeleteAll(deserialize<unsigned>("sourceId", payload)));
        },
        lines);
}

// The scan has got there, whether or not there is memory to tell of it.

void TVRPCServer::onScanStart(const unsigned& sourceId) {
    scanHeard_ = true;
    raiseInAnyCase([&] { raise("ITVConfig::onScanStart", sourceId); });
}

void TVRPCServer::onScanProgress(const unsigned& sourceId, const unsigned& percent) {
    raiseInAnyCase([&] {
        Serializer serializer;
        serializer.beginObject("");
        serialize("sourceId", sourceId, serializer);
        serialize("percent", percent, serializer);
        serializer.endObject("");
        // A client that is far behind needs only the latest; between two scans stands a start.
        handleRPCNotification("ITVConfig::onScanProgress", serializer.generate(),
                              "onScanProgress " + std::to_string(sourceId));
    });
}

void TVRPCServer::onScanComplete(const unsigned& sourceId) {
    raiseInAnyCase([&] { raise("ITVConfig::onScanComplete", sourceId); });
}

void TVRPCServer::raise(const std::string& name, unsigned sourceId) {
    Serializer serializer;
    serializer.beginObject("");
    serialize("sourceId", sourceId, serializer);
    serializer.endObject("");
    handleRPCNotification(name, serializer.generate());
}

} // namespace Ostrel::TV
