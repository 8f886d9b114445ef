#pragma once

namespace Ostrel::Bench {

/// Adds what the guide's answers are measured against.
void addGuideComparisons();

} // namespace Ostrel::Bench
