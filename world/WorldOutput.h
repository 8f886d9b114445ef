#pragma once

#include "TV/server/dummy/data/WorldWriter.h"
#include "world/NewFile.h"

#include <optional>
#include <string>

namespace Ostrel::TV::Tool {

/// A world that a command makes: a compiled file where the path ends in ".world", and otherwise a folder
/// of text files. It appears whole or not at all.
class WorldOutput {
public:
    /// A compiled file gives way to the new one; a folder does not, because somebody may have edited it.
    /// @throws std::runtime_error  nothing can be written there, or there is such a folder
    explicit WorldOutput(const std::string& path);
    ~WorldOutput();
    WorldOutput(const WorldOutput&) = delete;
    WorldOutput& operator=(const WorldOutput&) = delete;

    /// The last part of the path without ".world", for a world that has no other name.
    const std::string& name() const { return name_; }

    /// @throws WorldError          the world breaks a rule
    /// @throws std::runtime_error  it cannot be written
    void write(WorldWriter& world);

private:
    void writeFolder(WorldWriter& world);

    std::string path_, name_;
    std::optional<NewFile> file_; ///< of a compiled one
    std::string besideFolder_; ///< where the folder is written; empty once it is in its place
};

} // namespace Ostrel::TV::Tool
