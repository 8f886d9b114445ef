#include "Ostrel/runtime/Clock.h"

#include "Ostrel/runtime/Cancellation.h"
#include "Ostrel/runtime/Tasks.h"
#include "Ostrel/runtime/Turn.h"

#include <algorithm>
#include <limits>
#include <mutex>

namespace Ostrel {

namespace {

using Real = Timeline::Real;
using Span = Timeline::Span;
using Lock = std::unique_lock<std::mutex>;

constexpr std::chrono::milliseconds lookAgain{100}; ///< whether whoever steps has gone

constexpr std::chrono::milliseconds longestSleep{std::numeric_limits<unsigned>::max()};

constexpr int mostRounds = 100; ///< of tasks that begin others, at one time of the clock

/// Waits until something is so. @throws Cancelled
template <class Condition> void await(Tasks& state, Lock& lock, Condition condition) {
    while (!state.quiet.wait_for(lock, lookAgain, condition))
        Cancellation::check();
}

/// What is counted from the start of the count has a new start. Who is awake may lie before it by as much
/// as anybody sleeps: the sleep that comes is counted from there.
void recountUnderLock(Tasks& state, Span before) {
    for (const auto& task : state.all)
        task->due = std::max<Span>(task->due - before, -longestSleep);
    state.limitUnderLock();
}

/// A step that has begun. The clock stands while it lives.
class Step {
public:
    /// Waits until no other is under way.
    explicit Step(Tasks& state) : state_(state), lock_(state.mutex) {
        await(state_, lock_, [this] { return !state_.timeline.isStanding(); });
        settings_ = state_.settings;
        recountUnderLock(state_, state_.timeline.stand(Real::now()));
    }

    ~Step() {
        state_.timeline.goOn(Real::now());
        state_.rouseUnderLock();
    }

    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;

    /// Returns whether it came to its end.
    bool run(Span passed) {
        while (settle()) {
            Cancellation::check();
            TaskIdentity* const next = findNext();
            const bool isLast = next == nullptr || next->due > passed;
            state_.timeline.advance(isLast ? passed : next->due);
            if (isLast)
                return true;
            state_.awakenUnderLock(*next);
        }
        return false;
    }

private:
    bool isCut() const { return state_.stopping > 0 || state_.settings != settings_; }

    /// Waits until all sleep. Who begins another task when it ends, and that one the next, is not
    /// waited for to the end. Returns whether to go on.
    bool settle() {
        for (int round = 0; round < mostRounds && !isCut() && isAnyAwake(state_.awakenings); ++round) {
            const auto last = state_.awakenings;
            await(state_, lock_, [this, last] { return isCut() || !isAnyAwake(last); });
        }
        return !isCut();
    }

    bool isAnyAwake(std::uint64_t last) const {
        return std::any_of(state_.all.begin(), state_.all.end(), [last](const auto& task) {
            return !task->finished && task->awake != 0 && task->awake <= last;
        });
    }

    /// Returns who wakes next of those who sleep; null when nobody does.
    TaskIdentity* findNext() const {
        TaskIdentity* next = nullptr;
        for (const auto& task : state_.all)
            if (!task->finished && task->awake == 0 && (next == nullptr || task->due < next->due))
                next = task.get();
        return next;
    }

    Tasks& state_;
    Lock lock_;
    std::uint64_t settings_ = 0; ///< before
};

} // namespace

std::time_t Clock::now() {
    return read().now;
}

Clock::Reading Clock::read() {
    auto& state = Tasks::instance();
    const auto& timeline = state.timeline;
    if (!timeline.isSteered())
        return {std::time(nullptr), 1};
    const std::lock_guard lock(state.mutex);
    return {timeline.getNow(Real::now()), timeline.getSpeed()};
}

void Clock::set(std::optional<std::time_t> now, std::optional<double> speed) {
    auto& state = Tasks::instance();
    const std::lock_guard lock(state.mutex);
    recountUnderLock(state, state.timeline.steer(now, speed, Real::now()));
    ++state.settings;
    state.rouseUnderLock();
}

void Clock::release() {
    auto& state = Tasks::instance();
    const std::lock_guard lock(state.mutex);
    recountUnderLock(state, state.timeline.release(Real::now()));
    ++state.settings;
    state.rouseUnderLock();
}

bool Clock::step(std::chrono::milliseconds duration) {
    constexpr std::chrono::milliseconds longest = std::chrono::seconds(Timeline::last - Timeline::first);
    const Turn::Pause pause;
    return Step(Tasks::instance()).run(std::min(duration, longest));
}

bool Clock::stepTo(std::time_t time) {
    const Turn::Pause pause;
    auto& state = Tasks::instance();
    Step step(state);
    return step.run(state.timeline.getPassedAt(time));
}

} // namespace Ostrel
