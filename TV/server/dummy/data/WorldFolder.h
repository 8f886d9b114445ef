#pragma once

#include "TV/server/dummy/data/WorldFile.h"
#include "TV/server/dummy/data/WorldRules.h"

#include <string>

namespace Ostrel::TV {

/// Makes a world of a folder of text files: lineup.txt and, each where there is one, world.txt,
/// services.txt and the files of guide/.
///
/// @param house  further rules to keep
/// @throws WorldError  with everything that is wrong, as "file:line: reason"
/// @throws std::system_error  a temporary file cannot be written
WorldFile readWorldFolder(const std::string& folder, decltype(checkWorld)* house = nullptr);

/// Whether a folder can be made there: there is nothing, or an empty folder.
/// @throws std::system_error  it is a folder that cannot be read
bool isFree(const std::string& path);

/// Writes a world as such a folder, for people to edit. Read again, it is the same world.
/// @param folder  is made; when it is there already, it must be empty
/// @throws std::runtime_error  a file cannot be written
void writeWorldFolder(const World& world, const std::string& folder);

/// Opens a world, whether it is a folder or a compiled file.
/// @throws WorldError         it cannot be used
/// @throws std::system_error  a temporary file cannot be written
WorldFile openWorld(const std::string& path);

} // namespace Ostrel::TV
