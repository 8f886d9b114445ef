#pragma once

#include "Ostrel/Export.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace Ostrel {

/// What fits of a UTF-8 text into so many bytes, cut between characters.
OSTREL_API std::string_view cutText(std::string_view text, std::size_t size);

OSTREL_API bool isUtf8(std::string_view text);

/// Replaces what is no UTF-8 by U+FFFD, one for each byte that begins no character.
OSTREL_API void makeUtf8(std::string& text);

} // namespace Ostrel
