#include "TV/server/dummy/data/WorldProblems.h"

#include <utility>

namespace Ostrel::TV {

void WorldProblems::add(const std::function<std::string()>& place, std::string reason) {
    if (count_++ < mostKept)
        kept_.push_back({place(), std::move(reason)});
}

void WorldProblems::add(std::string place, std::string reason) {
    if (count_++ < mostKept)
        kept_.push_back({std::move(place), std::move(reason)});
}

std::string WorldProblems::text() const {
    std::string text;
    for (const WorldProblem& problem : kept_)
        text += (text.empty() ? "" : "\n") + problem.place + ": " + problem.reason;
    if (count_ > kept_.size())
        text += "\nand " + std::to_string(count_ - kept_.size()) + " more";
    return text;
}

} // namespace Ostrel::TV
