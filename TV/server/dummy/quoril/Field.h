#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Ostrel::TV {

/// What an expression can ask of a row.
enum class Field : std::uint8_t { ServiceId, Start, End };

constexpr std::size_t fieldCount = 3;

/// The field of that name, which is told apart by case; nothing for any other word.
std::optional<Field> findField(std::string_view name);

} // namespace Ostrel::TV
