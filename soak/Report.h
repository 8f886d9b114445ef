#pragma once

#include "soak/Soak.h"

#include <string>

namespace Ostrel::Soak {

/// What has been found, as a table for people.
std::string describe(const Findings& findings);

/// The same as one JSON object.
std::string asJson(const Findings& findings);

/// One line of how it gets on.
std::string describe(const Progress& progress);

} // namespace Ostrel::Soak
