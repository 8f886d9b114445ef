#include "TV/server/dummy/TransponderInfo.h"

namespace Ostrel::TV {

std::vector<TransponderInfo> transponderStore;

} // namespace Ostrel::TV
