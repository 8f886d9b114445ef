#include "Ostrel/rpc/RPCObserver.h"

namespace Ostrel {

RPCObserver::~RPCObserver() = default;

} // namespace Ostrel
