#pragma once

#include <bitset>
#include <cstddef>
#include <string_view>

namespace Ostrel::TV::Tool {

constexpr std::size_t scriptCount = 12;

/// One bit for each script there is a name for.
using ScriptSet = std::bitset<scriptCount>;

std::string_view scriptName(std::size_t script);

/// The scripts that a text has letters of; signs that all of them share count for none.
/// @param text  UTF-8
ScriptSet findScripts(std::string_view text);

} // namespace Ostrel::TV::Tool
