#pragma once

#include "clients/cpp/Notification.h"

#include <boost/json/value.hpp>

#include <cstddef>
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

/// Prints a value on one line.
void printJson(const boost::json::value& value);

/// Returns a notification as scripts get it, {"method":...,"params":...}.
boost::json::value toJson(const Notification& notification);

/// Returns a value on many lines, indented for people.
std::string indented(const boost::json::value& value);

/// Replaces control characters, which could play tricks on a terminal.
std::string printable(std::string_view text);

/// Returns how many columns the terminal behind a descriptor has, 80 where it is none.
std::size_t getTerminalWidth(int descriptor = STDOUT_FILENO);

/// Formats a time with strftime().
std::string formatTime(const char* format, const struct tm& time);

} // namespace Ostrel::Client::Tool
