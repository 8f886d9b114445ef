#pragma once

#include "TV/server/dummy/data/WorldFile.h"
#include "TV/server/dummy/world/World.h"

#include <optional>
#include <string>

namespace Ostrel::TV::Tool {

/// A world that a command reads: a folder, a compiled file, or the one that ostrel-tvd brings along.
class WorldInput {
public:
    /// @param path  empty for the built-in one
    /// @throws WorldError, std::system_error
    explicit WorldInput(const std::string& path);

    /// Its texts are read by World::text(). Good for as long as this object is there.
    const World& world() const { return world_; }

private:
    std::optional<WorldFile> file_; ///< none of the built-in one
    World world_;
};

} // namespace Ostrel::TV::Tool
