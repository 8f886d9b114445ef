#include "commandline/Moment.h"
#include "commandline/Parser.h"
#include "commandline/StandardStreams.h"
#include "commandline/Text.h"
#include "commandline/UsageError.h"
#include "commandline/Values.h"
#include "host/Host.h"
#include "host/Operation.h"
#include "host/PageFiles.h"
#include "host/PortFile.h"
#include "host/ServiceManager.h"

#include "Ostrel/runtime/Clock.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/transport/Admission.h"
#include "Ostrel/transport/StartError.h"
#include "TV/server/dummy/data/WorldProblems.h"

#include <algorithm>
#include <csignal>
#include <ctime>
#include <exception>
#include <iostream>
#include <map>
#include <new>
#include <optional>
#include <sstream>
#include <stdexcept>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

using Ostrel::DebugLevel;
using Ostrel::CommandLine::Program;
using Ostrel::CommandLine::Reader;
using Ostrel::CommandLine::UsageError;

constexpr const char* usualAddress = "127.0.0.1:8480";
constexpr const char* guideMidday = "guide-midday";

enum ExitStatus { Done = 0, NotStarted = 1, Usage = 2 };

const std::map<std::string, DebugLevel> logLevels = {
    {"error", DebugLevel::Error},
    {"warning", DebugLevel::Warning},
    {"information", DebugLevel::Information},
    {"progress", DebugLevel::Progress},
};

/// What the command line says.
struct Options {
    Ostrel::HostOptions host;
    std::string portFile; ///< empty for none
    std::string logLevel = "information";
    std::optional<double> speed; ///< of the clock
    bool isHeld = false; ///< the clock
};

/// What is written to them and does not get there must not take the service along: their reader
/// has gone, or the file has the size that it may have.
void ignoreLossOfOutput() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

/// Lets threads share one heap. Of the others the C library gives the end back only when something is
/// freed there: what the whole guide took stayed, until somebody wanted as much again.
void shareHeap() {
#ifdef __GLIBC__
    mallopt(M_ARENA_MAX, 1);
#endif
}

/// The first address that is no socket file; null for none.
const Ostrel::Address* findPort(const std::vector<Ostrel::Address>& addresses) {
    const auto found = std::find_if(addresses.begin(), addresses.end(),
                                    [](const Ostrel::Address& address) { return !address.isUnix(); });
    return found == addresses.end() ? nullptr : &*found;
}

void tellAddresses(const Ostrel::Host& host, bool hasPage) {
    for (const auto& address : host.getAddresses())
        std::cout << "ostrel-tvd serves on "
                  << (address.isUnix() ? address.toString() : "http://" + address.toString()) << '\n';
    const auto* withPort = findPort(host.getAddresses());
    if (hasPage && withPort != nullptr)
        std::cout << "open http://" << withPort->toString() << "/ in a browser\n";
    std::cout << "calls go to /rpc/TV; Ctrl-C stops\n" << std::flush;
}

int complain(const std::string& what) {
    std::cerr << "ostrel-tvd: " << Ostrel::CommandLine::printable(what) << '\n';
    return NotStarted;
}

/// Tells what is wrong with a world as compilers tell it, so that editors find the places.
int complain(const Ostrel::TV::WorldError& error) {
    const std::string text = error.what();
    if (text.find('\n') == std::string::npos)
        return complain(text);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        std::cerr << Ostrel::CommandLine::printable(line) << '\n';
    return complain(std::string("the world has mistakes, and nothing is served"));
}

int explain(const UsageError& error) {
    complain(error.what());
    std::cerr << "Try: ostrel-tvd --help\n";
    return Usage;
}

void print(const std::string& text) {
    if (!(std::cout << text << std::flush))
        throw std::runtime_error("cannot write to standard output");
}

/// Keeps the texts that a parser of the host takes; what it refuses is a mistake of the command line.
template <class Value> Reader texts(std::vector<std::string>& place, Value (*parse)(const std::string&)) {
    return [&place, parse](const std::string& given) {
        try {
            parse(given);
        } catch (const Ostrel::StartError& error) {
            throw UsageError(error.what());
        }
        place.push_back(given);
    };
}

/// @throws UsageError
void checkPortFile(const Options& options) {
    const auto& listen = options.host.listen;
    const auto& sockets = options.host.sockets;
    const bool hasPort =
        std::any_of(listen.begin(), listen.end(),
                    [](const std::string& text) { return !Ostrel::Address::parse(text).isUnix(); }) ||
        std::any_of(sockets.begin(), sockets.end(),
                    [](int socket) { return !Ostrel::Address::ofSocket(socket).isUnix(); });
    if (!options.portFile.empty() && !hasPort)
        throw UsageError("--port-file has no port to tell; serve on HOST:PORT too, with --listen");
}

/// Who is let in is the caller's to say, before anything is tried.
/// @throws UsageError
void checkToken(const Options& options) {
    if (!options.host.tokenFile.empty())
        return;
    for (const auto& text : options.host.listen)
        if (!Ostrel::Address::parse(text).isLoopback())
            throw UsageError("--listen " + text + " lets others in; give a token with --token-file");
}

/// Takes a time, which the clock shows at the start.
Reader startTime(Ostrel::ClockStart& clock) {
    return [&clock](const std::string& given) {
        clock.atGuideMidday = given == guideMidday;
        if (!clock.atGuideMidday)
            clock.now = Ostrel::CommandLine::Moment(given).getSeconds(std::time(nullptr));
    };
}

/// @throws UsageError
void readClock(Options& options) {
    auto& clock = options.host.clock;
    if (options.isHeld && options.speed)
        throw UsageError("--hold is --speed 0; leave one of them out");
    if (options.host.fakeTime && (clock.now || clock.atGuideMidday))
        throw UsageError("--fake-time and --now both say what time it is; leave one out");
    if (options.host.fakeTime && options.host.today)
        throw UsageError(
            "--fake-time brings the clock to the guide and --today the guide to the clock; leave one out");
    clock.speed = options.isHeld ? 0 : options.speed.value_or(1);
    if (options.host.noSimulator && !clock.isUntouched())
        throw UsageError("--now, --speed and --hold are the simulator's, which --no-simulator leaves out");
}

/// @throws UsageError
void checkWeather(const Options& options) {
    if (options.host.noSimulator && !options.host.weatherFile.empty())
        throw UsageError("--weather is the simulator's, which --no-simulator leaves out");
}

void serve(Options& options) {
    Ostrel::ServiceManager manager;
    options.host.sockets = manager.takeSockets();
    if (options.host.listen.empty() && options.host.sockets.empty())
        options.host.listen = {usualAddress};
    checkWeather(options);
    readClock(options);
    checkPortFile(options);
    checkToken(options);
    Ostrel::setDebugLevel(logLevels.at(options.logLevel));
    options.host.page = Ostrel::getPageFiles();

    ignoreLossOfOutput();
    Ostrel::Operation operation(manager);
    std::optional<Ostrel::PortFile> portFile;
    if (!options.portFile.empty())
        portFile.emplace(options.portFile);
    Ostrel::Host host(options.host);
    if (portFile)
        portFile->publish(findPort(host.getAddresses())->port);
    tellAddresses(host, !options.host.page.empty());
    operation.run(host);
}

Program makeProgram(Options& options) {
    using namespace Ostrel::CommandLine;
    Program program;
    program.name = "ostrel-tvd";
    program.version = OSTREL_VERSION;
    program.description =
        "Serves the simulated TV module over JSON-RPC 2.0 on WebSocket and HTTP, and its web page.";
    program.notes =
        "A token file holds one line of at least 32 characters A-Z a-z 0-9 - _ and is readable by its owner "
        "alone:\n"
        "  (umask 077; head -c 33 /dev/urandom | basenc --base64url -w 0 > token)\n"
        "\n"
        "A service manager such as systemd is told when calls are answered, that the host is alive, and when "
        "it "
        "stops. Sockets that it hands over are served in place of the usual address, and beside those of "
        "--listen. Where there is no terminal, SIGHUP then has the token file read again.";
    program.examples = {
        "ostrel-tvd                                 # this machine alone, port 8480",
        "ostrel-tvd --today                         # always on air, by your own clock",
        "ostrel-tvd --fake-time                     # in the guide's own days",
        "ostrel-tvd --now 2011-10-16T19:59:50 --hold  # ten seconds before eight",
        "ostrel-tvd --now 2011-10-16T19:00 --speed 240  # an evening in a minute",
        "ostrel-tvd --world my-world                # your own channels and programmes",
        "ostrel-tvd --listen 127.0.0.1:0 --port-file port  # a port of the system",
        "ostrel-tvd --listen unix:/run/ostrel.sock  # for this user alone",
        "ostrel-tvd --listen 0.0.0.0:8480 --token-file token --allow-host tv.example",
    };
    program.options = {
        {.name = "--listen",
         .value = "ADDRESS",
         .description = "Serve on HOST:PORT (port 0: the system chooses) or unix:PATH; may be given again",
         .read = texts(options.host.listen, Ostrel::Address::parse),
         .standard = usualAddress,
         .mayRepeat = true},
        {.name = "--port-file",
         .value = "FILE",
         .description = "Write the port of the first HOST:PORT into this file once it is served; removed at "
                        "the end",
         .read = text(options.portFile),
         .isFile = true},
        {.name = "--allow-origin",
         .value = "ORIGIN",
         .description = "Web origin whose pages may call, such as https://tv.example or null; may be given "
                        "again",
         .read = texts(options.host.allowedOrigins, Ostrel::Admission::parseOrigin),
         .mayRepeat = true},
        {.name = "--allow-host",
         .value = "HOST",
         .description = "Host name under which clients may reach this machine; may be given again",
         .read = texts(options.host.allowedHosts, Ostrel::Admission::parseHost),
         .mayRepeat = true},
        {.name = "--token-file",
         .value = "FILE",
         .description =
             "File with the token that every call must carry; needed to listen beyond this machine",
         .read = text(options.host.tokenFile),
         .isFile = true},
        {.name = "--world",
         .value = "WORLD",
         .description =
             "Serve this world instead of the built-in one: a folder of text files, or a file that "
             "ostrel-world has compiled",
         .read =
             [&options](const std::string& given) {
                 if (given.empty())
                     throw UsageError("--world needs a folder or a file, and got nothing");
                 options.host.world = given;
             },
         .isFile = true},
        {.name = "--fake-time",
         .description = "Start the clock at midday of the day in the middle of the guide, as "
                        "DUMMYFAKETIME in the environment does",
         .read = flag(options.host.fakeTime)},
        {.name = "--today",
         .description =
             "Lay the days of the guide around the clock's time, in the time zone of this process (TZ): the "
             "ten o'clock news comes at ten, a Sunday's programmes on Sundays, and there is always "
             "a day behind and a week ahead",
         .read = flag(options.host.today)},
        {.name = "--now",
         .value = "TIME",
         .description =
             "Start the clock at this time, such as 2011-10-16T20:00:00Z or guide-midday, which is "
             "midday of the day in the middle of the guide; so does Simulator::reset",
         .read = startTime(options.host.clock)},
        {.name = "--speed",
         .value = "N",
         .description = "Let the clock run so many times as fast, 0 to 3600 and fractions too",
         .read = number(options.speed, 0, Ostrel::Clock::fastest)},
        {.name = "--hold",
         .description = "Let the clock stand still until it is told otherwise",
         .read = flag(options.isHeld)},
        {.name = "--no-simulator",
         .description = "Serve the TV module alone, without the simulation's own controls",
         .read = flag(options.host.noSimulator)},
        {.name = "--weather",
         .value = "FILE",
         .description =
             "Start with the rules of this file, by which calls and notifications are late, fail or "
             "get lost: JSON as the params of Simulator::weatherSet",
         .read = text(options.host.weatherFile),
         .isFile = true},
        {.name = "--log-level",
         .description = "What goes to standard error",
         .read = text(options.logLevel),
         .standard = options.logLevel,
         .choices = {"error", "warning", "information", "progress"}},
        {.name = "--log-requests",
         .description = "Log a line for every call",
         .read = flag(options.host.logRequests)},
        {.name = "--record",
         .value = "FILE",
         .description = "Write every call, reply and notification into this file, which only you may read; "
                        "ostrel-tv replay sends the calls again",
         .read = text(options.host.recordFile),
         .isFile = true}};
    program.run = [&options] { serve(options); };
    program.exitStatuses = {
        {"0", "stopped by Ctrl-C, SIGTERM or SIGHUP; once more ends it at once"},
        {"1", "not started, and standard error says why: in one line, or one for each mistake of a world"},
        {"2", "wrong usage"}};
    return program;
}

} // namespace

int main(int argc, char** argv) {
    Ostrel::CommandLine::fillStandardStreams(true);
    shareHeap();
    Options options;
    const auto program = makeProgram(options);
    try {
        Ostrel::CommandLine::parse(program, argc, argv, print)();
        return Done;
    } catch (const UsageError& error) {
        return explain(error);
    } catch (const Ostrel::TV::WorldError& error) {
        return complain(error);
    } catch (const std::bad_alloc&) {
        return complain("there is not enough memory");
    } catch (const std::exception& exception) {
        return complain(exception.what());
    }
}
