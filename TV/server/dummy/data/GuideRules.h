#pragma once

#include "TV/server/dummy/data/GuideText.h"

#include <vector>

namespace Ostrel::TV {

/// Checks every rule that an event or a service can break on its own or against the others,
/// and throws a TextFileError for the line of the first one that does.
void checkGuide(const std::vector<GuideFile>& guide);

} // namespace Ostrel::TV
