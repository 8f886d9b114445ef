#include "TV/server/dummy/data/WorldFolder.h"

#include "TV/server/dummy/data/GuideText.h"
#include "TV/server/dummy/data/LineupText.h"
#include "TV/server/dummy/data/Services.h"
#include "TV/server/dummy/data/TemporaryFile.h"
#include "TV/server/dummy/data/WorldWriter.h"
#include "TV/server/dummy/data/ZoneOffsets.h"
#include "TV/server/dummy/world/FileKind.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace Ostrel::TV {

namespace {

namespace fs = std::filesystem;

/// False for what nobody has put there; what cannot be looked at is told by whoever reads it.
bool isThere(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 || (errno != ENOENT && errno != ENOTDIR);
}

/// Makes a folder and those that it lies in.
void makeFolder(const fs::path& path) {
    fs::path folder;
    for (const auto& part : path) {
        const int error = mkdir((folder /= part).c_str(), 0777) == 0 ? 0 : errno;
        if (error != 0 && kindOf(folder) != FileKind::Folder)
            throw std::system_error(error, std::generic_category(), "cannot make " + folder.string());
    }
}

/// Reads a folder once.
class Reader {
public:
    explicit Reader(const std::string& folder) : folder_(folder) {}

    WorldFile read(decltype(checkWorld)* house);

private:
    /// A guide file, and what services.txt says of its service.
    struct GuidePath {
        std::string path;
        GuideService service;
    };

    void readDescription();
    void readZone(const TextLine& line);
    std::vector<GuidePath> findGuide(const std::vector<LineupService>& lineup);
    void readGuideFile(const GuidePath& file);
    bool checkService(const GuideService& service, const std::string& path);
    WorldPlaces places(std::vector<std::uint32_t> events) const;

    std::string pathOf(const char* name) const { return (folder_ / name).string(); }

    const fs::path folder_;
    WorldWriter writer_;
    WorldProblems problems_;
    std::string name_, zone_ = "UTC", description_; ///< the last one is where they stand
    std::vector<std::string> lineupPlaces_;
    bool servicesAreGood_ = true;
    std::vector<std::string> guidePaths_;
    std::map<int, std::string> serviceFiles_; ///< by the services' ids
    std::vector<std::pair<std::uint32_t, std::uint32_t>> eventPlaces_; ///< file and line
    std::map<std::size_t, std::string> eventOrigins_; ///< see TextLine::origin()
};

void Reader::readDescription() {
    name_ = fs::absolute(folder_ / "").lexically_normal().parent_path().filename().string();
    description_ = folder_.string();
    const std::string path = pathOf("world.txt");
    if (!isThere(path))
        return;
    description_ = path + ":0";
    readTextFile(path, problems_, [&](const TextLine& line) {
        if (line.word() == "name") {
            line.checkText(line.rest());
            name_ = line.rest();
            description_ = line.place();
        } else if (line.word() == "zone") {
            readZone(line);
        } else {
            line.fail("expected \"name\" or \"zone\"");
        }
    });
}

void Reader::readZone(const TextLine& line) {
    try {
        readZoneOffsets(line.rest(), 0, 0);
    } catch (const std::runtime_error& error) {
        line.fail(error.what());
    }
    zone_ = line.rest();
}

/// The service that a guide file says it is for, so that files can be read in the order of services; 0
/// when none can be found.
int findServiceId(const std::string& path) {
    std::ifstream in;
    if (kindOf(path) == FileKind::File)
        in.open(path);
    std::string word, number;
    for (std::string raw; word != "event" && std::getline(in, raw);) {
        std::istringstream words(raw);
        word.clear();
        words >> word >> number;
        if (word != "service")
            continue;
        try {
            return static_cast<int>(TextLine().number(number, word, 1, 0x7FFFFFFF));
        } catch (const TextFileError&) {
            return 0; // which is told once the file is read
        }
    }
    return 0;
}

/// Which files there are to read, in the order of services, so that one world has one image whatever
/// its files are called.
std::vector<Reader::GuidePath> Reader::findGuide(const std::vector<LineupService>& lineup) {
    std::set<std::string> files;
    const std::string folder = pathOf("guide");
    std::error_code error;
    if (isThere(folder))
        for (auto entry = fs::directory_iterator(folder, error); entry != fs::directory_iterator();
             entry.increment(error))
            if (entry->path().extension() == ".txt")
                files.insert(entry->path().string());
    if (error)
        problems_.add(folder + ":0", "cannot be read: " + error.message());

    std::vector<GuidePath> guide;
    const std::string table = pathOf("services.txt");
    if (isThere(table)) {
        const std::size_t before = problems_.count();
        for (const Service& service : readServices(table, lineup, problems_)) {
            guide.push_back({(folder_ / "guide" / service.guideFile()).string(), service});
            files.erase(guide.back().path);
        }
        servicesAreGood_ = problems_.count() == before;
    }
    for (const std::string& path : files)
        guide.push_back({path, {.id = findServiceId(path)}});
    std::ranges::stable_sort(guide, {}, [](const GuidePath& file) { return file.service.id; });
    return guide;
}

/// Whether a guide file, or services.txt for it, says all that its events carry.
bool Reader::checkService(const GuideService& service, const std::string& path) {
    const std::pair<unsigned, const char*> numbers[] = {{static_cast<unsigned>(service.id), "service"},
                                                        {service.network, "network"},
                                                        {service.stream, "stream"},
                                                        {service.dvbId, "dvb-service"}};
    bool isComplete = true;
    for (const auto& [number, word] : numbers) {
        if (number != 0)
            continue;
        isComplete = false;
        // A mistake in services.txt is told once.
        if (servicesAreGood_)
            problems_.add(path + ":0",
                          std::string("expected a line \"") + word + " NUMBER\" above the events");
    }
    return isComplete;
}

void Reader::readGuideFile(const GuidePath& file) {
    GuideFile guide = readGuide(file.path, file.service, problems_);
    if (!checkService(guide, file.path))
        return;
    const auto [other, isNew] = serviceFiles_.emplace(guide.id, file.path);
    if (!isNew)
        return problems_.add(file.path + ":0",
                             "service " + std::to_string(guide.id) + " is in " + other->second + " too");
    std::ranges::stable_sort(guide.events, {}, &GuideEvent::start);
    for (const GuideEvent& event : guide.events) {
        writer_.add(guide, event);
        if (event.line.origin() != nullptr)
            eventOrigins_.emplace(eventPlaces_.size(), *event.line.origin());
        eventPlaces_.emplace_back(guidePaths_.size(), event.line.lineNumber());
    }
    guidePaths_.push_back(file.path);
}

WorldPlaces Reader::places(std::vector<std::uint32_t> events) const {
    return {.row =
                [this, events = std::move(events)](std::size_t index) {
                    const auto& [file, line] = eventPlaces_[events[index]];
                    const auto origin = eventOrigins_.find(events[index]);
                    return (origin == eventOrigins_.end() ? "" : origin->second + ": ") + guidePaths_[file] +
                           ":" + std::to_string(line);
                },
            .lineup =
                [this](std::size_t index) {
                    return index < lineupPlaces_.size() ? lineupPlaces_[index] : pathOf("lineup.txt") + ":0";
                },
            .world = description_};
}

WorldFile Reader::read(decltype(checkWorld)* house) {
    if (kindOf(folder_) == FileKind::File)
        throw WorldError(folder_.string() + ": is a file, and no folder of text files");
    if (!isThere(pathOf("lineup.txt")))
        throw WorldError(folder_.string() + ": has no lineup.txt; ostrel-world --help says what a world is");
    readDescription();
    const auto lineup = readLineup(pathOf("lineup.txt"), problems_);
    for (const LineupService& service : lineup) {
        writer_.addToLineup(service);
        lineupPlaces_.push_back(service.line.place());
    }
    for (const GuidePath& file : findGuide(lineup))
        readGuideFile(file);
    writer_.describe(name_, zone_);

    const TemporaryFile image = makeTemporaryFile();
    const WorldPlaces places = this->places(writer_.write(image.get()));
    WorldFile file(image.get());
    checkWorld(file.world(), places, problems_);
    // These count on the others.
    if (house != nullptr && problems_.count() == 0)
        house(file.world(), places, problems_);
    if (problems_.count() != 0)
        throw WorldError(problems_);
    return file;
}

// Back to text.

std::string orEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

std::vector<LineupService> lineupOf(const World& world) {
    std::vector<LineupService> lineup;
    for (const LineupRow& row : world.lineup)
        lineup.push_back({.frequencyMHz = row.frequencyMHz,
                          .channelNumber = static_cast<unsigned>(row.channelNumber),
                          .type = row.type,
                          .name = orEmpty(world.text(row.name)),
                          .network = row.originalNetworkId,
                          .stream = row.transportStreamId,
                          .dvbId = row.dvbServiceId,
                          .provider = orEmpty(world.text(row.provider)),
                          .scrambled = row.scrambled,
                          .highDefinition = row.highDefinition,
                          .visible = row.visible,
                          .selectable = row.selectable,
                          .line = {}});
    return lineup;
}

GuideEvent eventOf(const World& world, const epgentry& row) {
    GuideEvent event;
    event.programme = row.ProgId;
    event.start = row.Start;
    event.end = row.End;
    event.content = row.Content;
    event.version = row.ScheduleVersion;
    event.hd = row.IsHd;
    event.late = row.UnsuitableBeforeWatershed;
    event.next = row.Next;
    for (std::size_t i = 0; i != row.CridCount; ++i)
        event.crids.push_back({row.Crids[i].CridType, orEmpty(world.text(row.Crids[i].CridData))});
    event.imi = row.CridImi;
    event.hdLink = row.LinkedHdProgs;
    event.title = orEmpty(world.text(row.Title));
    event.synopsis = orEmpty(world.text(row.Description));
    event.guidance = orEmpty(world.text(row.Guidance));
    return event;
}

GuideFile guideOf(const World& world, const GuideServiceRows& service) {
    const auto rows = world.rows.subspan(service.first, service.count);
    const epgentry& first = rows.front();
    GuideFile guide{{service.serviceId, first.DvbOid, first.DvbTid, first.DvbSid, first.ServicePosition}, {}};
    for (const epgentry& row : rows)
        guide.events.push_back(eventOf(world, row));
    std::ranges::stable_sort(guide.events, {}, &GuideEvent::start);
    return guide;
}

/// What a service is called in the line-up; empty when it is not there.
std::string nameOf(const World& world, unsigned dvbId) {
    const auto found = std::ranges::find(world.lineup, dvbId, &LineupRow::dvbServiceId);
    return found == world.lineup.end() ? "" : orEmpty(world.text(found->name));
}

/// A name as a part of a file's: "ITV2 +1" is itv2-1.
std::string slugOf(const std::string& name) {
    std::string slug;
    for (const char c : name) {
        const char lower = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        if ((lower >= 'a' && lower <= 'z') || (lower >= '0' && lower <= '9'))
            slug += lower;
        else if (!slug.empty() && slug.back() != '-')
            slug += '-';
    }
    constexpr std::size_t longest = 40;
    slug.resize(std::min(slug.size(), longest));
    while (slug.ends_with('-'))
        slug.pop_back();
    return slug;
}

} // namespace

WorldFile readWorldFolder(const std::string& folder, decltype(checkWorld)* house) {
    return Reader(folder).read(house);
}

bool isFree(const std::string& path) {
    const auto kind = kindOf(path);
    return kind == FileKind::Missing ||
           (kind == FileKind::Folder && fs::directory_iterator(path) == fs::directory_iterator());
}

void writeWorldFolder(const World& world, const std::string& folder) {
    const fs::path root = folder;
    if (!isFree(folder))
        throw std::runtime_error(folder + " is there already; remove it or name another folder");
    makeFolder(root / "guide");
    writeTextFile((root / "world.txt").string(),
                  "# What the world is called, and the time zone that its broadcasters live by.\n\nname " +
                      std::string(world.name) + "\nzone " + std::string(world.timeZone) + "\n");
    writeTextFile((root / "lineup.txt").string(), writeLineup(lineupOf(world)));
    for (const GuideServiceRows& service : world.services) {
        const GuideFile guide = guideOf(world, service);
        const std::string name = nameOf(world, guide.dvbId), slug = slugOf(name);
        const std::string file = std::to_string(guide.id) + (slug.empty() ? "" : "-") + slug + ".txt";
        writeTextFile((root / "guide" / file).string(),
                      writeGuide(guide, name.empty() ? "Service " + std::to_string(guide.id) : name));
    }
}

WorldFile openWorld(const std::string& path) {
    return kindOf(path) == FileKind::Folder ? readWorldFolder(path) : WorldFile(path);
}

} // namespace Ostrel::TV
