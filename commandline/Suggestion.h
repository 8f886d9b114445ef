#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::CommandLine {

/// Returns how many letters must be put in, taken out, replaced or swapped with their neighbour to
/// make one text of another.
std::size_t getDistance(std::string_view from, std::string_view to);

/// Returns the name that was probably meant: one that begins so, or else the nearest that is near
/// enough; of two as near the one with the longer beginning in common.
std::optional<std::string> findSimilar(std::string_view given, const std::vector<std::string>& names);

/// Returns the same as the end of a sentence: "; did you mean \"blind\"?". May be empty.
std::string suggest(std::string_view given, const std::vector<std::string>& names);

} // namespace Ostrel::CommandLine
