#include "Ostrel/transport/Address.h"
#include "TV/server/dummy/data/WorldFolder.h"
#include "simulator/Description.h"
#include "tests/host/RunningHost.h"
#include "tests/support/Child.h"
#include "tests/support/Sanitized.h"
#include "tests/support/TempDirectory.h"
#include "tests/support/WireClient.h"

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ostrel::Test {
namespace {

/// Asks a host what time it is, in seconds since 1970-01-01 UTC, and ends it.
std::int64_t timeOf(RunningHost& host) {
    WireClient client(host.address());
    client.upgrade();
    const auto result = [&](const std::string& request) {
        return boost::json::parse(client.call(request)).at("result").to_number<std::int64_t>();
    };
    const auto context = result(R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})");
    const auto seconds =
        result(R"({"jsonrpc":"2.0","id":2,"method":"ITVService::utcTimeGet","params":{"context":)" +
               std::to_string(context) + R"(,"payload":{}}})");
    host.child().terminate();
    EXPECT_EQ(host.child().wait(), 0);
    return seconds;
}

struct Failure {
    int status;
    std::string errors;
};

Failure runHost(const Arguments& arguments) {
    Child child(OSTREL_TVD_PROGRAM, arguments);
    const auto status = child.wait();
    return {status, child.readErrors()};
}

void expectOneLine(const Failure& failure, const std::string& part) {
    EXPECT_EQ(failure.status, 1);
    EXPECT_NE(failure.errors.find(part), std::string::npos) << failure.errors;
    EXPECT_EQ(std::count(failure.errors.begin(), failure.errors.end(), '\n'), 1) << failure.errors;
    EXPECT_TRUE(failure.errors.starts_with("ostrel-tvd: ")) << failure.errors;
}

TEST(HostTest, WithoutItsSimulatorThePathIsUnknown) {
    const auto statusOf = [](const RunningHost& host, const std::string& path) {
        return WireClient(host.address())
            .post(path, R"({"jsonrpc":"2.0","id":1,"method":"Simulator::worldGet"})")
            .status;
    };
    const auto describe = [](const RunningHost& host) {
        WireClient client(host.address());
        client.send("GET /openrpc/Simulator.json HTTP/1.1\r\nHost: localhost\r\n\r\n");
        return client.readAnswer();
    };
    const RunningHost with;
    EXPECT_EQ(statusOf(with, "/rpc/Simulator"), 200);
    EXPECT_EQ(describe(with).body, Simulator::description());
    const RunningHost without({"--no-simulator"});
    EXPECT_EQ(statusOf(without, "/rpc/Simulator"), 404);
    EXPECT_EQ(describe(without).status, 404);
    EXPECT_EQ(statusOf(without, "/rpc/TV"), 200);
}

TEST(HostTest, StartThatCannotSucceedIsOneLine) {
    RunningHost running;
    const TempDirectory directory;
    const auto shared = directory.file("token");
    std::ofstream(shared) << std::string(40, 't') << '\n';
    std::filesystem::permissions(shared, std::filesystem::perms(0644));

    expectOneLine(runHost({"--listen", running.address().toString()}),
                  "is in use; choose another with --listen");
    expectOneLine(runHost({"--token-file", directory.file("absent")}), "cannot read the token file");
    expectOneLine(runHost({"--token-file", shared}), "chmod 600");
    expectOneLine(runHost({"--listen", "unix:" + directory.file("no/such/directory")}),
                  "No such file or directory");
    expectOneLine(runHost({"--listen", "127.0.0.1:0", "--port-file", directory.file("no/such/file")}),
                  "cannot write the port file");
    expectOneLine(runHost({"--listen", "127.0.0.1:0", "--port-file", directory.file("")}),
                  "cannot write the port file");
    const auto weather = directory.file("weather");
    std::ofstream(weather) << R"({"rules":[{"method":"*","delayMs":"long"}]})";
    expectOneLine(runHost({"--weather", weather}),
                  "member \"rules[0].delayMs\" is not an integer from 0 to 600000");
    expectOneLine(runHost({"--weather", directory.file("absent")}), "cannot read the weather file");
    expectOneLine(runHost({"--world", directory.file("absent")}),
                  "cannot be read: No such file or directory");
    expectOneLine(runHost({"--world", weather}), "is not a compiled world");
    expectOneLine(runHost({"--world", directory.file("")}),
                  "has no lineup.txt; ostrel-world --help says what a world is");
    running.child().interrupt();
    EXPECT_EQ(running.child().wait(), 0);
}

TEST(HostTest, StartsWithTheWeatherOfAFile) {
    const TempDirectory directory;
    const auto weather = directory.file("weather");
    std::ofstream(weather) << R"({"rules":[{"method":"ITVService::createContext","error":"TimedOut"}]})";
    RunningHost host({"--weather", weather});
    const auto answer =
        WireClient(host.address())
            .post("/rpc/TV", R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})");
    EXPECT_NE(answer.body.find("Timed out"), std::string::npos) << answer.body;
}

struct Misuse {
    const char* name;
    Arguments arguments;
    const char* mistake; ///< what the text begins with
};

class WrongUsage : public testing::TestWithParam<Misuse> {};

TEST_P(WrongUsage, EndsWithStatusTwoAndAReason) {
    const auto failure = runHost(GetParam().arguments);
    EXPECT_EQ(failure.status, 2);
    EXPECT_TRUE(failure.errors.starts_with(std::string("ostrel-tvd: ") + GetParam().mistake))
        << failure.errors;
    EXPECT_TRUE(failure.errors.ends_with("\nTry: ostrel-tvd --help\n")) << failure.errors;
    EXPECT_EQ(std::count(failure.errors.begin(), failure.errors.end(), '\n'), 2) << failure.errors;
}

// clang-format off
const Misuse misuses[] = {
    {"Option",   {"--lissen", "127.0.0.1:0"}, "there is no option \"--lissen\"; did you mean \"--listen\"?"},
    {"Argument", {"127.0.0.1:0"},             "\"127.0.0.1:0\" is one argument too many"},
    {"NoValue",  {"--listen"},                "--listen wants a value"},
    {"LogLevel", {"--log-level", "loud"},     "--log-level: \"loud\" is none of error, warning, information, progress"},
    {"PortOfAUnixSocket", {"--listen", "unix:/nonexistent/socket", "--port-file", "/nonexistent/port"},
     "--port-file has no port to tell; serve on HOST:PORT too, with --listen"},
    {"WeatherOfNobody", {"--weather", "/nonexistent", "--no-simulator"},
     "--weather is the simulator's, which --no-simulator leaves out"},
    {"ClockOfNobody", {"--hold", "--no-simulator"},
     "--now, --speed and --hold are the simulator's, which --no-simulator leaves out"},
    {"HeldAtASpeed", {"--hold", "--speed", "2"}, "--hold is --speed 0; leave one of them out"},
    {"TwoTimes", {"--fake-time", "--now", "guide-midday"},
     "--fake-time and --now both say what time it is; leave one out"},
    {"TodayAtAnotherTime", {"--fake-time", "--today"},
     "--fake-time brings the clock to the guide and --today the guide to the clock; leave one out"},
    {"Now",      {"--now", "noon"}, "--now: \"noon\" is no time; try 2011-10-12T20:00, now, +2h, -30m or @1318420800"},
    {"Speed",    {"--speed", "3601"}, "--speed: \"3601\" is no number from 0 to 3600"},
    {"Origin",   {"--allow-origin", "tv.example"},
     "--allow-origin: \"tv.example\" is no web origin"},
    {"Host",     {"--allow-host", "tv.example:1"},
     "--allow-host: \"tv.example:1\" is no host's name"},
    {"PortAlone", {"--listen", "8480"}, "--listen: cannot listen on \"8480\": "},
    {"Name",     {"--listen", "tv.example:1"}, "--listen: cannot listen on \"tv.example:1\": "},
    {"LetsOthersIn", {"--listen", "127.0.0.1:0", "--listen", "0.0.0.0:0"}, "--listen 0.0.0.0:0 lets others in; give a token with --token-file"},
    {"Port",     {"--listen", "127.0.0.1:x"}, "--listen: cannot listen on \"127.0.0.1:x\": "},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Misuses, WrongUsage, testing::ValuesIn(misuses),
                         [](const auto& row) { return row.param.name; });

std::string contentOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t countFiles(const TempDirectory& directory) {
    const std::filesystem::directory_iterator files(directory.file(""));
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

TEST(HostTest, PortFileHoldsThePortAsLongAsItIsServed) {
    const TempDirectory directory;
    const auto path = directory.file("port");
    std::ofstream(path) << "an older one";
    RunningHost host({"--listen", "unix:" + directory.file("socket"), "--port-file", path});
    EXPECT_EQ(contentOf(path), std::to_string(host.address().port) + "\n");
    EXPECT_EQ(countFiles(directory), 2U) << "the file, the socket, and no draft";
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0644));
    host.child().terminate();
    EXPECT_EQ(host.child().wait(), 0);
    EXPECT_EQ(countFiles(directory), 0U);
}

TEST(HostTest, PortFileOfSomebodyElseStays) {
    const TempDirectory directory;
    const auto path = directory.file("port");
    RunningHost host({"--port-file", path});
    std::ofstream(directory.file("other")) << "7\n";
    std::filesystem::rename(directory.file("other"), path);
    host.child().terminate();
    EXPECT_EQ(host.child().wait(), 0);
    EXPECT_EQ(contentOf(path), "7\n");
}

TEST(HostTest, PortFileIsLeftAloneWhenNothingIsServed) {
    RunningHost running;
    const TempDirectory directory;
    const auto path = directory.file("port");
    std::ofstream(path) << "7\n";
    EXPECT_EQ(runHost({"--listen", running.address().toString(), "--port-file", path}).status, 1);
    EXPECT_EQ(contentOf(path), "7\n");
    EXPECT_EQ(countFiles(directory), 1U);
    running.child().terminate();
    EXPECT_EQ(running.child().wait(), 0);
}

TEST(HostTest, HelpAndVersion) {
    Child help(OSTREL_TVD_PROGRAM, {"--help"});
    const auto text = help.readOutput();
    EXPECT_EQ(help.wait(), 0);
    for (const auto* option :
         {"--listen", "--allow-origin", "--allow-host", "--token-file", "--fake-time", "--today",
          "--log-level", "--log-requests", "--port-file", "--record", "--version"})
        EXPECT_NE(text.find(option), std::string::npos) << option;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 80U) << line;
    Child version(OSTREL_TVD_PROGRAM, {"--version"});
    EXPECT_FALSE(version.readOutput().empty());
    EXPECT_EQ(version.wait(), 0);
}

TEST(HostTest, ManualNamesEveryOption) {
    Child manual(OSTREL_TVD_PROGRAM, {"--man"});
    const auto page = manual.readOutput();
    EXPECT_EQ(manual.wait(), 0);
    for (const auto* option : {"listen", "allow\\-origin", "allow\\-host", "token\\-file", "fake\\-time",
                               "log\\-level", "log\\-requests", "port\\-file", "record", "version"})
        EXPECT_NE(page.find("\\fB\\-\\-" + std::string(option) + "\\fR"), std::string::npos) << option;
}

TEST(HostTest, NowhereToWriteIsAFailure) {
    Child help("/bin/sh", {"-c", "\"$0\" --help >/dev/full", OSTREL_TVD_PROGRAM});
    EXPECT_EQ(help.wait(), 1);
    EXPECT_EQ(help.readErrors(), "ostrel-tvd: cannot write to standard output\n");
}

TEST(HostTest, HelpMakesATokenThatIsTaken) {
    Child help(OSTREL_TVD_PROGRAM, {"--help"});
    const auto text = help.readOutput();
    EXPECT_EQ(help.wait(), 0);
    const auto begin = text.find("(umask");
    ASSERT_NE(begin, std::string::npos);
    const auto command = text.substr(begin, text.find('\n', begin) - begin);

    const TempDirectory directory;
    Child maker("/bin/sh", {"-c", "cd \"$0\" && " + command, directory.file("")});
    ASSERT_EQ(maker.wait(), 0) << maker.readErrors();
    RunningHost running({"--token-file", directory.file("token")});
    running.child().interrupt();
    EXPECT_EQ(running.child().wait(), 0);
}

TEST(HostTest, ClosedStandardStreamsAreFilled) {
    RunningHost running("/bin/sh", {"-c", "exec \"$0\" --listen 127.0.0.1:0 <&- 2>&-", OSTREL_TVD_PROGRAM},
                        {});
    for (const std::string stream : {"0", "2"}) {
        const auto link = "/proc/" + std::to_string(running.child().id()) + "/fd/" + stream;
        EXPECT_EQ(std::filesystem::read_symlink(link), "/dev/null");
    }
    running.child().interrupt();
    EXPECT_EQ(running.child().wait(), 0);
}

TEST(HostTest, FakeTimeStartsAtMiddayInTheMiddleOfTheGuide) {
    struct Way {
        Arguments options, environment;
        bool fake;
    };
    constexpr std::int64_t midday = 1318766400; // 2011-10-16 12:00 UTC
    constexpr std::int64_t day = 86400;
    for (const Way& way : {Way{{}, {"TZ=UTC"}, false}, Way{{"--fake-time"}, {"TZ=UTC"}, true},
                           Way{{"--fake-time", "--fake-time=false"}, {"TZ=UTC"}, false},
                           Way{{}, {"TZ=UTC", "DUMMYFAKETIME="}, true}}) {
        RunningHost host(way.options, way.environment);
        const auto seconds = timeOf(host);
        EXPECT_EQ(seconds >= midday && seconds < midday + day, way.fake) << seconds;
    }
}

/// A folder with one channel and an hour of it, from 19:00 to 20:00 UTC on 22 November 2026.
void writeSmallWorld(const std::string& folder) {
    std::filesystem::create_directories(folder + "/guide");
    std::ofstream(folder + "/lineup.txt") << "690 | 7 | tv | Harbour | 1 | 1 | 1 | | 0011\n";
    std::ofstream(folder + "/services.txt") << "5 | harbour | Harbour\n";
    std::ofstream(folder + "/guide/5-harbour.txt")
        << "event 1 | 2026-11-22T19:00:00Z | 2026-11-22T20:00:00Z\ntitle Tide & time\n";
}

std::string callOf(const RunningHost& host, const std::string& server, const std::string& method,
                   const std::string& params = "[]") {
    return WireClient(host.address())
        .post("/rpc/" + server,
              R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":)" + params + '}')
        .body;
}

TEST(HostTest, ServesAWorldOfSomebodyElse) {
    const TempDirectory directory;
    const auto folder = directory.file("my-world"), file = directory.file("my.world");
    writeSmallWorld(folder);
    {
        const TV::WorldFile world = TV::openWorld(folder);
        std::ofstream(file, std::ios::binary)
            .write(world.bytes().data(), static_cast<std::streamsize>(world.bytes().size()));
    }
    for (const std::string& world : {folder, file}) {
        const RunningHost host({"--world", world, "--hold", "--now", "2026-11-22T19:30Z"});
        EXPECT_EQ(callOf(host, "Simulator", "Simulator::worldGet"),
                  R"({"jsonrpc":"2.0","id":1,"result":{"name":"my-world","services":1,"events":1,)"
                  R"("start":1795374000,"end":1795377600,"builtIn":false,"timeZone":"UTC","today":false}})");
        const auto context = boost::json::parse(callOf(host, "TV", "ITVService::createContext")).at("result");
        EXPECT_NE(callOf(host, "TV", "ITVService::nowNextGet",
                         R"({"context":)" + boost::json::serialize(context) +
                             R"(,"payload":{"id":5,"outputFormat":"quorilxml"}})")
                      .find("<Title>Tide &amp; time</Title>"),
                  std::string::npos);
    }
}

TEST(HostTest, FakeTimeIsTheMiddleOfAnyWorld) {
    const TempDirectory directory;
    const auto folder = directory.file("my-world");
    writeSmallWorld(folder);
    constexpr std::int64_t midday = 1795348800, day = 86400; // 2026-11-22 12:00 UTC
    RunningHost host({"--world", folder, "--fake-time"}, {"TZ=UTC"});
    const auto seconds = timeOf(host);
    EXPECT_TRUE(seconds >= midday && seconds < midday + day) << seconds;
}

TEST(HostTest, TellsEveryMistakeOfAWorld) {
    const TempDirectory directory;
    const auto folder = directory.file("my-world");
    writeSmallWorld(folder);
    std::ofstream(folder + "/lineup.txt", std::ios::app) << "690\n690 | 7 | tv | Quay | 1 | 1 | 2 | | 0011\n";
    const Failure failure = runHost({"--listen", "127.0.0.1:0", "--world", folder});
    EXPECT_EQ(failure.status, 1);
    EXPECT_EQ(failure.errors, folder + "/lineup.txt:2: expected 9 fields between bars, found 1\n" + folder +
                                  "/lineup.txt:3: channel number 7 is taken\n"
                                  "ostrel-tvd: the world has mistakes, and nothing is served\n");
}

/// What the clock of a host says: "NOW at SPEED".
std::string clockOf(const RunningHost& host, const std::string& method, const std::string& params = "[]") {
    const auto answer = WireClient(host.address())
                            .post("/rpc/Simulator", R"({"jsonrpc":"2.0","id":1,"method":"Simulator::)" +
                                                        method + R"(","params":)" + params + '}');
    const auto clock = boost::json::parse(answer.body).at("result");
    return std::to_string(clock.at("now").as_int64()) + " at " +
           std::to_string(clock.at("speed").to_number<int>());
}

TEST(HostTest, TheClockStartsAsItIsTold) {
    struct Way {
        Arguments options;
        std::string clock;
    };
    for (const Way& way : {Way{{"--hold", "--now", "guide-midday"}, "1318766400 at 0"},
                           Way{{"--hold", "--now", "2011-10-16T21:00:05+01:00"}, "1318795205 at 0"},
                           Way{{"--hold", "--now", "@1318790000"}, "1318790000 at 0"},
                           Way{{"--speed", "0", "--now", "2011-10-16T20:00Z"}, "1318795200 at 0"}}) {
        RunningHost host(way.options, {"TZ=UTC"});
        EXPECT_EQ(clockOf(host, "clockGet"), way.clock);
        clockOf(host, "clockStep", R"({"seconds":100})");
        EXPECT_TRUE(WireClient(host.address())
                        .post("/rpc/Simulator", R"({"jsonrpc":"2.0","id":1,"method":"Simulator::reset"})")
                        .body.ends_with("true}"));
        EXPECT_EQ(clockOf(host, "clockGet"), way.clock) << "as at the start";
        EXPECT_EQ(timeOf(host), std::stoll(way.clock));
    }
    const RunningHost fast({"--speed", "3600"});
    EXPECT_TRUE(clockOf(fast, "clockGet").ends_with(" at 3600"));
    const RunningHost still({"--hold"});
    EXPECT_EQ(clockOf(still, "clockGet"), clockOf(still, "clockGet"));
}

TEST(HostTest, WithFakeTimeTheClockIsTheServices) {
    RunningHost host({"--fake-time"}, {"TZ=UTC"});
    const auto now = std::stoll(clockOf(host, "clockGet"));
    EXPECT_EQ(now / 86400, 1318766400 / 86400);
    EXPECT_EQ(clockOf(host, "clockSet", R"({"now":1318780000,"speed":0})"), "1318780000 at 0");
    EXPECT_EQ(timeOf(host), 1318780000);
}

TEST(HostTest, RequestsAreLoggedWhenAskedFor) {
    for (const bool asked : {false, true}) {
        Arguments arguments{"--listen", "127.0.0.1:0"};
        if (asked)
            arguments.emplace_back("--log-requests");
        RunningHost host(OSTREL_TVD_PROGRAM, arguments, {});
        timeOf(host);
        const auto log = host.child().readErrors();
        EXPECT_EQ(log.find("ITVService::utcTimeGet") != std::string::npos, asked) << log;
    }
}

TEST(HostTest, ARecordThatCannotBeIsNoStart) {
    const TempDirectory directory;
    expectOneLine(runHost({"--listen", "127.0.0.1:0", "--record", directory.file("no/such/file")}),
                  "cannot write the record");
    const auto path = directory.file("record");
    std::ofstream(path) << "an old one\n";
    RunningHost running;
    EXPECT_EQ(runHost({"--listen", running.address().toString(), "--record", path}).status, 1);
    EXPECT_EQ(contentOf(path), "an old one\n");
}

TEST(HostTest, AFullDiskEndsTheRecordAndNotTheService) {
    RunningHost host(OSTREL_TVD_PROGRAM, {"--listen", "127.0.0.1:0", "--record", "/dev/full"}, {});
    timeOf(host);
    const auto log = host.child().readErrors();
    const std::string line = "the record /dev/full ends: No space left on device\n";
    const auto found = log.find(line);
    ASSERT_NE(found, std::string::npos) << log;
    EXPECT_EQ(log.find("the record", found + line.size()), std::string::npos);
}

TEST(HostTest, NothingIsServedWhenOneAddressCannotBe) {
    RunningHost running;
    const TempDirectory directory;
    const auto path = directory.file("socket");
    EXPECT_EQ(runHost({"--listen", "unix:" + path, "--listen", running.address().toString()}).status, 1);
    running.child().terminate();
    EXPECT_EQ(running.child().wait(), 0);
}

#if !OSTREL_SANITIZED // whose own checks need descriptors
TEST(HostTest, StartsWithDescriptorsForAClientOrNotAtAll) {
    bool refused = false;
    for (int descriptors = 4;; ++descriptors) {
        SCOPED_TRACE(descriptors);
        ASSERT_LT(descriptors, 100);
        Child child("/bin/sh", {"-c", "ulimit -n $1; exec \"$0\" --listen 127.0.0.1:0", OSTREL_TVD_PROGRAM,
                                std::to_string(descriptors)});
        const auto line = child.readLine();
        if (line.empty()) {
            const auto status = child.wait();
            if (status != 127) { // else not even the libraries could be read
                expectOneLine({status, child.readErrors()}, "cannot listen");
                refused = true;
            }
            continue;
        }
        const auto at = line.find("127.0.0.1:");
        WireClient client(Address::parse(line.substr(at, line.size() - at - 1)));
        client.upgrade();
        EXPECT_NE(
            client.call(R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})").find("result"),
            std::string::npos);
        child.terminate();
        EXPECT_EQ(child.wait(), 0);
        break;
    }
    EXPECT_TRUE(refused);
}
#endif

#if !OSTREL_SANITIZED // sanitizers want address space by the terabyte
TEST(HostTest, StartsWithThreadsAndMemoryOrNotAtAll) {
    bool refused = false;
    for (int mebibytes = 8;; mebibytes += 2) {
        SCOPED_TRACE(mebibytes);
        ASSERT_LT(mebibytes, 1024);
        Child child("/bin/sh", {"-c", "ulimit -v $1; exec \"$0\" --listen 127.0.0.1:0", OSTREL_TVD_PROGRAM,
                                std::to_string(mebibytes << 10)});
        if (!child.readLine().empty())
            break;
        const auto status = child.wait();
        if (!refused && status != 1)
            continue; // it did not come as far as main()
        expectOneLine({status, child.readErrors()}, "");
        refused = true;
    }
    EXPECT_TRUE(refused);
}
#endif

TEST(HostTest, ThreadsHaveNames) {
    RunningHost running;
    std::set<std::string> names;
    const auto tasks = "/proc/" + std::to_string(running.child().id()) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks))
        names.insert(contentOf(task.path() / "comm"));
    for (const std::string name : {"ostrel-tvd", "listener", "turn", "waiter", "reader 1", "reader 2"})
        EXPECT_TRUE(names.contains(name + "\n")) << name;
    running.child().terminate();
    EXPECT_EQ(running.child().wait(), 0);
}

TEST(HostTest, HangUpIsAnEndWithAGoodbye) {
    RunningHost running;
    WireClient client(running.address());
    client.upgrade();
    running.child().signal(SIGHUP);
    EXPECT_EQ(client.readFrame().closeCode(), 1001);
    EXPECT_EQ(running.child().wait(), 0);
}

TEST(HostTest, SignalsThatComeTogetherAreOne) {
    RunningHost running;
    running.child().signal(SIGSTOP);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCONT})
        running.child().signal(signal);
    EXPECT_EQ(running.child().wait(), 0);
}

TEST(HostTest, SecondSignalEndsAtOnce) {
    int status = 0;
    for (int i = 0; i < 50 && status == 0; ++i) { // a client has a second to take its goodbye
        RunningHost running;
        WireClient client(running.address());
        client.upgrade();
        running.child().interrupt();
        EXPECT_EQ(client.readFrame().closeCode(), 1001);
        running.child().interrupt();
        status = running.child().wait();
    }
    EXPECT_EQ(status, 1000 + SIGINT);
}

TEST(HostTest, OutlivesItsTerminalWhenToldTo) {
    RunningHost running("/bin/sh",
                        {"-c", "trap '' HUP; exec \"$0\" --listen 127.0.0.1:0", OSTREL_TVD_PROGRAM}, {});
    running.child().signal(SIGHUP);
    WireClient client(running.address());
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(client.post("/rpc/TV", "{}").status, 200);
    running.child().terminate();
    EXPECT_EQ(running.child().wait(), 0);
}

#if defined __GLIBC__ && !OSTREL_SANITIZED // sanitizers have heaps of their own
TEST(HostTest, ThreadsShareOneHeap) {
    RunningHost running;
    std::vector<WireClient> clients;
    for (int i = 0; i < 20; ++i) {
        clients.emplace_back(running.address());
        clients.back().upgrade();
    }
    for (int i = 0; i < 20; ++i) // what only reads has several threads
        for (auto& client : clients)
            client.sendText(R"({"jsonrpc":"2.0","id":1,"method":"ITVGuide::getGenreStringMapList"})");
    for (int i = 0; i < 20; ++i)
        for (auto& client : clients)
            client.readReply();

    // The C library's heaps, but for the first one, begin where such a number of bytes divides.
    constexpr std::uint64_t alignment = 64U << 20;
    std::ifstream maps("/proc/" + std::to_string(running.child().id()) + "/maps");
    int heaps = 0;
    for (std::string line; std::getline(maps, line);)
        heaps += line.find("rw-p") != std::string::npos && std::stoull(line, nullptr, 16) % alignment == 0;
    EXPECT_EQ(heaps, 0);
    running.child().terminate();
    EXPECT_EQ(running.child().wait(), 0);
}

/// KiB that a process keeps for itself.
long readPrivateMemory(pid_t process) {
    std::ifstream words("/proc/" + std::to_string(process) + "/status");
    long size = -1;
    for (std::string word; words >> word;)
        if (word == "RssAnon:")
            words >> size;
    return size;
}

TEST(HostTest, GivesTheMemoryOfTheWholeGuideBack) {
    RunningHost running;
    WireClient client(running.address());
    client.upgrade();
    const auto created = client.call(R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})");
    const auto context = created.substr(created.rfind(':') + 1);
    const auto query = R"({"jsonrpc":"2.0","id":1,"method":"ITVGuide::query","params":{"context":)" +
                       context.substr(0, context.size() - 1) +
                       R"(,"payload":{"expression":"","expressionFormat":"quoril",)"
                       R"("outputFormat":"quoriljson"}}})";
    const auto before = readPrivateMemory(running.child().id());
    for (int i = 0; i < 5; ++i) // more than once: the C library learns from what is freed what to keep
        EXPECT_GT(client.call(query).size(), 1u << 20);
    constexpr long kept = 4 << 10; // for the traffic, and what is small
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (readPrivateMemory(running.child().id()) > before + kept && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_LE(readPrivateMemory(running.child().id()), before + kept);
    running.child().terminate();
    EXPECT_EQ(running.child().wait(), 0);
}
#endif

/// A pipe for the host's standard error.
class LogPipe {
public:
    LogPipe() {
        EXPECT_EQ(::mkfifo(path_.c_str(), 0600), 0);
        end_ = ::open(path_.c_str(), O_RDWR | O_CLOEXEC);
    }
    ~LogPipe() { closeReader(); }

    LogPipe(const LogPipe&) = delete;
    LogPipe& operator=(const LogPipe&) = delete;

    void closeReader() {
        if (end_ >= 0)
            ::close(std::exchange(end_, -1));
    }

    /// A host that writes its log there, a line for every call.
    RunningHost startHost() const {
        return RunningHost(
            "/bin/sh",
            {"-c", "exec \"$0\" --listen 127.0.0.1:0 --log-requests 2>\"$1\"", OSTREL_TVD_PROGRAM, path_},
            {});
    }

private:
    const TempDirectory directory_;
    const std::string path_ = directory_.file("log");
    int end_ = -1;
};

/// Calls what is refused, which is a line in the log each time, and ends the host.
void expectRefusals(RunningHost& host, unsigned count) {
    WireClient client(host.address());
    client.upgrade();
    for (unsigned i = 0; i < count; ++i)
        EXPECT_NE(
            client
                .call(R"({"jsonrpc":"2.0","id":1,"method":"ITVService::utcTimeGet","params":{"context":1}})")
                .find("Invalid parameter"),
            std::string::npos);
    host.child().terminate();
    EXPECT_EQ(host.child().wait(), 0);
}

TEST(HostTest, LogThatNobodyReadsHoldsUpNothing) {
    const LogPipe pipe;
    auto host = pipe.startHost();
    expectRefusals(host, 3000); // far more lines than a pipe holds
}

TEST(HostTest, LogWhoseReaderHasGoneHoldsUpNothing) {
    LogPipe pipe;
    auto host = pipe.startHost();
    pipe.closeReader();
    expectRefusals(host, 10);
}

TEST(HostTest, FloodOfRefusalsIsAFewLinesAndTheirNumber) {
    constexpr unsigned refusals = 3000;
    RunningHost host(OSTREL_TVD_PROGRAM, {"--listen", "127.0.0.1:0", "--log-requests"}, {});
    expectRefusals(host, refusals);
    std::istringstream log(host.child().readErrors());
    unsigned requests = 0;
    unsigned shown = 0;
    unsigned leftOut = 0;
    for (std::string line; std::getline(log, line);) {
        const auto text = line.substr(line.find("] ") + 2);
        requests += line.find("[Requests:") != std::string::npos;
        shown += text == "ITVService::utcTimeGet refused: Invalid parameter (context)";
        if (text.ends_with(" more lines like these were left out"))
            leftOut += unsigned(std::stoul(text));
    }
    EXPECT_GE(shown, 20U);
    EXPECT_GT(leftOut, 0U);
    EXPECT_EQ(shown + leftOut, refusals);
    EXPECT_EQ(requests, refusals) << "they were asked for";
}

TEST(HostTest, LogAtTheLimitOfItsSizeHoldsUpNothing) {
    const TempDirectory directory;
    RunningHost host("/bin/sh",
                     {"-c", "ulimit -f 1; exec \"$0\" --listen 127.0.0.1:0 2>\"$1\"", OSTREL_TVD_PROGRAM,
                      directory.file("log")},
                     {});
    expectRefusals(host, 30);
    EXPECT_GE(contentOf(directory.file("log")).size(), 512U);
}

TEST(HostTest, EndsUnderLoad) {
    RunningHost running;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&, i] {
            try {
                WireClient client(running.address());
                client.upgrade();
                for (;;) {
                    client.sendText(R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})");
                    if (i % 2 == 0) // the others never read
                        client.readReply();
                }
            } catch (const std::runtime_error&) {
                // The host has gone.
            }
        });
    WireClient idle(running.address());
    WireClient slow(running.address());
    slow.send("POST /rpc/TV HTT");
    idle.upgrade();
    EXPECT_NE(idle.call("{}").find("-32600"), std::string::npos);
    running.child().terminate();
    EXPECT_EQ(running.child().wait(), 0);
    EXPECT_EQ(idle.readFrame().closeCode(), 1001);
    for (auto& thread : threads)
        thread.join();
}

} // namespace
} // namespace Ostrel::Test
