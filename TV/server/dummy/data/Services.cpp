#include "TV/server/dummy/data/Services.h"

#include <algorithm>
#include <iterator>
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

void checkSlug(const Service& service) {
    if (service.slug.empty() ||
        service.slug.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") != std::string::npos)
        service.line.fail("slug \"" + service.slug + "\" is not of a to z, 0 to 9 and -");
}

/// The services of a line-up that bear a name.
using Known = std::multimap<std::string, const LineupService*>;

/// Takes the identifiers from the line-up or, for a service that is not in it, from the fields. A
/// service_id tells services of one name apart.
void readIdentifiers(Service& service, const Known& lineup, const std::string& stream,
                     const std::string& dvbId) {
    const auto number = [&](const std::string& text, const char* what) {
        return static_cast<unsigned>(service.line.number(text, what, 1, 0xFFFF));
    };
    const auto [first, last] = lineup.equal_range(service.name);
    if (first == last) {
        if (stream.empty() || dvbId.empty())
            service.line.fail("\"" + service.name +
                              "\" is not in the line-up and has no stream and service here");
        service.network = lineup.empty() ? 1 : lineup.begin()->second->network;
        service.stream = number(stream, "stream");
        service.dvbId = number(dvbId, "service");
        return;
    }
    const bool isNamesake = std::next(first) != last;
    if (isNamesake && dvbId.empty())
        service.line.fail("the line-up has several services \"" + service.name +
                          "\"; say which with its service");
    const auto found = std::find_if(first, last, [&](const auto& other) {
        return dvbId.empty() || other.second->dvbId == number(dvbId, "service");
    });
    if (found == last)
        service.line.fail("the line-up has another service for \"" + service.name + "\"");
    service.network = found->second->network;
    service.stream = found->second->stream;
    service.dvbId = found->second->dvbId;
}

Service readService(const TextLine& line, const Known& lineup) {
    const auto field = line.fields(3, 8);
    Service service;
    service.line = line;
    service.id = static_cast<int>(line.number(field[0], "id", 1, 0x7FFFFFFF));
    service.slug = field[1];
    checkSlug(service);
    service.name = field[2];
    readIdentifiers(service, lineup, field[3], field[4]);
    if (!field[5].empty())
        service.place = static_cast<unsigned>(line.number(field[5], "place", 0, 0x7FFFFFFF));
    readFollows(service, field[6]);
    service.character = field[7];
    return service;
}

} // namespace

std::vector<Service> readServices(const std::string& path, const std::vector<LineupService>& lineup,
                                  WorldProblems& problems) {
    Known known;
    for (const LineupService& service : lineup)
        known.emplace(service.name, &service);

    std::vector<Service> services;
    std::set<int> ids;
    std::set<std::string> slugs;
    std::set<unsigned> dvbIds;
    readTextFile(path, problems, [&](const TextLine& line) {
        const Service service = readService(line, known);
        if (!ids.insert(service.id).second)
            line.fail("id " + std::to_string(service.id) + " is taken");
        if (!slugs.insert(service.slug).second)
            line.fail("slug \"" + service.slug + "\" is taken");
        if (!dvbIds.insert(service.dvbId).second)
            line.fail("another service of this file has the DVB service id " + std::to_string(service.dvbId));
        services.push_back(service);
    });
    return services;
}

std::vector<Service> readServices(const std::string& servicesPath, const std::string& lineupPath) {
    WorldProblems problems;
    auto services = readServices(servicesPath, readLineup(lineupPath, problems), problems);
    if (problems.count() != 0)
        throw TextFileError(problems.text());
    return services;
}

} // namespace Ostrel::TV
