#include "clients/cpp/commands/ScanProgress.h"

#include "clients/cpp/commands/Output.h"
#include "clients/cpp/commands/Table.h"

#include <algorithm>

namespace Ostrel::Client::Tool {

namespace {

constexpr std::size_t barWidth = 25; // columns between the brackets

} // namespace

void ScanProgress::count(const ServiceInfo& service) {
    if (service.type == ServiceInfo::Type::Television)
        ++television;
    else if (service.type == ServiceInfo::Type::Radio)
        ++radio;
    else
        ++others;
    newest = service.name;
}

std::string ScanProgress::describeServices() const {
    const auto total = television + radio + others;
    std::string text = std::to_string(total) + (total == 1 ? " new service" : " new services");
    const char* separator = ": ";
    const auto add = [&](std::size_t count, const char* kind) {
        if (count == 0)
            return;
        text += separator + std::to_string(count) + kind;
        separator = ", ";
    };
    add(television, " tv");
    add(radio, " radio");
    add(others, " data");
    return text;
}

std::string ScanProgress::formatLine() const {
    const auto number = std::to_string(percent);
    std::string text =
        std::string(3 - std::min<std::size_t>(3, number.size()), ' ') + number + " %  " + describeServices();
    if (!newest.empty())
        text += "  " + printable(newest);
    return text;
}

std::string ScanProgress::formatBar(std::size_t columns) const {
    const auto filled = std::min<std::size_t>(percent, 100) * barWidth / 100;
    return cut("[" + std::string(filled, '#') + std::string(barWidth - filled, '.') + "] " + formatLine(),
               columns);
}

} // namespace Ostrel::Client::Tool
