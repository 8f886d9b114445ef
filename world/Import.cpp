#include "commandline/Output.h"
#include "commandline/Values.h"
#include "world/Commands.h"
#include "world/Importer.h"
#include "world/InputFile.h"
#include "world/Interrupt.h"
#include "world/Progress.h"
#include "world/WorldOutput.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Ostrel::TV::Tool {

namespace {

struct Options {
    std::string guide, lineup, language, categories, zone, output;
    bool isLocal = false, json = false;
};

void readGuide(InputFile& file, Importer& importer) {
    XmltvReader reader(file.name(), importer.listener());
    constexpr std::uint64_t megabyte = 1000000;
    Progress progress("MB", megabyte);
    for (;;) {
        checkForInterrupt();
        const auto bytes = file.read();
        if (bytes.empty())
            break;
        reader.read(bytes);
        progress.show(file.position(), file.size());
    }
    reader.finish();
}

std::string describeOffset(int seconds) {
    char text[16];
    const int minutes = std::abs(seconds) / 60;
    std::snprintf(text, sizeof text, "%c%02d:%02d", seconds < 0 ? '-' : '+', minutes / 60 % 100,
                  minutes % 60);
    return text;
}

void importGuide(const Options& options) {
    InputFile file(options.guide);
    WorldOutput output(options.output);
    Categories categories;
    if (!options.categories.empty())
        categories.add(options.categories);
    std::vector<LineupService> lineup;
    if (!options.lineup.empty())
        lineup = readLineup(options.lineup);

    WorldWriter world;
    Importer importer({.name = output.name(),
                       .language = options.language,
                       .zone = options.zone,
                       .isLocal = options.isLocal,
                       .lineup = std::move(lineup)},
                      categories, world);
    readGuide(file, importer);
    importer.finish();
    output.write(world);

    const ImportReport& report = importer.report();
    if (options.json)
        return CommandLine::print(report.formatJson() + "\n");
    std::cerr << options.output << ": " << report.format();
    if (const int offset = importer.seenOffset(); offset != 0)
        std::cerr << "\nIts broadcasters seem to live at " << describeOffset(offset)
                  << ": --zone says where, so that their evening stays an evening.\n";
}

} // namespace

Command makeImport() {
    const auto options = std::make_shared<Options>();
    using namespace CommandLine;
    return {
        .name = "import",
        .description = "Make a world of an XMLTV listing",
        .notes =
            "Channels become services, numbered as the listing says (lcn, or a display-name that is a "
            "number), else in "
            "order. With --lineup they are found among its services by their id or one of their names, in "
            "any case, "
            "without blanks and dots; channels that it does not have are left out, and services that the "
            "listing does not "
            "have stay without a guide.\n\n"
            "Programmes become events: titles, sub-titles and texts, genres by categories, high definition, "
            "warnings by ratings, series and episodes by what numbers or names them. A missing stop is the "
            "next start, "
            "overlaps are cut. What had to be left out or mended is counted on standard error.\n\n"
            "--categories adds to the table of categories that is built in, and goes before it. A line of "
            "it:\n\n"
            "  0x43 | Football | Fußball | Calcio",
        .examples = {"ostrel-world import guide.xml.gz -o tonight.world --zone Europe/Berlin --language de",
                     "ostrel-world import guide.xml --lineup lineup.txt -o my-world",
                     "curl -s https://example.org/guide.xml.xz | xz -dc | ostrel-world import - -o my.world",
                     "ostrel-tvd --world my.world --today"},
        .options =
            {{.name = "GUIDE",
              .description = "The listing, XML or that in gzip; - is standard input",
              .read = text(options->guide),
              .isRequired = true,
              .isFile = true},
             {.name = "-o,--output",
              .value = "WORLD",
              .description =
                  "Write a compiled file if it ends in .world, else a folder of text files to edit",
              .read = text(options->output),
              .isRequired = true,
              .isFile = true},
             {.name = "--lineup",
              .value = "FILE",
              .description = "Take the services from this line-up, a lineup.txt",
              .read = text(options->lineup),
              .isFile = true},
             {.name = "--language",
              .value = "LANG",
              .description =
                  "Choose names and texts in this language, such as en; where there are none, the first",
              .read = text(options->language)},
             {.name = "--categories",
              .value = "FILE",
              .description = "Read what more categories stand for",
              .read = text(options->categories),
              .isFile = true},
             {.name = "--zone",
              .value = "NAME",
              .description = "The time zone that the broadcasters live by, such as Europe/Berlin",
              .read = text(options->zone),
              .standard = "UTC"},
             {.name = "--local",
              .description = "Times that name no zone are in --zone; XMLTV has them in UTC",
              .read = flag(options->isLocal),
              .needs = {"--zone"}},
             {.name = "--json",
              .description = "Print what was counted as JSON, and nothing else",
              .read = flag(options->json)}},
        .run = [options] { importGuide(*options); }};
}

} // namespace Ostrel::TV::Tool
