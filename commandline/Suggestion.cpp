#include "commandline/Suggestion.h"

#include <algorithm>

namespace Ostrel::CommandLine {

namespace {

constexpr std::size_t fewestLetters = 2; // one letter may be anything
constexpr std::size_t longest = 64; // no name is as long, and longer texts take their square of time

/// Returns how many letters two texts begin with alike.
std::size_t countSame(std::string_view a, std::string_view b) {
    const auto difference = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    return static_cast<std::size_t>(difference.first - a.begin());
}

} // namespace

std::size_t getDistance(std::string_view from, std::string_view to) {
    std::vector<std::vector<std::size_t>> distances(from.size() + 1, std::vector<std::size_t>(to.size() + 1));
    for (std::size_t i = 0; i <= from.size(); ++i) {
        for (std::size_t j = 0; j <= to.size(); ++j) {
            if (i == 0 || j == 0) {
                distances[i][j] = i + j;
                continue;
            }
            const bool isSame = from[i - 1] == to[j - 1];
            auto least = std::min({distances[i - 1][j] + 1, distances[i][j - 1] + 1,
                                   distances[i - 1][j - 1] + (isSame ? 0 : 1)});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1])
                least = std::min(least, distances[i - 2][j - 2] + 1);
            distances[i][j] = least;
        }
    }
    return distances[from.size()][to.size()];
}

std::optional<std::string> findSimilar(std::string_view given, const std::vector<std::string>& names) {
    const auto dashes = std::min(given.find_first_not_of('-'), given.size());
    if (given.size() < dashes + fewestLetters || given.size() > longest)
        return std::nullopt;
    const auto longer = std::find_if(names.begin(), names.end(),
                                     [&](const std::string& name) { return name.starts_with(given); });
    if (longer != names.end())
        return *longer;
    const std::string* nearest = nullptr;
    auto least = std::max<std::size_t>(1, given.size() / 3) + 1;
    for (const auto& name : names) {
        const auto distance = getDistance(given, name);
        const bool isNearer = distance < least || (distance == least && nearest != nullptr &&
                                                   countSame(given, name) > countSame(given, *nearest));
        if (isNearer && distance < name.size()) {
            least = distance;
            nearest = &name;
        }
    }
    return nearest != nullptr ? std::optional(*nearest) : std::nullopt;
}

std::string suggest(std::string_view given, const std::vector<std::string>& names) {
    const auto similar = findSimilar(given, names);
    return similar ? "; did you mean \"" + *similar + "\"?" : "";
}

} // namespace Ostrel::CommandLine
