#include "Ostrel/runtime/Mutex.h"

#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Metric.h"

namespace Ostrel {

namespace {

Counter released({"ostrel_locks_released_total",
                  "Locks that a handler or a task left held and the platform released."});

/// What the thread holds, the latest first: a chain through the mutexes themselves, so that
/// locking allocates nothing.
thread_local Mutex* heldByThread = nullptr;

} // namespace

Mutex::Mutex(const std::string& name, unsigned short) : name_(name) {}

Mutex::~Mutex() {
    const auto* held = heldByThread;
    while (held && held != this)
        held = held->nextHeld_;
    if (held)
        releaseUnderLock();
}

void Mutex::lock() OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    mutex_.lock();
    if (depth_++ == 0) {
        nextHeld_ = heldByThread;
        heldByThread = this;
    }
}

void Mutex::unlock() OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    if (--depth_ == 0) {
        auto** link = &heldByThread;
        while (*link != this)
            link = &(*link)->nextHeld_;
        *link = nextHeld_;
    }
    mutex_.unlock();
}

void Mutex::releaseHeld(std::string_view holder) {
    while (auto* mutex = heldByThread) {
        ostrelDebugPrint(DebugLevel::Error, "Mutex", "Mutex", __LINE__,
                         "%s was still held when %.*s ended; released\n", mutex->name_.c_str(),
                         static_cast<int>(holder.size()), holder.data());
        mutex->releaseUnderLock();
        released.increment();
    }
}

void Mutex::releaseUnderLock() OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    for (auto times = depth_; times > 0; --times)
        unlock();
}

} // namespace Ostrel
