#pragma once

#include <cstdint>
#include <string>

#include <sys/types.h>

namespace Ostrel {

/// A file that says on which port the host serves, for those who let the system choose it.
///
/// Who reads it finds the number and a line break, or no file at all. It is removed at the end,
/// unless somebody has put another in its place.
class PortFile {
public:
    /// Takes a place in the file's directory, and leaves the file itself alone.
    /// @throws StartError  nothing can be written there
    explicit PortFile(const std::string& path);
    ~PortFile();

    PortFile(const PortFile&) = delete;
    PortFile& operator=(const PortFile&) = delete;

    /// Puts the file there, in place of an old one. Called once.
    /// @throws StartError
    void publish(std::uint16_t port);

private:
    [[noreturn]] void fail(int error) const;

    const std::string path_;
    std::string draft_; ///< beside it, until it is whole
    int descriptor_ = -1;
    bool isPublished_ = false;
};

} // namespace Ostrel
