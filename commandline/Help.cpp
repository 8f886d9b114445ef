#include "commandline/Help.h"

#include "commandline/Text.h"

#include <utility>

namespace Ostrel::CommandLine {

namespace {

/// Two columns, the right one broken where it has to be.
class Listing {
public:
    explicit Listing(std::size_t columns) : columns_(columns) {}

    void addTitle(const std::string& title) { text_ += "\n" + title + ":\n"; }

    void add(const std::string& left, const std::string& right) {
        constexpr std::size_t gap = 2;
        const std::size_t leftWidth = columns_ < 60 ? 12 : 24;
        std::string line = "  " + left;
        if (line.size() + gap > leftWidth)
            line += "\n" + std::string(leftWidth, ' ');
        else
            line.append(leftWidth - line.size(), ' ');
        text_ += line + wrap(right, leftWidth, columns_);
    }

    const std::string& getText() const { return text_; }

private:
    const std::size_t columns_;
    std::string text_;
};

std::string formatLeft(const Option& option) {
    std::string text;
    for (const auto& name : option.getNames())
        text.append(text.empty() ? "" : ", ").append(name);
    const auto value = option.getValueName();
    return value.empty() ? text : text + " " + value;
}

void listOptions(Listing& listing, const std::vector<Option>& options, bool arguments) {
    bool isFirst = true;
    for (const auto& option : options) {
        if (option.isArgument() != arguments)
            continue;
        if (std::exchange(isFirst, false))
            listing.addTitle(arguments ? "Arguments" : "Options");
        const auto standard = formatStandard(option);
        listing.add(formatLeft(option), option.description + (standard.empty() ? "" : " " + standard));
    }
}

void listCommands(Listing& listing, const Command& command) {
    if (command.commands.empty())
        return;
    listing.addTitle("Commands");
    for (const auto& each : command.commands)
        listing.add(each.name, each.description);
}

std::string formatExamples(const Command& command) {
    if (command.examples.empty())
        return "";
    std::string text = command.examples.size() == 1 ? "\nExample:\n" : "\nExamples:\n";
    for (const auto& example : command.examples)
        text += "  " + example + "\n";
    return text;
}

std::string formatStatuses(const Program& program, std::size_t columns) {
    if (program.exitStatuses.empty())
        return "";
    std::string text;
    for (const auto& status : program.exitStatuses)
        text.append(text.empty() ? "Exit status: " : "; ").append(status.number + " " + status.meaning);
    return "\n" + wrap(text + ".", 0, columns);
}

} // namespace

void addHelp(Program& program) {
    program.commands.push_back({.name = helpCommand,
                                .description = "Print the help of a command",
                                .examples = {program.name + " help " + program.commands.front().name},
                                .options = {{.name = "COMMAND",
                                             .description = "The command, word by word",
                                             .choices = getCommandNames(program),
                                             .mayRepeat = true}}});
}

std::string formatUsage(const Path& path) {
    std::string text = getName(path) + " [OPTION ...]";
    for (const auto& option : path.back()->options) {
        if (!option.isArgument())
            continue;
        const auto name = option.name + (option.mayRepeat ? " ..." : "");
        text += option.isRequired ? " " + name : " [" + name + "]";
    }
    if (path.back()->commands.empty())
        return text;
    return text + (path.back()->run ? " [COMMAND]" : " COMMAND");
}

std::string formatStandard(const Option& option) {
    std::string text = option.environment.empty() ? "" : "$" + option.environment;
    if (!option.standard.empty())
        text.append(text.empty() ? "" : ", else ").append(option.standard);
    return text.empty() ? "" : "[" + text + "]";
}

std::string formatHelp(const Program& program, const Path& path, std::size_t columns) {
    const auto& command = *path.back();
    const bool isProgram = path.size() == 1;
    Listing listing(columns);
    listCommands(listing, command);
    listOptions(listing, getOptions(path), true);
    listOptions(listing, getOptions(path), false);
    auto text = wrap(command.description, 0, columns) + "\n" +
                wrap("Usage: " + formatUsage(path), 7, columns) + listing.getText();
    if (!command.notes.empty())
        text += "\n" + wrap(command.notes, 0, columns);
    text += formatExamples(command);
    if (isProgram)
        return text + formatStatuses(program, columns);
    return text + "\n" + wrap("More options: " + program.name + " --help", 0, columns);
}

} // namespace Ostrel::CommandLine
