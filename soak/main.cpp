// ostrel-soak: whether a host keeps right, quick and small under everybody at once.

#include "bench/RunProgram.h"
#include "commandline/Values.h"
#include "soak/Report.h"
#include "soak/Soak.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>

#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace Ostrel::Soak;

std::atomic<bool> interrupted = false;

extern "C" void interrupt(int) {
    interrupted = true;
}

struct Settings {
    Options soak;
    double minutes = 30;
    bool isForScripts = false;
    int status = 0;
};

/// On a terminal one line that changes, else one now and then.
void tell(const Progress& progress, bool isTerminal) {
    static double next = 0;
    if (isTerminal) {
        std::fprintf(stderr, "\r\033[K%s", describe(progress).c_str());
    } else if (progress.vitals.second >= next) {
        next = std::max(progress.vitals.second * 1.5, progress.vitals.second + 5);
        next = std::min(next, progress.vitals.second + 60);
        std::fprintf(stderr, "%s\n", describe(progress).c_str());
    }
    std::fflush(stderr);
}

void run(Settings& settings) {
    settings.soak.time = Seconds(60 * settings.minutes);
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    std::signal(SIGPIPE, SIG_IGN);
    const bool isTerminal = ::isatty(STDERR_FILENO) != 0;
    Soak soak(
        settings.soak, [=](const Progress& progress) { tell(progress, isTerminal); }, interrupted);
    const auto findings = soak.run();
    if (isTerminal)
        std::fputs("\r\033[K", stderr);
    std::fputs((settings.isForScripts ? asJson(findings) : describe(findings)).c_str(), stdout);
    settings.status = findings.wrong.empty() ? 0 : 1;
}

Ostrel::CommandLine::Program makeProgram(Settings& settings) {
    using namespace Ostrel::CommandLine;
    Program program;
    program.name = "ostrel-soak";
    program.version = OSTREL_VERSION;
    program.description = "Shows whether a host stays right, quick and small under everybody at once.";
    program.notes =
        "240 well-behaved clients check every reply and every notification: alone for a tenth of the time, "
        "beside hostile clients for three quarters of it, and alone again. Ctrl-C ends it early.";
    program.examples = {"ostrel-soak build/release/host/ostrel-tvd --minutes 5"};
    program.options = {
        {.name = "PROGRAM",
         .description = "The path of an ostrel-tvd, of any build",
         .read = text(settings.soak.program),
         .isRequired = true,
         .isFile = true},
        {.name = "--minutes",
         .value = "N",
         .description = "How long it takes; fractions are taken too",
         .read = positiveNumber(settings.minutes),
         .standard = "30"},
        {.name = "--sanitized",
         .description = "The host's memory is not judged: its sanitizer keeps what is freed",
         .read = flag(settings.soak.isSanitized)},
        {.name = "--host-option",
         .value = "OPTION",
         .description = "For the host's own command line; may be given again",
         .read = text(settings.soak.hostOptions),
         .mayRepeat = true},
        {.name = "--json", .description = "Print one JSON object", .read = flag(settings.isForScripts)},
    };
    program.run = [&settings] { run(settings); };
    program.exitStatuses = {
        {"0", "nothing was wrong"}, {"1", "something was, or the host does not serve"}, {"2", "wrong usage"}};
    return program;
}

} // namespace

int main(int argc, char** argv) {
    Settings settings;
    const auto program = makeProgram(settings);
    const int status = Ostrel::Bench::runProgram(program, argc, argv);
    return status != 0 ? status : settings.status;
}
