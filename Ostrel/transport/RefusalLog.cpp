#include "Ostrel/transport/RefusalLog.h"

#include "Ostrel/runtime/DebugPrint.h"

namespace Ostrel {

void RefusalLog::write(const std::string& why, Clock::time_point now) {
    if (now < silentUntil_)
        return;
    silentUntil_ = now + std::chrono::seconds(1);
    ostrelDebugPrint(DebugLevel::Warning, "Listener", "Listener", __LINE__, "refused: %s", why.c_str());
}

} // namespace Ostrel
