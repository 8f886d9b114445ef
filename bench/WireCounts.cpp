// What is counted and not timed: instructions by callgrind, system calls by strace.
//
// Each server answers the same over one connection, once in the one and once in the other, and what is
// counted between two looks is what its requests have taken. What starting costs is not in it. Who asks
// late has a server look in vain and wait: of some batches the one that took least is told, since what
// disturbs a machine makes it more, never less.

#include "bench/HostProcess.h"
#include "bench/Requests.h"
#include "bench/WireCall.h"
#include "bench/WireWorkloads.h"
#include "tests/support/TempDirectory.h"
#include "tests/support/WireClient.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ostrel::Bench {

namespace {

constexpr std::size_t warmUps = 50; ///< requests that are not counted
constexpr std::size_t batches = 10;
constexpr std::size_t batchSize = 50;
constexpr const char* createCall = R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})";

/// A request that is counted, and what it may take.
struct Bound {
    const char* call;
    double instructions;
    double systemCalls;
    bool hasEcho;
};

constexpr Bound bounds[] = {
    {"small", 12'000, 3.1, true},
    {"services", 20'000, 3.1, false},
    {"now-next", 20'000, 3.1, false},
    {"page", 80'000, 3.1, false},
};
constexpr double startBound = 7.1; ///< million instructions

/// Runs a program that is found as in a shell, and waits for its end.
/// @throws std::runtime_error  it did not end with 0
void runQuietly(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (auto& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
    pid_t process = -1;
    int status = -1;
    const bool isStarted =
        ::posix_spawnp(&process, arguments.front(), &actions, nullptr, arguments.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    if (!isStarted || ::waitpid(process, &status, 0) != process || status != 0)
        throw std::runtime_error(words.front() + " does not run; counts need Debian's valgrind and strace");
}

/// Counts what a server does between two looks.
class Counter {
public:
    virtual ~Counter() = default;

    /// What has been counted since the last look.
    virtual double look() = 0;

    virtual const HostProcess& getServer() const = 0;
};

/// Instructions of all threads, user-space alone.
class InstructionCounter : public Counter {
public:
    InstructionCounter(const std::string& program, const std::vector<std::string>& options)
        : server_(
              program, options,
              {"valgrind", "-q", "--tool=callgrind", "--callgrind-out-file=" + directory_.file("counts")}) {}

    /// Has callgrind write down what it counted, which begins at nothing again.
    double look() override {
        runQuietly({"vgdb", "--pid=" + std::to_string(server_.getId()), "dump"});
        std::ifstream words(directory_.file("counts") + "." + std::to_string(++looks_));
        for (std::string word; words >> word;)
            if (double number = 0; word == "totals:" && words >> number)
                return number;
        throw std::runtime_error("callgrind tells no totals");
    }

    const HostProcess& getServer() const override { return server_; }

private:
    const Test::TempDirectory directory_;
    const HostProcess server_;
    int looks_ = 0;
};

/// System calls of all threads.
class SystemCallCounter : public Counter {
public:
    SystemCallCounter(const std::string& program, const std::vector<std::string>& options)
        : server_(program, options, {"strace", "-D", "-f", "-qqq", "-o", directory_.file("calls")}) {}

    /// Looks at what strace has written: a line when a call begins, and one more when it was written
    /// in halves. What is under way has no line's end yet.
    double look() override {
        std::size_t calls = 0;
        std::ifstream lines(directory_.file("calls"));
        for (std::string line; std::getline(lines, line);)
            calls += line.find(" resumed>") == line.npos && line.find(" --- ") == line.npos;
        const auto since = calls - std::exchange(seen_, calls);
        return static_cast<double>(since);
    }

    const HostProcess& getServer() const override { return server_; }

private:
    const Test::TempDirectory directory_;
    const HostProcess server_;
    std::size_t seen_ = 0;
};

double countOne(Counter& counter, const std::string& text) {
    Test::WireClient client({"127.0.0.1", counter.getServer().getPort(), {}});
    client.upgrade();
    for (std::size_t i = 0; i != warmUps; ++i)
        client.call(text);
    counter.look();
    auto least = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i != batches; ++i) {
        for (std::size_t j = 0; j != batchSize; ++j)
            client.call(text);
        least = std::min(least, counter.look() / static_cast<double>(batchSize));
    }
    return least;
}

/// A request, and the file with the answer for the bare server.
struct Rehearsed {
    const Bound* bound;
    std::string text;
    std::string replyFile;
};

/// Counts all requests with one kind of counter, and gives each figure away.
template <class AnyCounter> void
countAll(const WireSettings& settings, const std::vector<Rehearsed>& all,
         const std::function<void(std::size_t, double ours, double bare, std::optional<double> echo)>& take) {
    AnyCounter host(settings.host, {"--fake-time", "--hold"});
    const auto context = createContext(host.getServer().getPort());
    for (std::size_t i = 0; i != all.size(); ++i) {
        const auto& call = findWireCall(all[i].bound->call);
        const double ours = countOne(host, request(call.method, context, call.payload));
        AnyCounter bare(settings.bare, {"--reply", all[i].replyFile});
        std::optional<double> echoed;
        if (all[i].bound->hasEcho) {
            AnyCounter echo(settings.echo, {});
            echoed = countOne(echo, all[i].text);
        }
        take(i, ours, countOne(bare, all[i].text), echoed);
    }
}

double countStart(const std::string& program, const std::vector<std::string>& options) {
    InstructionCounter counter(program, options);
    Test::WireClient client({"127.0.0.1", counter.getServer().getPort(), {}});
    if (client.post("/rpc/TV", createCall).status != 200)
        throw std::runtime_error("a server answers not what it should");
    return counter.look() / 1e6;
}

} // namespace

void countRequests(const WireSettings& settings, WireReport& report) {
    runQuietly({"valgrind", "--version"});
    runQuietly({"strace", "-V"});
    const Test::TempDirectory directory;
    std::vector<Rehearsed> all;
    std::vector<WireCount> counts;
    {
        const HostProcess host(settings.host, {"--fake-time", "--hold"});
        for (const auto& bound : bounds) {
            const auto& call = findWireCall(bound.call);
            const auto file = directory.file(bound.call);
            std::ofstream(file, std::ios::binary) << rehearse(host.getPort(), call).answer;
            all.push_back({&bound, request(call.method, "2710293914", call.payload), file});
            counts.push_back({.request = call.title,
                              .unit = "instructions; calls",
                              .bound = bound.instructions,
                              .systemCallBound = bound.systemCalls});
        }
    }
    countAll<InstructionCounter>(settings, all, [&](auto i, double ours, double bare, auto echo) {
        counts[i].ours = ours;
        counts[i].bare = bare;
        counts[i].echo = echo;
    });
    countAll<SystemCallCounter>(settings, all, [&](auto i, double ours, double bare, auto echo) {
        counts[i].oursSystemCalls = ours;
        counts[i].bareSystemCalls = bare;
        counts[i].echoSystemCalls = echo;
    });
    for (const auto& count : counts)
        report.add(count);

    const auto replyFile = directory.file("created");
    std::ofstream(replyFile) << "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n";
    report.add(WireCount{.request = "start to the first answer",
                         .unit = "million instructions",
                         .bare = countStart(settings.bare, {"--reply", replyFile}),
                         .ours = countStart(settings.host, {}),
                         .bound = startBound});
}

} // namespace Ostrel::Bench
