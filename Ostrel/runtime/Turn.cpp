#include "Ostrel/runtime/Turn.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace Ostrel {

namespace {

/// Who asks draws a number; the turn is the one's whose number is shown.
struct Tickets {
    std::mutex mutex;
    std::condition_variable shown;
    std::uint64_t next = 0; ///< drawn by the next who asks
    std::uint64_t current = 0; ///< equal to next: nobody holds the turn or waits for it
};

/// Never destroyed: threads may outlive the static objects.
Tickets& tickets() {
    static auto& instance = *new Tickets;
    return instance;
}

thread_local bool heldByThread = false;

} // namespace

void Turn::take() {
    auto& state = tickets();
    std::unique_lock lock(state.mutex);
    const auto number = state.next++;
    state.shown.wait(lock, [&] { return state.current == number; });
    heldByThread = true;
}

bool Turn::tryTake() {
    auto& state = tickets();
    const std::lock_guard lock(state.mutex);
    if (state.current != state.next)
        return false;
    ++state.next;
    heldByThread = true;
    return true;
}

void Turn::give() {
    heldByThread = false;
    auto& state = tickets();
    {
        const std::lock_guard lock(state.mutex);
        ++state.current;
    }
    state.shown.notify_all();
}

unsigned Turn::countWaiting() {
    auto& state = tickets();
    const std::lock_guard lock(state.mutex);
    return state.next == state.current ? 0 : static_cast<unsigned>(state.next - state.current - 1);
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
