// The methods of ITVGuide. They run without the turn, several at a time.

#include "TV/server/TVRPCServer.h"

#include "TV/server/TVModuleContext.h"

namespace Ostrel::TV {

std::string TVRPCServer::query(const Call& call) {
    return answer(call, "query", [](TVModuleContext& context, Deserializer& payload) {
        const auto expression = deserialize<std::string>("expression", payload);
        const auto expressionFormat = deserialize<std::string>("expressionFormat", payload);
        const auto outputFormat = deserialize<std::string>("outputFormat", payload);
        return context.query(expression, expressionFormat, outputFormat);
    });
}

std::string TVRPCServer::queryEventInfo(const Call& call) {
    return answer(call, "queryEventInfo", [](TVModuleContext& context, Deserializer& payload) {
        return context.queryEventInfo(deserialize<ITVGuide::Query>("query", payload));
    });
}

std::string TVRPCServer::queryNowNextEventInfo(const Call& call) {
    return answer(call, "queryNowNextEventInfo", [](TVModuleContext& context, Deserializer& payload) {
        return context.queryNowNextEventInfo(deserialize<unsigned>("id", payload));
    });
}

std::string TVRPCServer::getGenreStringMapList(const Call& call) {
    return answer(call, "getGenreStringMapList",
                  [](TVModuleContext& context) { return context.getGenreStringMapList(); });
}

} // namespace Ostrel::TV
