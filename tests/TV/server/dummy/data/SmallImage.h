#pragma once

#include "TV/server/dummy/data/WorldWriter.h"

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Ostrel::Test {

/// The image of a small world: services 5 and 6, the second one in high definition, with two events each
/// that are on side by side.
inline std::vector<char> smallImage() {
    using namespace TV;
    WorldWriter writer;
    writer.describe("small", "Europe/London");
    constexpr int start = 1318610700; // 2011-10-14 16:45 UTC
    for (const unsigned i : {0u, 1u}) {
        const bool hd = i == 1;
        writer.addToLineup({.frequencyMHz = 690,
                            .channelNumber = 1 + i,
                            .name = hd ? "Harbour HD" : "Harbour",
                            .network = 1,
                            .stream = 1,
                            .dvbId = 1 + i,
                            .provider = "Ostrel",
                            .highDefinition = hd,
                            .line = {}});
        for (const unsigned j : {0u, 1u}) {
            GuideEvent event;
            event.programme = 10 * (i + 1) + j;
            event.start = start + static_cast<int>(j) * 900;
            event.end = event.start + 900;
            event.hd = hd;
            event.hdLink = hd ? 0 : event.programme + 10;
            event.title = j == 0 ? "Tide \"and\" time" : "Quay";
            event.synopsis = "A look at the h\u00e4fen.";
            event.crids = {{1, "/23vbzj"}, {2, "/krs9xe"}};
            writer.add({.id = 5 + static_cast<int>(i), .network = 1, .stream = 1, .dvbId = 1 + i}, event);
        }
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), std::fclose);
    writer.write(file.get());
    std::fseek(file.get(), 0, SEEK_END);
    std::vector<char> image(static_cast<std::size_t>(std::ftell(file.get())));
    std::rewind(file.get());
    if (std::fread(image.data(), 1, image.size(), file.get()) != image.size())
        throw std::runtime_error("no image");
    return image;
}

} // namespace Ostrel::Test
