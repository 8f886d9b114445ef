#include "bench/WireReport.h"

#include <cstdio>
#include <utility>

namespace Ostrel::Bench {

namespace {

template <class... Values> std::string format(const char* pattern, Values... values) {
    char text[512];
    std::snprintf(text, sizeof text, pattern, values...);
    return text;
}

/// A number with about four digits.
std::string shortly(double value) {
    return format("%.*f", value < 10 ? 2 : value < 1000 ? 1 : 0, value);
}

std::string withThousands(double value) {
    auto text = format("%.0f", value);
    for (auto at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
        text.insert(static_cast<std::size_t>(at), ",");
    return text;
}

const char* verdict(bool isMet) {
    return isMet ? "met" : "MISSED";
}

std::string describeCount(std::optional<double> count, std::optional<double> systemCalls) {
    if (!count)
        return "-";
    // Of what is counted in millions nothing is left of a thousand.
    const auto number = *count < 100 ? format("%.2f", *count) : withThousands(*count);
    return number + (systemCalls ? format("; %.2f", *systemCalls) : "");
}

std::string jsonNumber(std::optional<double> value) {
    return value ? format("%.3f", *value) : "null";
}

} // namespace

bool WireRow::isMet() const {
    const double value = yardstick.empty() ? ours : ratio;
    return !bound || (isLeast ? value >= *bound : value <= *bound);
}

bool WireCount::isMet() const {
    return ours <= bound && (!systemCallBound || oursSystemCalls.value_or(0) <= *systemCallBound);
}

void WireReport::begin(const char* table, const std::string& head) {
    if (table_ == table)
        return;
    std::printf("%s%s", table_.empty() ? "" : "\n", head.c_str());
    table_ = table;
}

void WireReport::add(const WireRow& row) {
    if (isForScripts_) {
        std::printf(R"({"workload":"%s","measure":"%s","ours":%.3f,"yardstick":%s,"theirs":%s,"ratio":%s,)"
                    R"("%s":%s,"met":%s})"
                    "\n",
                    row.workload.c_str(), row.measure.c_str(), row.ours,
                    row.yardstick.empty() ? "null" : ('"' + row.yardstick + '"').c_str(),
                    row.yardstick.empty() ? "null" : jsonNumber(row.theirs).c_str(),
                    row.yardstick.empty() ? "null" : jsonNumber(row.ratio).c_str(),
                    row.isLeast ? "least" : "most", jsonNumber(row.bound).c_str(),
                    !row.bound    ? "null"
                    : row.isMet() ? "true"
                                  : "false");
    } else {
        constexpr const char* line = "%-43s %-26s %9s %9s %-12s %6s %7s  %s\n";
        begin("rows",
              format(line, "workload", "measure", "ours", "theirs", "yardstick", "ratio", "target", ""));
        std::printf(line, row.workload.c_str(), row.measure.c_str(), shortly(row.ours).c_str(),
                    row.yardstick.empty() ? "" : shortly(row.theirs).c_str(), row.yardstick.c_str(),
                    row.yardstick.empty() ? "" : format("%.2f", row.ratio).c_str(),
                    row.bound ? format("%s %.4g", row.isLeast ? ">=" : "<=", *row.bound).c_str() : "",
                    row.bound ? verdict(row.isMet()) : "");
    }
    std::fflush(stdout);
}

void WireReport::add(const WireCount& count) {
    if (isForScripts_) {
        std::printf(R"({"request":"%s","unit":"%s","bare":%.3f,"bareSystemCalls":%s,"echo":%s,)"
                    R"("echoSystemCalls":%s,"ours":%.3f,"oursSystemCalls":%s,"most":%.3f,)"
                    R"("mostSystemCalls":%s,"met":%s})"
                    "\n",
                    count.request.c_str(), count.unit.c_str(), count.bare,
                    jsonNumber(count.bareSystemCalls).c_str(), jsonNumber(count.echo).c_str(),
                    jsonNumber(count.echoSystemCalls).c_str(), count.ours,
                    jsonNumber(count.oursSystemCalls).c_str(), count.bound,
                    jsonNumber(count.systemCallBound).c_str(), count.isMet() ? "true" : "false");
    } else {
        constexpr const char* line = "%-34s %-22s %16s %16s %16s %16s  %s\n";
        begin("counts",
              "counted: user-space instructions; system calls\n" +
                  format(line, "request", "unit", "bare server", "Beast echo", "ours", "target", ""));
        std::printf(line, count.request.c_str(), count.unit.c_str(),
                    describeCount(count.bare, count.bareSystemCalls).c_str(),
                    describeCount(count.echo, count.echoSystemCalls).c_str(),
                    describeCount(count.ours, count.oursSystemCalls).c_str(),
                    ("<= " + describeCount(count.bound, count.systemCallBound)).c_str(),
                    verdict(count.isMet()));
    }
    std::fflush(stdout);
}

void WireReport::add(WireLatency latency) {
    if (!isForScripts_) {
        latencies_.push_back(std::move(latency));
        return;
    }
    const auto& all = latency.histogram;
    std::printf(R"({"workload":"%s","server":"%s","latency":{"unit":"us","calls":%llu,"p50":%.3f,"p90":%.3f,)"
                R"("p99":%.3f,"p99.9":%.3f,"slowest":%.3f}})"
                "\n",
                latency.workload.c_str(), latency.server.c_str(),
                static_cast<unsigned long long>(all.getCount()), all.getMicros(0.5), all.getMicros(0.9),
                all.getMicros(0.99), all.getMicros(0.999), all.getMicros(1));
}

void WireReport::end() const {
    if (latencies_.empty())
        return;
    std::printf("\nlatency of all rounds, us\n%-43s %-12s %10s %10s %10s %10s %10s %10s\n", "workload",
                "server", "calls", "p50", "p90", "p99", "p99.9", "slowest");
    for (const auto& [workload, server, all] : latencies_)
        std::printf("%-43s %-12s %10llu %10.1f %10.1f %10.1f %10.1f %10.1f\n", workload.c_str(),
                    server.c_str(), static_cast<unsigned long long>(all.getCount()), all.getMicros(0.5),
                    all.getMicros(0.9), all.getMicros(0.99), all.getMicros(0.999), all.getMicros(1));
}

} // namespace Ostrel::Bench
