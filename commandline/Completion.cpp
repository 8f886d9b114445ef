#include "commandline/Completion.h"

#include <algorithm>

namespace Ostrel::CommandLine {

namespace {

std::string join(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& word : words)
        text.append(text.empty() ? "" : " ").append(word);
    return text;
}

std::string formatCase(const std::string& pattern, const std::string& action) {
    return "    " + pattern + ") " + action + " ;;\n";
}

/// What bash is to compare: a command's name, whatever may follow it, and an option.
std::string patternOf(const std::string& name, const std::string& option) {
    return "'" + name + "'*' " + option + "'";
}

/// What the script knows: a line of a case statement for each thing.
struct Cases {
    std::string commands; ///< "ostrel-tv scan" is a command
    std::string words; ///< what may stand behind a command
    std::string values; ///< what may stand behind an option that takes a value

    /// @param inherited  the names of the options that the commands before it hand down
    void add(const Path& path, std::vector<std::string> inherited);
};

void Cases::add(const Path& path, std::vector<std::string> inherited) {
    const auto name = getName(path);
    auto proposals = getCommandNames(*path.back());
    std::vector<std::string> own;
    for (const auto& option : getOptions(path)) {
        if (option.isArgument()) {
            proposals.insert(proposals.end(), option.choices.begin(), option.choices.end());
            continue;
        }
        std::string action = "words='" + join(option.choices) + "'";
        if (option.isFile)
            action += " files=1";
        for (const auto& each : option.getNames()) {
            own.push_back(each);
            if (!option.isFlag()) // the commands behind this one take it too
                values += formatCase(patternOf(name, each), action);
        }
    }
    proposals.insert(proposals.end(), own.begin(), own.end());
    proposals.insert(proposals.end(), inherited.begin(), inherited.end());
    words += formatCase("'" + name + "'", "words='" + join(proposals) + "'");
    if (path.size() > 1)
        commands += formatCase("'" + name + "'", "command=\"$command $word\"");
    for (const auto& option : path.back()->options) {
        const auto names = option.getNames();
        if (!option.isArgument())
            inherited.insert(inherited.end(), names.begin(), names.end());
    }
    for (const auto& each : path.back()->commands) {
        auto longer = path;
        longer.push_back(&each);
        add(longer, inherited);
    }
}

// clang-format off
constexpr const char* script = R"(# Completes @PROGRAM@ in bash.

# Says in "words" and "files" what the value of an option may be; fails for what takes none.
@FUNCTION@_value() {
    case "$command $1" in
@VALUES@    *) return 1 ;;
    esac
}

@FUNCTION@() {
    local current=${COMP_WORDS[COMP_CWORD]} command=@PROGRAM@ word option='' words='' files='' i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        [[ $word == = ]] && continue
        if [[ $option ]]; then
            option=''
            continue
        fi
        if @FUNCTION@_value "$word"; then
            option=$word
            continue
        fi
        case "$command $word" in
@COMMANDS@        esac
    done
    [[ $current == = ]] && current=''
    words='' files=''
    if ! { [[ $option ]] && @FUNCTION@_value "$option"; }; then
        case $command in
@WORDS@        esac
    fi
    if [[ $files ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames 2>/dev/null
    else
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    fi
}

complete -F @FUNCTION@ @PROGRAM@
)";
// clang-format on

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

} // namespace

std::string formatBashCompletion(const Program& program) {
    Cases cases;
    cases.add({&program}, {});
    auto function = "_" + program.name;
    std::replace(function.begin(), function.end(), '-', '_');
    std::string text = script;
    replaceAll(text, "@VALUES@", cases.values);
    replaceAll(text, "@COMMANDS@", cases.commands);
    replaceAll(text, "@WORDS@", cases.words);
    replaceAll(text, "@FUNCTION@", function);
    replaceAll(text, "@PROGRAM@", program.name);
    return text;
}

} // namespace Ostrel::CommandLine
