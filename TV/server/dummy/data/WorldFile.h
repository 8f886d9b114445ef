#pragma once

#include "TV/server/dummy/data/WorldProblems.h"
#include "TV/server/dummy/world/WorldImage.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

namespace Ostrel::TV {

/// The image of a world, mapped from a file and never written.
///
/// A file whose place another one takes, by rename, stays as it was for whoever has mapped it. One that
/// is written over or cut off does not, and takes its reader along: whoever makes worlds renames.
class WorldFile {
public:
    /// Opens a file and verifies it: whoever made it, the world can be used.
    /// @throws WorldError  it cannot be used, and what to do
    explicit WorldFile(const std::string& path);

    /// Maps what WorldWriter has written; nothing is verified. The file may be closed then.
    /// @throws std::system_error
    explicit WorldFile(std::FILE* image);

    /// Good for as long as this object, or the one that it is moved to, is there.
    World world() const { return reinterpret_cast<const WorldImage*>(bytes_.get())->world(); }

    /// The image.
    std::span<const char> bytes() const { return {bytes_.get(), bytes_.get_deleter().size}; }

private:
    struct Unmap {
        std::size_t size;
        void operator()(const char* bytes) const;
    };
    using Mapping = std::unique_ptr<const char, Unmap>;

    static Mapping map(int file, std::size_t size);

    Mapping bytes_;
};

/// Verifies an image that anybody may have made.
/// @param bytes  all there are, aligned for a WorldImage
/// @param name   how people are told of it
/// @throws WorldError
void verifyWorldImage(std::span<const char> bytes, const std::string& name);

} // namespace Ostrel::TV
