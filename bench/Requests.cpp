#include "bench/Requests.h"

#include "tests/support/WireClient.h"

#include <string_view>

namespace Ostrel::Bench {

std::string createContext(std::uint16_t port) {
    Test::WireClient client({"127.0.0.1", port, {}});
    client.upgrade();
    const auto reply = client.call(R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})");
    const auto value = reply.rfind(':') + 1;
    const auto context = reply.substr(value, reply.rfind('}') - value);
    client.call(request("ITVService::serviceListSet", context, R"({"base":"all"})"));
    return context;
}

std::string request(const std::string& method, const std::string& context, const std::string& payload) {
    return R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":{"context":)" + context +
           R"(,"payload":)" + payload + "}}";
}

std::string batch(std::size_t number, const std::string& request) {
    std::string result = "[";
    for (std::size_t i = 0; i < number; ++i)
        result += (i == 0 ? "" : ",") + request;
    return result + "]";
}

std::string dearQuery(const std::string& context) {
    constexpr std::string_view rare = "~^|<>{}[]@#$%*+=";
    std::string texts;
    for (const char first : rare)
        for (const char second : rare)
            texts += (texts.empty() ? "\"" : ",\"") + std::string{first, second} + '"';
    return request("ITVGuide::queryEventInfo", context,
                   R"({"query":{"stringMatchDescription":true,"stringList":[)" + texts + "]}}");
}

Message asFrame(const std::string& name, const std::string& text) {
    return std::make_shared<Habit::Message>(Habit::Message{name, Test::frame(1, text)});
}

Message asPost(const std::string& name, const std::string& text, const std::string& headers) {
    return std::make_shared<Habit::Message>(
        Habit::Message{name, "POST /rpc/TV HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
                             "Content-Length: " +
                                 std::to_string(text.size()) + "\r\n" + headers + "\r\n" + text});
}

std::vector<Habit> neighbours(std::uint16_t port) {
    constexpr double callsPerSecond = 20;
    constexpr std::size_t longText = 5000;
    const auto context = createContext(port);
    const auto seek = [&](const std::string& note) {
        return request("ITVService::serviceListSeek", context,
                       R"({"offset":5,"whence":0,"note":")" + note + "\"}");
    };
    const Habit viewer{
        .messages = {asFrame("getGenreStringMapList", request("ITVGuide::getGenreStringMapList", context)),
                     asFrame("queryNowNextEventInfo",
                             request("ITVGuide::queryNowNextEventInfo", context, R"({"id":1043})"))},
        .perSecond = callsPerSecond,
    };
    const Habit zapper{
        .messages = {asFrame("serviceListSeek", seek("")),
                     asFrame("serviceListSeek with 5 kB", seek(std::string(longText, 'x'))),
                     asFrame("utcTimeGet", request("ITVService::utcTimeGet", context))},
        .perSecond = callsPerSecond,
    };
    return {viewer, zapper};
}

} // namespace Ostrel::Bench
