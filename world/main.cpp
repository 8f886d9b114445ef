#include "TV/server/dummy/data/WorldProblems.h"
#include "commandline/Help.h"
#include "commandline/Output.h"
#include "commandline/Parser.h"
#include "commandline/StandardStreams.h"
#include "commandline/Text.h"
#include "commandline/UsageError.h"
#include "world/Commands.h"
#include "world/Interrupt.h"

#include <csignal>
#include <exception>
#include <functional>
#include <iostream>
#include <new>
#include <sstream>
#include <string>

namespace {

using namespace Ostrel::CommandLine;
using namespace Ostrel::TV::Tool;
using Ostrel::TV::WorldError;

enum ExitStatus { Done = 0, Failed = 1, Usage = 2, Signal = 128 };

void complain(const std::string& text) {
    std::cerr << "ostrel-world: " << printable(text) << std::endl;
}

Program makeProgram() {
    Program program;
    program.name = "ostrel-world";
    program.description = "Makes worlds for a simulated TV service: channels, and what is on them.";
    program.notes =
        "A WORLD is a folder of text files, which people edit, or a compiled file whose name ends in "
        ".world. ostrel-tvd --world WORLD serves either.\n\n"
        "In a folder lineup.txt lists the channels, and guide/ has a file of programmes for each that has a "
        "guide. services.txt, which says whose file is which, and world.txt, with name and time zone, may be "
        "missing. synthetic and import write such folders.";
    program.version = OSTREL_VERSION;
    program.commands = {makeImport(), makeExport(), makeSynthetic(), makeCheck(), makeShow(), makeCompile()};
    addHelp(program);
    program.examples = {"ostrel-world synthetic --services 3 --days 1 -o my-world  # a folder to edit",
                        "ostrel-world import guide.xml.gz -o my.world --zone Europe/Berlin",
                        "ostrel-tvd --world my.world --today", "ostrel-world export my.world -o guide.xml",
                        "ostrel-world synthetic --services 1000 --days 14 --seed 7 -o large.world"};
    program.exitStatuses = {{"0", "done"},
                            {"1", "a file cannot be read or written, or breaks a rule"},
                            {"2", "wrong usage"},
                            {"130", "interrupted with Ctrl-C"},
                            {"128+N", "ended by the signal N"}};
    return program;
}

int run(const std::function<void()>& action) {
    try {
        action();
        return Done;
    } catch (const OutputClosed&) {
        return Done;
    } catch (const Interrupted& interrupted) {
        return Signal + interrupted.getSignal();
    } catch (const UsageError& error) {
        complain(error.what());
        if (!error.getHelp().empty())
            std::cerr << "Try: " << error.getHelp() << std::endl;
        return Usage;
    } catch (const WorldError& error) {
        std::istringstream lines(error.what());
        for (std::string line; std::getline(lines, line);)
            std::cerr << printable(line) << std::endl;
        return Failed;
    } catch (const std::bad_alloc&) {
        complain("there is not enough memory");
        return Failed;
    } catch (const std::exception& error) {
        complain(error.what());
        return Failed;
    }
}

} // namespace

int main(int argc, char** argv) {
    fillStandardStreams(false);
    std::signal(SIGPIPE, SIG_IGN); // a reader that went away is noticed where we write
    return run([&] {
        const auto program = makeProgram();
        parse(program, argc, argv, [](const std::string& text) { print(text); })();
    });
}
