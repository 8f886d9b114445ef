// The whole host where the machine is short of something: it answers or hangs up, lives, and serves as
// always when that is over.

#include "tests/host/RunningHost.h"
#include "tests/support/Sanitized.h"
#include "tests/support/TempDirectory.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace Ostrel::Test {
namespace {

using namespace std::chrono_literals;

std::string request(const std::string& method, const std::string& params) {
    return R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":)" + params + '}';
}

/// A client with a context of its own.
class Viewer {
public:
    explicit Viewer(const Address& address) : client_(address) {
        client_.upgrade();
        const auto reply = client_.call(request("ITVService::createContext", "{}"));
        const auto at = reply.find("\"result\":");
        if (at == std::string::npos)
            throw std::runtime_error(reply);
        context_ = reply.substr(at + 9, reply.size() - at - 10);
    }

    std::string call(const std::string& method, const std::string& payload) {
        return client_.call(text(method, payload));
    }
    std::string callTogether(int times, const std::string& method, const std::string& payload) {
        auto batch = '[' + text(method, payload);
        for (int i = 1; i < times; ++i)
            batch += ',' + text(method, payload);
        return client_.call(batch + ']');
    }
    std::time_t time() {
        const auto reply = call("ITVService::utcTimeGet", "{}");
        return std::stoll(reply.substr(reply.find("\"result\":") + 9));
    }

private:
    std::string text(const std::string& method, const std::string& payload) const {
        return request(method, R"({"context":)" + context_ + R"(,"payload":)" + payload + '}');
    }

    WireClient client_;
    std::string context_;
};

double processorSeconds(pid_t process) {
    clockid_t clock{};
    timespec used{};
    if (::clock_getcpuclockid(process, &clock) != 0 || ::clock_gettime(clock, &used) != 0)
        return 0;
    return double(used.tv_sec) + 1e-9 * double(used.tv_nsec);
}

#if !OSTREL_SANITIZED // sanitizers want address space by the terabyte
const std::string wholeGuide = R"({"expression":"","expressionFormat":"quoril","outputFormat":"quoriljson"})";

class MemoryLimitTest : public testing::TestWithParam<int> {};

TEST_P(MemoryLimitTest, EveryRequestIsAnsweredOrCutOffAndAllIsWellAfterwards) {
    RunningHost host;
    const auto whole = Viewer(host.address()).call("ITVGuide::query", wholeGuide).size();
    EXPECT_GT(whole, std::size_t(1) << 20);

    rlim_t pages = 0;
    std::ifstream("/proc/" + std::to_string(host.child().id()) + "/statm") >> pages;
    const auto most = pages * rlim_t(::sysconf(_SC_PAGESIZE)) + (rlim_t(GetParam()) << 20);
    rlimit usual{};
    const rlimit scarce{most, RLIM_INFINITY};
    ASSERT_EQ(::prlimit(host.child().id(), RLIMIT_AS, &scarce, &usual), 0);

    constexpr int clients = 8;
    constexpr int rounds = 6;
    std::atomic<int> answered = 0;
    std::atomic<int> refused = 0;
    std::atomic<int> cutOff = 0;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < clients; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round)
                try {
                    Viewer viewer(host.address());
                    const auto count = [&](const std::string& reply) {
                        const bool isWhole =
                            reply.size() >= whole && (reply.back() == '}' || reply.back() == ']');
                        const bool isRefusal = reply.find("\"name\":\"OutOfMemory\"") != std::string::npos ||
                                               reply.find("\"code\":-32001") != std::string::npos;
                        ++(isRefusal ? refused : isWhole ? answered : wrong);
                    };
                    count(viewer.call("ITVGuide::query", wholeGuide));
                    count(viewer.callTogether(5, "ITVGuide::query", wholeGuide));
                } catch (const std::exception& exception) {
                    const std::string what = exception.what();
                    const bool isRefusal = what.find("OutOfMemory") != std::string::npos;
                    ++(what == "nothing came for a long time" ? wrong : isRefusal ? refused : cutOff);
                }
        });
    for (auto& thread : threads)
        thread.join();
    std::printf("%2d MiB above idle: %d answered, %d told that memory is out, %d cut off\n", GetParam(),
                answered.load(), refused.load(), cutOff.load());
    EXPECT_EQ(wrong, 0);

    ASSERT_EQ(::prlimit(host.child().id(), RLIMIT_AS, &usual, nullptr), 0);
    EXPECT_EQ(Viewer(host.address()).call("ITVGuide::query", wholeGuide).size(), whole);
    host.child().terminate();
    EXPECT_EQ(host.child().wait(), 0);
}

INSTANTIATE_TEST_SUITE_P(MiB, MemoryLimitTest, testing::Values(1, 4, 16, 64));

std::size_t countDescriptors(pid_t process) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& each :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd"))
        ++count;
    return count;
}

TEST(DescriptorLimitTest, ManyMoreClientsThanDescriptorsAreServedAsSomeBecomeFree) {
    RunningHost host("/bin/sh", {"-c", "ulimit -n 64; exec \"$0\" --listen 127.0.0.1:0", OSTREL_TVD_PROGRAM},
                     {});
    const auto process = host.child().id();
    const auto idle = countDescriptors(process);
    constexpr std::size_t all = 200;
    std::vector<std::unique_ptr<WireClient>> clients;
    for (std::size_t i = 0; i < all; ++i) {
        clients.push_back(std::make_unique<WireClient>(host.address()));
        clients.back()->send(upgradeRequest("/rpc/TV"));
    }
    while (countDescriptors(process) < 64)
        std::this_thread::yield();

    const auto before = processorSeconds(process);
    std::this_thread::sleep_for(1s); // so long that what it uses can be told
    std::printf("64 descriptors, %zu clients: %.1f %% of a core while they wait\n", all,
                100 * (processorSeconds(process) - before));

    double longest = 0;
    for (std::size_t next = 0; next < all;) {
        // Whoever has been let in leaves; then it is the next one's turn.
        const auto last = std::min(all, next + countDescriptors(process) - idle);
        for (; next < last; ++next) {
            EXPECT_EQ(clients[next]->readAnswer(false).status, 101);
            clients[next].reset();
        }
        if (next == all)
            break;
        const auto free = std::chrono::steady_clock::now();
        EXPECT_EQ(clients[next]->readAnswer(false).status, 101);
        clients[next++].reset();
        longest =
            std::max(longest, std::chrono::duration<double>(std::chrono::steady_clock::now() - free).count());
    }
    std::printf("64 descriptors: the next client is served %.2f s after some are free\n", longest);
    Viewer viewer(host.address());
    EXPECT_GT(viewer.time(), 0);
}

TEST(ClockTest, TimeOutsDoNotMindAWallClockThatJumps) {
    const TempDirectory directory;
    const auto file = directory.file("offset");
    const auto jump = [&](long seconds) { std::ofstream(file) << seconds << '\n'; };
    jump(0);
    RunningHost host(OSTREL_TVD_PROGRAM, {"--listen", "127.0.0.1:0"},
                     {"LD_PRELOAD=" OSTREL_JUMPING_CLOCK, "JUMPING_CLOCK=" + file});
    Viewer viewer(host.address());
    WireClient keptAlive(host.address());
    EXPECT_EQ(keptAlive.post("/rpc/TV", "nonsense").status, 200);
    const auto start = viewer.time();
    // The last jump ahead goes past 2038, where 31 bits end.
    for (const long seconds : {86'400L, -86'400L, 300'000'000L, -300'000'000L, 1'000'000'000L, 0L}) {
        SCOPED_TRACE(seconds);
        jump(seconds);
        EXPECT_GE(viewer.time(), start + seconds);
        EXPECT_LT(viewer.time(), start + seconds + 3600);
        EXPECT_EQ(keptAlive.post("/rpc/TV", "nonsense").status, 200);
        EXPECT_GT(Viewer(host.address()).time(), 0);
    }
}

/// The number behind a text of an answer.
std::int64_t numberBehind(const std::string& text, const std::string& answer) {
    const auto at = answer.find(text);
    EXPECT_NE(at, std::string::npos) << text << " in " << answer;
    return at == std::string::npos ? 0
                                   : static_cast<std::int64_t>(std::stod(answer.substr(at + text.size())));
}

TEST(ClockTest, StartedAfter2038TheHostServesAndTellsTheTime) {
    constexpr std::int64_t last = INT32_MAX; // on the wire, of events
    const TempDirectory directory;
    std::ofstream(directory.file("offset")) << 1'000'000'000 << '\n';
    RunningHost host(OSTREL_TVD_PROGRAM, {"--listen", "127.0.0.1:0", "--today"},
                     {"LD_PRELOAD=" OSTREL_JUMPING_CLOCK, "JUMPING_CLOCK=" + directory.file("offset")});
    Viewer viewer(host.address());
    EXPECT_GT(viewer.time(), last);
    const auto nothing = viewer.call("ITVGuide::queryNowNextEventInfo", R"({"id":1043})");
    EXPECT_NE(nothing.find(R"("result":[])"), nothing.npos) << nothing;

    WireClient client(host.address());
    const auto simulate = [&](const std::string& method, const std::string& params) {
        return client.post("/rpc/Simulator", request("Simulator::" + method, params)).body;
    };
    EXPECT_GT(numberBehind(R"("real":)", simulate("clockGet", "{}")), last);
    EXPECT_GT(numberBehind(R"("time":)", simulate("trafficGet", R"({"last":1})")), last);
    client.send("GET /metrics HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_GT(numberBehind("\nostrel_process_start_time_seconds ", client.readAnswer().body), last);

    // The clock set back to the days of the guide, it is on as ever.
    simulate("clockSet", R"({"now":1795557600,"speed":0})"); // 2026-11-24 22:00
    const auto events = viewer.call("ITVGuide::queryNowNextEventInfo", R"({"id":1043})");
    EXPECT_EQ(numberBehind(R"("startTime":)", events) / 86400, 1795557600 / 86400) << events;
}
#endif

TEST(StandstillTest, WhoKeptQuietIsStillThere) {
    RunningHost host;
    auto& child = host.child();
    Viewer viewer(host.address());
    WireClient keptAlive(host.address());
    EXPECT_EQ(keptAlive.post("/rpc/TV", "nonsense").status, 200);
    const char* const seconds = std::getenv("OSTREL_STANDSTILL"); // a minute can be tried by hand
    const auto before = processorSeconds(child.id());
    child.signal(SIGSTOP);
    WireClient early(host.address());
    early.send(upgradeRequest("/rpc/TV"));
    std::this_thread::sleep_for(std::chrono::seconds(seconds == nullptr ? 2 : std::stoi(seconds)));
    child.signal(SIGCONT);
    EXPECT_EQ(early.readAnswer(false).status, 101);
    EXPECT_GT(viewer.time(), 0);
    if (seconds == nullptr) { // else it has been kept alive for as long as it is
        EXPECT_EQ(keptAlive.post("/rpc/TV", "nonsense").status, 200);
    }
    std::printf("stopped: %.3f s of a processor until all were served again\n",
                processorSeconds(child.id()) - before);
}

TEST(FullDiskTest, AFullDiskBehindTheLogHoldsUpNobody) {
    RunningHost host(
        "/bin/sh", {"-c", "exec \"$0\" --listen 127.0.0.1:0 --log-requests 2>/dev/full", OSTREL_TVD_PROGRAM},
        {});
    Viewer viewer(host.address());
    for (int i = 0; i < 100; ++i)
        EXPECT_GT(viewer.time(), 0);
    host.child().terminate();
    EXPECT_EQ(host.child().wait(), 0);
}

TEST(FullDiskTest, ARecordThatMayNotGrowEndsAndIsToldOfOnce) {
    const TempDirectory directory;
    RunningHost host("/bin/sh",
                     {"-c",
                      "ulimit -f 8; exec \"$0\" --listen 127.0.0.1:0 --log-level warning --record \"$1\"",
                      OSTREL_TVD_PROGRAM, directory.file("record")},
                     {});
    Viewer viewer(host.address());
    for (int i = 0; i < 500; ++i)
        EXPECT_GT(viewer.time(), 0);
    host.child().terminate();
    EXPECT_EQ(host.child().wait(), 0);
    const auto log = host.child().readErrors();
    const auto line = log.find("the record");
    EXPECT_NE(line, std::string::npos) << log;
    EXPECT_EQ(log.find("the record", line + 1), std::string::npos) << log;
    // What is there is whole.
    std::ifstream record(directory.file("record"), std::ios::ate);
    ASSERT_GT(record.tellg(), 0);
    record.seekg(-1, std::ios::end);
    EXPECT_EQ(record.get(), '\n');
}

} // namespace
} // namespace Ostrel::Test
