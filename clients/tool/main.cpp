#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"
#include "clients/tool/QueryError.h"
#include "commandline/Help.h"
#include "commandline/Parser.h"
#include "commandline/StandardStreams.h"
#include "commandline/UsageError.h"
#include "commandline/Values.h"

#include <csignal>
#include <iostream>

namespace {

using namespace Ostrel::Client;
using namespace Ostrel::Client::Tool;
using Ostrel::CommandLine::Path;
using Ostrel::CommandLine::Program;
using Ostrel::CommandLine::UsageError;

enum ExitStatus { Done = 0, Refused = 1, Usage = 2, NoConnection = 3, Signal = 128 };

void complain(const std::string& text) {
    std::cerr << "ostrel-tv: " << printable(text) << std::endl;
}

Program makeProgram(Session& session) {
    Program program;
    program.name = "ostrel-tv";
    program.description = "Reads and steers a TV service from the command line.";
    program.notes =
        "The options of all commands go before or after the command. ostrel-tv COMMAND --help tells more.";
    program.version = OSTREL_VERSION;
    program.options = {{.name = "--url",
                        .value = "URL",
                        .description = "Where the service is: ws://HOST:PORT/PATH, HOST:PORT or unix:PATH",
                        .read = Ostrel::CommandLine::text(session.url),
                        .standard = session.url,
                        .environment = "OSTREL_TV_URL"},
                       {.name = "--token-file",
                        .value = "FILE",
                        .description = "Read the token that the service wants from this file",
                        .read = Ostrel::CommandLine::text(session.tokenFile),
                        .environment = "OSTREL_TV_TOKEN_FILE",
                        .isFile = true},
                       {.name = "--json",
                        .description = "Print JSON for a script, and nothing else",
                        .read = Ostrel::CommandLine::flag(session.json)},
                       {.name = "--timeout",
                        .value = "SECONDS",
                        .description = "How long to wait for the connection and each reply",
                        .read = Ostrel::CommandLine::positiveNumber(session.timeoutSeconds),
                        .standard = "10"}};
    program.commands = {
        makeServices(session), makeNow(session),   makeGuide(session),        makeQuery(session),
        makeGenres(session),   makeScan(session),  makeTransponders(session), makeSignal(session),
        makeTime(session),     makeWatch(session), makeCall(session),         makeClock(session),
        makeWeather(session),  makeReset(session), makeTraffic(session),      makeReplay(session)};
    Ostrel::CommandLine::addHelp(program);
    program.examples = {"ostrel-tv services --limit 5",
                        "ostrel-tv services --channel 4 --json",
                        "ostrel-tv now",
                        "ostrel-tv guide --channel 1 --from now --to +6h",
                        "ostrel-tv transponders clear --yes && ostrel-tv scan blind",
                        "ostrel-tv watch",
                        "ostrel-tv clock hold && ostrel-tv clock step next --before 10s",
                        "ostrel-tv call signalStatusGet '{\"sourceId\":1}'"};
    program.exitStatuses = {{"0", "done"},
                            {"1", "refused by the service, nowhere to write, or replies differ"},
                            {"2", "wrong usage"},
                            {"3", "no connection, or lost, or no answer"},
                            {"130", "interrupted with Ctrl-C"},
                            {"128+N", "ended by the signal N"}};
    return program;
}

const char* getHint(ConnectError::Cause cause) {
    switch (cause) {
    case ConnectError::Cause::Unreachable:
        return "; is ostrel-tvd running? choose another with --url";
    case ConnectError::Cause::TokenRefused:
        return "; --token-file must name a file with the token of this service";
    case ConnectError::Cause::Refused:
        break;
    }
    return "";
}

int explain(const UsageError& error) {
    complain(error.what());
    if (!error.getHelp().empty())
        std::cerr << "Try: " << error.getHelp() << std::endl;
    return Usage;
}

int run(const std::function<void()>& action) {
    try {
        action();
        return Done;
    } catch (const OutputClosed&) {
        return Done;
    } catch (const Interrupted& interrupted) {
        return Signal + interrupted.getSignal();
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
        return explain(error);
    } catch (const SettingsError& error) {
        complain(error.what());
        return Usage;
    } catch (const ConnectError& error) {
        complain(error.what() + std::string(getHint(error.getCause())));
        return NoConnection;
    } catch (const TimedOut& error) {
        complain(error.what() + std::string("; wait longer with --timeout"));
        return NoConnection;
    } catch (const ConnectionLost& error) {
        complain(error.what() + std::string("; is ostrel-tvd still running?"));
        return NoConnection;
    } catch (const Error& error) {
        complain(error.what());
        return NoConnection;
    } catch (const std::exception& error) {
        complain(error.what());
        return Refused;
    }
}

} // namespace

int main(int argc, char** argv) {
    Ostrel::CommandLine::fillStandardStreams(false);
    std::signal(SIGPIPE, SIG_IGN); // a reader that went away is noticed where we write

    Session session;
    const auto program = makeProgram(session);
    return run([&] { Ostrel::CommandLine::parse(program, argc, argv, print)(); });
}
