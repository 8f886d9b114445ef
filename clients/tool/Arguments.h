#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <limits>

namespace Ostrel::Client::Tool {

// What options take, for CLI::Option. The texts say what is expected of the value.

/// Takes a whole number from 0 on, in decimal digits.
///
/// Goes with transform() and not with check(): it takes leading zeros away, which would make
/// the parser read an octal number.
CLI::Validator wholeNumber(std::uint64_t most = std::numeric_limits<std::uint32_t>::max());

/// Takes UTF-8: for anything else the service closes the connection without a word.
CLI::Validator utf8();

} // namespace Ostrel::Client::Tool
