#pragma once

#include <cerrno>
#include <string>

#include <sys/stat.h>

namespace Ostrel::TV {

enum class FileKind { Missing, File, Folder, Other };

/// What a path names, at the end of links. What cannot be looked at is Other.
///
/// On 32 bits std::filesystem cannot look at what was last changed after 2038: its status() and all that begin with
/// it ask Debian 12's C++ library, whose times have 32 bits there.
inline FileKind kindOf(const std::string& path) noexcept {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0)
        return errno == ENOENT || errno == ENOTDIR ? FileKind::Missing : FileKind::Other;
    return S_ISREG(status.st_mode)   ? FileKind::File
           : S_ISDIR(status.st_mode) ? FileKind::Folder
                                     : FileKind::Other;
}

} // namespace Ostrel::TV
