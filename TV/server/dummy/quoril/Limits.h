#pragma once

#include <cstddef>

namespace Ostrel::TV {

/// How many fields, numbers, lists and operators an expression may hold in all.
constexpr std::size_t nodeLimit = 20;

/// How many parentheses may be open at once, so that no text overflows the stack.
constexpr unsigned parenthesisLimit = 256;

} // namespace Ostrel::TV
