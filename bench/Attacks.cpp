#include "bench/Attacks.h"

#include "bench/Crowd.h"
#include "bench/Latency.h"
#include "bench/Requests.h"
#include "tests/support/CollidingKeys.h"
#include "tests/support/WireClient.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>

namespace Ostrel::Bench {

namespace {

using namespace std::chrono_literals;

constexpr Seconds usual = 6s; ///< that an attack without an end of its own lasts
constexpr Seconds patience = 75s; ///< for replies: longer than any time-out of the host
constexpr std::size_t megabyte = 1'000'000;
constexpr std::size_t largestMessage = 1 << 20;

[[gnu::format(printf, 1, 2)]] std::string format(const char* text, ...) {
    char buffer[512];
    va_list values;
    va_start(values, text);
    std::vsnprintf(buffer, sizeof buffer, text, values);
    va_end(values);
    return buffer;
}

std::string describeEnd(const Fate& fate) {
    return fate.closeCode != 0 ? "cut off with " + std::to_string(fate.closeCode)
           : fate.hasEnded     ? "cut off without a word"
                               : "not cut off";
}

std::size_t countAnswers(const Crowd& crowd) {
    std::size_t sum = 0;
    for (const auto& fate : crowd.getFates())
        sum += fate.answers;
    return sum;
}

std::size_t countEnded(const Crowd& crowd) {
    const auto& fates = crowd.getFates();
    return std::size_t(std::count_if(fates.begin(), fates.end(),
                                     [](const Fate& fate) { return fate.hasEnded || fate.closeCode != 0; }));
}

/// "3 of 4 answered, the last after 2.0 s, 1 cut off"
std::string describeAnswers(const Crowd& crowd, std::size_t asked) {
    return format("%zu of %zu answered, the slowest after %.1f s, %zu cut off", countAnswers(crowd), asked,
                  Latency(crowd.getFates()).slowest / 1000, countEnded(crowd));
}

/// Opens connections that do the same for as long as an attack usually lasts.
std::string storm(const HostProcess& host, std::size_t clients, const Habit& habit) {
    Crowd crowd(host.getPort(), times(clients, habit));
    crowd.wait(usual);
    crowd.leave();
    return format("%zu answered, %zu of %zu cut off", countAnswers(crowd), countEnded(crowd), clients);
}

/// Opens connections that each send one message, and waits for the replies.
std::string ask(const HostProcess& host, std::size_t clients, const Message& message) {
    Crowd crowd(host.getPort(), times(clients, {.messages = {message}, .times = 1}));
    crowd.wait(patience);
    crowd.leave();
    return describeAnswers(crowd, clients);
}

// A flood that is read slowly or not at all.

std::string pings(const HostProcess& host) {
    std::string many;
    for (int i = 0; i < 4096; ++i)
        many += Test::frame(9, {});
    const auto message = std::make_shared<Habit::Message>(Habit::Message{"pings", many});
    Crowd crowd(host.getPort(), {{.messages = {message}, .bytesPerSecond = 1000}});
    crowd.wait(15s);
    crowd.leave();
    const auto& fate = crowd.getFates().front();
    return format("%zu MB of pings taken, %s", fate.sent / megabyte, describeEnd(fate).c_str());
}

std::string smallReplies(const HostProcess& host) {
    const auto call = request("ITVService::utcTimeGet", createContext(host.getPort()));
    const auto frame = Test::frame(1, call);
    std::string many;
    for (int i = 0; i < 1000; ++i)
        many += frame;
    const auto message = std::make_shared<Habit::Message>(Habit::Message{"calls", many});
    Crowd crowd(host.getPort(), {{.messages = {message}, .bytesPerSecond = 0, .hurriesAfter = 6s}});
    crowd.wait(10s);
    crowd.leave();
    const auto& fate = crowd.getFates().front();
    return format("%zu MB of calls taken, %zu MB of replies read, %s", fate.sent / megabyte,
                  fate.received / megabyte, describeEnd(fate).c_str());
}

std::string slowReader(const HostProcess& host) {
    const auto query =
        request("ITVGuide::query", createContext(host.getPort()),
                R"({"expression":"","expressionFormat":"quoril","outputFormat":"quoriljson"})");
    const Habit fair{.times = 1, .bytesPerSecond = 1e6, .isWebSocket = false};
    const Habit slow{.times = 1, .bytesPerSecond = 4e4, .hurriesAfter = 70s, .isWebSocket = false};
    Habit closing = fair;
    closing.messages = {asPost("Connection: close", query, "Connection: close\r\n")};
    Habit halfClosed = fair;
    halfClosed.messages = {asPost("half-closed", query)};
    halfClosed.halfCloses = true;
    Habit keepAlive = slow;
    keepAlive.messages = {asPost("keep-alive", query)};
    Habit webSocket = slow;
    webSocket.messages = {asFrame("WebSocket", query)};
    webSocket.isWebSocket = true;

    const std::vector<Habit> habits = {closing, halfClosed, keepAlive, webSocket};
    Crowd crowd(host.getPort(), habits);
    crowd.wait(120s);
    crowd.leave();
    std::string result;
    for (std::size_t i = 0; i < habits.size(); ++i) {
        const auto& fate = crowd.getFates()[i];
        result += (i == 0 ? "" : "; ") + habits[i].messages.front()->name + ": " +
                  (fate.answers == 1 ? "whole" : format("cut at %.1f MB", double(fate.received) / megabyte));
    }
    return result;
}

// Work that is dear.

std::string dearBatches(const HostProcess& host) {
    const auto message = asFrame("batch", batch(20, dearQuery(createContext(host.getPort()))));
    return storm(host, 2, {.messages = {message}, .unanswered = 1});
}

std::string longBatch(const HostProcess& host) {
    return ask(host, 1, asFrame("batch", batch(100, dearQuery(createContext(host.getPort())))));
}

std::string largeMessages(const HostProcess& host) {
    const auto context = createContext(host.getPort());
    const auto call = [&](const std::string& zeros) {
        return request("ITVService::utcTimeGet", context, "{\"note\":[" + zeros + "0]}");
    };
    std::string zeros;
    while (zeros.size() + call({}).size() + 2 <= largestMessage)
        zeros += "0,";
    return ask(host, 250, asFrame("large", call(zeros)));
}

std::string collidingKeys(const HostProcess& host) {
    const auto context = createContext(host.getPort());
    const auto secondsFor = [&](const std::vector<std::string>& keys) {
        const auto call =
            request("ITVService::utcTimeGet", context, "{\"note\":" + Test::objectWith(keys) + "}");
        Crowd crowd(host.getPort(), {{.messages = {asFrame("keys", call)}, .times = 3}});
        const auto before = host.processorSeconds();
        crowd.wait(patience);
        return host.processorSeconds() - before;
    };
    const auto scattered = secondsFor(Test::scatteredKeys());
    const auto colliding = secondsFor(Test::collidingKeys());
    return format("3 messages took %.2f s of CPU, with other keys %.2f s: %.1f times as much", colliding,
                  scattered, colliding / scattered);
}

std::string genreQuery(const std::string& context) {
    std::string codes = "11"; // which no event has
    for (int i = 1; i < 340'000; ++i)
        codes += ",11";
    return request("ITVGuide::queryEventInfo", context, R"({"query":{"genreList":[)" + codes + "]}}");
}

std::string genreList(const HostProcess& host) {
    return ask(host, 4, asFrame("genres", genreQuery(createContext(host.getPort()))));
}

std::string manyTexts(const HostProcess& host) {
    std::string texts;
    for (const char first : std::string("bcdfghjkmpqvwxyz"))
        for (const char second : std::string("bcdfgjkmnpqvwxyz"))
            texts += (texts.empty() ? "\"" : ",\"") + std::string{first, second} + '"';
    const auto query = request("ITVGuide::queryEventInfo", createContext(host.getPort()),
                               R"({"query":{"stringMatchDescription":true,"stringList":[)" + texts + "]}}");
    return storm(host, 3, {.messages = {asFrame("texts", query)}, .unanswered = 1});
}

/// Half of the connections are WebSockets, the other half calls by POST; each sends its next message
/// when the last one is answered.
std::string stormBothWays(const HostProcess& host, std::size_t clients,
                          const std::vector<std::string>& texts) {
    Habit webSocket{.messages = {}, .unanswered = 1};
    Habit http{.messages = {}, .unanswered = 1, .isWebSocket = false};
    for (const auto& text : texts) {
        webSocket.messages.push_back(asFrame("dear", text));
        http.messages.push_back(asPost("dear", text));
    }
    auto habits = times(clients / 2, webSocket);
    habits.resize(clients, http);
    Crowd crowd(host.getPort(), habits);
    crowd.wait(usual);
    crowd.leave();
    std::size_t received = 0;
    for (const auto& fate : crowd.getFates())
        received += fate.received;
    return format("%zu answered, %zu MB of answers, %zu of %zu cut off", countAnswers(crowd),
                  received / megabyte, countEnded(crowd), clients);
}

std::string wholeGuideQuery(const std::string& context, const std::string& format) {
    return request("ITVGuide::query", context,
                   R"({"expression":"","expressionFormat":"quoril","outputFormat":")" + format + "\"}");
}

std::string wholeGuide(const HostProcess& host) {
    const auto context = createContext(host.getPort());
    return stormBothWays(host, 16,
                         {wholeGuideQuery(context, "quoriljson"), wholeGuideQuery(context, "quorilxml")});
}

std::string wholeGuideBatches(const HostProcess& host) {
    const auto context = createContext(host.getPort());
    return stormBothWays(host, 8,
                         {batch(100, wholeGuideQuery(context, "quoriljson")),
                          batch(100, wholeGuideQuery(context, "quorilxml"))});
}

std::string wholeGuideCrowd(const HostProcess& host) {
    return stormBothWays(host, 200, {wholeGuideQuery(createContext(host.getPort()), "quoriljson")});
}

std::string allEvents(const HostProcess& host) {
    const auto context = createContext(host.getPort());
    const auto query = request("ITVGuide::queryEventInfo", context, R"({"query":{}})");
    return stormBothWays(host, 16, {query, batch(100, query)});
}

std::string wholeLists(const HostProcess& host) {
    const auto context = createContext(host.getPort());
    const auto list = request("ITVService::serviceListGet", context, R"({"limit":100})");
    return stormBothWays(host, 100, {batch(100, list)});
}

std::string expressions(const HostProcess& host) {
    std::string expression = "Title == \\\"x\\\"";
    while (expression.size() < largestMessage - 1000)
        expression += " || Title == \\\"x\\\"";
    const auto query = request("ITVGuide::query", createContext(host.getPort()),
                               R"({"expression":")" + expression +
                                   R"(","expressionFormat":"quoril","outputFormat":"quoriljson"})");
    return stormBothWays(host, 8, {query});
}

std::string scrapes(const HostProcess& host) {
    Habit scraper{.messages = {}, .unanswered = 1, .isWebSocket = false};
    for (const char* path : {"/metrics", "/openrpc.json", "/"})
        scraper.messages.push_back(std::make_shared<Habit::Message>(
            Habit::Message{path, "GET " + std::string(path) + " HTTP/1.1\r\nHost: localhost\r\n\r\n"}));
    return storm(host, 16, scraper);
}

// Work for clients that have gone.

/// Says after what time newcomers, who try again and again, have all been answered.
std::string timeToAnswer(const HostProcess& host, std::size_t clients, Habit habit) {
    habit.times = 1;
    const auto began = Clock::now();
    while (Clock::now() - began < 30s) {
        Crowd newcomers(host.getPort(), times(clients, habit), Crowd::Manner::Polite);
        newcomers.wait(30s);
        newcomers.leave();
        const auto& fates = newcomers.getFates();
        if (std::all_of(fates.begin(), fates.end(),
                        [](const Fate& fate) { return fate.answers > fate.refusals; }))
            return format("after %.2f s", Seconds(Clock::now() - began).count());
        std::this_thread::sleep_for(100ms);
    }
    return "not within 30 s";
}

std::string describeNewcomers(const HostProcess& host, const std::string& context) {
    const auto get = std::make_shared<Habit::Message>(
        Habit::Message{"health", "GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n"});
    const auto call = asFrame("guide", request("ITVGuide::getGenreStringMapList", context));
    const auto health = timeToAnswer(host, 10, {.messages = {get}, .isWebSocket = false});
    const auto guide = timeToAnswer(host, 1, {.messages = {call}});
    return "ten who ask /healthz: " + health + ", a newcomer's guide call: " + guide;
}

std::string departedBatches(const HostProcess& host) {
    const auto context = createContext(host.getPort());
    const auto dear = batch(20, dearQuery(context));
    Crowd crowd(host.getPort(), times(40, {.messages = {asFrame("batch", dear)}, .times = 1}));
    crowd.wait(1s);
    crowd.leave();
    return describeNewcomers(host, context);
}

std::string departedPosts(const HostProcess& host) {
    const auto context = createContext(host.getPort());
    const auto dear = batch(20, dearQuery(context));
    Crowd crowd(host.getPort(),
                times(254, {.messages = {asPost("batch", dear)}, .times = 1, .isWebSocket = false}));
    crowd.wait(3s);
    crowd.leave(true);
    return describeNewcomers(host, context);
}

// What all share.

std::string deleteInUse(const HostProcess& host) {
    double slowest = 0;
    for (int round = 0; round < 5; ++round) {
        const auto context = createContext(host.getPort());
        Crowd readers(host.getPort(), {{.messages = {asFrame("texts", dearQuery(context))}, .times = 1},
                                       {.messages = {asFrame("genres", genreQuery(context))}, .times = 1}});
        std::this_thread::sleep_for(50ms);
        Crowd owner(host.getPort(),
                    {{.messages = {asFrame("deleteContext", request("ITVService::deleteContext", context))},
                      .times = 1}});
        owner.wait(patience);
        owner.leave();
        readers.wait(patience);
        slowest = std::max(slowest, Latency(owner.getFates()).slowest / 1000);
    }
    return format("the slowest of 5 took %.2f s to be answered", slowest);
}

std::string scans(const HostProcess& host, std::size_t clients) {
    const auto context = createContext(host.getPort());
    std::string pairs = "[";
    for (int i = 0; i < 50; ++i)
        pairs += (i == 0 ? "" : ",") +
                 request("ITVConfig::scanBlindStart", context, R"({"sourceId":1,"useNIT":0})") + "," +
                 request("ITVConfig::scanStop", context, R"({"sourceId":1})");
    pairs += "]";
    const auto clock = asFrame("utcTimeGet", request("ITVService::utcTimeGet", context));
    Crowd slow(host.getPort(), times(5, {.messages = {clock}, .perSecond = 2, .bytesPerSecond = 1e6}),
               Crowd::Manner::Polite);
    Crowd crowd(host.getPort(), times(clients, {.messages = {asFrame("scans", pairs)}, .unanswered = 10}));
    crowd.wait(usual);
    crowd.leave();
    slow.fallSilent();
    slow.wait(20s);
    slow.leave();
    return format("%zu batches answered, %zu of %zu who read cut off; 5 who read slowly: replies after up to "
                  "%.1f s, %zu cut off",
                  countAnswers(crowd), countEnded(crowd), clients, Latency(slow.getFates()).slowest / 1000,
                  countEnded(slow));
}

std::string scanStorm(const HostProcess& host) {
    return scans(host, 100);
}

std::string scanLoner(const HostProcess& host) {
    return scans(host, 1);
}

// No attack at all.

std::string crowd(const HostProcess& host) {
    std::vector<Habit> habits;
    const auto pair = neighbours(host.getPort());
    const auto query = asFrame(
        "queryEventInfo", request("ITVGuide::queryEventInfo", createContext(host.getPort()),
                                  R"({"query":{"stringList":["News"],"sliceRange":{"base":0,"limit":20}}})"));
    for (int i = 0; i < 120; ++i)
        habits.insert(habits.end(), pair.begin(), pair.end());
    for (auto& habit : habits) {
        habit.perSecond = 4;
        habit.messages.push_back(query);
    }
    Crowd many(host.getPort(), habits, Crowd::Manner::Polite);
    std::this_thread::sleep_for(60s);
    many.fallSilent();
    many.wait(20s);
    many.leave();
    const Latency latency(many.getFates());
    return format("%zu calls: p50 %.1f ms, p99 %.1f ms, slowest %.1f ms (%s); %zu cut off", latency.count,
                  latency.p50, latency.p99, latency.slowest, latency.slowestCall.c_str(), countEnded(many));
}

std::string idle(const HostProcess& host) {
    const auto switches = host.contextSwitches();
    const auto busy = host.processorSeconds();
    std::this_thread::sleep_for(10s);
    return format("%ld context switches in 10 s, %.1f ms of CPU", host.contextSwitches() - switches,
                  1000 * (host.processorSeconds() - busy));
}

} // namespace

const std::vector<Attack>& getAttacks() {
    static const std::vector<Attack> attacks = {
        {"pings", "a flood of empty pings from a client that hardly reads", pings},
        {"small-replies", "a flood of small calls whose replies nobody reads for six seconds", smallReplies},
        {"slow-reader", "replies of 8 MB, closing at 1 MB/s and keep-alive at 40 kB/s: do they arrive?",
         slowReader},
        {"dear-batches", "two clients with batches of 20 queries for 256 texts", dearBatches},
        {"long-batch", "one batch of 100 queries for 256 texts", longBatch},
        {"large-messages", "250 connections with one message of 1 MiB each", largeMessages},
        {"colliding-keys", "objects of 32,768 keys that fall into one bucket of Boost.JSON's table",
         collidingKeys},
        {"genre-list", "four queries for 340,000 genres", genreList},
        {"many-texts", "three clients with queries for 256 texts of two letters", manyTexts},
        {"whole-guide", "16 clients with the whole guide, as JSON and as XML", wholeGuide},
        {"guide-batches", "8 clients with batches of 100 times the whole guide", wholeGuideBatches},
        {"guide-crowd", "200 clients with the whole guide", wholeGuideCrowd},
        {"all-events", "16 clients with event queries for all events, also in batches of 100", allEvents},
        {"whole-lists", "100 clients with batches of 100 times the whole list of services", wholeLists},
        {"expressions", "8 clients with expressions of 1 MiB", expressions},
        {"scrapes", "16 clients who read /metrics, the description and the page over and over", scrapes},
        {"departed-batches", "40 batches of 20 queries for 256 texts, left within a second", departedBatches},
        {"departed-posts", "254 such batches by POST, all places there are, reset after three seconds",
         departedPosts},
        {"delete-in-use", "a context is deleted while dear queries use it", deleteInUse},
        {"scan-storm", "100 clients start and stop scans, others read slowly", scanStorm},
        {"scan-loner", "one client starts and stops scans, others read slowly", scanLoner},
        {"crowd", "240 clients, each as polite as the neighbours, for a minute", crowd},
        {"idle", "nobody: does the host wake?", idle, false},
    };
    return attacks;
}

} // namespace Ostrel::Bench
