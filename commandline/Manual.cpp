#include "commandline/Manual.h"

#include "commandline/Help.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace Ostrel::CommandLine {

namespace {

/// Keeps a text from being read as requests and escapes of the formatter.
std::string escape(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else if (c == '\'')
            result += "\\(aq";
        else if (c == '^')
            result += "\\(ha";
        else if (c == '~')
            result += "\\(ti";
        else if (c == '`')
            result += "\\(ga";
        else
            result += c;
    }
    return result.starts_with('.') ? "\\&" + result : result;
}

std::string toUpper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

std::string formatLines(const std::vector<std::string>& lines) {
    std::string text = ".EX\n";
    for (const auto& line : lines)
        text += escape(line) + "\n";
    return text + ".EE\n";
}

/// Paragraphs, and between them what stays as it is.
std::string formatNotes(const std::string& notes) {
    std::string text;
    std::vector<std::string> whole;
    const auto flush = [&] {
        if (!whole.empty())
            text += formatLines(whole);
        whole.clear();
    };
    std::istringstream lines(notes);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("  ")) {
            whole.push_back(line);
            continue;
        }
        flush();
        text += line.empty() ? ".PP\n" : escape(line) + "\n";
    }
    flush();
    return text;
}

std::string formatOption(const Option& option) {
    std::string text = ".TP\n";
    const char* separator = "";
    for (const auto& name : option.getNames()) {
        text.append(separator).append("\\fB").append(escape(name)).append("\\fR");
        separator = ", ";
    }
    if (const auto value = option.getValueName(); !value.empty())
        text += " \\fI" + escape(value) + "\\fR";
    const auto standard = formatStandard(option);
    return text + "\n" + escape(option.description + (standard.empty() ? "" : " " + standard)) + "\n";
}

std::string formatCommand(const Path& path) {
    const auto& command = *path.back();
    auto text = ".SS \"" + escape(getName(Path(path.begin() + 1, path.end()))) + "\"\n" +
                escape(command.description) + ".\n.PP\n.B " + escape(formatUsage(path)) + "\n";
    for (const auto& option : command.options)
        text += formatOption(option);
    if (!command.notes.empty())
        text += ".PP\n" + formatNotes(command.notes);
    if (!command.examples.empty())
        text += ".PP\n" + formatLines(command.examples);
    for (const auto& each : command.commands) {
        auto longer = path;
        longer.push_back(&each);
        text += formatCommand(longer);
    }
    return text;
}

std::string formatEnvironment(const Command& command) {
    std::string text;
    for (const auto& option : command.options) {
        if (!option.environment.empty())
            text += ".TP\n.B " + option.environment + "\nThe value of \\fB" + escape(option.name) +
                    "\\fR where the command line gives none.\n";
    }
    for (const auto& each : command.commands)
        text += formatEnvironment(each);
    return text;
}

std::string formatStatuses(const Program& program) {
    std::string text;
    for (const auto& status : program.exitStatuses)
        text += ".TP\n.B " + escape(status.number) + "\n" + escape(status.meaning) + "\n";
    return text;
}

std::string formatSection(const std::string& title, const std::string& text) {
    return text.empty() ? "" : ".SH " + title + "\n" + text;
}

} // namespace

std::string formatManual(const Program& program) {
    auto summary = program.description.substr(0, program.description.find_last_not_of('.') + 1);
    std::string commands;
    for (const auto& command : program.commands)
        commands += formatCommand({&program, &command});
    std::string options;
    for (const auto& option : getOptions({&program}))
        options += formatOption(option);
    return ".TH " + escape(toUpper(program.name)) + " 1 \"\" \"" +
           escape(program.name + " " + program.version) + "\" \"Ostrel TV\"\n" +
           formatSection("NAME", escape(program.name) + " \\- " + escape(summary) + "\n") +
           formatSection("SYNOPSIS", ".B " + escape(formatUsage({&program})) + "\n") +
           formatSection("DESCRIPTION", formatNotes(program.notes)) + formatSection("OPTIONS", options) +
           formatSection("COMMANDS", commands) + formatSection("ENVIRONMENT", formatEnvironment(program)) +
           formatSection("EXIT STATUS", formatStatuses(program)) +
           formatSection("EXAMPLES", program.examples.empty() ? "" : formatLines(program.examples));
}

} // namespace Ostrel::CommandLine
