// What clients feel of a neighbour who attacks the host, and what that costs the host.
//
// Each attack gets a host of its own. Two polite clients call it alone, beside the attackers, and
// after these have gone; the latency of a call counts from when it was due.

#include "bench/Attacks.h"
#include "bench/Crowd.h"
#include "bench/HostProcess.h"
#include "bench/Latency.h"
#include "bench/Requests.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using namespace Ostrel::Bench;
using namespace std::chrono_literals;

constexpr Seconds aloneTime = 3s;
constexpr Seconds busyTime = 5s; ///< after the attack, in which the host should have nothing to do
constexpr Seconds settlingTime = 10s; ///< after the attack, until memory should have been given back
constexpr Seconds lateTime = 20s; ///< for replies that are due when all is over

constexpr double aimP99 = 25; ///< ms, or three times as long as alone
constexpr double aimP99Ratio = 3;
constexpr double aimSlowest = 250; ///< ms
constexpr double aimPeak = 256; ///< MiB above idle
constexpr double aimSettled = 32; ///< MiB above idle

/// All that is known of one attack.
struct Row {
    std::string attack;
    std::string told; ///< what the attackers got
    std::string trouble; ///< that the host or the neighbours are in
    bool hasNeighbours = true;
    Latency alone{{}};
    Latency beside{{}};
    Latency after{{}};
    double idle = 0; ///< resident MiB
    double peak = 0;
    double settled = 0;
    double settledAfter = 0; ///< seconds
    double busy = 0; ///< part of one processor, after the attack
};

void settle(const HostProcess& host, Row& row) {
    const auto began = Clock::now();
    const auto before = host.processorSeconds();
    std::this_thread::sleep_for(busyTime);
    row.busy = (host.processorSeconds() - before) / busyTime.count();
    do {
        row.settled = host.residentMiB();
        row.settledAfter = Seconds(Clock::now() - began).count();
        std::this_thread::sleep_for(100ms);
    } while (row.settled > row.idle + aimSettled && row.settledAfter < settlingTime.count());
}

std::string describeTrouble(const HostProcess& host, const std::vector<Fate>& neighbours,
                            const Latency& all) {
    std::string result;
    const auto add = [&](const std::string& what) { result += (result.empty() ? "" : "; ") + what; };
    if (!host.isAlive())
        add("the host has ended");
    const auto count = [&](const auto& isMeant) {
        return std::to_string(std::count_if(neighbours.begin(), neighbours.end(), isMeant));
    };
    if (const auto cut = count([](const Fate& fate) { return fate.hasEnded; }); cut != "0")
        add("neighbours cut off: " + cut);
    if (const auto refused = count([](const Fate& fate) { return fate.refusals > 0; }); refused != "0")
        add("neighbours refused: " + refused);
    if (all.unanswered > 0)
        add("neighbours' calls without a reply: " + std::to_string(all.unanswered));
    return result;
}

Row measure(const Attack& attack, const std::string& program) {
    Row row;
    row.attack = attack.name;
    row.hasNeighbours = attack.hasNeighbours;
    const HostProcess host(program);
    if (!attack.hasNeighbours) {
        row.told = attack.run(host);
        return row;
    }

    const auto start = Clock::now();
    Crowd polite(host.getPort(), neighbours(host.getPort()), Crowd::Manner::Polite);
    std::this_thread::sleep_for(aloneTime);
    row.idle = host.residentMiB();
    host.resetPeak();

    const auto attacked = Clock::now();
    row.told = attack.run(host);
    const auto left = Clock::now();
    row.peak = host.peakMiB();

    settle(host, row);
    polite.fallSilent();
    polite.wait(lateTime);
    polite.leave();
    row.alone = Latency(polite.getFates(), start, attacked);
    row.beside = Latency(polite.getFates(), attacked, left);
    row.after = Latency(polite.getFates(), left);
    row.trouble = describeTrouble(host, polite.getFates(), Latency(polite.getFates()));
    return row;
}

// For people.

void printHead(const std::string& program) {
    std::printf("%s\n"
                "neighbours' calls in ms, alone > beside the attack; * misses its aim\n"
                "%-17s %13s %20s %6s %20s %6s %13s %13s %7s\n"
                "%-17s %13s %20s %6s %20s %6s %13s %13s %7s\n",
                program.c_str(), "", "p50", "p99", "times", "slowest", "idle", "peak", "settled", "CPU",
                "aim", "", "<=25 or 3 times", "", "<=250", "MiB", "<=+256", "<=+32", "after");
}

std::string marked(double value, bool isMissed, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f%s", digits, value, isMissed ? "*" : " ");
    return text;
}

void print(const Row& row) {
    if (!row.hasNeighbours) {
        std::printf("%-17s %s\n", row.attack.c_str(), row.told.c_str());
        return;
    }
    const double ratio = row.beside.p99 / row.alone.p99;
    std::printf("%-17s %5.1f > %5.1f %9.1f > %8s %6.1f %9.1f > %8s %6.0f %13s %13s %6.0f%%\n",
                row.attack.c_str(), row.alone.p50, row.beside.p50, row.alone.p99,
                marked(row.beside.p99, row.beside.p99 > aimP99 && ratio > aimP99Ratio, 1).c_str(), ratio,
                row.alone.slowest, marked(row.beside.slowest, row.beside.slowest > aimSlowest, 1).c_str(),
                row.idle, marked(row.peak, row.peak > row.idle + aimPeak, 0).c_str(),
                marked(row.settled, row.settled > row.idle + aimSettled, 0).c_str(), 100 * row.busy);
    for (const auto& line : {row.trouble, row.told})
        if (!line.empty())
            std::printf("%-17s %s\n", "", line.c_str());
}

// For scripts.

std::string json(const Latency& latency) {
    char text[256];
    std::snprintf(text, sizeof text,
                  R"({"calls":%zu,"p50":%.3f,"p99":%.3f,"slowest":%.3f,"slowestCall":"%s","unanswered":%zu})",
                  latency.count, latency.p50, latency.p99, latency.slowest, latency.slowestCall.c_str(),
                  latency.unanswered);
    return text;
}

void printJson(const Row& row) {
    std::printf(R"({"attack":"%s","alone":%s,"beside":%s,"after":%s,"idleMiB":%.1f,"peakMiB":%.1f,)"
                R"("settledMiB":%.1f,"settledAfterSeconds":%.1f,"busyAfter":%.3f,"trouble":"%s","told":"%s"})"
                "\n",
                row.attack.c_str(), json(row.alone).c_str(), json(row.beside).c_str(),
                json(row.after).c_str(), row.idle, row.peak, row.settled, row.settledAfter, row.busy,
                row.trouble.c_str(), row.told.c_str());
}

void help(const char* program) {
    std::printf(
        "usage: %s PATH-OF-OSTREL-TVD [--json] [ATTACK ...]\n\n"
        "Shows what two polite clients feel of a neighbour who attacks the host, and what the attack\n"
        "costs the host: memory when idle, at its peak and up to 10 s later, and the processor time\n"
        "of the 5 s after the attackers have gone, as part of one processor. Each attack gets a host\n"
        "of its own, so that any build can be measured, also one by one.\n\n"
        "The neighbours call 20 times a second each, and a call's latency counts from when it was due.\n"
        "Attackers run at a lower priority, as if on a machine of their own. An aim that is missed is\n"
        "marked and is no failure: a busy machine misses them too. A run takes about nine minutes.\n\n"
        "  --json  one JSON object a line\n\n"
        "Attacks; all of them unless some are named:\n",
        program);
    for (const auto& attack : getAttacks())
        std::printf("  %-17s %s\n", attack.name.c_str(), attack.description.c_str());
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> names(argv + 1, argv + argc);
    const auto take = [&](std::string_view word) { return std::erase(names, word) > 0; };
    if (take("--help") || take("-h")) {
        help(argv[0]);
        return 0;
    }
    const bool isForScripts = take("--json");
    if (names.empty()) {
        help(argv[0]);
        return 2;
    }
    const auto program = names.front();
    names.erase(names.begin());

    std::vector<const Attack*> chosen;
    for (const auto& attack : getAttacks())
        if (names.empty() || std::find(names.begin(), names.end(), attack.name) != names.end())
            chosen.push_back(&attack);
    for (const auto& name : names)
        if (std::none_of(chosen.begin(), chosen.end(), [&](auto attack) { return attack->name == name; })) {
            std::fprintf(stderr, "there is no attack %s; --help lists them\n", name.c_str());
            return 2;
        }

    try {
        if (!isForScripts)
            printHead(program);
        for (const auto* attack : chosen) {
            const auto row = measure(*attack, program);
            isForScripts ? printJson(row) : print(row);
            std::fflush(stdout);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
