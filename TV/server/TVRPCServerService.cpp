// The methods of ITVService.

#include "TV/server/TVRPCServer.h"

#include "Ostrel/serialization/BooleanObject.h"
#include "Ostrel/serialization/UInt32Object.h"
#include "TV/server/TVModuleContext.h"

#include <new>

namespace Ostrel::TV {

std::string TVRPCServer::serviceListSet(const Call& call) {
    return answer(call, "serviceListSet", [](TVModuleContext& context, Deserializer& payload) {
        return BooleanObject(context.serviceListSet(deserialize<std::string>("base", payload)));
    });
}

std::string TVRPCServer::serviceListSeek(const Call& call) {
    return answer(call, "serviceListSeek", [](TVModuleContext& context, Deserializer& payload) {
        const auto offset = deserialize<int>("offset", payload);
        const auto whence = deserialize<unsigned>("whence", payload);
        return UInt32Object(context.serviceListSeek(offset, whence));
    });
}

std::string TVRPCServer::serviceListSeekByUri(const Call& call) {
    return answer(call, "serviceListSeekByUri", [](TVModuleContext& context, Deserializer& payload) {
        return UInt32Object(context.serviceListSeekByUri(deserialize<std::string>("uri", payload)));
    });
}

std::string TVRPCServer::serviceListSeekByChannelNumber(const Call& call) {
    return answer(call, "serviceListSeekByChannelNumber",
                  [](TVModuleContext& context, Deserializer& payload) {
                      const auto channelNumber = deserialize<unsigned>("channelNumber", payload);
                      return UInt32Object(context.serviceListSeekByChannelNumber(channelNumber));
                  });
}

std::string TVRPCServer::serviceListGet(const Call& call) {
    return answer(call, "serviceListGet", [](TVModuleContext& context, Deserializer& payload) {
        return context.serviceListGet(deserialize<unsigned>("limit", payload));
    });
}

std::string TVRPCServer::serviceListRead(const Call& call) {
    const auto read = [&](TVModuleContext& context, const Request& request) {
        Deserializer payload = decode(request);
        const auto services = context.serviceListRead(deserialize<unsigned>("limit", payload));
        try {
            return IRPC::RPCResultObject(call, services).serialize();
        } catch (const std::bad_alloc&) {
            // What the client does not get it has not read.
            if (!services.empty())
                context.serviceListSeek(-static_cast<int>(services.size()), 1);
            throw;
        }
    };
    return answerGuarded(call, "serviceListRead", {}, read);
}

std::string TVRPCServer::nowNextGet(const Call& call) {
    return answer(call, "nowNextGet", [](TVModuleContext& context, Deserializer& payload) {
        const auto id = deserialize<unsigned>("id", payload);
        const auto outputFormat = deserialize<std::string>("outputFormat", payload);
        return context.nowNextGet(id, outputFormat);
    });
}

std::string TVRPCServer::signalStatusGet(const Call& call) {
    return answer(call, "signalStatusGet", [](TVModuleContext& context, Deserializer& payload) {
        return context.signalStatusGet(deserialize<unsigned>("sourceId", payload));
    });
}

// The payload must decode although nothing is read from it.
// Meant so: docs/oddities.md, "A payload for the time".
std::string TVRPCServer::utcTimeGet(const Call& call) {
    return answer(call, "utcTimeGet", [](TVModuleContext& context, Deserializer&) {
        return UInt32Object(static_cast<std::uint32_t>(context.utcTimeGet()));
    });
}

std::string TVRPCServer::serviceListDeleteAll(const Call& call) {
    return answer(call, "serviceListDeleteAll",
                  [](TVModuleContext& context) { return BooleanObject(context.serviceListDeleteAll()); });
}

std::string TVRPCServer::serviceListDelete(const Call& call) {
    return answer(call, "serviceListDelete",
                  [](TVModuleContext& context) { return BooleanObject(context.serviceListDelete()); });
}

} // namespace Ostrel::TV
