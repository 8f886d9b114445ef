#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"
#include "clients/tool/TrafficFilter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Client::Tool {

namespace {

using Message = Simulator::OnTraffic;

constexpr std::uint32_t mostKept = 10000; // messages, by the service
constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();
constexpr std::size_t wide = 120; // columns of a terminal that has room for everything

struct TrafficOptions {
    std::uint32_t last = 100;
    bool follow = false;
    TrafficFilter filter;
};

struct TrafficColumn {
    int width; ///< below 0: to the right
    bool isForWide = false; ///< left out of a narrow terminal
};

constexpr TrafficColumn columns[] = {{12}, {-5}, {21, true}, {2}, {22}, {3, true}, {-8}, {-6, true}};

/// Lays messages out in lines of which each can be printed when it comes: columns have their widths
/// from the start, and what does not fit moves the rest of its own line.
class TrafficLines {
public:
    /// @param width  columns of the terminal; unlimited where it is none
    explicit TrafficLines(std::size_t width) : width_(width) {}

    std::string formatTitle() const {
        return format({"Time", "Conn.", "Client", "", "Method", "Id", "ms", "Bytes"}, "Text");
    }

    std::string format(const Message& message) const {
        return format(
            {formatClock(message.time), message.connection == 0 ? "" : std::to_string(message.connection),
             message.client, getArrow(message.direction), std::string(getShortName(message.method)),
             message.id ? message.id->text : "",
             message.direction == "reply" ? formatMsec(message.micros) : "", std::to_string(message.bytes)},
            TrafficBody(message.text).text);
    }

private:
    std::string format(const std::vector<std::string>& cells, std::string_view text) const {
        std::string line;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const auto [width, isForWide] = columns[i];
            if (isForWide && width_ < wide)
                continue;
            const auto cell = printable(cells[i]);
            const auto wanted = static_cast<std::size_t>(std::abs(width));
            const std::string fill(wanted - std::min(wanted, getWidth(cell)), ' ');
            line.append(width < 0 ? fill + cell : cell + fill).append("  ");
        }
        line += printable(text);
        if (getWidth(line) > width_)
            line = cut(line, width_ - 1) + "\u2026";
        line.erase(line.find_last_not_of(' ') + 1);
        return line + "\n";
    }

    static std::string formatClock(double time) {
        const auto msec = std::llround(std::floor(time * 1000));
        const auto seconds = static_cast<std::time_t>(msec / 1000);
        std::tm local{};
        localtime_r(&seconds, &local);
        char fraction[8];
        std::snprintf(fraction, sizeof fraction, ".%03d", static_cast<int>(msec % 1000));
        return formatTime("%H:%M:%S", local) + fraction;
    }

    static std::string formatMsec(std::uint64_t micros) {
        char text[32];
        std::snprintf(text, sizeof text, "%.3f", static_cast<double>(micros) / 1000);
        return text;
    }

    static const char* getArrow(const std::string& direction) {
        return direction == "request" ? "->" : direction == "reply" ? "<-" : "<<";
    }

    const std::size_t width_;
};

/// Shows what has passed, and what passes from then on.
class TrafficView {
public:
    TrafficView(Session& session, const TrafficOptions& options)
        : session_(session), options_(options),
          lines_(::isatty(STDOUT_FILENO) != 0 ? getTerminalWidth() : unlimited) {}

    void run() {
        // What passes between the two calls comes twice, not never.
        if (options_.follow)
            session_.getSimulator().trafficWatch(true);
        const bool needsAll = options_.follow || !options_.filter.isEmpty();
        for (auto& message : session_.getSimulator().trafficGet({needsAll ? mostKept : options_.last}))
            passed_.push_back(asPushed(std::move(message)));
        showPassed();
        if (options_.follow)
            follow();
    }

private:
    static Message asPushed(Simulator::Message&& message) {
        return {.time = message.time,
                .connection = message.connection,
                .client = std::move(message.client),
                .direction = std::move(message.direction),
                .method = std::move(message.method),
                .id = std::move(message.id),
                .micros = message.micros,
                .bytes = message.bytes,
                .text = std::move(message.text)};
    }

    void showPassed() {
        std::deque<const Message*> wanted;
        for (const auto& message : passed_) {
            if (!options_.filter.matches(message))
                continue;
            wanted.push_back(&message);
            if (wanted.size() > options_.last)
                wanted.pop_front();
        }
        if (!session_.json && wanted.empty() && !options_.follow) {
            print(passed_.empty() ? "Nothing has passed.\n" : "Nothing of that kind has passed.\n");
            return;
        }
        std::string text = session_.json ? "" : lines_.formatTitle();
        for (const auto* message : wanted)
            text += format(*message);
        print(text);
    }

    [[noreturn]] void follow() {
        while (true) {
            const auto notification = session_.getSimulatorClient().next();
            if (notification.method != Simulator::onTraffic)
                continue;
            auto message = decode<Message>(notification.params);
            if (message.missed)
                print(formatMissed(*message.missed));
            message.missed.reset();
            if (!wasThere(message) && options_.filter.matches(message))
                print(format(message));
        }
    }

    /// Whether a message that is pushed had passed before: those that had come first, in their order.
    bool wasThere(const Message& message) {
        const auto same = std::find(passed_.begin(), passed_.end(), message);
        const bool isThere = same != passed_.end();
        passed_.erase(passed_.begin(), isThere ? same + 1 : same);
        return isThere;
    }

    std::string format(const Message& message) const {
        return session_.json ? encode(message) + "\n" : lines_.format(message);
    }

    /// As a record tells it.
    std::string formatMissed(std::uint64_t missed) const {
        const auto number = std::to_string(missed);
        return session_.json ? R"({"missed":)" + number + "}\n" : number + " missed\n";
    }

    Session& session_;
    const TrafficOptions& options_;
    const TrafficLines lines_;
    std::deque<Message> passed_; ///< what may yet be pushed again
};

} // namespace

Command makeTraffic(Session& session) {
    const auto options = std::make_shared<TrafficOptions>();
    auto& filter = options->filter;
    return {
        .name = "traffic",
        .description = "Show what clients and the service say to each other",
        .notes =
            "The simulation keeps the latest messages of all connections, up to 10,000; those to its own "
            "controls are none of them. -> is a request, <- the reply with the milliseconds that it took, << "
            "a notification to all. The text begins with the payload, the result or the error. On a terminal "
            "lines are cut to its width, and below 120 columns client, id and bytes are left out; in a pipe "
            "all is there.\n"
            "\n"
            "Filters that are given together must all agree. With --follow the exit status is 130 after "
            "Ctrl-C and 3 when the connection is lost; a line says how many messages are missed where too "
            "many came at once.\n"
            "\n"
            "With --json every line is one message, as in a record, and replay takes them. Texts are cut at "
            "16 KiB, other than those of ostrel-tvd --record.",
        .examples = {"ostrel-tv traffic --last 10", "ostrel-tv traffic --follow --method '*List*'",
                     "ostrel-tv traffic --errors", "ostrel-tv traffic --connection 3 --direction request",
                     "ostrel-tv traffic --follow --json | jq --unbuffered -r .method",
                     "ostrel-tv traffic --last 10000 --json > record.jsonl"},
        .options = {{.name = "--last",
                     .value = "N",
                     .description = "How many to begin with, the latest that the filters leave",
                     .read = wholeNumber(options->last, 0, mostKept),
                     .standard = std::to_string(options->last)},
                    {.name = "--follow",
                     .description = "Then show each further one, until Ctrl-C",
                     .read = CommandLine::flag(options->follow)},
                    {.name = "--method",
                     .value = "GLOB",
                     .description =
                         "Only of this method or notification, with or without its interface; * is "
                         "any run of characters",
                     .read = text(filter.method)},
                    {.name = "--client",
                     .value = "TEXT",
                     .description = "Only of clients with this in their address: a port, or unix",
                     .read = text(filter.client)},
                    {.name = "--connection",
                     .value = "N",
                     .description = "Only of the connection with this number",
                     .read = wholeNumber(filter.connection)},
                    {.name = "--direction",
                     .description = "Only those that go this way",
                     .read = text(filter.direction),
                     .choices = {"request", "reply", "notification"}},
                    {.name = "--errors",
                     .description = "Only replies that are errors",
                     .read = CommandLine::flag(filter.errors),
                     .excludes = {"--direction"}}},
        .run = [&session, options] { TrafficView(session, *options).run(); }};
}

} // namespace Ostrel::Client::Tool
