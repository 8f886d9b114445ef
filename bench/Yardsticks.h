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

/// Appends a text as the inside of a JSON string, as fast as a careful hand writes it.
void appendJsonText(std::string& out, std::string_view text);

/// The guide in columns, in the order of the start.
struct Columns {
    std::vector<std::int32_t> serviceIds, starts, ends;
    std::vector<const TV::epgentry*> rows;
};
Columns makeColumns();

/// An event as a record in JSON.
void appendRecord(std::string& out, const TV::epgentry& row);

} // namespace Ostrel::Bench
