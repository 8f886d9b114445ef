#include "clients/tool/ScanProgress.h"

#include "clients/tool/Output.h"

#include <algorithm>

namespace Ostrel::Client::Tool {

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
    const auto total = getTotal();
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
    return cut(drawBar(percent, 100, 25) + " " + formatLine(), columns);
}

} // namespace Ostrel::Client::Tool
