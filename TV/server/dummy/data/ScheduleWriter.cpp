// Writes the guide: lays the catalogue out over nine days of October 2011 and gives every
// event its identifiers. The same catalogue always gives the same bytes.
//
//     ScheduleWriter DATA GUIDE            writes the guide of the data directory to GUIDE
//     ScheduleWriter DATA GUIDE --tell     and tells what the catalogue has that is not on
//     ScheduleWriter DATA GUIDE SLUG...    writes nothing, shows how the pools of these services fare

#include "TV/server/dummy/data/GuideText.h"
#include "TV/server/dummy/data/Schedule.h"
#include "TV/server/dummy/data/Services.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Ostrel::TV {

namespace {

/// A 64-bit digest that is the same everywhere (FNV-1a, then mixed).
std::uint64_t digest(const std::string& text) {
    std::uint64_t value = 14695981039346656037u;
    for (const char c : text)
        value = (value ^ static_cast<unsigned char>(c)) * 1099511628211u;
    value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9u;
    value = (value ^ value >> 27) * 0x94D049BB133111EBu;
    return value ^ value >> 31;
}

/// The row that opens the table; demonstrations and tests know it by heart.
constexpr int firstService = 1000;
constexpr std::int64_t firstRowStart = 1318614300;
constexpr unsigned firstProgramme = 65576035;
const std::string firstRowCrid = "/23vbzj";

/// Gives out content reference identifiers: one for each subject, none twice.
class CridRegistry {
public:
    CridRegistry() { taken_.insert(firstRowCrid); }

    /// Six letters and digits for an episode or a series.
    std::string name(const std::string& subject) {
        return find(subject, [](std::uint64_t value) {
            static const char digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
            std::string text = "/";
            for (int i = 0; i != 6; ++i, value /= 36)
                text += digits[value % 36];
            return text;
        });
    }

    /// Eight digits for a recommendation.
    std::string number(const std::string& subject) {
        return find(subject, [](std::uint64_t value) {
            std::string text = "/";
            return text.append(std::to_string(33900000 + value % 100000));
        });
    }

private:
    template <class Spell> std::string find(const std::string& subject, Spell spell) {
        auto& known = known_[subject];
        for (unsigned attempt = 0; known.empty(); ++attempt) {
            const std::string text = spell(digest(subject + "#" + std::to_string(attempt)));
            if (taken_.insert(text).second)
                known = text;
        }
        return known;
    }

    std::map<std::string, std::string> known_;
    std::set<std::string> taken_;
};

/// What makes a programme that programme, wherever it is shown.
std::string seriesOf(const Showing& showing) {
    return showing.origin + "/" + showing.programme->title;
}

/// "More like this": titles of one content code stand on shelves, and what recommends others names
/// its shelves. Nobody is sent to a shelf that holds no other title.
class Shelves {
public:
    explicit Shelves(const std::vector<std::vector<Showing>>& schedule) {
        for (const auto& showings : schedule)
            for (const Showing& showing : showings)
                if (recommendations(showing) != 0)
                    titles_[showing.programme->genre & 0xFF].insert(showing.programme->title);
        for (const auto& showings : schedule)
            for (const Showing& showing : showings)
                for (const std::string& shelf : choose(showing))
                    shelves_[shelf].insert(showing.programme->title);
    }

    std::vector<std::string> of(const Showing& showing) const {
        auto shelves = choose(showing);
        std::erase_if(shelves, [&](const std::string& shelf) { return shelves_.at(shelf).size() < 2; });
        return shelves;
    }

private:
    static std::uint64_t recommendations(const Showing& showing) {
        const auto chance = digest(seriesOf(showing));
        switch (showing.programme->kind) {
        case Programme::Kind::Film:
            return chance % 3;
        case Programme::Kind::Series:
            return showing.programme->episodes.size() < 3 ? 0 : chance % 5;
        default:
            return 0;
        }
    }

    /// A title stands on a shelf or two, so that one holds some seven of them.
    std::vector<std::string> choose(const Showing& showing) const {
        constexpr std::size_t titlesAShelf = 4;
        const int kind = showing.programme->genre & 0xFF;
        std::vector<std::string> chosen;
        for (std::uint64_t i = 0; i != recommendations(showing); ++i) {
            const auto choice = digest(seriesOf(showing) + "/like/" + std::to_string(i));
            const auto place = choice % (titles_.at(kind).size() / titlesAShelf + 1);
            const std::string shelf = std::to_string(kind) + "/" + std::to_string(place);
            if (std::find(chosen.begin(), chosen.end(), shelf) == chosen.end())
                chosen.push_back(shelf);
        }
        return chosen;
    }

    std::map<int, std::set<std::string>> titles_; ///< those that recommend others, by content code
    std::map<std::string, std::set<std::string>> shelves_; ///< titles
};

/// Turns showings into guide events.
class GuideWriter {
public:
    GuideWriter(const std::vector<Service>& services, const Shelves& shelves)
        : services_(services), shelves_(shelves) {}

    void add(const Service& service, const std::vector<Showing>& showings) {
        GuideFile guide;
        guide.id = service.id;
        guide.network = service.network;
        guide.stream = service.stream;
        guide.dvbId = service.dvbId;
        guide.place = service.place;
        std::set<std::string> shown;
        for (const Showing& showing : showings)
            guide.events.push_back(event(service, showing, shown));
        numberEvents(service, guide);
        markNext(guide);
        guides_[service.slug] = guide;
    }

    /// Links events with the same event in high definition: as many as the broadcasters
    /// announce, those of the evenings and weekends first.
    ///
    /// Returns how many there were to choose from.
    std::size_t linkHd() {
        constexpr std::size_t announced = 126;
        std::vector<std::pair<GuideEvent*, unsigned>> found;
        for (const Service& service : services_) {
            if (service.follows != Service::Follows::SideBySide || guides_.count(service.leader) == 0)
                continue;
            std::map<std::int64_t, unsigned> inHd;
            for (const GuideEvent& event : guides_[service.slug].events)
                if (event.hd)
                    inHd[event.start] = event.programme;
            for (GuideEvent& event : guides_[service.leader].events) {
                const auto twin = inHd.find(event.start);
                if (twin != inHd.end())
                    found.emplace_back(&event, twin->second);
            }
        }
        const auto rank = [](const auto& link) {
            const auto hour = londonTimeOfDay(link.first->start) / 3600;
            const auto daysSinceThursday = (link.first->start + londonOffset) / 86400 % 7;
            const bool weekend = daysSinceThursday == 2 || daysSinceThursday == 3;
            return std::pair(hour < (weekend ? 6 : 18) || hour >= 23, link.first->start);
        };
        std::stable_sort(found.begin(), found.end(),
                         [&](const auto& a, const auto& b) { return rank(a) < rank(b); });
        for (std::size_t i = 0; i != std::min(found.size(), announced); ++i)
            found[i].first->hdLink = found[i].second;
        return found.size();
    }

    const std::map<std::string, GuideFile>& guides() const { return guides_; }

private:
    GuideEvent event(const Service& service, const Showing& showing, std::set<std::string>& shown) {
        const Programme& programme = *showing.programme;
        GuideEvent event;
        event.start = showing.start;
        event.end = showing.end;
        event.content = programme.genre;
        event.title = programme.title;
        event.synopsis = programme.synopsis(showing.episode);
        event.guidance = programme.guidance;
        event.origin = "catalogue/" + showing.origin +
                       ".txt:" + std::to_string(programme.episodes[showing.episode].lineNumber());
        event.late = programme.late;
        event.hd =
            programme.hd && (service.follows == Service::Follows::SideBySide || service.slug == "bbc-hd");
        event.version = static_cast<unsigned>(
            digest(service.slug + std::to_string((showing.start + londonOffset) / 86400)) % 7);
        if (service.id == firstService && showing.start == firstRowStart)
            event.crids = {{1, firstRowCrid}};
        else
            event.crids = crids(showing);
        // The second and later showings of an episode are instances of their own.
        if (!event.crids.empty() && event.crids.front().type == 1 &&
            !shown.insert(event.crids.front().data).second)
            event.imi = 49;
        return event;
    }

    std::vector<GuideCrid> crids(const Showing& showing) {
        const Programme& programme = *showing.programme;
        const std::string series = seriesOf(showing);
        const std::string episode = series + "/" + std::to_string(showing.episode);
        std::vector<GuideCrid> crids;
        switch (programme.kind) {
        case Programme::Kind::Bulletin:
            break;
        case Programme::Kind::Strand:
            crids.push_back({2, registry_.name(series)});
            break;
        case Programme::Kind::Oneoff:
        case Programme::Kind::Film:
            crids.push_back({1, registry_.name(episode)});
            break;
        case Programme::Kind::Series:
            crids.push_back({1, registry_.name(episode)});
            crids.push_back({2, registry_.name(series)});
            break;
        }
        for (const std::string& shelf : shelves_.of(showing))
            crids.push_back({3, registry_.number("like/" + shelf)});
        return crids;
    }

    /// Identifiers follow the order in which a service's events entered the guide database,
    /// which is not the order of time.
    void numberEvents(const Service& service, GuideFile& guide) {
        std::vector<std::pair<std::uint64_t, GuideEvent*>> order;
        for (GuideEvent& event : guide.events) {
            const bool opens = service.id == firstService && event.start == firstRowStart;
            order.emplace_back(opens ? 0 : 1 + digest(service.slug + formatTime(event.start)) / 2, &event);
        }
        std::sort(order.begin(), order.end());
        constexpr unsigned block = 2003;
        unsigned number = firstProgramme + static_cast<unsigned>(guides_.size()) * block;
        for (const auto& [key, event] : order) {
            event->programme = number;
            number += 1 + static_cast<unsigned>(key % 4);
        }
    }

    /// The guide was taken at half past ten on the first evening; the places up to 55 were
    /// being received then, and what came next on each is marked.
    static void markNext(GuideFile& guide) {
        constexpr std::int64_t taken = firstStart + 1800;
        constexpr unsigned received = 55;
        if (guide.place == 0 || guide.place > received)
            return;
        for (GuideEvent& event : guide.events) {
            if (event.start > taken) {
                event.next = true;
                return;
            }
        }
    }

    const std::vector<Service>& services_;
    const Shelves& shelves_;
    CridRegistry registry_;
    std::map<std::string, GuideFile> guides_;
};

void tell(const Schedule& schedule, const Service& service) {
    for (const std::string& remark : schedule.remarks(service.slug))
        std::cout << remark << "\n";
}

/// Prints a service's pools: how many episodes they have and how many slots want one.
void report(const Schedule& schedule, const Service& service) {
    const auto showings = schedule.showings(service);
    std::set<std::pair<const Programme*, std::size_t>> distinct;
    for (const Showing& showing : showings)
        distinct.emplace(showing.programme, showing.episode);
    std::printf("%s: %zu rows, %zu different episodes\n", service.slug.c_str(), showings.size(),
                distinct.size());
    for (const auto& [name, use] : schedule.pools(service.slug))
        std::printf("  %-24s %3zu episodes for %3zu slots\n", name.c_str(), use.episodes, use.slots);
    std::set<std::string> late;
    for (const Showing& showing : showings)
        if (showing.programme->late && !afterWatershed(showing.start))
            late.insert(formatTime(showing.start + londonOffset).substr(0, 16) + " " +
                        showing.programme->title);
    for (const std::string& text : late)
        std::printf("  LATE PROGRAMME TOO EARLY %s\n", text.c_str());
    std::fflush(stdout);
    tell(schedule, service);
}

void run(const std::vector<std::string>& arguments) {
    const std::string& data = arguments.at(0);
    const std::string& directory = arguments.at(1);
    const bool telling = arguments.size() > 2 && arguments[2] == "--tell";
    const bool reportOnly = arguments.size() > 2 && !telling;

    const auto services = readServices(data + "/services.txt", data + "/lineup.txt");
    const Schedule schedule(services, data + "/catalogue", reportOnly);
    if (reportOnly) {
        for (const Service& service : services)
            if (std::find(arguments.begin() + 2, arguments.end(), service.slug) != arguments.end())
                report(schedule, service);
        return;
    }

    std::vector<std::vector<Showing>> showings;
    showings.reserve(services.size());
    for (const Service& service : services)
        showings.push_back(schedule.showings(service));
    const Shelves shelves(showings);
    GuideWriter writer(services, shelves);
    for (std::size_t i = 0; i != services.size(); ++i)
        writer.add(services[i], showings[i]);
    const std::size_t linkable = writer.linkHd();
    std::filesystem::create_directories(directory);
    std::size_t rows = 0;
    for (const Service& service : services) {
        const GuideFile& guide = writer.guides().at(service.slug);
        rows += guide.events.size();
        writeTextFile(directory + "/" + service.guideFile(),
                      writeGuide(guide, service.name + ": " + service.character));
    }
    if (!telling)
        return;
    for (const Service& service : services)
        tell(schedule, service);
    std::cout << rows << " events of " << services.size() << " services; " << linkable
              << " could be linked with their HD twins\n";
}

} // namespace

} // namespace Ostrel::TV

int main(int count, char** arguments) {
    return Ostrel::TV::runProgram(count, arguments, 2, "ScheduleWriter DATA GUIDE [--tell | SLUG...]",
                                  Ostrel::TV::run);
}
