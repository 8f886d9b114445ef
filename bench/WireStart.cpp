// From exec to the first answer, and what there is when nobody asks.

#include "bench/HostProcess.h"
#include "bench/WireWorkloads.h"
#include "tests/support/TempDirectory.h"
#include "tests/support/WireClient.h"

#include <csignal>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ostrel::Bench {

namespace {

using namespace std::chrono_literals;

constexpr double bytesOfOneMiB = 1 << 20;
constexpr Seconds settlingTime = 1s;
constexpr Seconds restingTime = 10s;

/// A server that was started a moment ago. Other than a HostProcess it is known to serve as soon as
/// it says so.
class Newcomer {
public:
    Newcomer(const std::string& program, const std::vector<std::string>& options) {
        std::vector<std::string> words = {program, "--listen", "127.0.0.1:0"};
        words.insert(words.end(), options.begin(), options.end());
        std::vector<char*> arguments;
        for (auto& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        int output[2];
        if (::pipe2(output, O_CLOEXEC) != 0)
            throw std::runtime_error("there is no pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        const int failure =
            ::posix_spawn(&process_, program.c_str(), &actions, nullptr, arguments.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        ::close(output[1]);
        output_ = output[0];
        if (failure != 0) {
            ::close(output_);
            throw std::runtime_error("cannot start " + program);
        }
    }

    ~Newcomer() {
        ::close(output_);
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }

    Newcomer(const Newcomer&) = delete;
    Newcomer& operator=(const Newcomer&) = delete;

    /// Waits for the line that tells it.
    std::uint16_t readPort() const {
        std::string line;
        for (char byte = 0; ::read(output_, &byte, 1) == 1 && byte != '\n';)
            line += byte;
        const auto colon = line.rfind(':');
        if (colon == line.npos)
            throw std::runtime_error("a server ends before it serves");
        return static_cast<std::uint16_t>(std::stoul(line.substr(colon + 1)));
    }

private:
    pid_t process_ = -1;
    int output_ = -1;
};

/// Milliseconds.
double timeStart(const std::string& program, const std::vector<std::string>& options,
                 const Processors& processors) {
    const auto began = Clock::now();
    std::unique_ptr<Newcomer> server;
    processors.startThere([&] { server = std::make_unique<Newcomer>(program, options); });
    Test::WireClient client({"127.0.0.1", server->readPort(), {}});
    const auto answer =
        client.post("/rpc/TV", R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})");
    const double took = 1000 * Seconds(Clock::now() - began).count();
    if (answer.status != 200)
        throw std::runtime_error("the first answer is " + answer.head);
    return took;
}

} // namespace

void measureStart(const WireSettings& settings, const Processors& processors, WireReport& report) {
    const Test::TempDirectory directory;
    const std::string reply = R"({"jsonrpc":"2.0","id":1,"result":2710293914})";
    std::ofstream(directory.file("reply"))
        << "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " << reply.size()
        << "\r\n\r\n"
        << reply;
    // Many starts fit into the time of a round.
    const auto medianTime = [&](const std::string& program, const std::vector<std::string>& options) {
        std::vector<double> times;
        const auto end = Clock::now() + settings.time;
        do {
            times.push_back(timeStart(program, options, processors));
        } while (Clock::now() < end);
        return median(times);
    };
    std::vector<double> ours, bare, ratios;
    for (std::size_t round = 0; round != settings.rounds; ++round) {
        ours.push_back(medianTime(settings.host, {}));
        bare.push_back(medianTime(settings.bare, {"--reply", directory.file("reply")}));
        ratios.push_back(ours.back() / bare.back());
    }
    report.add(WireRow{.workload = "start",
                       .measure = "ms from exec to an answer",
                       .ours = median(ours),
                       .yardstick = "bare server",
                       .theirs = median(bare),
                       .ratio = median(ratios),
                       .bound = 2});
}

void measureRest(const WireSettings& settings, WireReport& report) {
    const HostProcess host(settings.host);
    std::this_thread::sleep_for(settlingTime);
    const auto add = [&](const char* measure, double value, double bound) {
        report.add(WireRow{.workload = "at rest", .measure = measure, .ours = value, .bound = bound});
    };
    add("anonymous MB", host.anonymousMiB() * bytesOfOneMiB / 1e6, 1.8);
    add("resident MB", host.residentMiB() * bytesOfOneMiB / 1e6, 11.7);
    const auto before = host.contextSwitches();
    std::this_thread::sleep_for(restingTime);
    add("wake-ups in 10 s", static_cast<double>(host.contextSwitches() - before), 0);
}

} // namespace Ostrel::Bench
