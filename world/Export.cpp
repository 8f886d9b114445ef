#include "commandline/Output.h"
#include "commandline/Values.h"
#include "world/Commands.h"
#include "world/Interrupt.h"
#include "world/NewFile.h"
#include "world/WorldInput.h"
#include "world/XmltvWriter.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace Ostrel::TV::Tool {

namespace {

struct Options {
    std::string world, output;
};

void exportWorld(const Options& options) {
    const WorldInput input(options.world);
    if (options.output.empty())
        return writeXmltv(input.world(), [](std::string_view xml) {
            checkForInterrupt();
            CommandLine::print(xml);
        });
    NewFile file(options.output);
    writeXmltv(input.world(), [&](std::string_view xml) {
        checkForInterrupt();
        std::fwrite(xml.data(), 1, xml.size(), file.stream());
    });
    file.putInPlace();
}

} // namespace

Command makeExport() {
    const auto options = std::make_shared<Options>();
    using CommandLine::text;
    return {.name = "export",
            .description = "Write a world as an XMLTV listing",
            .notes = "It is valid by the DTD of XMLTV, version 1.2. An import of it is the same world again: "
                     "what XMLTV has no "
                     "element for stands in elements url and episode-num of systems of our own, which other "
                     "readers pass over.",
            .examples = {"ostrel-world export -o guide.xml",
                         "ostrel-world export my.world | gzip > guide.xml.gz",
                         "ostrel-world export my-world | tv_sort --by-channel | less"},
            .options = {{.name = "WORLD",
                         .description = "A folder or a compiled file; without one it is the built-in world",
                         .read = text(options->world),
                         .isFile = true},
                        {.name = "-o,--output",
                         .value = "FILE",
                         .description = "Write to this file instead of standard output",
                         .read = text(options->output),
                         .isFile = true}},
            .run = [options] { exportWorld(*options); }};
}

} // namespace Ostrel::TV::Tool
