#pragma once

#include "TV/server/dummy/world/WorldImage.h"

#include <string_view>

namespace Ostrel::TV {

/// Says where the tables of an image stand and how large it is, from how much they hold.
/// @throws std::runtime_error  it would be larger than 4 GiB
void layOut(WorldImage& image);

/// What is known of a text; bytes that no member has are zero.
GuideTextFacts factsOf(std::string_view text);

} // namespace Ostrel::TV
