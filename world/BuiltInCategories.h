#pragma once

#include <string_view>

namespace Ostrel::TV::Tool {

/// The text of world/categories.txt, as the build found it.
std::string_view builtInCategories() noexcept;

} // namespace Ostrel::TV::Tool
