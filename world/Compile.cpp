#include "TV/server/dummy/data/WorldFolder.h"
#include "commandline/Output.h"
#include "commandline/UsageError.h"
#include "commandline/Values.h"
#include "world/Commands.h"
#include "world/NewFile.h"

#include <memory>

namespace Ostrel::TV::Tool {

namespace {

struct Settings {
    std::string input, output;
};

void compile(const Settings& settings) {
    if (!settings.output.ends_with(".world"))
        throw CommandLine::UsageError("--output: the name of a compiled world ends in .world");
    const WorldFile world = readWorldFolder(settings.input);
    NewFile file(settings.output);
    file.write(world.bytes());
    file.putInPlace();
    CommandLine::print(settings.output + ": " + std::to_string(world.world().rows.size()) + " events\n");
}

} // namespace

Command makeCompile() {
    using namespace CommandLine;
    const auto settings = std::make_shared<Settings>();
    return {.name = "compile",
            .description = "Make one file of a folder, which is served at once",
            .notes =
                "The folder is checked as by ostrel-world check; what is wrong is told, and no file made. A "
                "compiled file is mapped as it is, so that a service starts with it at once, and several "
                "share it. It belongs to the version of Ostrel TV that made it: keep the folder.",
            .examples = {"ostrel-world compile my-world -o my.world && ostrel-tvd --world my.world"},
            .options = {{.name = "FOLDER",
                         .description = "The folder of text files",
                         .read = text(settings->input),
                         .isRequired = true,
                         .isFile = true},
                        {.name = "-o,--output",
                         .value = "FILE",
                         .description = "The file to write; its name ends in .world",
                         .read = text(settings->output),
                         .isRequired = true,
                         .isFile = true}},
            .run = [settings] { compile(*settings); }};
}

} // namespace Ostrel::TV::Tool
