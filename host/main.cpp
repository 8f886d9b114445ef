#include "host/Host.h"

#include "Ostrel/runtime/DebugPrint.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <exception>
#include <iostream>
#include <map>

#include <fcntl.h>
#include <unistd.h>

namespace {

using Ostrel::DebugLevel;

const std::map<std::string, DebugLevel> logLevels = {
    {"error", DebugLevel::Error},
    {"warning", DebugLevel::Warning},
    {"information", DebugLevel::Information},
    {"progress", DebugLevel::Progress},
};

/// Puts something in the place of a standard stream that is closed, before the listener's own
/// descriptors take it and the log is written to them.
void fillStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) == -1)
            ::open("/dev/null", O_RDWR);
    }
}

/// Keeps the signals that end the host away from every thread, so that waitForEnd() gets them.
sigset_t takeEndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

void waitForEnd(const sigset_t& signals) {
    int signal = 0;
    sigwait(&signals, &signal);
}

void tellAddresses(const Ostrel::Host& host) {
    for (const auto& address : host.getAddresses())
        std::cout << "ostrel-tvd serves on "
                  << (address.isUnix() ? address.toString() : "http://" + address.toString()) << '\n';
    std::cout << "calls go to /rpc/TV; Ctrl-C stops\n" << std::flush;
}

int complain(const std::string& what) {
    std::cerr << "ostrel-tvd: " << what << '\n';
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    fillStandardStreams();

    CLI::App app("Serves the simulated TV module over JSON-RPC 2.0 on WebSocket and HTTP.", "ostrel-tvd");
    app.set_version_flag("--version", OSTREL_VERSION);
    app.footer(
        "Examples:\n"
        "  ostrel-tvd                                   on this machine alone, port 8480\n"
        "  ostrel-tvd --listen 127.0.0.1:0              on a port that the system chooses\n"
        "  ostrel-tvd --fake-time                       as if the guide were on air now\n"
        "  ostrel-tvd --listen unix:/run/ostrel.sock    for this user alone\n"
        "  ostrel-tvd --listen 0.0.0.0:8480 --token-file token --allow-host tv.example\n"
        "\n"
        "A token file holds one line of at least 32 characters A-Z a-z 0-9 - _ and is readable\n"
        "by its owner alone:  (umask 077; head -c 33 /dev/urandom | basenc --base64url -w 0 > token)\n"
        "\n"
        "Exit status: 0 stopped by Ctrl-C or SIGTERM, 1 not started; one line on standard error says why.\n");

    Ostrel::HostOptions options;
    std::string logLevel = "information";
    app.add_option(
           "--listen", options.listen,
           "Address to serve on: HOST:PORT (port 0: the system chooses) or unix:PATH; may be repeated")
        ->default_str("127.0.0.1:8480");
    app.add_option("--allow-origin", options.allowedOrigins,
                   "Web origin whose pages may call, such as https://tv.example or null; may be repeated");
    app.add_option("--allow-host", options.allowedHosts,
                   "Host name under which clients may reach this machine; may be repeated");
    app.add_option("--token-file", options.tokenFile,
                   "File with the token that every call must carry; needed to listen beyond this machine");
    app.add_flag("--fake-time", options.fakeTime,
                 "Start the clock at midday of the day in the middle of the built-in guide, "
                 "as DUMMYFAKETIME in the environment does");
    app.add_option("--log-level", logLevel, "What goes to standard error")
        ->transform(CLI::IsMember(logLevels, CLI::ignore_case))
        ->option_text("error|warning|information|progress [information]");

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        return app.exit(success);
    } catch (const CLI::ParseError& error) {
        return complain(std::string(error.what()) + "; see --help");
    }
    if (options.listen.empty())
        options.listen = {"127.0.0.1:8480"};
    Ostrel::setDebugLevel(logLevels.at(logLevel));

    // A reader of our output that goes away must not take the service along.
    std::signal(SIGPIPE, SIG_IGN);
    const auto signals = takeEndSignals();
    try {
        const Ostrel::Host host(options);
        tellAddresses(host);
        waitForEnd(signals);
    } catch (const std::exception& exception) {
        return complain(exception.what());
    }
    return 0;
}
