#include "TV/server/dummy/data/Services.h"

#include "TV/server/dummy/data/LineupText.h"

#include <map>
#include <set>

namespace Ostrel::TV {

namespace {

void readFollows(Service& service, const std::string& text) {
    if (text.empty())
        return;
    const auto words = splitText(text, ' ');
    if (words.size() == 2 && words[0] == "hd")
        service.follows = Service::Follows::SideBySide;
    else if (words.size() == 2 && words[0] == "later")
        service.follows = Service::Follows::OneHourLater;
    else
        service.line.fail("expected \"hd SLUG\" or \"later SLUG\"");
    service.leader = words[1];
}

} // namespace

std::vector<Service> readServices(const std::string& servicesPath, const std::string& lineupPath) {
    constexpr unsigned network = 0x233A; // of every service, in the line-up or not
    std::map<std::string, LineupService> lineup;
    for (const LineupService& service : readLineup(lineupPath))
        lineup[service.name] = service;

    std::vector<Service> services;
    std::set<std::string> slugs;
    std::set<unsigned> dvbIds;
    for (const TextLine& line : readTextFile(servicesPath)) {
        const auto field = line.fields(8);
        Service service;
        service.line = line;
        service.id = static_cast<int>(line.number(field[0], "id", 1, 0x7FFFFFFF));
        service.slug = field[1];
        service.name = field[2];
        const auto known = lineup.find(service.name);
        if (field[3].empty()) {
            if (known == lineup.end())
                line.fail("\"" + service.name + "\" is not in the line-up and has no identifiers here");
            service.network = known->second.network;
            service.stream = known->second.stream;
            service.dvbId = known->second.dvbId;
        } else {
            if (known != lineup.end())
                line.fail("\"" + service.name + "\" has its identifiers in the line-up");
            service.network = network;
            service.stream = static_cast<unsigned>(line.number(field[3], "stream", 1, 0xFFFF));
            service.dvbId = static_cast<unsigned>(line.number(field[4], "service", 1, 0xFFFF));
        }
        service.place = static_cast<unsigned>(line.number(field[5], "place", 0, 64));
        readFollows(service, field[6]);
        service.character = field[7];
        if (!services.empty() && service.id <= services.back().id)
            line.fail("the services are not in the order of their ids");
        if (!slugs.insert(service.slug).second)
            line.fail("slug \"" + service.slug + "\" is taken");
        if (!dvbIds.insert(service.dvbId).second)
            line.fail("the DVB service id is taken");
        services.push_back(service);
    }
    return services;
}

} // namespace Ostrel::TV
