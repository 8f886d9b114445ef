#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Lineup.h"
#include "clients/tool/Output.h"
#include "commandline/Moment.h"
#include "commandline/UsageError.h"

#include <ctime>
#include <memory>
#include <stdexcept>

namespace Ostrel::Client::Tool {

namespace {

using CommandLine::Moment;
using CommandLine::readDuration;
using CommandLine::UsageError;

constexpr double mostSpeed = 3600;

struct StepOptions {
    std::string length; ///< or "next"
    std::optional<std::uint32_t> before;
    std::optional<std::uint32_t> channel;
    std::optional<std::uint32_t> service;
};

/// Returns a number without the zeros behind its fraction.
std::string formatSpeed(double speed) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", speed);
    return text;
}

void showClock(const Session& session, const Simulator::Clock& clock) {
    if (session.json) {
        printJson(encode(clock));
        return;
    }
    const auto speed = clock.speed == 0 ? std::string("held") : formatSpeed(clock.speed);
    print(formatMoment(clock.now) + "speed    " + speed + "\n");
}

void setSpeed(Session& session, double speed) {
    showClock(session, session.getSimulator().clockSet({.speed = speed}));
}

void setTime(Session& session, const Moment& moment) {
    auto simulator = session.getSimulator();
    const auto now = moment.needsNow() ? simulator.clockGet().now : 0;
    showClock(session, simulator.clockSet({.now = moment.getSeconds(now)}));
}

/// @throws std::runtime_error  there is none ahead
Simulator::Clock stepToNextStart(Simulator simulator, const Simulator::NextStart& next) {
    try {
        return simulator.clockStep({.toNextStart = next});
    } catch (const ServiceError& error) {
        if (error.name != "InvalidParameter")
            throw;
    }
    const auto world = simulator.worldGet();
    const std::time_t middle = world.start + (world.end - world.start) / 2;
    std::tm local{};
    localtime_r(&middle, &local);
    throw std::runtime_error("no such event starts later; ostrel-tv clock set " +
                             formatTime("%Y-%m-%dT%H:%M", local) + " goes to the middle of the guide");
}

void step(Session& session, const StepOptions& options) {
    if (options.length != "next") {
        if (options.before || options.channel || options.service)
            throw UsageError("--before, --channel and --service go with next");
        const auto seconds = readDuration(options.length);
        showClock(session, session.getSimulator().clockStep({.seconds = seconds}));
        return;
    }
    Simulator::NextStart next;
    next.before = options.before.value_or(0);
    if (options.service)
        next.serviceId = static_cast<std::int32_t>(*options.service);
    if (options.channel)
        next.serviceId = static_cast<std::int32_t>(
            findChannel(readLineup(session.getClient()), *options.channel).front().id);
    showClock(session, stepToNextStart(session.getSimulator(), next));
}

Command makeClockSpeed(Session& session) {
    const auto given = std::make_shared<std::optional<double>>();
    return {
        .name = "speed",
        .description = "Let it run faster or slower",
        .notes = "At speed 60 an hour takes a minute; 0.5 is half as fast, 0 holds it.",
        .examples = {"ostrel-tv clock speed 60"},
        .options = {{.name = "N",
                     .description = "Seconds of the clock in a second, 0 to 3600, with a fraction or without",
                     .read = CommandLine::number(*given, 0, mostSpeed),
                     .isRequired = true}},
        .run = [&session, given] { setSpeed(session, **given); }};
}

Command makeClockSet(Session& session) {
    const auto moment = std::make_shared<std::optional<Moment>>();
    return {.name = "set",
            .description = "Set it to another time",
            .notes =
                "A time without zone is local time; one that begins with + or - counts from where the clock "
                "stands. Back is allowed.",
            .examples = {"ostrel-tv clock set 2011-10-16T20:00", "ostrel-tv clock set 2011-10-16T19:00Z",
                         "ostrel-tv clock set -1h"},
            .options = {{.name = "TIME",
                         .description = "2011-10-12T20:00, +2h, -30m, or @ and seconds since 1970",
                         .read = [moment](const std::string& text) { moment->emplace(text); },
                         .isRequired = true}},
            .run = [&session, moment] { setTime(session, **moment); }};
}

Command makeClockStep(Session& session) {
    const auto options = std::make_shared<StepOptions>();
    const auto length = [](auto& place) {
        return [&place](const std::string& text) { place = readDuration(text); };
    };
    return {
        .name = "step",
        .description = "Let time pass at once",
        .notes =
            "All that is due on the way happens, in the order of time: a scan gets on and tells of it. The "
            "clock then stands or runs as before.\n"
            "\n"
            "next is the next start of an event, of any service unless one is named.",
        .examples = {"ostrel-tv clock step 10s", "ostrel-tv clock step next",
                     "ostrel-tv clock step next --channel 1 --before 5s"},
        .options = {{.name = "DURATION",
                     .description = "10s, 1h30m, or next",
                     .read = text(options->length),
                     .choices = {"next"},
                     .isRequired = true,
                     .isAnyOf = true},
                    {.name = "--before",
                     .value = "DURATION",
                     .description = "With next: stop so long before it",
                     .read = length(options->before)},
                    {.name = "--channel",
                     .value = "N",
                     .description = "With next: an event of the service with this channel number",
                     .read = wholeNumber(options->channel)},
                    {.name = "--service",
                     .value = "N",
                     .description = "Likewise, of the service with this guide id",
                     .read = wholeNumber(options->service, 0, std::numeric_limits<std::int32_t>::max()),
                     .excludes = {"--channel"}}},
        .run = [&session, options] { step(session, *options); }};
}

} // namespace

Command makeClock(Session& session) {
    return {
        .name = "clock",
        .description = "Hold the service's clock, set it, or let time pass",
        .notes = "One clock is for all: now and next, the time that the service tells, a scan's progress. "
                 "Every command shows the clock as it is then. A service that is no simulation has no such "
                 "controls.",
        .examples = {"ostrel-tv clock hold", "ostrel-tv clock step next --channel 1", "ostrel-tv clock run"},
        .commands = {{.name = "show",
                      .description = "Show the time and how fast it passes",
                      .examples = {"ostrel-tv clock show", "ostrel-tv clock show --json | jq .now"},
                      .run = [&session] { showClock(session, session.getSimulator().clockGet()); }},
                     {.name = "hold",
                      .description = "Let it stand still",
                      .examples = {"ostrel-tv clock hold"},
                      .run = [&session] { setSpeed(session, 0); }},
                     {.name = "run",
                      .description = "Let it run as usual",
                      .examples = {"ostrel-tv clock run"},
                      .run = [&session] { setSpeed(session, 1); }},
                     makeClockSpeed(session),
                     makeClockSet(session),
                     makeClockStep(session)}};
}

} // namespace Ostrel::Client::Tool
