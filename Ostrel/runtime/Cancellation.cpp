#include "Ostrel/runtime/Cancellation.h"

namespace Ostrel {

namespace {
thread_local const std::atomic<bool>* wantedNow = nullptr;
}

Cancellation::Cancellation(const std::atomic<bool>& wanted) noexcept : outer_(wantedNow) {
    wantedNow = &wanted;
}

Cancellation::~Cancellation() {
    wantedNow = outer_;
}

void Cancellation::check() {
    if (wantedNow != nullptr && wantedNow->load(std::memory_order_relaxed))
        throw Cancelled();
}

} // namespace Ostrel
