#include "Ostrel/runtime/QuietExceptions.h"

namespace Ostrel {

namespace {
thread_local unsigned alive = 0;
}

QuietExceptions::QuietExceptions() noexcept {
    ++alive;
}

QuietExceptions::~QuietExceptions() {
    --alive;
}

bool QuietExceptions::areWanted() noexcept {
    return alive > 0;
}

} // namespace Ostrel
