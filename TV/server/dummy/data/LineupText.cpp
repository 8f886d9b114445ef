#include "TV/server/dummy/data/LineupText.h"

#include <set>

namespace Ostrel::TV {

namespace {

/// ITVService::ServiceInfo::Type, as a number.
unsigned readType(const TextLine& line, const std::string& kind) {
    if (kind == "tv")
        return 1;
    if (kind == "radio")
        return 2;
    if (kind == "data")
        return 3;
    line.fail("kind \"" + kind + "\" is not tv, radio or data");
}

void readFlags(const TextLine& line, const std::string& flags, LineupService& service) {
    if (flags.size() != 4 || flags.find_first_not_of("01") != std::string::npos)
        line.fail("flags \"" + flags + "\" are not four digits 0 or 1");
    service.scrambled = flags[0] == '1';
    service.highDefinition = flags[1] == '1';
    service.visible = flags[2] == '1';
    service.selectable = flags[3] == '1';
}

LineupService readService(const TextLine& line) {
    const auto field = line.fields(9);
    const auto number = [&](std::size_t i, const char* what, long most) {
        return static_cast<unsigned>(line.number(field[i], what, 1, most));
    };
    LineupService service;
    service.frequencyMHz = number(0, "frequency", 999);
    service.channelNumber = number(1, "channel number", 9999);
    service.type = readType(line, field[2]);
    service.name = field[3];
    if (service.name.empty())
        line.fail("the service has no name");
    line.checkText(service.name);
    service.network = number(4, "network", 0xFFFF);
    service.stream = number(5, "stream", 0xFFFF);
    service.dvbId = number(6, "service", 0xFFFF);
    service.provider = field[7];
    line.checkText(service.provider);
    readFlags(line, field[8], service);
    return service;
}

} // namespace

std::vector<LineupService> readLineup(const std::string& path) {
    std::vector<LineupService> services;
    std::set<unsigned> channelNumbers, dvbIds;
    for (const TextLine& line : readTextFile(path)) {
        const LineupService& service = services.emplace_back(readService(line));
        if (!channelNumbers.insert(service.channelNumber).second)
            line.fail("channel number " + std::to_string(service.channelNumber) + " is taken");
        if (!dvbIds.insert(service.dvbId).second)
            line.fail("service " + line.fields()[6] + " is taken");
    }
    if (services.empty())
        throw TextFileError(path + ":0: there is no service");
    return services;
}

} // namespace Ostrel::TV
