#include "commandline/Values.h"

#include "commandline/UsageError.h"

#include <charconv>
#include <cmath>

namespace Ostrel::CommandLine {

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

Reader positiveNumber(double& place) {
    return [&place](const std::string& given) {
        double number = 0;
        const auto* end = given.data() + given.size();
        const auto [stop, error] = std::from_chars(given.data(), end, number);
        if (error != std::errc() || stop != end || !std::isfinite(number) || number <= 0)
            throw UsageError("\"" + given + "\" is no number above 0");
        place = number;
    };
}

} // namespace Ostrel::CommandLine
