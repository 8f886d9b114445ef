#include "soak/Truth.h"

#include "Ostrel/runtime/Clock.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "TV/server/TVModuleContext.h"
#include "TV/server/TVRPCServer.h"
#include "TV/server/dummy/DummyTVModule.h"
#include "TV/server/dummy/world/ChosenWorld.h"

#include <algorithm>
#include <memory>
#include <random>
#include <stdexcept>
#include <utility>

namespace Ostrel::Soak {

namespace {

/// The longest span without a begin or an end of an event, in the day around a time, and off its edges.
std::pair<std::time_t, std::time_t> findQuietSpan(std::time_t around) {
    constexpr std::time_t halfDay = 43'200;
    constexpr std::time_t edge = 5;
    std::vector<std::time_t> edges;
    for (const auto& row : TV::chosenWorld().rows)
        for (const std::time_t at : {row.Start, row.End})
            if (row.ServiceId != 0 && around - halfDay < at && at < around + halfDay)
                edges.push_back(at);
    std::sort(edges.begin(), edges.end());
    std::pair<std::time_t, std::time_t> longest;
    for (std::size_t i = 1; i < edges.size(); ++i)
        if (edges[i] - edges[i - 1] > longest.second - longest.first)
            longest = {edges[i - 1], edges[i]};
    return {longest.first + edge, longest.second - edge};
}

std::string format(const char* text, const std::vector<std::string>& values) {
    std::string result;
    auto value = values.begin();
    for (; *text != '\0'; ++text)
        result += *text == '%' ? *value++ : std::string(1, *text);
    return result;
}

/// Asks the module, which nobody else does.
class Asker {
public:
    explicit Asker(TV::DummyTVModule& module) : server_(&module) {
        const auto answer = ask("ITVService::createContext", {});
        context_ = std::uint32_t(std::stoul(answer.substr(answer.find(':') + 1)));
        ask("ITVService::serviceListSet", R"({"base":"all"})");
    }

    /// Returns the reply behind its id.
    std::string ask(const std::string& method, const std::string& payload) {
        const std::string_view name = method;
        const auto colons = name.find("::");
        const auto params = R"({"context":)" + std::to_string(context_) +
                            (payload.empty() ? "" : R"(,"payload":)" + payload) + '}';
        const IRPC::RPCSynchronousMethodObject call(name.substr(0, colons), name.substr(colons + 2), "1",
                                                    params);
        const auto reply = server_.handleRPCSynchronousMethod(call);
        constexpr std::string_view head = R"({"jsonrpc":"2.0","id":1)";
        if (!reply.starts_with(head))
            throw std::logic_error("no reply: " + reply);
        return reply.substr(head.size());
    }

private:
    TV::TVRPCServer server_;
    std::uint32_t context_ = 0;
};

/// Everything that is asked, without its answers.
std::vector<Truth::Question> makeQuestions(const std::vector<unsigned>& ids, std::time_t now) {
    std::vector<Truth::Question> result;
    std::mt19937 random(1); // the same questions every time
    const auto number = [&](std::uint32_t below) { return std::uint32_t(random() % below); };
    const auto text = [](auto value) { return std::to_string(value); };
    const auto add = [&](const char* method, std::string payload) {
        result.push_back({method, std::move(payload), {}});
    };

    for (const auto id : ids) {
        add("ITVGuide::queryNowNextEventInfo", format(R"({"id":%})", {text(id)}));
        for (const char* documents : {"quoriljson", "quorilxml"})
            add("ITVService::nowNextGet", format(R"({"id":%,"outputFormat":"%"})", {text(id), documents}));
    }
    const std::vector<std::string> words = {"News", "Morning", "the", "film", "Zzyzx", "a", "Match"};
    const auto anyTime = [&] { return text(now - 86'400 + std::time_t(number(172'800))); };
    const auto anyId = [&] { return text(ids[number(std::uint32_t(ids.size()))]); };
    const auto anyWord = [&] { return words[number(std::uint32_t(words.size()))]; };
    for (int i = 0; i < 60; ++i) {
        const auto from = now - 86'400 + std::time_t(number(172'800));
        add("ITVGuide::queryEventInfo",
            format(R"({"query":{"serviceIdList":[%,%],"timeRange":{"base":%,"limit":%,"strict":%}}})",
                   {anyId(), anyId(), text(from), text(from + 7200), i % 2 == 0 ? "true" : "false"}));
        add("ITVGuide::queryEventInfo",
            format(R"({"query":{"stringList":["%","%"],"stringMatchDescription":%,"sliceRange":{"base":%,)"
                   R"("limit":%}}})",
                   {anyWord(), anyWord(), i % 2 == 0 ? "true" : "false", text(i), text(i + 20)}));
        add("ITVGuide::queryEventInfo",
            format(R"({"query":{"genreList":[%,%],"orderByServiceIdPriority":%,"orderByStartTimePriority":%,)"
                   R"("sliceRange":{"limit":25}}})",
                   {text(16 * (1 + number(10))), text(16 * (1 + number(10)) + 1), text(number(3)),
                    text(number(3))}));
        add("ITVGuide::query",
            format(R"({"expression":"ServiceId == % && Start >= %","expressionFormat":"quoril",)"
                   R"("outputFormat":"%"})",
                   {anyId(), anyTime(), i % 2 == 0 ? "quoriljson" : "quorilxml"}));
    }
    add("ITVGuide::getGenreStringMapList", "{}");

    // What is refused, at any time.
    add("ITVGuide::query",
        R"({"expression":"Start ==","expressionFormat":"quoril","outputFormat":"quoriljson"})");
    add("ITVGuide::query", R"({"expression":"","expressionFormat":"sql","outputFormat":"quoriljson"})");
    add("ITVGuide::queryEventInfo", R"({"query":{"serviceIds":[1]}})");
    add("ITVGuide::queryEventInfo", R"({"query":{"genreList":[256]}})");
    add("ITVGuide::noSuchMethod", "{}");
    add("ITVNothing::query", "{}");
    add("ITVService::nowNextGet", R"({"id":1000,"outputFormat":"text"})");
    add("ITVService::serviceListSet", R"({"base":"none"})");
    add("ITVService::serviceListSeek", R"({"offset":0,"whence":3})");
    add("ITVService::serviceListSeek", R"({"offset":1e10,"whence":0})");
    add("ITVService::serviceListSeek", R"({"offset":-1,"whence":0})");
    add("ITVService::serviceListSeekByUri", R"({"uri":"dvb://0..0"})");
    add("ITVService::serviceListSeekByChannelNumber", R"({"channelNumber":0})");
    add("ITVService::serviceListGet", R"({"limit":-1})");
    add("ITVService::serviceListRead", R"({})");
    add("ITVConfig::scanHomeStart", R"({"sourceId":1,"useNIT":0,"tuningParams":{"frequencyKHz":690000}})");
    return result;
}

} // namespace

Truth::Truth() {
    setDebugSink([](const DebugLine&) {}); // much of what is asked is refused
    TV::DummyTVModule module;
    module.init();
    std::tie(begin_, end_) = findQuietSpan(module.getGuideMidday());
    Ostrel::Clock::set(begin_, 0);
    Asker asker(module);

    const std::unique_ptr<TV::TVModuleContext> context(module.createContext());
    context->serviceListSet("all");
    const auto list = context->serviceListGet(1'000'000);
    std::vector<unsigned> ids;
    for (const TV::ITVService::ServiceInfo& service : list) {
        const auto answer = asker.ask("ITVService::serviceListRead", R"({"limit":1})");
        constexpr std::string_view head = R"(,"result":[)";
        services_.push_back({answer.substr(head.size(), answer.size() - head.size() - 2), service.getUri(),
                             service.getChannelNumber()});
        ids.push_back(service.getId());
    }
    ids.push_back(1); // which no service has
    questions_ = makeQuestions(ids, begin_);
    for (auto& question : questions_)
        question.answer = asker.ask(question.method, question.payload);
}

std::string makeRequest(const std::string& id, const std::string& method, std::uint32_t context,
                        const std::string& payload) {
    return R"({"jsonrpc":"2.0",)" + (id.empty() ? "" : R"("id":)" + id + ',') + R"("method":")" + method +
           R"(","params":{"context":)" + std::to_string(context) + R"(,"payload":)" + payload + "}}";
}

} // namespace Ostrel::Soak
