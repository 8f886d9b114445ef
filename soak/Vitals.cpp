#include "soak/Vitals.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>

namespace Ostrel::Soak {

Vitals Vitals::of(const Bench::HostProcess& host, double second) {
    return {second, host.anonymousMiB(), host.countDescriptors(), host.countThreads()};
}

std::optional<double> findGrowth(const std::vector<Vitals>& samples) {
    constexpr double span = 10;
    constexpr double minute = 60;
    if (samples.empty() || samples.back().second - samples.front().second < minute)
        return std::nullopt;
    std::map<long, double> least; // of each span
    for (const auto& sample : samples) {
        const auto [entry, isNew] = least.emplace(long(sample.second / span), sample.memoryMiB);
        entry->second = std::min(entry->second, sample.memoryMiB);
    }
    std::vector<double> slopes;
    for (auto left = least.begin(); left != least.end(); ++left)
        for (auto right = std::next(left); right != least.end(); ++right)
            slopes.push_back((right->second - left->second) / double(right->first - left->first));
    std::nth_element(slopes.begin(), slopes.begin() + std::ptrdiff_t(slopes.size() / 2), slopes.end());
    return slopes[slopes.size() / 2] * minute / span;
}

std::optional<double> findGauge(std::string_view metrics, std::string_view name) {
    const auto line = '\n' + std::string(name) + ' ';
    const auto at = metrics.find(line);
    if (at == metrics.npos)
        return std::nullopt;
    return std::strtod(std::string(metrics.substr(at + line.size(), 32)).c_str(), nullptr);
}

std::string findSanitizerReport(const std::string& errors) {
    for (const char* mark : {"Sanitizer", "runtime error:"})
        if (const auto at = errors.find(mark); at != errors.npos) {
            const auto begin = errors.rfind('\n', at) + 1; // from the start when there is none
            return errors.substr(begin, errors.find('\n', at) - begin);
        }
    return {};
}

} // namespace Ostrel::Soak
