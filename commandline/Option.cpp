#include "commandline/Option.h"

#include <algorithm>
#include <sstream>

namespace Ostrel::CommandLine {

std::vector<std::string> Option::getNames() const {
    std::vector<std::string> names;
    std::istringstream text(name);
    for (std::string each; std::getline(text, each, ',');)
        names.push_back(each);
    return names;
}

bool Option::isCalled(const std::string& word) const {
    const auto names = getNames();
    return std::find(names.begin(), names.end(), word) != names.end();
}

std::string Option::getValueName() const {
    if (!value.empty() || isArgument())
        return value;
    std::string text;
    for (const auto& choice : choices)
        text.append(text.empty() ? "" : "|").append(choice);
    return text;
}

} // namespace Ostrel::CommandLine
