#include "TV/server/dummy/data/LineupText.h"

#include <cstdio>

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
    service.line = line;
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

constexpr const char* heading =
    R"(# The line-up: one service a line, in the order in which a transponder carries them.
#
#   MHz                  transponder frequency, 1 to 999
#   number               logical channel number, 1 to 9999, unique
#   kind                 tv, radio or data
#   name                 as shown to the viewer
#   network              DVB original_network_id
#   stream               DVB transport_stream_id
#   service              DVB service_id, unique
#   provider             the broadcaster's short name; may be empty
#   flags                scrambled, high definition, visible, selectable: 0 or 1 each
#
# Fields are separated by bars; blanks around a field do not count.
#
)";

} // namespace

std::vector<LineupService> readLineup(const std::string& path, WorldProblems& problems) {
    std::vector<LineupService> services;
    readTextFile(path, problems, [&](const TextLine& line) { services.push_back(readService(line)); });
    return services;
}

std::vector<LineupService> readLineup(const std::string& path) {
    WorldProblems problems;
    auto services = readLineup(path, problems);
    if (problems.count() != 0)
        throw TextFileError(problems.text());
    return services;
}

std::string writeLineup(const std::vector<LineupService>& services) {
    constexpr const char* kinds[] = {"tv", "radio", "data"};
    std::string text = heading;
    for (const LineupService& service : services) {
        char numbers[32], identifiers[64];
        std::snprintf(numbers, sizeof numbers, "%3u | %4u | %-5s | ", service.frequencyMHz,
                      service.channelNumber, kinds[service.type - 1]);
        std::snprintf(identifiers, sizeof identifiers, " | 0x%04X | 0x%04X | 0x%04X | ", service.network,
                      service.stream, service.dvbId);
        text += numbers + service.name + identifiers + service.provider + " | ";
        for (const bool flag :
             {service.scrambled, service.highDefinition, service.visible, service.selectable})
            text += flag ? '1' : '0';
        text += '\n';
    }
    return text;
}

} // namespace Ostrel::TV
