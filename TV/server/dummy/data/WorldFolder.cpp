#include "TV/server/dummy/data/WorldFolder.h"

#include "TV/server/dummy/data/GuideRules.h"
#include "TV/server/dummy/data/GuideText.h"
#include "TV/server/dummy/data/Services.h"

#include <filesystem>
#include <vector>

namespace Ostrel::TV {

namespace {

void readDescription(const std::filesystem::path& folder, WorldWriter& world) {
    std::string name = std::filesystem::absolute(folder).lexically_normal().filename().string();
    std::string zone = "UTC";
    const auto path = folder / "world.txt";
    if (std::filesystem::exists(path)) {
        for (const TextLine& line : readTextFile(path.string())) {
            if (line.word() == "name")
                name = line.rest();
            else if (line.word() == "zone")
                zone = line.rest();
            else
                line.fail("expected \"name\" or \"zone\"");
        }
    }
    world.describe(name, zone);
}

} // namespace

void readWorldFolder(const std::string& folder, WorldWriter& world) {
    const std::filesystem::path root = folder;
    readDescription(root, world);
    const std::string lineup = (root / "lineup.txt").string();
    for (const LineupService& service : readLineup(lineup))
        world.addToLineup(service);
    std::vector<GuideFile> guide;
    for (const Service& service : readServices((root / "services.txt").string(), lineup))
        guide.push_back(readGuide((root / "guide" / service.guideFile()).string()));
    checkGuide(guide);
    for (const GuideFile& file : guide)
        for (const GuideEvent& event : file.events)
            world.add(file, event);
}

} // namespace Ostrel::TV
