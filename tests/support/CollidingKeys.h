#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Ostrel::Test {

/// Keys, as they stand in a JSON text between its quotation marks, that Boost.JSON 1.81 on 64 bits
/// puts into one bucket of an object that has exactly this many members.
///
/// The table of such an object has as many buckets as members, chosen by FNV-1a with the address of
/// the table added to its start. Addresses are multiples of 16, and of 2^15 buckets only the 15 low
/// bits of the digest choose. A character below 16 touches but the four low bits of the digest,
/// which the address leaves alone: what the address has added passes through all keys alike. So
/// keys of such characters that collide do so at every address.
std::vector<std::string> collidingKeys();

/// As many keys of the same size and characters that are spread evenly.
std::vector<std::string> scatteredKeys();

/// A JSON object with these keys, all members 0.
std::string objectWith(const std::vector<std::string>& keys);

} // namespace Ostrel::Test
