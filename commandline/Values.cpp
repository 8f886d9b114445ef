#include "commandline/Values.h"

#include "commandline/UsageError.h"

#include <charconv>
#include <cmath>

namespace Ostrel::CommandLine {

namespace {

std::optional<double> readNumber(const std::string& text) {
    double number = 0;
    const auto* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || !std::isfinite(number))
        return std::nullopt;
    return number;
}

/// As people write it, without zeros behind the point.
std::string plain(double number) {
    char digits[32];
    return {digits, std::to_chars(digits, digits + sizeof digits, number).ptr};
}

} // namespace

Reader flag(bool& place) {
    return [&place](const std::string& given) { place = given == "true"; };
}

std::uint64_t readWholeNumber(const std::string& text, std::uint64_t least, std::uint64_t most) {
    std::uint64_t number = 0;
    const auto* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < least || number > most) {
        throw UsageError("\"" + text + "\" is no whole number from " + std::to_string(least) + " to " +
                         std::to_string(most));
    }
    return number;
}

Reader number(std::optional<double>& place, double least, double most) {
    return [&place, least, most](const std::string& given) {
        const auto value = readNumber(given);
        if (!value || *value < least || *value > most)
            throw UsageError("\"" + given + "\" is no number from " + plain(least) + " to " + plain(most));
        place = value;
    };
}

Reader positiveNumber(double& place) {
    return [&place](const std::string& given) {
        const auto value = readNumber(given);
        if (!value || *value <= 0)
            throw UsageError("\"" + given + "\" is no number above 0");
        place = *value;
    };
}

} // namespace Ostrel::CommandLine
