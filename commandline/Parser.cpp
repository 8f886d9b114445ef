#include "commandline/Parser.h"

#include "commandline/Completion.h"
#include "commandline/Help.h"
#include "commandline/Manual.h"
#include "commandline/Suggestion.h"
#include "commandline/Text.h"
#include "commandline/UsageError.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <deque>

namespace Ostrel::CommandLine {

namespace {

constexpr const char* manualOption = "--man";
constexpr const char* completionOption = "--bash-completion";

std::string quote(const std::string& text) {
    return "\"" + text + "\"";
}

std::string join(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& word : words)
        text.append(text.empty() ? "" : ", ").append(word);
    return text;
}

bool areEqual(const std::string& a, const std::string& b) {
    return CLI::detail::to_lower(a) == CLI::detail::to_lower(b);
}

/// Hands one value to its reader, as the choice that it is where there are choices.
void take(const Option& option, const std::string& value) {
    const auto choice = std::find_if(option.choices.begin(), option.choices.end(),
                                     [&](const std::string& each) { return areEqual(each, value); });
    if (choice != option.choices.end())
        option.read(*choice);
    else if (option.choices.empty() || option.isAnyOf)
        option.read(value);
    else
        throw UsageError(quote(value) + " is none of " + join(option.choices));
}

/// The parser of the table of a program.
class Parser {
public:
    explicit Parser(const Program& program) : program_(program) {
        app_.set_help_flag("-h,--help");
        app_.set_version_flag("--version", program.version);
        app_.add_flag(manualOption, wantsManual_);
        app_.add_flag(completionOption, wantsCompletion_);
        app_.fallthrough(); // the commands inherit it
        add(app_, program);
    }

    /// @throws UsageError
    void parse(int argc, const char* const* argv) {
        try {
            app_.parse(argc, argv);
        } catch (const CLI::CallForVersion&) {
            wantsVersion_ = true;
        } catch (const CLI::Success&) {
            wantsHelp_ = true;
        } catch (const CLI::ParseError& error) {
            if (wantsManual_ || wantsCompletion_) // wanted without the command that is missing
                return;
            throw UsageError(describe(error), getName(getPath()) + " --help");
        }
        if (help_ != nullptr && help_->parsed()) {
            wantsHelp_ = true;
            findPath(program_, helpOf_);
        }
        for (const auto& [flag, option] : flags_) {
            if (flag->count() > 0)
                option->read(flag->as<bool>() ? "true" : "false");
        }
    }

    std::function<void()> getRun(const Print& print) const {
        if (wantsManual_ || wantsCompletion_) {
            const auto format = wantsManual_ ? formatManual : formatBashCompletion;
            return [&program = program_, format, print] { print(format(program)); };
        }
        const auto path = getPath();
        if (wantsHelp_)
            return [&program = program_, path, print] { print(formatHelp(program, path, getTextWidth())); };
        if (wantsVersion_)
            return [&program = program_, print] { print(program.name + " " + program.version + "\n"); };
        return path.back()->run;
    }

private:
    void add(CLI::App& app, const Command& command) {
        if (command.name == helpCommand) {
            help_ = &app;
            app.add_option("COMMAND", helpOf_)->expected(0, CLI::detail::expected_max_vector_size);
            return;
        }
        for (const auto& option : command.options)
            add(app, option);
        for (const auto& option : command.options)
            relate(app, option);
        for (const auto& each : command.commands)
            add(*app.add_subcommand(each.name), each);
        if (!command.commands.empty())
            app.require_subcommand(command.run ? 0 : 1, 1);
    }

    void add(CLI::App& app, const Option& option) {
        if (option.isFlag()) {
            flags_.emplace_back(app.add_flag(option.name, values_.emplace_back()), &option);
            return;
        }
        auto* made = app.add_option(option.name, [&option, &app](const CLI::results_t&) {
            // The argument is as the parser reads lists; this is as it was given.
            for (const auto& value : app.get_option(option.getNames().front())->results()) {
                try {
                    take(option, value);
                } catch (const UsageError& error) {
                    throw CLI::ValidationError(option.name, error.what());
                }
            }
            return true;
        });
        made->required(option.isRequired)->envname(option.environment)->allow_extra_args(false);
        if (option.mayRepeat && option.isArgument())
            made->expected(-1);
        if (option.mayRepeat)
            made->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }

    static void relate(CLI::App& app, const Option& option) {
        auto* made = app.get_option(option.getNames().front());
        for (const auto& other : option.excludes)
            made->excludes(app.get_option(other));
        for (const auto& other : option.needs)
            made->needs(app.get_option(other));
    }

    /// Returns the program and the commands that were given.
    Path getPath() const {
        if (help_ != nullptr && help_->parsed())
            return findPath(program_, helpOf_);
        std::vector<std::string> words;
        auto chosen = app_.get_subcommands();
        while (!chosen.empty()) {
            words.push_back(chosen.front()->get_name());
            chosen = chosen.front()->get_subcommands();
        }
        return findPath(program_, words);
    }

    std::string describeStray(const std::string& argument) const {
        const auto path = getPath();
        const auto& command = *path.back();
        if (argument.starts_with('-')) {
            const auto word = argument.substr(0, argument.find('='));
            std::vector<std::string> names;
            for (const auto& step : {path, Path{&program_}}) {
                for (const auto& option : getOptions(step)) {
                    if (option.isCalled(word))
                        return quote(argument) + " goes behind the command";
                    if (!option.isArgument()) {
                        const auto more = option.getNames();
                        names.insert(names.end(), more.begin(), more.end());
                    }
                }
            }
            return "there is no option " + quote(argument) + suggest(word, names);
        }
        if (!command.commands.empty())
            return "there is no command " + quote(argument) + suggest(argument, getCommandNames(command));
        return quote(argument) + " is one argument too many" +
               (command.strayHint.empty() ? "" : "; " + command.strayHint);
    }

    std::string describe(const CLI::ParseError& error) const {
        const auto isA = [&](CLI::ExitCodes code) { return error.get_exit_code() == static_cast<int>(code); };
        std::string text = error.what();
        const auto name = text.substr(0, text.find(':'));
        const auto strays = app_.remaining(true);
        // What is missing is often missing because of what is there and unknown.
        if (!strays.empty() && (isA(CLI::ExitCodes::ExtrasError) || isA(CLI::ExitCodes::RequiredError)))
            return describeStray(strays.front());
        if (isA(CLI::ExitCodes::ArgumentMismatch))
            return text.ends_with("missing") ? name + " wants a value"
                                             : name + " has more values than it takes";
        if (isA(CLI::ExitCodes::RequiredError)) {
            return getPath().back()->commands.empty() ? text.substr(0, text.find(' ')) + " is missing"
                                                      : "a command is missing";
        }
        if (isA(CLI::ExitCodes::ConversionError)) { // only the flags convert: "Could not convert: --json = x"
            const auto flag = text.substr(text.find('-'));
            return flag.substr(0, flag.find(' ')) + " takes true or false, or no value";
        }
        if (isA(CLI::ExitCodes::ExcludesError))
            return replace(text, " excludes ", " and ") + " do not go together";
        if (isA(CLI::ExitCodes::RequiresError))
            return replace(text, " requires ", " goes with ");
        return text;
    }

    static std::string replace(std::string text, const std::string& from, const std::string& to) {
        const auto at = text.find(from);
        return at == std::string::npos ? text : text.replace(at, from.size(), to);
    }

    const Program& program_;
    CLI::App app_;
    CLI::App* help_ = nullptr; ///< the command, where there is one
    std::vector<std::string> helpOf_;
    std::deque<bool> values_; ///< of flags_, which keep references
    std::vector<std::pair<CLI::Option*, const Option*>> flags_;
    bool wantsHelp_ = false;
    bool wantsVersion_ = false;
    bool wantsManual_ = false;
    bool wantsCompletion_ = false;
};

} // namespace

std::function<void()> parse(const Program& program, int argc, const char* const* argv, const Print& print) {
    Parser parser(program);
    parser.parse(argc, argv);
    return parser.getRun(print);
}

} // namespace Ostrel::CommandLine
