#pragma once

#include "clients/cpp/Notification.h"
#include "commandline/Output.h"
#include "commandline/Table.h"
#include "commandline/Text.h"

#include <cstdint>
#include <string>

namespace Ostrel::Client::Tool {

using CommandLine::cut;
using CommandLine::drawBar;
using CommandLine::getTerminalWidth;
using CommandLine::getWidth;
using CommandLine::OutputClosed;
using CommandLine::print;
using CommandLine::printable;
using CommandLine::Table;

/// Prints JSON text on a line of its own.
void printJson(const std::string& json);

/// Returns a notification as scripts get it, {"method":...,"params":...}.
std::string toJson(const Notification& notification);

/// Returns JSON text on many lines, indented for people.
std::string indented(const std::string& json);

/// Returns the members of a JSON object on one line for people: "sourceId 1, percent 42".
std::string listMembers(const std::string& json);

/// Returns the text of an error as a line of its own: "The list is empty.\n".
std::string asSentence(std::string text);

/// Returns a time on three lines: in UTC, here, and in seconds since 1970-01-01 UTC.
std::string formatMoment(std::int64_t seconds);

/// Formats a time with strftime().
std::string formatTime(const char* format, const struct tm& time);

} // namespace Ostrel::Client::Tool
