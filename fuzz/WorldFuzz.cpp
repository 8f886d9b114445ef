// Any bytes put into an image: it is refused, or it can be served. Whoever gets past the verifier has its
// documents made both ways, its services walked, and questions put to it.
//
// The input is a list of changes to a good image: where, how many bytes (1, 2 or 4) and which. Magic, size
// and checksum are put right then, as somebody who means harm would.

#include "TV/server/dummy/data/WorldFile.h"
#include "TV/server/dummy/documents/JsonGenerator.h"
#include "TV/server/dummy/documents/RowDocument.h"
#include "TV/server/dummy/documents/XmlGenerator.h"
#include "TV/server/dummy/guide/NowNext.h"
#include "TV/server/dummy/lineup/Lineup.h"
#include "TV/server/dummy/query/QuorilQuery.h"
#include "TV/server/dummy/query/TextSearch.h"
#include "TV/server/dummy/world/ChosenWorld.h"
#include "fuzz/Require.h"
#include "tests/TV/server/dummy/data/SmallImage.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <cstring>
#include <memory>
#include <vector>

using namespace Ostrel::Fuzz;
using namespace Ostrel::TV;

namespace {

void change(std::vector<char>& image, const unsigned char* data, std::size_t size) {
    constexpr std::size_t changeSize = 7;
    for (; size >= changeSize; data += changeSize, size -= changeSize) {
        std::size_t at = data[0] | data[1] << 8;
        const std::size_t count = std::size_t{1} << data[2] % 3;
        at = at / count * count % image.size();
        if (at + count <= image.size())
            std::memcpy(image.data() + at, data + 3, count);
    }
    // The rest cuts it, or makes it longer.
    if (size == 1)
        image.resize(image.size() + data[0] - 64);
}

void seal(std::vector<char>& image) {
    if (image.size() < sizeof(WorldImage))
        return;
    auto& header = *reinterpret_cast<WorldImage*>(image.data());
    header.magic = WorldImage::magicText;
    header.version = WorldImage::currentVersion;
    header.size = static_cast<std::uint32_t>(image.size());
    const auto checksum =
        XXH3_64bits(image.data() + WorldImage::checkedFrom, image.size() - WorldImage::checkedFrom);
    header.checksumLow = static_cast<std::uint32_t>(checksum);
    header.checksumHigh = static_cast<std::uint32_t>(checksum >> 32);
}

template <typename Generated> std::string generate(const epgentry& row, unsigned mode) {
    Generated generator;
    writeEntry(generator, &row, mode);
    return generator.getString();
}

void serve(const World& world) {
    chooseWorld(world);
    Guide guide;
    guide.addEvents();
    unsigned mode = OnAir;
    for (const epgentry& row : world.rows) {
        // Each row in one mode: they differ in three words, and documents are what takes the time here.
        require(formatEntry(OutputFormat::Json, &row, mode) == generate<JsonGenerator>(row, mode));
        require(formatEntry(OutputFormat::Xml, &row, mode) == generate<XmlGenerator>(row, mode));
        mode = (mode + 1) % 3;
        for (const std::int64_t time : {row.Start, row.End})
            findNowNext(guide, static_cast<unsigned>(row.ServiceId), time);
        require(findNowNext(guide, static_cast<unsigned>(row.ServiceId), row.Start).now == &row);
        if (const char* const title = row.Title; title != nullptr && *title != '\0') {
            FoundTexts found(guide.index());
            TextSearch(title).find(found);
        }
    }
    for (const char* text :
         {"", "ServiceId == 5", "Start > 1318610700 && End < 1318612500", "ServiceId in (5, 6)"}) {
        QuorilQuery query(guide);
        require(query.init(text, 0, 4294967295u));
        std::size_t count = 0;
        while (query.next() != nullptr)
            ++count;
        require(*text != '\0' || count == world.rows.size());
    }
    Lineup lineup;
    std::vector<Lineup::GuideLink> links;
    for (const GuideServiceRows& service : world.services)
        links.push_back({world.rows[service.first].DvbSid, static_cast<std::uint32_t>(service.serviceId)});
    lineup.load(world.lineup, links);
    require(!lineup.getTransponders().empty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const std::vector<char> good = Ostrel::Test::smallImage();
    std::vector<char> image = good;
    change(image, data, size);
    seal(image);
    // Of its own size, so that nobody reads behind its end unseen.
    const auto exact = std::make_unique<char[]>(image.size());
    std::memcpy(exact.get(), image.data(), image.size());
    const std::span<const char> bytes(exact.get(), image.size());
    try {
        verifyWorldImage(bytes, "X");
    } catch (const WorldError&) {
        return 0;
    }
    const World before = chosenWorld();
    serve(reinterpret_cast<const WorldImage*>(bytes.data())->world());
    chooseWorld(before);
    return 0;
}
