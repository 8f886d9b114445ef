#include "TV/server/dummy/lineup/TransponderInfo.h"

namespace Ostrel::TV {

std::vector<TransponderInfo> transponderStore;

} // namespace Ostrel::TV
