#include "commandline/Output.h"
#include "commandline/UsageError.h"
#include "commandline/Values.h"
#include "world/Commands.h"
#include "world/Interrupt.h"
#include "world/Progress.h"
#include "world/Stress.h"
#include "world/Synthetic.h"
#include "world/SyntheticLineup.h"
#include "world/WorldOutput.h"

#include <memory>

namespace Ostrel::TV::Tool {

namespace {

struct Settings {
    SyntheticWish wish;
    std::string output;
};

void synthesize(const Settings& settings) {
    const SyntheticWish& wish = settings.wish;
    if (wish.stress && wish.services <= stressServices)
        throw CommandLine::UsageError("--stress: takes more than " + std::to_string(stressServices) +
                                      " --services, for so many are hard cases");
    WorldOutput output(settings.output);
    WorldWriter world;
    {
        Progress progress("services");
        inventWorld(wish, world, [&](std::size_t services) {
            checkForInterrupt();
            progress.show(services, wish.services);
        });
    }
    output.write(world);
    CommandLine::print(settings.output + ": " + std::to_string(wish.services) + " services, " +
                       std::to_string(wish.days) + " days, " + std::to_string(world.eventCount()) +
                       " events\n");
}

} // namespace

Command makeSynthetic() {
    using namespace CommandLine;
    const auto settings = std::make_shared<Settings>();
    SyntheticWish& wish = settings->wish;
    return {
        .name = "synthetic",
        .description = "Invent a world of any size",
        .notes =
            "The services are of all kinds, news and films, children's and radio, some of them in high "
            "definition or an hour later as well. Their days are those of the built-in guide with other "
            "programmes in them: the news come at ten and films at night, by the clocks of the zone, and "
            "nothing overlaps.\n\n"
            "The same options give the same bytes on every machine.\n\n"
            "--stress adds what breaks layouts and is allowed all the same. One event in " +
            std::to_string(stressShare) +
            " gets texts that are hard to show: one letter, 255 bytes without a blank, right to left, "
            "Devanagari, Chinese, marks above and below, emoji, markup, quotes, nothing. " +
            std::to_string(stressServices) +
            " of the services are hard cases: one with 2,000 events and one with none, events of one minute "
            "and of thirty hours, gaps, a very long name, a name that comes twice, data. Channel numbers "
            "then go from 1 to 9999. Everything else stays as it is, so that it is a guide still.",
        .examples = {"ostrel-world synthetic -o large.world && ostrel-tvd --world large.world --today",
                     "ostrel-world synthetic --services 40 --days 7 --stress -o ugly.world",
                     "ostrel-world synthetic --zone Asia/Tokyo --start 2026-01-01 -o tokyo.world"},
        .options =
            {{.name = "--services",
              .value = "N",
              .description = "How many services, up to " + std::to_string(mostServices),
              .read = wholeNumber(wish.services, 1, mostServices),
              .standard = std::to_string(wish.services)},
             {.name = "--days",
              .value = "N",
              .description = "How many days, up to " + std::to_string(mostDays),
              .read = wholeNumber(wish.days, 1, mostDays),
              .standard = std::to_string(wish.days)},
             {.name = "--seed",
              .value = "N",
              .description = "Another number makes another world",
              .read = wholeNumber(wish.seed),
              .standard = std::to_string(wish.seed)},
             {.name = "--start",
              .value = "DATE",
              .description = "The first day",
              .read = text(wish.start),
              .standard = wish.start},
             {.name = "--zone",
              .value = "NAME",
              .description = "The time zone that the broadcasters live by",
              .read = text(wish.zone),
              .standard = wish.zone},
             {.name = "--stress", .description = "Add what breaks layouts", .read = flag(wish.stress)},
             {.name = "-o,--output",
              .value = "WORLD",
              .description =
                  "Where to write it: a file whose name ends in .world, or else a new folder of text files",
              .read = text(settings->output),
              .isRequired = true,
              .isFile = true}},
        .run = [settings] { synthesize(*settings); }};
}

} // namespace Ostrel::TV::Tool
