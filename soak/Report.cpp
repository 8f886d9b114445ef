#include "soak/Report.h"

#include "commandline/Table.h"

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>

#include <algorithm>
#include <cstdio>

namespace Ostrel::Soak {

namespace {

using CommandLine::Table;
namespace json = boost::json;

constexpr auto right = Table::Align::Right;
constexpr std::size_t rowsOfTime = 20;
constexpr std::size_t pointsOfTime = 120;

std::string number(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

/// Some of the samples, evenly spread, the last among them.
std::vector<Vitals> thin(const std::vector<Vitals>& samples, std::size_t most) {
    const auto step = std::max<std::size_t>(1, (samples.size() + most - 1) / most);
    std::vector<Vitals> result;
    for (std::size_t i = (samples.size() + step - 1) % step; i < samples.size(); i += step)
        result.push_back(samples[i]);
    return result;
}

json::object asValue(const Vitals& vitals) {
    return {{"second", vitals.second},
            {"memoryMiB", vitals.memoryMiB},
            {"descriptors", vitals.descriptors},
            {"threads", vitals.threads}};
}

} // namespace

std::string describe(const Findings& findings) {
    Table latencies({{"Phase"},
                     {"Seconds", right},
                     {"Replies", right},
                     {"p50 ms", right},
                     {"p99", right},
                     {"p99.9", right},
                     {"Slowest", right}});
    for (const auto& [name, latency, seconds] : findings.phases)
        latencies.add({name, number(seconds, 0), std::to_string(latency.getCount()),
                       number(latency.getQuantile(0.5), 2), number(latency.getQuantile(0.99), 2),
                       number(latency.getQuantile(0.999), 2), number(latency.getSlowest(), 1)});

    Table times({{"Second", right}, {"Memory MiB", right}, {"Descriptors", right}, {"Threads", right}});
    const auto add = [&](const Vitals& vitals) {
        times.add({number(vitals.second, 0), number(vitals.memoryMiB, 1), std::to_string(vitals.descriptors),
                   std::to_string(vitals.threads)});
    };
    add(findings.begin);
    for (const auto& sample : thin(findings.samples, rowsOfTime))
        add(sample);
    add(findings.end);

    auto text = latencies.format() + '\n' + times.format() + '\n';
    text += std::to_string(findings.clients) + " well-behaved clients got " +
            std::to_string(findings.replies) + " replies and were each told " +
            std::to_string(findings.notifications) + " notifications, " + std::to_string(findings.scans) +
            " scans to their end; " + std::to_string(findings.hostilities) + " hostilities\n";
    if (findings.growth)
        text += "memory in the second half beside hostile clients: " + number(*findings.growth, 2) +
                " MiB a minute\n";
    if (findings.isInterrupted)
        text += "ended early\n";
    for (const auto& wrong : findings.wrong)
        text += "WRONG: " + wrong + '\n';
    return text + (findings.wrong.empty() ? "nothing was wrong\n" : "");
}

std::string asJson(const Findings& findings) {
    json::array phases;
    for (const auto& [name, latency, seconds] : findings.phases)
        phases.push_back(json::object{{"name", name},
                                      {"seconds", seconds},
                                      {"replies", latency.getCount()},
                                      {"p50", latency.getQuantile(0.5)},
                                      {"p99", latency.getQuantile(0.99)},
                                      {"p999", latency.getQuantile(0.999)},
                                      {"slowest", latency.getSlowest()}});
    json::array samples;
    for (const auto& sample : thin(findings.samples, pointsOfTime))
        samples.push_back(asValue(sample));
    json::object result = {{"phases", phases},
                           {"samples", samples},
                           {"begin", asValue(findings.begin)},
                           {"end", asValue(findings.end)},
                           {"growthMiBAMinute", findings.growth ? json::value(*findings.growth) : nullptr},
                           {"clients", findings.clients},
                           {"replies", findings.replies},
                           {"notifications", findings.notifications},
                           {"scans", findings.scans},
                           {"hostilities", findings.hostilities},
                           {"exitStatus", findings.exitStatus},
                           {"interrupted", findings.isInterrupted},
                           {"wrong", json::array(findings.wrong.begin(), findings.wrong.end())}};
    return json::serialize(result) + '\n';
}

std::string describe(const Progress& progress) {
    const auto& [phase, vitals, secondsLeft, tally] = progress;
    const auto& latency = tally.getPhase();
    char text[256];
    std::snprintf(
        text, sizeof text,
        "%5.0f s %-14s %5.0f s left  %8zu replies %zu wrong  p50 %.1f p99 %.1f p99.9 %.1f max %.0f ms"
        "  %.0f MiB %zu fds %zu threads",
        vitals.second, phase.c_str(), secondsLeft, tally.getReplies(), tally.getWrong(),
        latency.getQuantile(0.5), latency.getQuantile(0.99), latency.getQuantile(0.999), latency.getSlowest(),
        vitals.memoryMiB, vitals.descriptors, vitals.threads);
    return text;
}

} // namespace Ostrel::Soak
