#pragma once

#include <string>
#include <string_view>

namespace Ostrel {

/// Appends text as one line that people can read: control characters escaped as \xNN.
void appendPrintable(std::string& out, std::string_view text);

} // namespace Ostrel
