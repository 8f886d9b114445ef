#include "bench/Latency.h"

#include <algorithm>

namespace Ostrel::Bench {

Latency::Latency(const std::vector<Fate>& fates, Clock::time_point from, Clock::time_point to) {
    std::vector<const Sample*> samples;
    for (const auto& fate : fates)
        for (const auto& sample : fate.samples)
            if (from <= sample.due && sample.due < to)
                samples.push_back(&sample);
    if (samples.empty())
        return;
    std::sort(samples.begin(), samples.end(),
              [](const Sample* left, const Sample* right) { return left->took < right->took; });
    const auto milliseconds = [&](std::size_t percent) {
        const auto at = std::min(samples.size() - 1, samples.size() * percent / 100);
        return 1000 * samples[at]->took.count();
    };
    count = samples.size();
    unanswered = std::size_t(
        std::count_if(samples.begin(), samples.end(), [](const Sample* sample) { return sample->isOpen; }));
    p50 = milliseconds(50);
    p99 = milliseconds(99);
    slowest = milliseconds(100);
    slowestCall = samples.back()->message->name;
}

} // namespace Ostrel::Bench
