#include "Ostrel/runtime/Turn.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace Ostrel {

namespace {

/// A thread that waits for the turn. It lives on that thread's stack, so that waiting cannot
/// fail for want of memory.
struct Waiter {
    Waiter* next = nullptr;
    bool granted = false;
    std::condition_variable wake;
};

/// Who has the turn and who is next. Each waiter is woken by itself: with hundreds of tasks
/// waiting, waking all of them for one to go on would take longer than what they do.
struct Line {
    std::mutex mutex;
    bool taken = false;
    Waiter* first = nullptr;
    Waiter** end = &first; ///< where the next to come is noted
    unsigned length = 0;
    bool given = true; ///< since somebody asked
};

/// Never destroyed: threads may outlive the static objects.
Line& line() {
    static auto& instance = *new Line;
    return instance;
}

thread_local bool heldByThread = false;

} // namespace

void Turn::take() {
    auto& state = line();
    std::unique_lock lock(state.mutex);
    if (state.taken) {
        Waiter self;
        *std::exchange(state.end, &self.next) = &self;
        ++state.length;
        self.wake.wait(lock, [&] { return self.granted; });
    }
    state.taken = true;
    heldByThread = true;
}

bool Turn::tryTake() {
    auto& state = line();
    const std::lock_guard lock(state.mutex);
    if (state.taken)
        return false;
    state.taken = true;
    heldByThread = true;
    return true;
}

void Turn::give() {
    heldByThread = false;
    auto& state = line();
    const std::lock_guard lock(state.mutex);
    state.given = true;
    if (state.first == nullptr) {
        state.taken = false;
        return;
    }
    // It stays taken, so that nobody comes between.
    auto& next = *state.first;
    state.first = next.next;
    if (state.first == nullptr)
        state.end = &state.first;
    --state.length;
    next.granted = true;
    next.wake.notify_one();
}

bool Turn::isMoving() {
    auto& state = line();
    const std::lock_guard lock(state.mutex);
    return std::exchange(state.given, false) || !state.taken;
}

unsigned Turn::countWaiting() {
    auto& state = line();
    const std::lock_guard lock(state.mutex);
    return state.length;
}

Turn::Pause::Pause() : held_(heldByThread) {
    if (held_)
        give();
}

Turn::Pause::~Pause() {
    if (held_)
        take();
}

} // namespace Ostrel
