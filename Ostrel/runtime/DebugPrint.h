// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <functional>
#include <string>

namespace Ostrel {

/// How much a debug line matters: the lower, the more. The log shows the names in lower case.
enum class DebugLevel : int {
    Error = 1,
    Warning = 3,
    Information = 5,
    Progress = 7,
};

/// One line of the log.
struct DebugLine {
    DebugLevel level;
    std::string module;
    int line; ///< source line that the caller gave
    std::string text; ///< formatted, without the final line break; control characters escaped
};

/// Writes one debug line, printf-style.
///
/// Any thread may call it, with or without a lock held. It never throws and never waits: a
/// line for which there is no memory, or that standard error does not take at once, is dropped.
/// Of one place in the source, told by module, line, level and format, standard error shows 20 lines
/// a second, and before the next line how many more there were.
///
/// @param module     the source file's module name
/// @param component  the same name again, or a finer one; lines show the module
/// @param line       source line to show
OSTREL_API void ostrelDebugPrint(DebugLevel level, const char* module, const char* component, int line,
                                 const char* format, ...) noexcept __attribute__((format(printf, 5, 6)));

/// The formats of the lines that tell of an exception. The arguments are the operation's name
/// and, but for the last, the exception's text.
constexpr char throwingException[] = "%s(): throwing exception: %s\n";
constexpr char caughtException[] = "%s(): caught exception: %s\n";
constexpr char caughtUnknownException[] = "%s(): caught unknown exception\n";

/// Lines above this level are dropped before they are formatted. At the start it is Information.
OSTREL_API void setDebugLevel(DebugLevel level);

/// Where lines go. It may be called from any thread, one call at a time; a line that it
/// writes itself is dropped, and it must not change the sink.
using DebugSink = std::function<void(const DebugLine&)>;

/// Sends the lines elsewhere; an empty function sends them to standard error again.
/// When it returns, the former sink is not running and will not be called any more.
OSTREL_API void setDebugSink(DebugSink sink);

} // namespace Ostrel
