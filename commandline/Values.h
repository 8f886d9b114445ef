#pragma once

#include "commandline/Option.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace Ostrel::CommandLine {

// Readers that put what they read where they are told. That must live as long as the table does.

template <class Value, class Given> void put(Value& place, Given value) {
    place = std::move(value);
}

template <class Value, class Given> void put(std::vector<Value>& place, Given value) {
    place.push_back(static_cast<Value>(std::move(value)));
}

template <class Place> Reader text(Place& place) {
    return [&place](const std::string& given) { put(place, given); };
}

/// For a flag.
Reader flag(bool& place);

/// Reads a whole number in decimal digits.
///
/// @throws UsageError  names the bounds
std::uint64_t readWholeNumber(const std::string& text, std::uint64_t least, std::uint64_t most);

template <class Place> Reader wholeNumber(Place& place, std::uint64_t least = 0,
                                          std::uint64_t most = std::numeric_limits<std::uint32_t>::max()) {
    return [&place, least, most](const std::string& given) {
        put(place, static_cast<std::uint32_t>(readWholeNumber(given, least, most)));
    };
}

/// Takes a number from the one to the other, with a fraction or without.
Reader number(std::optional<double>& place, double least, double most);

/// Takes a number above 0, with a fraction or without.
Reader positiveNumber(double& place);

} // namespace Ostrel::CommandLine
