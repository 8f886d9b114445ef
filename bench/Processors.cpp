#include "bench/Processors.h"

#include <stdexcept>

#include <sched.h>

namespace Ostrel::Bench {

namespace {

void moveTo(int processor) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<unsigned>(processor), &set);
    ::sched_setaffinity(0, sizeof set, &set);
}

} // namespace

// The first is for who measures: the system likes to handle its interrupts there.
Processors::Processors() {
    cpu_set_t set;
    CPU_ZERO(&set);
    ::sched_getaffinity(0, sizeof set, &set);
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (!CPU_ISSET(static_cast<unsigned>(processor), &set))
            continue;
        measuring_ = measuring_ < 0 ? processor : measuring_;
        measured_ = processor;
    }
    if (measuring_ == measured_)
        throw std::runtime_error("a server and who measures it need a processor each, and there is but one");
    moveTo(measuring_);
}

void Processors::startThere(const std::function<void()>& start) const {
    struct Back {
        int processor;
        ~Back() { moveTo(processor); }
    } const back{measuring_};
    moveTo(measured_);
    start();
}

} // namespace Ostrel::Bench
