#pragma once

#include "TV/server/dummy/data/GuideText.h"
#include "world/Random.h"
#include "world/SyntheticDays.h"
#include "world/SyntheticLineup.h"

#include <cstddef>
#include <vector>

namespace Ostrel::TV::Tool {

// What breaks layouts, and is allowed all the same.

/// How many services of a world are there for the stress alone.
constexpr std::size_t stressServices = 13;

/// One event of so many gets texts that are hard to show.
constexpr unsigned stressShare = 25;

/// Adds those services behind the others, and spreads the channel numbers of all from 1 to 9999.
void addStressServices(std::vector<SyntheticService>& services);

/// The events of a service that has a stress other than its name.
std::vector<GuideEvent> layOutStress(SyntheticService::Stress stress, const SyntheticSpan& span,
                                     Random random);

/// Gives a share of events other texts, codes and marks; their times stay.
/// @param next  number of the text that is next: they take turns, so that none is left out
void spoil(std::vector<GuideEvent>& events, Random random, std::size_t& next);

} // namespace Ostrel::TV::Tool
