#include "Ostrel/runtime/Timeline.h"

#include <algorithm>
#include <utility>

namespace Ostrel {

namespace {

using Exact = std::chrono::duration<double, std::nano>;

constexpr std::chrono::hours farthest{1}; ///< that anybody sleeps before looking at the clock again

Timeline::Span calendar(std::time_t seconds) {
    return std::chrono::seconds(std::clamp(seconds, Timeline::first, Timeline::last));
}

} // namespace

std::time_t Timeline::getNow(Real::time_point at) const noexcept {
    if (!isSteered())
        return std::time(nullptr);
    return std::chrono::floor<std::chrono::seconds>(getPassed(at) + offset_).count();
}

Timeline::Span Timeline::getPassed(Real::time_point at) const noexcept {
    if (standing_)
        return passed_;
    return isSteered() ? std::min(run(at), std::max(limit_, passed_)) : run(at);
}

/// What would have passed without a limit.
Timeline::Span Timeline::run(Real::time_point at) const noexcept {
    const auto real = std::max(at - since_, Span(0));
    if (!isSteered())
        return passed_ + real;
    const auto left = std::max(getPassedAt(last) - passed_, Span(0));
    const auto more = Exact(real) * speed_;
    return passed_ + (more < Exact(left) ? std::chrono::duration_cast<Span>(more) : left);
}

Timeline::Span Timeline::getPassedAt(std::time_t time) const noexcept {
    return calendar(time) - offset_;
}

std::optional<Timeline::Real::time_point> Timeline::when(Span passed, Real::time_point at) const noexcept {
    if (!isRunning() || (isSteered() && passed > getPassedAt(last)))
        return std::nullopt;
    const auto left = passed - run(at);
    if (left <= Span(0))
        return std::nullopt;
    // Rounded up, so that whoever wakes then is not too early.
    const auto wait = Exact(left) / speed_ + Exact(1);
    return at + (wait < Exact(farthest) ? std::chrono::duration_cast<Span>(wait) : Span(farthest));
}

Timeline::Span Timeline::steer(std::optional<std::time_t> now, std::optional<double> speed,
                               Real::time_point at) noexcept {
    const auto before = restart(at);
    if (!isSteered())
        offset_ = calendar(std::time(nullptr));
    if (now)
        set(calendar(*now));
    speed_ = speed.value_or(speed_);
    steered_.store(true, std::memory_order_release);
    return before;
}

Timeline::Span Timeline::release(Real::time_point at) noexcept {
    const auto before = restart(at);
    if (isSteered())
        set(calendar(std::time(nullptr)));
    speed_ = 1;
    steered_.store(false, std::memory_order_release);
    return before;
}

Timeline::Span Timeline::stand(Real::time_point at) noexcept {
    const auto before = steer(std::nullopt, std::nullopt, at);
    standing_ = true;
    return before;
}

void Timeline::advance(Span passed) noexcept {
    passed_ = std::max(passed_, std::min(passed, getPassedAt(last)));
}

void Timeline::goOn(Real::time_point at) noexcept {
    standing_ = false;
    since_ = at;
}

/// Behind a restart.
void Timeline::set(Span now) noexcept {
    passed_ = std::max(now - offset_, Span(0));
    offset_ = now - passed_;
}

Timeline::Span Timeline::restart(Real::time_point at) noexcept {
    const auto before = getPassed(at);
    since_ = at;
    passed_ = Span(0);
    offset_ += before;
    return before;
}

} // namespace Ostrel
