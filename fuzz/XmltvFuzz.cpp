// Any bytes as an XMLTV listing: it is refused with its place, or becomes a world that keeps every rule and that
// comes back of an export.

#include "TV/server/dummy/data/TemporaryFile.h"
#include "TV/server/dummy/data/WorldFile.h"
#include "TV/server/dummy/data/WorldRules.h"
#include "world/Importer.h"
#include "world/XmltvWriter.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

using namespace Ostrel::TV;
using namespace Ostrel::TV::Tool;

namespace {

/// The world of a listing that is given in pieces; nothing when it is refused.
std::optional<WorldFile> import(std::string_view xml, std::size_t pieceSize) {
    static const Categories categories;
    WorldWriter writer;
    Importer::Options options;
    options.name = "fuzz";
    Importer importer(options, categories, writer);
    XmltvReader reader("guide.xml", importer.listener());
    try {
        for (; !xml.empty(); xml.remove_prefix(std::min(pieceSize, xml.size())))
            reader.read(xml.substr(0, pieceSize));
        reader.finish();
        importer.finish();
        const TemporaryFile image = makeTemporaryFile();
        writer.write(image.get());
        return WorldFile(image.get());
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string_view xml(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto file = import(xml, std::size_t{data[0]} + 1);
    if (!file)
        return 0;
    const World world = file->world();
    WorldProblems problems;
    checkWorld(world, WorldPlaces::names(world), problems);
    if (problems.count() != 0) {
        std::fputs(problems.text().c_str(), stderr);
        std::abort();
    }

    std::string exported;
    writeXmltv(world, [&](std::string_view piece) { exported += piece; });
    const auto again = import(exported, exported.size());
    if (!again || again->world().rows.size() != world.rows.size() ||
        again->world().lineup.size() != world.lineup.size())
        std::abort();
    std::string exportedAgain;
    writeXmltv(again->world(), [&](std::string_view piece) { exportedAgain += piece; });
    if (exportedAgain != exported)
        std::abort();
    return 0;
}
