// Runs every comparison under Google Benchmark and prints the ratios behind its figures.

#include "bench/GuideBench.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <functional>
#include <map>
#include <utility>

namespace Ostrel::Bench {

namespace {

/// Collects the fastest run of each benchmark while the console reporter prints.
class Reporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred)
                continue;
            const double time = run.GetAdjustedCPUTime();
            const auto [fastest, isNew] = fastest_.emplace(run.run_name.function_name, time);
            if (!isNew && time < fastest->second)
                fastest->second = time;
        }
    }

    double fastest(const std::string& name) const {
        const auto found = fastest_.find(name);
        return found == fastest_.end() ? 0 : found->second;
    }

private:
    std::map<std::string, double> fastest_; ///< microseconds
};

std::string nameOf(const Comparison& comparison, const char* side) {
    return comparison.workload + " | " + comparison.yardstick + " | " + side;
}

void registerOne(const std::string& name, const std::function<void()>& work) {
    benchmark::RegisterBenchmark(name.c_str(), [&work](benchmark::State& state) {
        for (auto _ : state)
            work();
    })->Unit(benchmark::kMicrosecond);
}

/// The comparisons must outlive the run.
void registerAll(const std::vector<Comparison>& comparisons) {
    for (const Comparison& comparison : comparisons) {
        registerOne(nameOf(comparison, "ours"), comparison.ours);
        registerOne(nameOf(comparison, "yardstick"), comparison.theirs);
    }
}

void printTable(const std::vector<Comparison>& comparisons, const Reporter& reporter) {
    std::printf("| Workload | us | Yardstick | us | Ratio | Target | |\n|---|---|---|---|---|---|---|\n");
    for (const Comparison& comparison : comparisons) {
        const double ours = reporter.fastest(nameOf(comparison, "ours"));
        const double theirs = reporter.fastest(nameOf(comparison, "yardstick"));
        if (ours == 0 || theirs == 0)
            continue;
        const double ratio = ours / theirs;
        std::printf("| %s | %.1f | %s | %.1f | %.2f | %.2f | %s |\n", comparison.workload.c_str(), ours,
                    comparison.yardstick.c_str(), theirs, ratio, comparison.target,
                    ratio <= comparison.target ? "met" : "missed");
    }
}

} // namespace

} // namespace Ostrel::Bench

int main(int count, char** arguments) {
    // Many short runs of the two sides in turns.
    std::string repetitions = "--benchmark_repetitions=15", time = "--benchmark_min_time=0.02",
                turns = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> all{arguments[0], repetitions.data(), time.data(), turns.data()};
    all.insert(all.end(), arguments + 1, arguments + count);
    int size = static_cast<int>(all.size());
    benchmark::Initialize(&size, all.data());
    if (benchmark::ReportUnrecognizedArguments(size, all.data()))
        return 1;
    const auto comparisons = Ostrel::Bench::makeGuideComparisons();
    Ostrel::Bench::registerAll(comparisons);
    Ostrel::Bench::Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    Ostrel::Bench::printTable(comparisons, reporter);
}
