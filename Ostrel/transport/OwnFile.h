#pragma once

#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace Ostrel {

/// Removes a file that we have made, unless somebody has put another in its place.
///
/// Ours must still be open: only then has nobody else its device and inode.
/// @param ours  what stat() said of it
inline void removeOwnFile(const std::string& path, const struct stat& ours) noexcept {
    struct stat there {};
    if (::lstat(path.c_str(), &there) == 0 && there.st_ino == ours.st_ino && there.st_dev == ours.st_dev)
        ::unlink(path.c_str());
}

} // namespace Ostrel
