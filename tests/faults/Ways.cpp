#include "tests/faults/Ways.h"

#include "Ostrel/runtime/Clock.h"
#include "Ostrel/runtime/Task.h"
#include "Ostrel/runtime/Turn.h"

#include <regex>

namespace Ostrel::Test {

namespace {

/// The error of a call for whose reply there is no memory: from the handler, from the platform, and
/// where not even the id could be read.
bool isLackOfMemory(const std::string& reply) {
    static const std::regex error(
        R"(\{"jsonrpc":"2.0","id":(1,"error":\{"code":-32000|(1|null),"error":\{"code":-32603),)"
        R"("message":"Out of memory","data":\{"returnCode":3,"name":"OutOfMemory"\}\}\})");
    return std::regex_match(reply, error);
}

Way::Verdict judgeReply(const std::string& reply) {
    return isLackOfMemory(reply) ? Way::Unchanged : Way::Wrong;
}

Way::Verdict judgeAnswer(const std::string& answer) {
    return answer.starts_with("200 ") ? judgeReply(answer.substr(4)) : Way::Wrong;
}

/// Of a batch whose first call alone changes something.
Way::Verdict judgeBatch(const std::string& reply) {
    if (reply.starts_with(R"([{"jsonrpc":"2.0","id":1,"result":4},)"))
        return Way::Changed;
    const auto end = reply.find("}}}");
    return judgeReply(reply.starts_with('[') && end != std::string::npos ? reply.substr(1, end + 2) : reply);
}

/// A reply without what is by chance, or by the system's clock.
std::string withoutChance(const std::string& reply) {
    static const std::regex chance(R"(("real":|"id":1,"result":)(?!0\b)\d{7,})");
    return std::regex_replace(reply, chance, "$1N");
}

Way call(
    const std::string& method, const std::string& payload,
    std::function<void(Service&)> begin = [](Service&) {}) {
    return {.name = method,
            .act =
                [=](Service& service) {
                    const auto params =
                        payload.empty() ? std::string() : R"({"context":CONTEXT,"payload":)" + payload + '}';
                    return withoutChance(service.getClient().call(service.request(method, params)));
                },
            .begin = std::move(begin),
            .judge = judgeReply};
}

Way steer(
    const std::string& method, const std::string& params = {},
    std::function<void(Service&)> begin = [](Service&) {}) {
    return {.name = method,
            .act =
                [=](Service& service) {
                    return withoutChance(service.getSimulatorClient().call(service.request(method, params)));
                },
            .begin = std::move(begin),
            .judge = judgeReply};
}

void scan(Service& service) {
    service.callTV("ITVConfig::transponderListDeleteAll", R"({"sourceId":5})");
    service.callTV("ITVConfig::scanBlindStart", R"({"sourceId":5,"useNIT":0})");
}

/// A scan that is behind its time, for which no task makes up.
void scanAlone(Service& service) {
    scan(service);
    stopTasks();
    service.advance(40);
}

void changeAll(Service& service) {
    scan(service);
    service.advance(20);
    service.callTV("ITVService::serviceListSet", R"({"base":"new"})");
    service.post("/rpc/Simulator", service.request("Simulator::signalSet", R"({"strength":1,"quality":2})"));
    service.post(
        "/rpc/Simulator",
        service.request("Simulator::weatherSet", R"({"rules":[{"method":"none","drop":"reply"}],"seed":7})"));
}

std::string uriOfThird(Service& service) {
    const Turn::Hold turn;
    const Mutex::Hold hold(service.getModule().mutex);
    return service.getModule().services.at(2).getUri();
}

/// A request by HTTP, on a connection of its own; returns status and body.
Way ask(const std::string& name, const std::string& text) {
    return {.name = name,
            .act =
                [=](Service& service) {
                    WireClient client(service.getAddress());
                    client.send(text);
                    const auto answer = client.readAnswer();
                    return std::to_string(answer.status) + ' ' + answer.body;
                },
            .judge = judgeAnswer};
}

Way get(const std::string& path, const std::string& headers = {}) {
    return ask("GET " + path, "GET " + path + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n");
}

/// Of the page of metrics the last line is the same each time, but for its number.
Way getMetrics() {
    auto way = get("/metrics");
    way.act = [act = way.act](Service& service) {
        const auto heard = act(service);
        const auto last = heard.rfind('\n', heard.size() - 2) + 1;
        return heard.substr(0, 4) + heard.substr(last, heard.find_last_of(' ') - last);
    };
    return way;
}

Way post(const std::string& name, const std::string& body, const std::string& headers = {}) {
    return ask(name, "POST /rpc/TV HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
                     "Content-Length: " +
                         std::to_string(body.size()) + "\r\n" + headers + "\r\n" + body);
}

/// A text as it is, on the WebSocket.
Way say(const std::string& name, const std::string& text) {
    return {.name = name,
            .act = [=](Service& service) { return service.getClient().call(text); },
            .judge = judgeReply};
}

std::string upgrade(Service& service) {
    WireClient client(service.getAddress());
    return client.upgrade("/rpc/TV", "Sec-WebSocket-Protocol: jsonrpc\r\n");
}

std::string converse(Service& service) {
    auto& client = service.getClient();
    client.sendFrame(9, "ping");
    const auto pong = client.readFrame();
    client.sendFrame(8, "\x03\xe8");
    return pong.payload + std::to_string(client.readFrame().closeCode());
}

/// One asks, another is told.
std::string notify(Service& service) {
    const auto reply = withoutChance(
        service.post("/rpc/Simulator", service.request("Simulator::clockSet", R"({"now":1318762950})")));
    return isLackOfMemory(reply) ? reply
                                 : reply + withoutChance(service.getSimulatorClient().readFrame().payload);
}

/// Two calls, each with an answer of its own; the first changes something.
Way batch() {
    return {.name = "a batch",
            .act =
                [](Service& service) {
                    const auto seek =
                        service.request("ITVService::serviceListSeek",
                                        R"({"context":CONTEXT,"payload":{"offset":1,"whence":1}})");
                    const auto get = service.request("ITVService::serviceListGet",
                                                     R"({"context":CONTEXT,"payload":{"limit":2}})");
                    return service.getClient().call('[' + seek + ',' + get + ']');
                },
            .judge = judgeBatch};
}

} // namespace

std::vector<Way> ways() {
    const std::string source = R"({"sourceId":5})";
    const std::string start = R"({"sourceId":5,"useNIT":0})";
    const std::string tuning = R"({"sourceId":5,"useNIT":0,"tuningParams":{"frequencyKHz":490000}})";
    const std::string manyRules =
        R"({"rules":[{"method":"ITVNothing::whatever","delayMs":[1,2],"probability":0.5},)"
        R"({"method":"ITVNothing::more","error":"TimedOut"}],"seed":5})";
    return {
        call("ITVService::createContext", ""),
        {.name = "ITVService::deleteContext",
         .act =
             [](Service& service) {
                 return service.getClient().call(
                     service.request("ITVService::deleteContext", R"({"context":CONTEXT})"));
             },
         .judge = judgeReply},
        call("ITVService::serviceListSet", R"({"base":"new"})"),
        call("ITVService::serviceListSeek", R"({"offset":2,"whence":1})"),
        {.name = "ITVService::serviceListSeekByUri",
         .act =
             [](Service& service) {
                 return service.getClient().call(service.request("ITVService::serviceListSeekByUri",
                                                                 R"({"context":CONTEXT,"payload":{"uri":")" +
                                                                     uriOfThird(service) + "\"}}"));
             },
         .judge = judgeReply},
        call("ITVService::serviceListSeekByChannelNumber", R"({"channelNumber":2})"),
        call("ITVService::serviceListGet", R"({"limit":5})"),
        call("ITVService::serviceListRead", R"({"limit":5})"),
        call("ITVService::serviceListDelete", "{}"),
        call("ITVService::serviceListDeleteAll", "{}"),
        call("ITVService::nowNextGet", R"({"id":1043,"outputFormat":"quoriljson"})"),
        call("ITVService::signalStatusGet", source),
        call("ITVService::utcTimeGet", "{}"),
        call("ITVConfig::transponderListAdd", tuning),
        call("ITVConfig::transponderListDeleteAll", source),
        call("ITVConfig::scanBlindStart", start),
        call("ITVConfig::scanHomeStart", tuning),
        call("ITVConfig::scanStart", start),
        call("ITVConfig::scanStop", source, scanAlone),
        call("ITVConfig::scanInfoGet", source, scan),
        call("ITVGuide::query",
             R"({"expression":"ServiceId == 1043 && Start <= 1318762900 && End > 1318762900",)"
             R"("expressionFormat":"quoril","outputFormat":"quorilxml"})"),
        call("ITVGuide::queryEventInfo",
             R"({"query":{"serviceIdList":[1043],"timeRange":{"base":1318762900,"limit":1318769900},)"
             R"("stringList":["e","the"],"orderByStartTimePriority":1,"sliceRange":{"limit":3}}})"),
        call("ITVGuide::queryNowNextEventInfo", R"({"id":1043})"),
        call("ITVGuide::getGenreStringMapList", "{}"),
        steer("Simulator::clockGet"),
        steer("Simulator::clockSet", R"({"now":1318762950,"speed":0})"),
        steer("Simulator::clockStep", R"({"seconds":7})"),
        steer("Simulator::weatherSet", manyRules),
        steer("Simulator::weatherGet"),
        steer("Simulator::signalSet", R"({"strength":70,"quality":80})"),
        steer("Simulator::reset", "", changeAll),
        steer("Simulator::worldGet"),
        steer("Simulator::trafficGet", R"({"last":0})"),
        steer("Simulator::trafficWatch", R"({"on":true})"),
        batch(),
        say("rpc.discover", R"({"jsonrpc":"2.0","id":1,"method":"rpc.discover"})"),
        say("an unknown method", R"({"jsonrpc":"2.0","id":1,"method":"ITVService::nothing"})"),
        say("a wrong request", R"({"jsonrpc":"2.0","id":1,"method":5})"),
        say("no JSON", "nonsense"),
        say("a long request", R"({"jsonrpc":"2.0","id":1,"method":"ITVGuide::nothing","params":{"text":")" +
                                  std::string(10'000, 'x') + "\"}}"),
        {.name = "a WebSocket", .act = upgrade},
        {.name = "ping and close", .act = converse},
        {.name = "a notification", .act = notify, .judge = judgeReply},
        post("POST", R"({"jsonrpc":"2.0","id":1,"method":"ITVService::nothing"})"),
        post("POST with Expect", R"({"jsonrpc":"2.0","method":"ITVService::nothing"})",
             "Expect: 100-continue\r\n"),
        get("/"),
        get("/openrpc.json"),
        get("/healthz"),
        getMetrics(),
        get("/nothing"),
        get("/healthz of a foreign page", "Origin: http://example.org\r\n"),
        ask("OPTIONS", "OPTIONS /rpc/TV HTTP/1.1\r\nHost: localhost\r\nOrigin: http://localhost\r\n"
                       "Access-Control-Request-Method: POST\r\n\r\n"),
        ask("a wrong head", "GET\r\n\r\n"),
    };
}

} // namespace Ostrel::Test
