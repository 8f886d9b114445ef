#pragma once

#include "TV/server/dummy/world/World.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Bench {

/// The documents of a query written the straight way: one string, keys as literals, text by
/// text, for exactly these bytes.
std::string writeJsonDocument(const TV::epgentry& row);
std::string writeXmlDocument(const TV::epgentry& row);

/// Writes a text as the inside of a JSON string, as fast as a careful hand writes it: there must be room for twice as
/// many bytes and a block of 16.
/// @returns what is behind it
char* escapeJsonText(char* to, std::string_view text);

/// All titles and descriptions of the guide, each once, with a NUL between them.
std::string distinctTexts();

/// The guide in columns, in the order of the start.
struct Columns {
    std::vector<std::int32_t> serviceIds, starts, ends;
    std::vector<const TV::epgentry*> rows;
};
Columns makeColumns();

/// An event as a record in JSON.
void appendRecord(std::string& out, const TV::epgentry& row);

} // namespace Ostrel::Bench
