#include "tests/support/FakeTime.h"

#include "Ostrel/Export.h"

#include <atomic>

namespace {

constexpr std::time_t real = -1;
std::atomic<std::time_t> fakeNow = real;

} // namespace

// Visible, so that the shared libraries ask it too.
extern "C" OSTREL_API std::time_t time(std::time_t* out) noexcept {
    std::time_t now = fakeNow;
    if (now == real) {
        std::timespec clock{};
        clock_gettime(CLOCK_REALTIME, &clock);
        now = clock.tv_sec;
    }
    if (out != nullptr)
        *out = now;
    return now;
}

FakeTime::FakeTime(std::time_t now) {
    set(now);
}

FakeTime::~FakeTime() {
    set(real);
}

void FakeTime::set(std::time_t now) {
    fakeNow = now;
}

void FakeTime::advance(std::time_t seconds) {
    fakeNow += seconds;
}
