#include "clients/tool/Lineup.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <stdexcept>

namespace Ostrel::Client::Tool {

namespace {

constexpr std::uint32_t sliceSize = 500; // keeps each reply small, however long the list is

} // namespace

std::vector<ServiceInfo> readServices(Client& client, std::uint32_t limit) {
    std::vector<ServiceInfo> services;
    while (services.size() < limit) {
        const auto wanted = std::min(sliceSize, limit - static_cast<std::uint32_t>(services.size()));
        const auto slice = client.read(wanted);
        services.insert(services.end(), slice.begin(), slice.end());
        if (slice.size() < wanted)
            break;
    }
    return services;
}

std::vector<ServiceInfo> readLineup(Client& client) {
    client.selectList("all");
    auto services = readServices(client, std::numeric_limits<std::uint32_t>::max());
    std::stable_sort(services.begin(), services.end(), [](const ServiceInfo& a, const ServiceInfo& b) {
        return a.channelNumber < b.channelNumber;
    });
    return services;
}

std::vector<ServiceInfo> findChannel(const std::vector<ServiceInfo>& lineup, std::uint32_t channelNumber) {
    std::vector<ServiceInfo> found;
    std::copy_if(lineup.begin(), lineup.end(), std::back_inserter(found),
                 [&](const ServiceInfo& service) { return service.channelNumber == channelNumber; });
    if (lineup.empty())
        throw std::runtime_error(emptyLineup);
    if (found.empty())
        throw std::runtime_error("no service has the channel number " + std::to_string(channelNumber) +
                                 "; ostrel-tv services lists them");
    return found;
}

} // namespace Ostrel::Client::Tool
