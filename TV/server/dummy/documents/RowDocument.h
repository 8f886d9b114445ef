#pragma once

#include "TV/server/dummy/documents/Generator.h"
#include "TV/server/dummy/world/ChosenWorld.h"

#include <optional>
#include <string>

namespace Ostrel::TV {

/// What a document tells of an event. The event on air carries "Next" and the one behind it "Now".
enum DocumentMode : unsigned {
    OnAir = 0, ///< the first of a now/next answer
    Following = 1, ///< the second
    Schedule = 2, ///< one of a query's
};

/// The form of documents.
enum class OutputFormat { Json, Xml };

/// "quoriljson" or "quorilxml", exactly; nothing for any other word.
std::optional<OutputFormat> findOutputFormat(const std::string& name);

/// Writes a row as one whole document.
void writeEntry(Generator& generator, const epgentry* row, unsigned mode);

/// Returns what writeEntry() writes through a JsonGenerator or an XmlGenerator, without either.
/// @param world  whose row it may be, which is written without looking at its texts for what to escape
std::string formatEntry(OutputFormat format, const epgentry* row, unsigned mode,
                        const World& world = chosenWorld());

/// The same for a format's name; empty for a name that is none.
std::string formatEntry(const std::string& outputFormat, const epgentry* row, unsigned mode);

} // namespace Ostrel::TV
