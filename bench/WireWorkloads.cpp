#include "bench/WireWorkloads.h"

#include "bench/FanOut.h"
#include "bench/HostProcess.h"
#include "bench/Requests.h"
#include "bench/WireCall.h"
#include "tests/support/TempDirectory.h"
#include "tests/support/WireClient.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>

namespace Ostrel::Bench {

namespace {

using Measure = WireMeasure;

constexpr double bytesOfOneMiB = 1 << 20;
constexpr double warmUp = 0.1; ///< of a round's time

// One client starts a scan over an empty list of transponders, which is over at once.
constexpr const char* scan = R"({"sourceId":1,"useNIT":0})";
const std::vector<std::string> scanNotifications = {
    R"({"jsonrpc":"2.0","method":"ITVConfig::onScanStart","params":{"sourceId":1}})",
    R"({"jsonrpc":"2.0","method":"ITVConfig::onScanProgress","params":{"sourceId":1,"percent":0}})",
    R"({"jsonrpc":"2.0","method":"ITVConfig::onScanProgress","params":{"sourceId":1,"percent":100}})",
    R"({"jsonrpc":"2.0","method":"ITVConfig::onScanComplete","params":{"sourceId":1}})",
};

const WireWorkload workloads[] = {
    {.name = "small",
     .title = "small call, 64 connections",
     .call = "small",
     .connections = 64,
     .targets = {{Measure::Processor, false, 1.6}, {Measure::Rate, true, 0.85}}},
    {.name = "pipelined",
     .title = "16 small calls under way, 1 connection",
     .call = "small",
     .depth = 16,
     .targets = {{Measure::Rate, true, 0.9}}},
    {.name = "services",
     .title = "ten ServiceInfo, 64 connections",
     .call = "services",
     .connections = 64,
     .targets = {{Measure::Processor, false, 1.8}}},
    {.name = "services-post",
     .title = "ten ServiceInfo by POST, 64 connections",
     .call = "services",
     .isPost = true,
     .connections = 64,
     .targets = {{Measure::Processor, false, 1.9}}},
    {.name = "now-next",
     .title = "now/next records, 64 connections",
     .call = "now-next",
     .connections = 64,
     .targets = {{Measure::Processor, false, 1.7}}},
    {.name = "page",
     .title = "guide page, 64 connections",
     .call = "page",
     .connections = 64,
     .targets = {{Measure::Processor, false, 4.5}}},
    {.name = "guide",
     .title = "whole guide over the wire",
     .call = "guide",
     .targets = {{Measure::Median, false, 4.0}, {Measure::Resident, false, 1.3}}},
    {.name = "paced",
     .title = "2,000 small calls a second, 16 connections",
     .call = "small",
     .connections = 16,
     .perSecond = 2000,
     .targets = {{Measure::P99, false, 1.5}}},
    {.name = "notify-64",
     .title = "notification to 64 listeners",
     .connections = 64,
     .targets = {{Measure::Processor, false, 1.5}, {Measure::Last, false, 1.3}}},
    {.name = "notify-200",
     .title = "notification to 200 listeners",
     .connections = 200,
     .targets = {{Measure::Processor, false, 1.5}, {Measure::Last, false, 1.3}}},
};

/// A server and what is asked of it.
struct Contestant {
    std::string name;
    std::unique_ptr<HostProcess> process;
    std::function<LoadResult(Seconds)> run;
    std::size_t messages = 1; ///< that the server sends for each that the latency counts
    std::map<Measure, std::vector<double>> rounds{};
    LatencyHistogram latency{};
};

std::unique_ptr<HostProcess> start(const std::string& program, const std::vector<std::string>& options,
                                   const Processors& processors) {
    std::unique_ptr<HostProcess> process;
    processors.startThere([&] { process = std::make_unique<HostProcess>(program, options); });
    return process;
}

void write(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    if (!file.flush())
        throw std::runtime_error("cannot write " + path);
}

void addLoad(Contestant& contestant, const LoadPlan& plan) {
    const auto load = std::make_shared<Load>(contestant.process->getPort(), plan);
    contestant.run = [load](Seconds time) { return load->run(time); };
}

void addFanOut(Contestant& contestant, const FanOutPlan& plan) {
    contestant.messages = plan.notifications * plan.listeners;
    const auto fanOut = std::make_shared<FanOut>(contestant.process->getPort(), plan);
    contestant.run = [fanOut](Seconds time) { return fanOut->run(time); };
}

/// A host, a bare server that gives the same answers, and the echo where it is wanted.
class Contest {
public:
    Contest(const WireWorkload& workload, const WireSettings& settings, const Processors& processors)
        : workload_(workload), settings_(settings), processors_(processors) {
        contestants_.reserve(3); // references stay
        contestants_.push_back({"ours", start(settings.host, {"--fake-time", "--hold"}, processors), {}});
        workload.call.empty() ? addNotifications() : addCalls();
    }

    void runRound(std::size_t round) {
        for (std::size_t i = 0; i != contestants_.size(); ++i)
            run(contestants_[(round + i) % contestants_.size()]);
    }

    std::vector<Contestant>& getContestants() { return contestants_; }

private:
    void addCalls() {
        auto& ours = contestants_.front();
        const auto exchange =
            rehearse(ours.process->getPort(), findWireCall(workload_.call), workload_.isPost);
        const LoadPlan plan{.request = exchange.request,
                            .isWebSocket = !workload_.isPost,
                            .connections = workload_.connections,
                            .depth = workload_.depth,
                            .perSecond = workload_.perSecond};
        addLoad(ours, plan);
        write(directory_.file("reply"), exchange.answer);
        addLoad(addYardstick("bare server", settings_.bare, {"--reply", directory_.file("reply")}), plan);
        if (std::any_of(workload_.targets.begin(), workload_.targets.end(),
                        [](const auto& target) { return target.isEcho; }))
            addLoad(addYardstick("Beast echo", settings_.echo, {}), plan);
    }

    void addNotifications() {
        const auto port = contestants_.front().process->getPort();
        const auto context = createContext(port);
        Test::WireClient client({"127.0.0.1", port, {}});
        client.upgrade();
        client.call(request("ITVConfig::transponderListDeleteAll", context, R"({"sourceId":1})"));
        const FanOutPlan plan{.cause = asFrame("scan", request("ITVConfig::scanStart", context, scan))->bytes,
                              .notifications = scanNotifications.size(),
                              .listeners = workload_.connections};
        addFanOut(contestants_.front(), plan);

        write(directory_.file("reply"), serverFrame(R"({"jsonrpc":"2.0","id":1,"result":true})"));
        std::vector<std::string> options = {"--reply", directory_.file("reply")};
        for (const auto& notification : scanNotifications) {
            const auto file = directory_.file("notification" + std::to_string(options.size()));
            write(file, serverFrame(notification));
            options.insert(options.end(), {"--notification", file});
        }
        addFanOut(addYardstick("bare server", settings_.bare, options), plan);
    }

    Contestant& addYardstick(const std::string& name, const std::string& program,
                             const std::vector<std::string>& options) {
        contestants_.push_back({name, start(program, options, processors_), {}});
        return contestants_.back();
    }

    void run(Contestant& contestant) const {
        contestant.run(warmUp * settings_.time);
        const auto before = contestant.process->processorSeconds();
        const auto result = contestant.run(settings_.time);
        const auto spent = contestant.process->processorSeconds() - before;
        const auto messages = static_cast<double>(result.latency.getCount() * contestant.messages);
        auto& rounds = contestant.rounds;
        rounds[Measure::Processor].push_back(1e6 * spent / messages);
        rounds[Measure::Rate].push_back(result.perSecond());
        rounds[Measure::Median].push_back(result.latency.getMicros(0.5) / 1000);
        rounds[Measure::Last].push_back(result.latency.getMicros(0.5));
        rounds[Measure::P99].push_back(result.latency.getMicros(0.99));
        rounds[Measure::Resident].push_back(contestant.process->residentMiB() * bytesOfOneMiB / 1e6);
        contestant.latency.add(result.latency);
    }

    const WireWorkload& workload_;
    const WireSettings& settings_;
    const Processors& processors_;
    const Test::TempDirectory directory_;
    std::vector<Contestant> contestants_; ///< ours, the bare server, and maybe the echo
};

const char* describe(Measure measure, bool isNotification) {
    switch (measure) {
    case Measure::Processor:
        return isNotification ? "processor us a message" : "processor us a request";
    case Measure::Rate:
        return "requests a second";
    case Measure::Median:
        return "ms to the last byte, p50";
    case Measure::P99:
        return "latency us, p99";
    case Measure::Last:
        return "us to the last one, p50";
    case Measure::Resident:
        return "resident MB after it";
    }
    return "";
}

WireRow compare(const WireWorkload& workload, const WireWorkload::Target& target, Contestant& ours,
                Contestant& theirs) {
    const auto& left = ours.rounds[target.measure];
    const auto& right = theirs.rounds[target.measure];
    std::vector<double> ratios;
    std::transform(left.begin(), left.end(), right.begin(), std::back_inserter(ratios), std::divides<>());
    return {.workload = workload.title,
            .measure = describe(target.measure, workload.call.empty()),
            .ours = median(left),
            .yardstick = theirs.name,
            .theirs = median(right),
            .ratio = median(ratios),
            .bound = target.bound,
            .isLeast = target.measure == Measure::Rate};
}

} // namespace

std::span<const WireWorkload> getWireWorkloads() {
    return workloads;
}

void measureWorkload(const WireWorkload& workload, const WireSettings& settings, const Processors& processors,
                     WireReport& report) {
    Contest contest(workload, settings, processors);
    for (std::size_t round = 0; round != settings.rounds; ++round)
        contest.runRound(round);
    auto& all = contest.getContestants();
    for (const auto& target : workload.targets)
        report.add(compare(workload, target, all.front(), all[target.isEcho ? 2 : 1]));
    for (const auto& contestant : all)
        report.add(WireLatency{workload.title, contestant.name, contestant.latency});
}

double median(std::vector<double> values) {
    if (values.empty())
        return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace Ostrel::Bench
