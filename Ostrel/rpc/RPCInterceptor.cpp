#include "Ostrel/rpc/RPCInterceptor.h"

namespace Ostrel {

RPCInterceptor::~RPCInterceptor() = default;

} // namespace Ostrel
