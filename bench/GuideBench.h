#pragma once

#include "bench/Comparison.h"

#include <vector>

namespace Ostrel::Bench {

/// What the guide's answers are measured against.
std::vector<Comparison> makeGuideComparisons();

} // namespace Ostrel::Bench
