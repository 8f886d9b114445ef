#include "commandline/Command.h"

#include "commandline/Suggestion.h"
#include "commandline/UsageError.h"

#include <algorithm>

namespace Ostrel::CommandLine {

std::string getName(const Path& path) {
    std::string text;
    for (const auto* command : path)
        text.append(text.empty() ? "" : " ").append(command->name);
    return text;
}

std::vector<std::string> getCommandNames(const Command& command) {
    std::vector<std::string> names;
    for (const auto& each : command.commands)
        names.push_back(each.name);
    return names;
}

Path findPath(const Program& program, const std::vector<std::string>& words) {
    Path path{&program};
    for (const auto& word : words) {
        const auto& commands = path.back()->commands;
        const auto found = std::find_if(commands.begin(), commands.end(),
                                        [&](const Command& each) { return each.name == word; });
        if (found == commands.end()) {
            throw UsageError("there is no command \"" + word + "\"" +
                                 suggest(word, getCommandNames(*path.back())),
                             getName(path) + " --help");
        }
        path.push_back(&*found);
    }
    return path;
}

std::vector<Option> getOptions(const Path& path) {
    std::vector<Option> options{{.name = "-h,--help", .description = "Print this help"}};
    if (path.size() == 1)
        options.push_back({.name = "--version", .description = "Print the version"});
    options.insert(options.end(), path.back()->options.begin(), path.back()->options.end());
    return options;
}

} // namespace Ostrel::CommandLine
