// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>

namespace Ostrel::TV {

/// Where a text of a world stands: an offset among the world's texts, not an address. A table of
/// addresses would have to be relocated, and so copied, whenever it is loaded.
///
/// It reads as a `const char*`, null when the text is absent, once its world has been chosen; of
/// another world, World::text() reads it.
struct PoolText {
    std::uint32_t offset; ///< 0 is "absent"

    operator const char*() const noexcept { return offset == 0 ? nullptr : base + offset; }

    static const char* base; ///< the chosen world's texts; chooseWorld() sets it
};

} // namespace Ostrel::TV
