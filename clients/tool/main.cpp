#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <iostream>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace Ostrel::Client;
using namespace Ostrel::Client::Tool;

enum ExitStatus { Done = 0, Refused = 1, Usage = 2, NoConnection = 3, Stopped = 130 };

void complain(const std::string& text) {
    std::cerr << "ostrel-tv: " << printable(text) << std::endl;
}

std::string checkSeconds(const std::string& text) {
    double seconds = 0;
    const bool isGood = CLI::detail::lexical_cast(text, seconds) && seconds > 0;
    return isGood ? "" : "\"" + text + "\" is no number above 0";
}

void addReminder(CLI::App& app) {
    for (auto* command : app.get_subcommands({})) {
        command->footer(command->get_footer() + "\n\nMore options, --json among them: ostrel-tv --help");
        addReminder(*command);
    }
}

void addEverything(CLI::App& app, Session& session, Action& action) {
    app.name("ostrel-tv");
    app.description("Reads and steers a TV service from the command line.");
    app.set_version_flag("--version", "ostrel-tv " OSTREL_VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
    app.add_option("--url", session.url, "Where the service is: ws://HOST:PORT/PATH, HOST:PORT\nor unix:PATH")
        ->envname("OSTREL_TV_URL")
        ->type_name("URL")
        ->capture_default_str();
    app.add_option("--token-file", session.tokenFile, "Read the token that the service wants from this file")
        ->envname("OSTREL_TV_TOKEN_FILE")
        ->type_name("FILE");
    app.add_flag("--json", session.json, "Print JSON for a script, and nothing else");
    app.add_option("--timeout", session.timeoutSeconds, "How long to wait for the connection and each reply")
        ->check(checkSeconds)
        ->type_name("SECONDS")
        ->capture_default_str();
    app.footer("The options above go before or after the command. ostrel-tv COMMAND --help tells more.\n"
               "\n"
               "Examples:\n"
               "  ostrel-tv services --limit 5\n"
               "  ostrel-tv services --channel 4 --json\n"
               "  ostrel-tv now\n"
               "  ostrel-tv guide --channel 1 --from now --to +6h\n"
               "  ostrel-tv scan blind\n"
               "  ostrel-tv --url unix:/run/ostrel.sock watch\n"
               "  ostrel-tv call signalStatusGet '{\"sourceId\":1}'\n"
               "\n"
               "Exit status: 0 done, 1 refused by the service (or nowhere to write), 2 wrong usage,\n"
               "3 no connection, or lost, or no answer, 130 interrupted.");
    app.require_subcommand(1);
    app.fallthrough(); // the commands inherit it
    addServices(app, action);
    addSignal(app, action);
    addTime(app, action);
    addGenres(app, action);
    addNow(app, action);
    addGuide(app, action);
    addQuery(app, action);
    addScan(app, action);
    addTransponders(app, action);
    addCall(app, action);
    addWatch(app, action);
    addReminder(app);
}

const char* getHint(ConnectError::Cause cause) {
    switch (cause) {
    case ConnectError::Cause::Unreachable:
        return "; is ostrel-tvd running? choose another with --url";
    case ConnectError::Cause::TokenRefused:
        return "; name the file with its token with --token-file";
    case ConnectError::Cause::Refused:
        break;
    }
    return "";
}

/// Returns the innermost command that was given.
const CLI::App& findCommand(const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    return chosen.empty() ? app : findCommand(*chosen.front());
}

std::string getPath(const CLI::App& command) {
    const auto* parent = command.get_parent();
    return parent != nullptr ? getPath(*parent) + " " + command.get_name() : command.get_name();
}

std::string describeStray(const CLI::App& command, const std::string& argument) {
    const auto quoted = "\"" + argument + "\"";
    if (argument.starts_with('-')) {
        const auto* option = command.get_option_no_throw(argument.substr(0, argument.find('=')));
        return option != nullptr ? quoted + " goes behind the command" : "there is no option " + quoted;
    }
    if (!command.get_subcommands({}).empty())
        return "there is no command " + quoted;
    if (command.get_name() == "query")
        return quoted + " is one argument too many; put the expression in quotation marks";
    return quoted + " is one argument too many";
}

std::string describeMistake(const CLI::App& app, const CLI::ParseError& error) {
    const auto isA = [&](CLI::ExitCodes code) { return error.get_exit_code() == static_cast<int>(code); };
    std::string text = error.what();
    const auto option = text.substr(0, text.find(':'));
    const auto strays = app.remaining(true);
    // What is missing is often missing because of what is there and unknown.
    if (!strays.empty() && (isA(CLI::ExitCodes::ExtrasError) || isA(CLI::ExitCodes::RequiredError)))
        return describeStray(findCommand(app), strays.front());
    if (isA(CLI::ExitCodes::ArgumentMismatch))
        return text.ends_with("missing") ? option + " wants a value"
                                         : option + " has more values than it takes";
    if (isA(CLI::ExitCodes::RequiredError) && !findCommand(app).get_subcommands({}).empty())
        return "a command is missing";
    return text;
}

int explain(const CLI::App& app, const CLI::ParseError& error) {
    complain(describeMistake(app, error));
    std::cerr << "Try: " << getPath(findCommand(app)) << " --help" << std::endl;
    return Usage;
}

int run(const Action& action, Session& session) {
    try {
        action(session);
        return Done;
    } catch (const OutputClosed&) {
        return Done;
    } catch (const Interrupted&) {
        return Stopped;
    } catch (const QueryError& error) {
        complain(error.what());
        std::cerr << error.getExcerpt() << std::flush;
        return Refused;
    } catch (const ServiceError& error) {
        // The decoder's own texts say more than its name does.
        const bool isNamed = error.returnCode && !error.name.empty();
        complain(error.what() + (isNamed ? " (" + error.name + ")" : std::string()));
        return Refused;
    } catch (const UsageError& error) {
        complain(error.what());
        return Usage;
    } catch (const SettingsError& error) {
        complain(error.what());
        return Usage;
    } catch (const ConnectError& error) {
        complain(error.what() + std::string(getHint(error.getCause())));
        return NoConnection;
    } catch (const TimedOut& error) {
        complain(error.what() + std::string("; wait longer with --timeout"));
        return NoConnection;
    } catch (const Error& error) {
        complain(error.what());
        return NoConnection;
    } catch (const std::exception& error) {
        complain(error.what());
        return Refused;
    }
}

/// Puts something in the place of a standard stream that is closed, before a socket takes it and
/// gets what is written there. Using the stream still fails.
void fillStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) == -1)
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

} // namespace

int main(int argc, char** argv) {
    fillStandardStreams();
    std::signal(SIGPIPE, SIG_IGN); // a reader that went away is noticed where we write

    Session session;
    Action action;
    CLI::App app;
    addEverything(app, session, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& asked) { // --help and --version
        std::ostringstream text;
        app.exit(asked, text);
        action = [text = text.str()](Session&) { print(text); };
    } catch (const CLI::ParseError& error) {
        return explain(app, error);
    }
    return run(action, session);
}
