#include "soak/Tally.h"

#include <algorithm>
#include <cmath>

namespace Ostrel::Soak {

namespace {
constexpr std::size_t mistakesTold = 20;
}

void Histogram::add(Clock::duration took) {
    const auto microseconds = std::max(1., std::chrono::duration<double, std::micro>(took).count());
    const auto bucket = std::size_t(std::log2(microseconds) * steps);
    ++buckets_[std::min(bucket, buckets_.size() - 1)];
    ++count_;
    slowest_ = std::max(slowest_, microseconds / 1000);
}

void Histogram::add(const Histogram& other) {
    for (std::size_t i = 0; i < buckets_.size(); ++i)
        buckets_[i] += other.buckets_[i];
    count_ += other.count_;
    slowest_ = std::max(slowest_, other.slowest_);
}

double Histogram::getQuantile(double part) const {
    const auto wanted = part * double(count_);
    double seen = 0;
    for (std::size_t i = 0; i < buckets_.size(); ++i)
        if (seen += double(buckets_[i]); buckets_[i] > 0 && seen >= wanted)
            return std::min(slowest_, std::exp2(double(i + 1) / steps) / 1000);
    return 0;
}

void Tally::addWrong(const std::string& what) {
    ++wrong_;
    if (mistakes_.size() < mistakesTold)
        mistakes_.push_back(what);
}

void Tally::addReply(Clock::duration took) {
    ++replies_;
    phase_.add(took);
}

} // namespace Ostrel::Soak
