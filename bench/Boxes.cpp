// ostrel-bench-boxes: what it takes to give each of a thousand tests a box of its own.
//
// Hosts are started on Unix sockets, all at once; each is asked for its time and a guide page, and
// all of them are stopped.

#include "bench/Crowd.h"
#include "bench/Requests.h"
#include "bench/RunProgram.h"
#include "bench/WireCall.h"
#include "commandline/Values.h"
#include "tests/support/TempDirectory.h"
#include "tests/support/WireClient.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace Ostrel::Bench;
using namespace std::chrono_literals;

constexpr auto pause = 2ms; ///< between two looks
constexpr Seconds startTime = 300s; ///< for one box to serve, while all of them start
constexpr Seconds stopTime = 120s;

volatile std::sig_atomic_t interrupted = 0;

extern "C" void interrupt(int) {
    interrupted = 1;
}

/// A host on a Unix socket.
class Box {
public:
    Box(const std::string& program, const std::string& path)
        : address_{.host = {}, .port = 0, .path = path}, process_(start(program, address_.toString())) {}

    /// Ends it, in the hard way if it was not stopped.
    ~Box() {
        if (process_ > 0)
            ::kill(process_, SIGKILL);
        wait();
    }

    Box(const Box&) = delete;
    Box& operator=(const Box&) = delete;

    /// Connects as soon as it serves.
    /// @throws std::runtime_error  it does not, or Ctrl-C
    Ostrel::Test::WireClient connect() const {
        for (const auto end = Clock::now() + startTime; Clock::now() < end && isAlive();) {
            if (interrupted)
                throw std::runtime_error("interrupted");
            if (::access(address_.path.c_str(), F_OK) == 0) {
                try {
                    return Ostrel::Test::WireClient(address_);
                } catch (const std::runtime_error&) { // it is bound, and does not listen yet
                }
            }
            std::this_thread::sleep_for(pause);
        }
        throw std::runtime_error(address_.toString() + " does not serve");
    }

    /// Private memory, in KiB: what of this process's memory no other process shares.
    long privateKiB() const { return sumOfSmaps("Private_"); }

    /// Its share of all memory, in KiB: what several processes share is divided among them.
    long shareKiB() const { return sumOfSmaps("Pss:"); }

    void stop() const { ::kill(process_, SIGTERM); }

    /// Waits for its end for so long. Returns whether it came and was a good one.
    bool hasStopped(Clock::time_point until) {
        while (isAlive() && Clock::now() < until)
            std::this_thread::sleep_for(pause);
        return !isAlive() && wait() == 0;
    }

private:
    static pid_t start(const std::string& program, const std::string& address) {
        const auto process = ::fork();
        if (process < 0)
            throw std::system_error(errno, std::generic_category(), "no more boxes can be started");
        if (process > 0)
            return process;
        ::prctl(PR_SET_PDEATHSIG, SIGKILL); // no box outlives who measures
        const int nowhere = ::open("/dev/null", O_RDWR);
        ::dup2(nowhere, STDIN_FILENO);
        ::dup2(nowhere, STDOUT_FILENO);
        ::setpgid(0, 0); // Ctrl-C is for who measures
        ::execl(program.c_str(), program.c_str(), "--listen", address.c_str(), "--log-level", "error",
                static_cast<char*>(nullptr));
        ::_exit(127);
    }

    bool isAlive() const {
        siginfo_t end{};
        return process_ > 0 &&
               ::waitid(P_PID, static_cast<id_t>(process_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               end.si_pid == 0;
    }

    int wait() {
        int status = -1;
        if (process_ > 0)
            ::waitpid(process_, &status, 0);
        process_ = -1;
        return status;
    }

    long sumOfSmaps(const std::string& name) const {
        long sum = 0;
        std::ifstream lines("/proc/" + std::to_string(process_) + "/smaps_rollup");
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with(name))
                sum += std::stol(line.substr(line.find(':') + 1));
        return sum;
    }

    const Ostrel::Address address_;
    pid_t process_;
};

/// What has been found out.
struct Findings {
    std::size_t boxes = 0;
    double startSeconds = 0; ///< until the last has answered
    double slowestMsec = 0; ///< of the two answers
    double stopSeconds = 0;
    std::size_t answered = 0; ///< time and page were right
    std::size_t stopped = 0; ///< with exit status 0
    std::size_t pageBytes = 0;
    std::vector<long> privateKiB{}; ///< of each, ascending
    long togetherKiB = 0; ///< with what they share, once
    std::string trouble{}; ///< the first
};

std::string resultOf(Ostrel::Test::WireClient& client, const std::string& call) {
    const auto reply = client.call(call);
    constexpr std::string_view head = R"({"jsonrpc":"2.0","id":1,"result":)";
    if (!reply.starts_with(head))
        throw std::runtime_error("a box answers " + reply.substr(0, 200));
    return reply.substr(head.size(), reply.size() - head.size() - 1);
}

/// Asks a box for its time, which must be ours, and a page, which must be everybody's.
void ask(const Box& box, std::string& page, Findings& findings) {
    auto client = box.connect();
    const auto began = Clock::now();
    client.upgrade();
    const auto context = resultOf(client, R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})");
    const auto least = std::time(nullptr);
    const auto time = std::stoll(resultOf(client, request("ITVService::utcTimeGet", context)));
    if (time < least || time > std::time(nullptr))
        throw std::runtime_error("a box says that it is " + std::to_string(time));
    const auto& call = findWireCall("page");
    const auto got = resultOf(client, request(call.method, context, call.payload));
    if (page.empty())
        page = got;
    if (got != page || got == "[]")
        throw std::runtime_error("a box shows a page of its own: " + got.substr(0, 200));
    findings.slowestMsec = std::max(findings.slowestMsec, 1000 * Seconds(Clock::now() - began).count());
}

Findings measure(const std::string& program, std::size_t number) {
    Findings findings;
    findings.boxes = number;
    const Ostrel::Test::TempDirectory directory;
    std::vector<std::unique_ptr<Box>> boxes;
    auto began = Clock::now();
    for (std::size_t i = 0; i != number && !interrupted; ++i)
        boxes.push_back(std::make_unique<Box>(program, directory.file(std::to_string(i))));

    std::string page;
    for (const auto& box : boxes) {
        try {
            ask(*box, page, findings);
            ++findings.answered;
        } catch (const std::exception& error) {
            if (interrupted)
                throw;
            findings.trouble = findings.trouble.empty() ? error.what() : findings.trouble;
        }
    }
    findings.startSeconds = Seconds(Clock::now() - began).count();
    findings.pageBytes = page.size();

    for (const auto& box : boxes) {
        findings.privateKiB.push_back(box->privateKiB());
        findings.togetherKiB += box->shareKiB();
    }
    std::sort(findings.privateKiB.begin(), findings.privateKiB.end());

    began = Clock::now();
    for (const auto& box : boxes)
        box->stop();
    for (const auto& box : boxes)
        findings.stopped += box->hasStopped(began + std::chrono::duration_cast<Clock::duration>(stopTime));
    findings.stopSeconds = Seconds(Clock::now() - began).count();
    return findings;
}

bool isAllRight(const Findings& findings) {
    return findings.answered == findings.boxes && findings.stopped == findings.boxes;
}

void print(const Findings& findings) {
    const auto number = static_cast<double>(findings.boxes);
    const auto& memory = findings.privateKiB;
    std::printf("%zu boxes\n"
                "%-28s %zu with their time and a guide page of %zu bytes\n"
                "%-28s %.2f s, %.2f ms a box; the slowest to answer took %.1f ms\n"
                "%-28s %.2f s, %.2f ms a box; %zu ended with 0\n"
                "%-28s median %ld KiB, most %ld KiB\n"
                "%-28s %.0f MiB, with what they share counted once\n",
                findings.boxes, "answered", findings.answered, findings.pageBytes, "started and asked",
                findings.startSeconds, 1000 * findings.startSeconds / number, findings.slowestMsec, "stopped",
                findings.stopSeconds, 1000 * findings.stopSeconds / number, findings.stopped,
                "private memory of a box", memory[memory.size() / 2], memory.back(), "memory of all",
                static_cast<double>(findings.togetherKiB) / 1024);
    if (!findings.trouble.empty())
        std::printf("%s\n", findings.trouble.c_str());
}

void printJson(const Findings& findings) {
    const auto& memory = findings.privateKiB;
    std::printf(
        R"({"boxes":%zu,"answered":%zu,"pageBytes":%zu,"startSeconds":%.3f,"slowestMsec":%.3f,)"
        R"("stopSeconds":%.3f,"stopped":%zu,"privateKiB":{"median":%ld,"most":%ld},"togetherKiB":%ld})"
        "\n",
        findings.boxes, findings.answered, findings.pageBytes, findings.startSeconds, findings.slowestMsec,
        findings.stopSeconds, findings.stopped, memory[memory.size() / 2], memory.back(),
        findings.togetherKiB);
    if (!findings.trouble.empty())
        std::fprintf(stderr, "%s\n", findings.trouble.c_str());
}

struct Settings {
    std::string program;
    std::uint32_t boxes = 1000;
    bool isForScripts = false;
    int status = 0;
};

void run(Settings& settings) {
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    const auto findings = measure(settings.program, settings.boxes);
    settings.isForScripts ? printJson(findings) : print(findings);
    settings.status = isAllRight(findings) ? 0 : 1;
}

Ostrel::CommandLine::Program makeProgram(Settings& settings) {
    using namespace Ostrel::CommandLine;
    Program program;
    program.name = "ostrel-bench-boxes";
    program.version = OSTREL_VERSION;
    program.description = "Shows what it takes to give each of a thousand tests a box of its own.";
    program.notes =
        "Starts that many hosts at once, each on a Unix socket in a folder that goes away again, asks each "
        "for "
        "its time and a guide page as soon as it serves, looks at the memory of all, and stops them.\n"
        "\n"
        "Private memory is what no other process shares: what one more box costs. Programs, libraries and "
        "the "
        "guide are files that all map. A thousand boxes take 2 GB and as many processes as ulimit -u must "
        "allow.";
    program.examples = {"./dev bench boxes", "./dev bench boxes --boxes 50 --json"};
    program.options = {
        {.name = "PROGRAM",
         .description = "The path of an ostrel-tvd; ./dev names it for you",
         .read = text(settings.program),
         .isRequired = true,
         .isFile = true},
        {.name = "--boxes",
         .value = "N",
         .description = "How many",
         .read = wholeNumber(settings.boxes, 1, 100'000),
         .standard = "1000"},
        {.name = "--json", .description = "Print one JSON object", .read = flag(settings.isForScripts)},
    };
    program.run = [&settings] { run(settings); };
    program.exitStatuses = {{"0", "each answered rightly, and ended when it was asked to"},
                            {"1", "one did not, or not so many can be started"},
                            {"2", "wrong usage"}};
    return program;
}

} // namespace

int main(int argc, char** argv) {
    Settings settings;
    const auto program = makeProgram(settings);
    const int status = Ostrel::Bench::runProgram(program, argc, argv);
    return status != 0 ? status : settings.status;
}
