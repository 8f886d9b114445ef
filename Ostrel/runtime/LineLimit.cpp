#include "Ostrel/runtime/LineLimit.h"

#include <utility>

namespace Ostrel {

namespace {

thread_local bool lifted = false;

std::chrono::seconds secondOf(LineLimit::Clock::time_point now) {
    return std::chrono::floor<std::chrono::seconds>(now.time_since_epoch());
}

} // namespace

bool LineLimit::admit(const Place& place, Clock::time_point now) {
    begin(secondOf(now));
    return ++lines_[place] <= linesPerSecond;
}

std::vector<LineLimit::LeftOut> LineLimit::takeLeftOut(Clock::time_point now) {
    begin(secondOf(now));
    return std::exchange(leftOut_, {});
}

void LineLimit::begin(std::chrono::seconds second) {
    if (second == second_)
        return;
    second_ = second;
    for (const auto& [place, lines] : lines_)
        if (lines > linesPerSecond)
            leftOut_.push_back({place, lines - linesPerSecond});
    lines_.clear();
}

LineLimit::Lifted::Lifted() noexcept {
    lifted = true;
}

LineLimit::Lifted::~Lifted() {
    lifted = false;
}

bool LineLimit::Lifted::isAlive() noexcept {
    return lifted;
}

} // namespace Ostrel
