#pragma once

#include <string_view>

namespace Ostrel::TV {

/// Says what is wrong with a text that viewers read; null when nothing is.
///
/// It is UTF-8 of any characters but control characters and the two that XML has no way to write, U+FFFE
/// and U+FFFF, of at most 65,535 bytes, and neither begins nor ends with a blank. It may be empty.
const char* findTextFault(std::string_view text) noexcept;

/// Says what is wrong with the text of a content reference identifier; null when nothing is.
///
/// It has 1 to 64 printable characters of ASCII and none that a document would have to escape, because
/// documents show it as it is.
const char* findCridFault(std::string_view text) noexcept;

} // namespace Ostrel::TV
