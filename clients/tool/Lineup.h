#pragma once

#include "clients/cpp/Client.h"

namespace Ostrel::Client::Tool {

/// What there is to say, and to do, when there are no services at all.
constexpr const char* emptyLineup = "the service list is empty; ostrel-tv scan blind finds services";

/// Returns up to limit services from the cursor of the selected list on.
std::vector<ServiceInfo> readServices(Client& client, std::uint32_t limit);

/// Returns all services, by channel number.
std::vector<ServiceInfo> readLineup(Client& client);

/// Returns those services that have a channel number.
///
/// @throws std::runtime_error  none has it, or there are none
std::vector<ServiceInfo> findChannel(const std::vector<ServiceInfo>& lineup, std::uint32_t channelNumber);

} // namespace Ostrel::Client::Tool
