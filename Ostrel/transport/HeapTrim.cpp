#include "Ostrel/transport/HeapTrim.h"

#include <utility>

#include <malloc.h>

namespace Ostrel {

void HeapTrim::tick(Clock::time_point now, std::size_t bytes) {
    if (!due_)
        return;
    const bool wasQuiet = std::exchange(wasQuiet_, bytes <= little);
    if (!wasQuiet)
        quietSince_ = now;
    if (!wasQuiet_ || now - quietSince_ < quiet)
        return;
    due_ = false;
    wasQuiet_ = false;
#ifdef __GLIBC__
    trim_ = std::async(std::launch::async, [] { ::malloc_trim(0); });
#endif
}

} // namespace Ostrel
