#pragma once

#include "Ostrel/Export.h"

#include <string>
#include <string_view>

namespace Ostrel {

/// Appends text as one line that people can read: control characters escaped as \xNN.
void appendPrintable(std::string& out, std::string_view text);

/// What a message may repeat of a client's own text: the first 64 bytes, cut between UTF-8
/// characters, control characters escaped as \xNN.
OSTREL_API std::string excerpt(std::string_view text);

} // namespace Ostrel
