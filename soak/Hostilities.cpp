#include "soak/Hostilities.h"

#include "bench/Crowd.h"
#include "bench/Requests.h"
#include "tests/support/WireClient.h"

#include <algorithm>
#include <array>
#include <exception>
#include <iterator>

#include <sys/resource.h>
#include <unistd.h>

namespace Ostrel::Soak {

using namespace std::chrono_literals;

using Bench::asFrame;
using Bench::asPost;
using Bench::batch;
using Bench::Crowd;
using Bench::Habit;
using Bench::request;
using Bench::times;
using Test::WireClient;

/// What one hostility has to do with.
struct Arena {
    Hostilities& all;
    const std::uint16_t port;
    const std::string& context;
    const std::chrono::milliseconds time; ///< that it should take
    const Bench::Clock::time_point begin = Bench::Clock::now();

    bool isOver() const { return all.stopping_ || Bench::Clock::now() - begin > time; }
    void pause(std::chrono::milliseconds most) const { std::this_thread::sleep_for(std::min(most, time)); }

    WireClient connect(std::string_view path = "/rpc/TV") const {
        WireClient client({"127.0.0.1", port, {}});
        client.upgrade(path);
        return client;
    }

    /// Lets clients do what their habits say, and leaves.
    void let(const std::vector<Habit>& habits, bool reset = false) const {
        Crowd crowd(port, habits);
        while (!isOver() && !crowd.wait(50ms)) {
        }
        crowd.leave(reset);
    }

    std::string call(const std::string& method, const std::string& payload = "{}") const {
        return request(method, context, payload);
    }

    /// Contexts that nobody deletes; the oldest of too many are deleted after all.
    void leaveBehind(const std::string& identifier) const {
        const std::lock_guard lock(all.mutex_);
        all.contexts_.push_back(identifier);
    }
    std::vector<std::string> takeTooOld() const {
        constexpr std::size_t most = 4000;
        const std::lock_guard lock(all.mutex_);
        std::vector<std::string> old;
        for (; all.contexts_.size() > most; all.contexts_.pop_front())
            old.push_back(all.contexts_.front());
        return old;
    }

    const Truth& getTruth() const { return all.truth_; }
};

namespace {

constexpr int courtesy = 10; ///< the nice value of hostile threads, as if they ran elsewhere
constexpr auto create = R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})";

std::string deletion(const std::string& context) {
    return R"({"jsonrpc":"2.0","id":1,"method":"ITVService::deleteContext","params":{"context":)" + context +
           "}}";
}

/// The value of a reply's result.
std::string resultOf(const std::string& reply) {
    const auto at = reply.rfind(':') + 1;
    return reply.substr(at, reply.rfind('}') - at);
}

std::string guideQuery(const Arena& arena, const std::string& format) {
    return arena.call("ITVGuide::query",
                      R"({"expression":"","expressionFormat":"quoril","outputFormat":")" + format + "\"}");
}

Bench::Message raw(std::string bytes) {
    return std::make_shared<Habit::Message>(Habit::Message{"raw", std::move(bytes)});
}

Habit once(Bench::Message message, bool isWebSocket = true) {
    return {.messages = {std::move(message)}, .times = 1, .isWebSocket = isWebSocket};
}

// Who reads slowly, or not at all, or says half of what there is to say.

void slowReaders(const Arena& arena) {
    const auto text = guideQuery(arena, "quoriljson");
    const Habit slow{.messages = {asFrame("guide", text)}, .bytesPerSecond = 4e4};
    const Habit slowPost{
        .messages = {asPost("guide", text)}, .times = 2, .bytesPerSecond = 1e6, .isWebSocket = false};
    arena.let({slow, slow, slowPost});
}

void silentReaders(const Arena& arena) {
    const auto frame = asFrame("call", arena.call("ITVService::utcTimeGet"));
    std::string many;
    for (int i = 0; i < 500; ++i)
        many += frame->bytes;
    std::string pings;
    for (int i = 0; i < 2000; ++i)
        pings += Test::frame(9, "x");
    arena.let({{.messages = {raw(many)}, .bytesPerSecond = 0},
               {.messages = {raw(pings)}, .bytesPerSecond = 1000},
               {.messages = {asFrame("guide", guideQuery(arena, "quorilxml"))}, .bytesPerSecond = 0}});
}

void halfRequests(const Arena& arena) {
    Habit closed =
        once(raw("POST /rpc/TV HTTP/1.1\r\nHost: localhost\r\nContent-Length: 50\r\n\r\n{"), false);
    closed.halfCloses = true;
    const auto frame = Test::frame(1, std::string(1000, 'x'));
    std::vector<Habit> habits = {once(raw("POST /rpc/TV HT"), false), closed, once(raw(frame.substr(0, 500))),
                                 once(raw("GET /rpc/TV HTTP/1.1\r\nUpgrade: webs"), false)};
    Crowd crowd(arena.port, habits);
    while (!arena.isOver())
        std::this_thread::sleep_for(20ms);
    crowd.leave();
}

void resets(const Arena& arena) {
    const auto dear = batch(20, Bench::dearQuery(arena.context));
    while (!arena.isOver()) {
        Crowd crowd(arena.port, {once(asFrame("batch", dear)), once(asPost("batch", dear), false),
                                 once(asPost("guide", guideQuery(arena, "quoriljson")), false),
                                 once(raw(Test::frame(1, dear).substr(0, 700)))});
        arena.pause(40ms);
        crowd.leave(true);
    }
}

// What all share.

void contextStorm(const Arena& arena) {
    auto client = arena.connect();
    while (!arena.isOver()) {
        for (int i = 0; i < 20; ++i)
            arena.leaveBehind(resultOf(client.call(create)));
        for (const auto& old : arena.takeTooOld())
            client.call(deletion(old));
        arena.pause(20ms);
    }
}

void scanStorm(const Arena& arena) {
    std::string calls;
    for (int i = 0; i < 20; ++i)
        calls += (i == 0 ? "[" : ",") +
                 arena.call("ITVConfig::scanBlindStart", R"({"sourceId":1,"useNIT":0})") + ',' +
                 arena.call("ITVConfig::scanStop", R"({"sourceId":1})");
    calls += "]";
    arena.let(times(4, {.messages = {asFrame("scans", calls)}, .unanswered = 2}));
}

/// Deletes loose services while scans find them again. From the end no seek can lead elsewhere.
void deletesInScans(const Arena& arena) {
    const auto& services = arena.getTruth().getServices();
    const auto own = Bench::createContext(arena.port);
    arena.leaveBehind(own);
    std::string calls = '[' + request("ITVConfig::scanBlindStart", own, R"({"sourceId":1,"useNIT":0})");
    for (std::size_t i = arena.getTruth().countFirm(); i < services.size(); ++i)
        calls += ',' + request("ITVService::serviceListSeek", own, R"({"offset":0,"whence":2})") + ',' +
                 request("ITVService::serviceListSeekByUri", own, R"({"uri":")" + services[i].uri + "\"}") +
                 ',' + request("ITVService::serviceListDelete", own);
    calls += ']';
    arena.let({{.messages = {asFrame("deletes", calls)}, .perSecond = 20, .unanswered = 1}});
}

void contextsInScans(const Arena& arena) {
    auto client = arena.connect();
    while (!arena.isOver()) {
        const auto own = resultOf(client.call(create));
        client.call(request("ITVConfig::scanBlindStart", own, R"({"sourceId":1,"useNIT":0})"));
        Crowd reader(arena.port, {once(asFrame("dear", Bench::dearQuery(own)))});
        client.call(deletion(own));
        arena.pause(20ms);
    }
}

void locksLeftHeld(const Arena& arena) {
    const auto seek = arena.call("ITVService::serviceListSeek", R"({"offset":1,"whence":3})");
    arena.let(
        times(4, {.messages = {asFrame("seek", seek), asFrame("seeks", batch(50, seek))}, .unanswered = 2}));
}

// Weather, which hits what the well-behaved do not ask for, or makes it late.

void weather(const Arena& arena) {
    auto simulator = arena.connect("/rpc/Simulator");
    simulator.call(R"({"jsonrpc":"2.0","id":1,"method":"Simulator::weatherSet","params":{"rules":[)"
                   R"({"method":"ITVService::signalStatusGet","probability":0.2,"error":"TimedOut"},)"
                   R"({"method":"ITVService::signalStatusGet","probability":0.2,"delayMs":[1,300]},)"
                   R"({"method":"ITVService::signalStatusGet","probability":0.1,"drop":"connection"},)"
                   R"({"method":"ITVConfig::scanInfoGet","probability":0.3,"drop":"reply"},)"
                   R"({"method":"ITVConfig::*","notifications":true,"probability":0.3,"delayMs":[1,30]}]}})");
    const auto signal = arena.call("ITVService::signalStatusGet", R"({"sourceId":1})");
    const auto scan = arena.call("ITVConfig::scanInfoGet", R"({"sourceId":1})");
    while (!arena.isOver()) {
        Crowd crowd(
            arena.port,
            {{.messages = {asFrame("signal", signal), asFrame("scan", scan)}, .times = 50, .unanswered = 5},
             {.messages = {asPost("signal", signal)}, .times = 20, .unanswered = 1, .isWebSocket = false}});
        crowd.wait(300ms);
        crowd.leave();
    }
    simulator.call(R"({"jsonrpc":"2.0","id":1,"method":"Simulator::weatherSet","params":{"rules":[]}})");
}

// What is no message, or too much of one.

void malformed(const Arena& arena) {
    const std::vector<std::string> texts = {
        "{",
        "[]",
        "[1,2]",
        "null",
        "\xef\xbb\xbf{}",
        std::string(200, '['),
        R"({"jsonrpc":"1.0","id":1})",
        R"({"jsonrpc":"2.0","id":{},"method":1})",
        R"({"jsonrpc":"2.0","id":1,"method":"ITVGuide::query","params":[1]})",
        R"({"jsonrpc":"2.0","id":1,"method":"ITVGuide::query","params":{"context":1,"payload":"{"}})"};
    std::vector<Habit> habits(2, {.messages = {}, .perSecond = 200, .unanswered = 5});
    habits[1].isWebSocket = false;
    for (const auto& text : texts) {
        habits[0].messages.push_back(asFrame("bad", text));
        habits[1].messages.push_back(asPost("bad", text));
    }
    const std::array<std::string, 8> ends = {Test::frame(2, "binary"),
                                             Test::frame(1, "\xff\xfe"),
                                             std::string("\x81\x02{}"),
                                             std::string("\xf1\x80\0\0\0\0", 6),
                                             "BREW /rpc/TV HTTP/1.1\r\n\r\n",
                                             std::string("\0\1\2\3\r\n\r\n", 8),
                                             "POST /rpc/TV HTTP/1.1\r\nHost: evil.example\r\n"
                                             "Content-Length: 2\r\n\r\n{}",
                                             "POST /rpc/TV HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: "
                                             "chunked\r\nContent-Length: 5\r\n\r\n0\r\n\r\n"};
    Crowd bad(arena.port, habits);
    for (std::size_t i = 0; !arena.isOver(); ++i) {
        Crowd end(arena.port, {once(raw(ends[i % ends.size()]), i % ends.size() < 4)});
        end.wait(100ms);
    }
}

void tooMuch(const Arena& arena) {
    const auto large = std::string(1'100'000, ' ') + arena.call("ITVService::utcTimeGet");
    const auto batches = batch(101, arena.call("ITVService::utcTimeGet"));
    const auto head =
        "GET /healthz HTTP/1.1\r\nHost: localhost\r\nX: " + std::string(20'000, 'x') + "\r\n\r\n";
    while (!arena.isOver())
        arena.let({once(asFrame("large", large)), once(asPost("large", large), false),
                   once(asFrame("batch", batches)), once(raw(head), false)});
}

// What is dear.

void dearGuide(const Arena& arena) {
    const auto json = guideQuery(arena, "quoriljson");
    arena.let({{.messages = {asFrame("batch", batch(100, json))}, .unanswered = 1},
               {.messages = {asFrame("guide", guideQuery(arena, "quorilxml"))}, .unanswered = 1},
               {.messages = {asPost("guide", json)}, .unanswered = 1, .isWebSocket = false}});
}

void dearTexts(const Arena& arena) {
    const auto texts = Bench::dearQuery(arena.context);
    const auto all = arena.call("ITVGuide::queryEventInfo", R"({"query":{}})");
    arena.let({{.messages = {asFrame("batch", batch(100, texts))}, .unanswered = 1},
               {.messages = {asFrame("events", all)}, .unanswered = 1},
               {.messages = {asPost("texts", texts)}, .unanswered = 1, .isWebSocket = false},
               {.messages = {asPost("batch", batch(20, all))}, .unanswered = 1, .isWebSocket = false}});
}

void dearLists(const Arena& arena) {
    const auto list = arena.call("ITVService::serviceListGet", R"({"limit":100})");
    Habit scrape{.messages = {}, .unanswered = 1, .isWebSocket = false};
    for (const char* path : {"/metrics", "/openrpc.json", "/"})
        scrape.messages.push_back(raw("GET " + std::string(path) + " HTTP/1.1\r\nHost: localhost\r\n\r\n"));
    arena.let({{.messages = {asFrame("lists", batch(100, list))}, .unanswered = 1},
               {.messages = {asPost("lists", batch(100, list))}, .unanswered = 1, .isWebSocket = false},
               scrape});
}

// Connections.

/// More at a time than there are places.
void reconnects(const Arena& arena) {
    const auto call = arena.call("ITVService::utcTimeGet");
    while (!arena.isOver()) {
        auto habits = times(20, once(asFrame("call", call)));
        habits.resize(40, once(asPost("call", call), false));
        Crowd crowd(arena.port, habits);
        crowd.wait(100ms);
        crowd.leave(arena.all.countDone() % 2 == 0);
    }
}

/// Is shown all traffic and does not look.
void watchers(const Arena& arena) {
    auto blind = arena.connect("/rpc/Simulator");
    blind.call(R"({"jsonrpc":"2.0","id":1,"method":"Simulator::trafficWatch","params":{"on":true}})");
    auto asking = arena.connect("/rpc/Simulator");
    while (!arena.isOver()) {
        asking.call(R"({"jsonrpc":"2.0","id":1,"method":"Simulator::trafficGet","params":{"last":10000}})");
        arena.pause(100ms);
    }
}

struct Hostility {
    const char* name;
    void (*run)(const Arena& arena);
};

constexpr Hostility hostilities[] = {
    {"slow readers", slowReaders},
    {"silent readers", silentReaders},
    {"half requests", halfRequests},
    {"resets", resets},
    {"context storm", contextStorm},
    {"scan storm", scanStorm},
    {"deletes in scans", deletesInScans},
    {"contexts in scans", contextsInScans},
    {"locks left held", locksLeftHeld},
    {"weather", weather},
    {"malformed", malformed},
    {"too much", tooMuch},
    {"dear guide", dearGuide},
    {"dear texts", dearTexts},
    {"dear lists", dearLists},
    {"reconnects", reconnects},
    {"watchers", watchers},
};

/// A call of the simulator's clock.
std::string clockCall(const std::string& method, const std::string& params) {
    return R"({"jsonrpc":"2.0","id":1,"method":"Simulator::)" + method + R"(","params":{)" + params + "}}";
}

} // namespace

Hostilities::Hostilities(std::uint16_t port, const Truth& truth, Announcements& announcements,
                         std::chrono::milliseconds each)
    : port_(port), truth_(truth), announcements_(announcements), each_(each),
      context_(Bench::createContext(port)) {
    begin([this] { runLane(0); });
    begin([this] { runLane(std::size(hostilities) / 2); });
    begin([this] { conduct(); });
}

Hostilities::~Hostilities() {
    beginStop();
    for (auto& thread : threads_)
        thread.join();
}

template <class Action> void Hostilities::begin(Action action) {
    ++running_;
    threads_.emplace_back([this, action] {
        ::setpriority(PRIO_PROCESS, id_t(::gettid()), courtesy);
        action();
        --running_;
    });
}

/// One hostility after the other. What they get themselves into is their business.
void Hostilities::runLane(std::size_t first) {
    for (auto next = first; !stopping_; ++next) {
        try {
            hostilities[next % std::size(hostilities)].run({*this, port_, context_, each_});
        } catch (const std::exception&) {
            std::this_thread::sleep_for(10ms); // there was no place
        }
        ++done_;
        if (next % std::size(hostilities) == std::size(hostilities) - 1 && first > 0)
            ++next; // so that other ones meet each time
    }
}

/// Steers the clock, sets it back, and has scans come to their end by it.
void Hostilities::conduct() {
    const auto begin = std::to_string(truth_.getBegin());
    while (!stopping_) {
        try {
            WireClient tv({"127.0.0.1", port_, {}});
            tv.upgrade();
            WireClient simulator({"127.0.0.1", port_, {}});
            simulator.upgrade("/rpc/Simulator");
            while (!stopping_) {
                announcements_.noteSetBack();
                simulator.call(clockCall("clockSet", R"("now":)" + begin + R"(,"speed":0)"));
                tv.call(request("ITVConfig::scanBlindStart", context_, R"({"sourceId":1,"useNIT":0})"));
                simulator.call(clockCall("clockStep", R"("seconds":20)"));
                simulator.call(clockCall("clockSet", R"("speed":3)"));
                std::this_thread::sleep_for(200ms);
                simulator.call(clockCall("clockSet", R"("speed":0)"));
                simulator.call(clockCall("clockStep", R"("seconds":50)"));
                std::this_thread::sleep_for(200ms);
            }
        } catch (const std::exception&) {
            std::this_thread::sleep_for(10ms);
        }
    }
}

void Hostilities::tidy() {
    WireClient simulator({"127.0.0.1", port_, {}});
    simulator.upgrade("/rpc/Simulator");
    simulator.call(clockCall("weatherSet", R"("rules":[])"));
    announcements_.noteSetBack();
    simulator.call(clockCall("clockSet", R"("now":)" + std::to_string(truth_.getBegin()) + R"(,"speed":0)"));
    WireClient client({"127.0.0.1", port_, {}});
    client.upgrade();
    client.call(request("ITVConfig::scanStop", context_, R"({"sourceId":1})"));
    simulator.call(clockCall("clockStep", R"("seconds":2)")); // the tasks of scans wake, and end
    const std::lock_guard lock(mutex_);
    contexts_.push_back(context_);
    for (; !contexts_.empty(); contexts_.pop_back())
        client.call(deletion(contexts_.back()));
}

std::vector<std::string> Hostilities::getNames() {
    std::vector<std::string> names;
    for (const auto& hostility : hostilities)
        names.emplace_back(hostility.name);
    return names;
}

} // namespace Ostrel::Soak
