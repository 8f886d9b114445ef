#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <optional>

namespace Ostrel {

/// How time passes by the clock: as the system's does, until it is steered.
///
/// It knows two things. The calendar, now, can be set anywhere. What has passed is what tasks sleep
/// by: it grows with the calendar and never becomes less, so that who sleeps while the calendar is
/// set back sleeps no longer for it.
///
/// Every change begins the count of what has passed anew, so that it cannot run over; it returns
/// what had passed until then.
///
/// The caller keeps threads apart, except where it says otherwise.
class Timeline {
public:
    using Real = std::chrono::steady_clock;
    using Span = std::chrono::nanoseconds;

    explicit Timeline(Real::time_point at) : since_(at) {}

    /// Any thread may ask.
    bool isSteered() const noexcept { return steered_.load(std::memory_order_acquire); }

    /// 1 while it is not steered.
    double getSpeed() const noexcept { return speed_; }

    /// Seconds since 1970-01-01 UTC.
    std::time_t getNow(Real::time_point at) const noexcept;

    Span getPassed(Real::time_point at) const noexcept;

    /// What will have passed at that time, which is like steer()'s. Only while it is steered.
    Span getPassedAt(std::time_t time) const noexcept;

    /// When so much will have passed, unless it is changed before, and at most an hour ahead; nothing
    /// when that never comes, or waits for the limit.
    std::optional<Real::time_point> when(Span passed, Real::time_point at) const noexcept;

    /// What is absent stays as it is.
    /// @param now  seconds since 1970-01-01 UTC, from the first to the last; others count as these
    Span steer(std::optional<std::time_t> now, std::optional<double> speed, Real::time_point at) noexcept;

    /// Leaves it to the system's clock again.
    Span release(Real::time_point at) noexcept;

    /// Steered it waits there, and goes on as if it had not when the limit is another.
    void limit(Span passed) noexcept { limit_ = passed; }

    /// Stands still, whatever the speed, but for what advance() says, until goOn(). Steered from now on.
    Span stand(Real::time_point at) noexcept;
    bool isStanding() const noexcept { return standing_; }
    bool isRunning() const noexcept { return !standing_ && speed_ != 0; }
    /// Nowhere when so much has passed already, and not beyond the last second.
    void advance(Span passed) noexcept;
    void goOn(Real::time_point at) noexcept;

    // While it is steered. On the wire times have 32 bits.
    static constexpr std::time_t first = INT32_MIN;
    static constexpr std::time_t last = UINT32_MAX; ///< it stands still there

private:
    Span run(Real::time_point at) const noexcept;
    void set(Span now) noexcept;
    Span restart(Real::time_point at) noexcept;

    std::atomic<bool> steered_ = false;
    bool standing_ = false;
    double speed_ = 1;
    Real::time_point since_; ///< when as much had passed as passed_ says
    Span passed_{};
    Span limit_ = Span::max(); ///< that passed_ may be beyond, when it was set forward
    Span offset_{}; ///< from what has passed to the calendar, while it is steered
};

} // namespace Ostrel
