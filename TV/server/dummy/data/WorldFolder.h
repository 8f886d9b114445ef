#pragma once

#include "TV/server/dummy/data/WorldWriter.h"

#include <string>

namespace Ostrel::TV {

/// Adds what a folder of text files describes: world.txt, lineup.txt, services.txt and a file of
/// guide/ for each service.
/// @throws TextFileError
void readWorldFolder(const std::string& folder, WorldWriter& world);

} // namespace Ostrel::TV
