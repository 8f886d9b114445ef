#include "Ostrel/transport/HeapTrim.h"

#include <utility>

#include <malloc.h>

namespace Ostrel {

bool HeapTrim::tick(Clock::time_point now, std::size_t bytes) {
    if (!due_)
        return false;
    const bool wasQuiet = std::exchange(wasQuiet_, bytes <= little);
    if (!wasQuiet)
        quietSince_ = now;
    if (!wasQuiet_ || now - quietSince_ < quiet)
        return false;
    due_ = false;
    wasQuiet_ = false;
    return true;
}

void HeapTrim::giveBack() noexcept {
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}

} // namespace Ostrel
