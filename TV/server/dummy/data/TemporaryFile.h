#pragma once

#include <cstdio>
#include <memory>

namespace Ostrel::TV {

using TemporaryFile = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

/// A file for writing and reading, in the folder that TMPDIR names or else in /tmp. It has no name, and is
/// gone with the process, however it ends.
/// @throws std::system_error  as failToWriteWorld() does
TemporaryFile makeTemporaryFile();

/// Says by errno why a world, or what waits to be one, cannot be written, and what to do.
/// @throws std::system_error
[[noreturn]] void failToWriteWorld();

} // namespace Ostrel::TV
