#pragma once

#include <string>

namespace Ostrel::TV {

/// The name in the IANA's database of the viewer's time zone, which is the process's: TZ says it, or
/// the system. Empty where it has none, as with TZ=JST-9.
std::string findViewerZone();

} // namespace Ostrel::TV
