// ostrel-bench-wire: what calls cost over the wire, beside servers that do less.

#include "bench/RunProgram.h"
#include "bench/WireCall.h"
#include "bench/WireWorkloads.h"
#include "commandline/Values.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace Ostrel::Bench;

struct Settings {
    WireSettings wire;
    std::vector<std::string> wanted; ///< names of workloads
    std::uint32_t rounds = 7;
    double seconds = 1;
    bool isForScripts = false;

    // A workload of one's own.
    std::string call; ///< empty: none
    std::uint32_t connections = 1, depth = 1;
    std::optional<double> perSecond;
    bool isPost = false;
};

std::vector<std::string> getNames() {
    std::vector<std::string> names;
    for (const auto& workload : getWireWorkloads())
        names.push_back(workload.name);
    names.insert(names.end(), {"start", "rest", "counts"});
    return names;
}

std::vector<std::string> getCallNames() {
    std::vector<std::string> names;
    for (const auto& call : getWireCalls())
        names.emplace_back(call.name);
    return names;
}

WireWorkload makeOwn(const Settings& settings) {
    std::string title = findWireCall(settings.call).title + std::string(settings.isPost ? " by POST" : "");
    title += ", " + std::to_string(settings.connections) + " x " + std::to_string(settings.depth);
    using Measure = WireMeasure;
    WireWorkload workload{.name = "own",
                          .title = title,
                          .call = settings.call,
                          .isPost = settings.isPost,
                          .connections = settings.connections,
                          .depth = settings.depth,
                          .perSecond = settings.perSecond.value_or(Habit::unlimited),
                          .targets = {{Measure::Processor, false, {}},
                                      {Measure::Rate, false, {}},
                                      {Measure::Median, false, {}},
                                      {Measure::P99, false, {}},
                                      {Measure::Resident, false, {}}}};
    if (!settings.isPost) { // the echo knows WebSockets alone
        workload.targets.push_back({Measure::Processor, true, {}});
        workload.targets.push_back({Measure::Rate, true, {}});
    }
    return workload;
}

void measureAll(const Settings& settings, const Processors& processors, WireReport& report) {
    if (!settings.call.empty()) {
        measureWorkload(makeOwn(settings), settings.wire, processors, report);
        return;
    }
    const auto isWanted = [&](const std::string& name) {
        return settings.wanted.empty() ||
               std::find(settings.wanted.begin(), settings.wanted.end(), name) != settings.wanted.end();
    };
    for (const auto& workload : getWireWorkloads())
        if (isWanted(workload.name))
            measureWorkload(workload, settings.wire, processors, report);
    if (isWanted("start"))
        measureStart(settings.wire, processors, report);
    if (isWanted("rest"))
        measureRest(settings.wire, report);
    if (isWanted("counts"))
        countRequests(settings.wire, report);
}

void run(Settings& settings) {
    using Ostrel::CommandLine::UsageError;
    constexpr double longest = 10; // who waits for longer is pinged
    if (settings.seconds > longest)
        throw UsageError("--seconds is at most 10: servers ping who is silent while others have their turn");
    if (settings.perSecond && settings.depth != 1)
        throw UsageError("--rate sends each call when it is due; leave out --depth");
    if (!settings.call.empty() && !settings.wanted.empty())
        throw UsageError("--call makes a workload of your own; name no other");
    settings.wire.rounds = settings.rounds;
    settings.wire.time = Seconds(settings.seconds);
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    settings.wire.bare = (folder / "ostrel-bench-bare").string();
    settings.wire.echo = (folder / "ostrel-bench-echo").string();

    const Processors processors;
    WireReport report(settings.isForScripts);
    measureAll(settings, processors, report);
    report.end();
}

std::string describeWorkloads() {
    std::string text = "Workloads; all of them unless some are named:\n";
    const auto add = [&](std::string name, const std::string& title) {
        name.resize(std::max<std::size_t>(name.size() + 1, 14), ' ');
        text += "  " + name + title + "\n";
    };
    for (const auto& workload : getWireWorkloads())
        add(workload.name, workload.title);
    add("start", "from exec to the first answer");
    add("rest", "memory and wake-ups when nobody asks");
    add("counts", "instructions and system calls of a request, by valgrind and strace; minutes");
    return text;
}

Ostrel::CommandLine::Program makeProgram(Settings& settings) {
    using namespace Ostrel::CommandLine;
    Program program;
    program.name = "ostrel-bench-wire";
    program.version = OSTREL_VERSION;
    program.description = "Shows what calls cost over the wire, beside servers that do less.";
    program.notes =
        "The bare server is the least that can be done: one thread, epoll, of a request its end and its "
        "id, the same bytes with that id for an answer, and one write for all that one read brought. The "
        "Beast echo sends each WebSocket message back. Each "
        "server "
        "has one processor for itself and who asks has another.\n"
        "\n"
        "In each round all servers get the same load in turn, and a row shows the medians of the rounds. The "
        "ratio is the median of the rounds' own ratios: of two servers that a busy machine slows alike it "
        "stays. "
        "Other figures hold for the machine and the moment. A target that is missed is marked, and is no "
        "failure.\n"
        "\n"
        "Processor time is user and system time of the server. Latency counts from when a call was sent; "
        "with "
        "a rate from when it was due, whatever was under way, so that a server that stalls is seen to. Times "
        "are "
        "kept in a histogram whose buckets are 1.6 % wide. MB are 1,000,000 bytes.\n"
        "\n" +
        describeWorkloads();
    program.examples = {"./dev bench wire",
                        "./dev bench wire small paced --rounds 15",
                        "./dev bench wire counts            # minutes",
                        "./dev bench wire --call page --connections 8 --depth 4  # a load of your own",
                        "./dev bench wire --call small --connections 16 --rate 5000",
                        "./dev bench wire --json | jq 'select(.met == false)'"};
    program.options = {
        {.name = "PROGRAM",
         .description = "The path of an ostrel-tvd; ./dev names it for you",
         .read = text(settings.wire.host),
         .isRequired = true,
         .isFile = true},
        {.name = "WORKLOAD",
         .description = "What to measure",
         .read = text(settings.wanted),
         .choices = getNames(),
         .mayRepeat = true},
        {.name = "--rounds",
         .value = "N",
         .description = "How often each server has its turn",
         .read = wholeNumber(settings.rounds, 1, 1000),
         .standard = "7"},
        {.name = "--seconds",
         .value = "N",
         .description =
             "How long each turn is, up to 10 and fractions too; a tenth of it before does not count",
         .read = positiveNumber(settings.seconds),
         .standard = "1"},
        {.name = "--call",
         .description = "A load of your own, of this call",
         .read = text(settings.call),
         .choices = getCallNames()},
        {.name = "--connections",
         .value = "N",
         .description = "It comes by so many connections",
         .read = wholeNumber(settings.connections, 1, 250),
         .standard = "1",
         .needs = {"--call"}},
        {.name = "--depth",
         .value = "N",
         .description = "So many calls are under way on each; the next goes when one is answered",
         .read = wholeNumber(settings.depth, 1, 64),
         .standard = "1",
         .needs = {"--call"}},
        {.name = "--rate",
         .value = "N",
         .description = "So many calls a second are sent, all connections together, answered or not",
         .read = number(settings.perSecond, 1, 1'000'000),
         .needs = {"--call"}},
        {.name = "--post",
         .description = "By POST instead of WebSocket",
         .read = flag(settings.isPost),
         .needs = {"--call"}},
        {.name = "--json",
         .description = "Print one JSON object a line",
         .read = flag(settings.isForScripts)},
    };
    program.run = [&settings] { run(settings); };
    program.exitStatuses = {
        {"0", "all was measured, whatever came out"}, {"1", "something was not"}, {"2", "wrong usage"}};
    return program;
}

} // namespace

int main(int argc, char** argv) {
    Settings settings;
    const auto program = makeProgram(settings);
    return Ostrel::Bench::runProgram(program, argc, argv);
}
