#pragma once

#include "clients/cpp/Notification.h"
#include "commandline/Text.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include <unistd.h>

namespace Ostrel::Client::Tool {

/// Nobody reads standard output any more, as after "| head".
class OutputClosed : public std::exception {};

/// Writes to standard output at once.
///
/// @throws OutputClosed, std::system_error
void print(std::string_view text);

/// Prints JSON text on a line of its own.
void printJson(const std::string& json);

/// Returns a notification as scripts get it, {"method":...,"params":...}.
std::string toJson(const Notification& notification);

/// Returns JSON text on many lines, indented for people.
std::string indented(const std::string& json);

/// Returns the members of a JSON object on one line for people: "sourceId 1, percent 42".
std::string listMembers(const std::string& json);

using CommandLine::printable;

/// Returns the text of an error as a line of its own: "The list is empty.\n".
std::string asSentence(std::string text);

/// Returns how many columns the terminal behind a descriptor has, 80 where it is none.
std::size_t getTerminalWidth(int descriptor = STDOUT_FILENO);

/// Returns a time on three lines: in UTC, here, and in seconds since 1970-01-01 UTC.
std::string formatMoment(std::int64_t seconds);

/// Formats a time with strftime().
std::string formatTime(const char* format, const struct tm& time);

} // namespace Ostrel::Client::Tool
