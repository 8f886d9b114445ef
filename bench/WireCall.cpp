#include "bench/WireCall.h"

#include "bench/Requests.h"
#include "tests/support/WireClient.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace Ostrel::Bench {

namespace {

constexpr WireCall calls[] = {
    {"small", "small call", "ITVService::serviceListSeek", R"({"offset":5,"whence":0})"},
    {"services", "ten ServiceInfo", "ITVService::serviceListGet", R"({"limit":10})"},
    {"now-next", "now/next records", "ITVGuide::queryNowNextEventInfo", R"({"id":1043})"},
    // 22 events: three hours of the first ten channels.
    {"page", "guide page", "ITVGuide::queryEventInfo",
     R"({"query":{"serviceIdList":[1043,1044,1033,1035,1036,1037,1045,1046,1085,1064],)"
     R"("timeRange":{"base":1318759200,"limit":1318770000},)"
     R"("orderByServiceIdPriority":0,"orderByStartTimePriority":1}})"},
    {"guide", "whole guide", "ITVGuide::query",
     R"({"expression":"","expressionFormat":"quoril","outputFormat":"quoriljson"})"},
};

void expectResult(const std::string& reply) {
    if (!reply.starts_with(R"({"jsonrpc":"2.0","id":1,"result":)"))
        throw std::runtime_error("the host answers " + reply.substr(0, 200));
}

} // namespace

std::span<const WireCall> getWireCalls() {
    return calls;
}

const WireCall& findWireCall(const std::string& name) {
    const auto* const found = std::find_if(std::begin(calls), std::end(calls),
                                           [&](const WireCall& call) { return call.name == name; });
    if (found == std::end(calls))
        throw std::runtime_error("there is no call " + name);
    return *found;
}

WireExchange rehearse(std::uint16_t port, const WireCall& call, bool isPost) {
    const auto text = request(call.method, createContext(port), call.payload);
    Test::WireClient client({"127.0.0.1", port, {}});
    if (isPost) {
        const auto message = asPost(call.name, text);
        client.send(message->bytes);
        const auto answer = client.readAnswer();
        expectResult(answer.body);
        return {message->bytes, answer.head + answer.body};
    }
    client.upgrade();
    const auto reply = client.call(text);
    expectResult(reply);
    return {asFrame(call.name, text)->bytes, serverFrame(reply)};
}

std::string serverFrame(const std::string& text) {
    constexpr std::size_t mask = 4;
    constexpr char maskBit = '\x80';
    auto head = Test::frame(1, text);
    head.resize(head.size() - text.size() - mask);
    head[1] = static_cast<char>(head[1] & ~maskBit);
    return head + text;
}

} // namespace Ostrel::Bench
