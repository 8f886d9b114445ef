#include "Ostrel/runtime/Metric.h"

#include "Ostrel/runtime/MetricsText.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel {

namespace {

/// All of the process, the latest first. It is there before any of them is made.
constinit std::atomic<Metric*> latest = nullptr;

} // namespace

Metric::Metric(const char* type, const Family& family, const char* value) noexcept
    : type_(type), family_(family), labelValue_(value), next_(latest.load(std::memory_order_relaxed)) {
    while (!latest.compare_exchange_weak(next_, this, std::memory_order_release, std::memory_order_relaxed)) {
    }
}

void Metric::writeAll(MetricsText& out) {
    std::vector<const Metric*> all;
    for (const auto* metric = latest.load(std::memory_order_acquire); metric; metric = metric->next_)
        all.push_back(metric);
    std::sort(all.begin(), all.end(), [](const Metric* left, const Metric* right) {
        const auto order = std::string_view(left->family_.name).compare(right->family_.name);
        return order != 0 ? order < 0 : std::string_view(left->labelValue_) < right->labelValue_;
    });
    std::string_view family;
    for (const auto* metric : all) {
        if (family != metric->family_.name)
            out.begin(family = metric->family_.name, metric->family_.help, metric->type_);
        const auto value = std::to_string(metric->get());
        if (metric->family_.label != nullptr)
            out.add("", {{metric->family_.label, metric->labelValue_}}, value);
        else
            out.add("", {}, value);
    }
}

} // namespace Ostrel
