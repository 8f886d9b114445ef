#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Lineup.h"
#include "clients/tool/Output.h"
#include "clients/tool/ScanProgress.h"

#include <chrono>
#include <csignal>
#include <deque>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace Ostrel::Client::Tool {

namespace {

/// A scan that goes unannounced for so long is asked about: deleting a context ends it in silence.
constexpr std::chrono::seconds patience{2};

enum class Kind { Blind, Listed };

// The return codes that a start answers while a scan runs, and a look at the scan before any has.
constexpr std::int64_t scanRuns = 4;
constexpr std::int64_t noScanYet = 2;

/// Makes a call whose refusal with this return code has one reason.
template <class Call> auto explaining(std::int64_t returnCode, const char* reason, Call call) {
    try {
        return call();
    } catch (const ServiceError& error) {
        if (error.returnCode != returnCode)
            throw;
        throw std::runtime_error(reason);
    }
}

/// How a scan came to its end.
enum class End { Complete, Stopped, Silent };

/// Shows one scan as it goes: a bar on a terminal, else a line or an object for each event.
class Display {
public:
    explicit Display(bool json) : json_(json), bar_(!json && ::isatty(STDOUT_FILENO) != 0) {}

    bool wantsServices() const { return !json_; }

    void show(const Notification& event) {
        if (json_)
            printJson(toJson(event));
    }

    void show(const ScanProgress& progress) {
        if (bar_)
            print("\r" + progress.formatBar(getTerminalWidth() - 1) + "\x1b[K");
        else if (!json_)
            print(progress.formatLine() + "\n");
    }

    void finish(const ScanProgress& progress, End end) {
        if (json_)
            return;
        const auto percent = std::to_string(progress.percent) + " %";
        std::string text = bar_ ? "\r\x1b[K" : "";
        if (end == End::Complete)
            text += "Scan complete, ";
        else
            text += (end == End::Stopped ? "Scan stopped at " : "Scan ended at ") + percent + ", ";
        print(text + progress.describeServices() + "\n");
    }

private:
    const bool json_;
    const bool bar_;
};

/// Follows the scan that this client has started.
class Follower {
public:
    Follower(Session& session, std::uint32_t source)
        : client_(session.getClient()), display_(session.json), source_(source) {}

    void start(Kind kind) {
        explaining(scanRuns, "a scan is running already; ostrel-tv scan stop ends it", [&] {
            if (kind == Kind::Blind)
                client_.startBlindScan(source_);
            else
                client_.startScan(source_);
        });
    }

    void follow() {
        try {
            if (display_.wantsServices())
                client_.selectList("new");
            skipEarlierScans();
            while (!end_)
                step(patience);
        } catch (const Interrupted&) {
            stop();
            throw;
        } catch (const OutputClosed&) {
            client_.stopScan(source_);
            throw;
        } catch (const std::system_error&) { // nowhere to write
            client_.stopScan(source_);
            throw;
        }
        display_.finish(progress_, *end_);
        if (*end_ == End::Complete && display_.wantsServices() && progress_.getTotal() == 0)
            explainNothing();
        if (*end_ == End::Silent)
            throw std::runtime_error("somebody deleted a context, which ended the scan; start it again");
    }

private:
    /// Drops what an earlier scan of somebody else has left before the start of ours.
    void skipEarlierScans() {
        while (const auto event = client_.next(std::chrono::milliseconds(0))) {
            if (event->method == ITVConfig::onScanStart)
                events_.clear();
            events_.push_back(*event);
        }
    }

    std::optional<Notification> next(std::chrono::milliseconds timeout) {
        if (events_.empty())
            return client_.next(timeout);
        auto event = std::move(events_.front());
        events_.pop_front();
        return event;
    }

    /// Takes one event, or asks how the scan is when none comes in time.
    void step(std::chrono::milliseconds timeout) {
        const auto event = next(timeout);
        if (event)
            take(*event);
        else if (!client_.getScanInfo(source_).scanning)
            settle();
    }

    void take(const Notification& event) {
        if (event.method == ITVConfig::onScanStart && std::exchange(isStarted_, true)) {
            end_ = End::Silent; // ours is over: this is another one
            return;
        }
        const bool isProgress = event.method == ITVConfig::onScanProgress;
        const bool isComplete = event.method == ITVConfig::onScanComplete;
        display_.show(event);
        if (isProgress) {
            if (!event.percent)
                throw BadReply("the service sent a progress without a percentage");
            progress_.percent = *event.percent;
        }
        if (isProgress || isComplete)
            countServices();
        if (isProgress)
            display_.show(progress_);
        if (isComplete)
            end_ = progress_.percent == 100 ? End::Complete : End::Stopped;
    }

    /// The scan is over: its last events are here, or there are none.
    void settle() {
        while (!end_) {
            const auto event = next(std::chrono::milliseconds(0));
            if (!event)
                break;
            take(*event);
        }
        if (!end_)
            end_ = End::Silent;
    }

    /// The service answers only when the services of the last event are in the list.
    void countServices() {
        if (!display_.wantsServices())
            return;
        for (const auto& service : readServices(client_, std::numeric_limits<std::uint32_t>::max()))
            progress_.count(service);
    }

    /// Says why a whole scan has found nothing new.
    void explainNothing() {
        client_.selectList("all");
        print(client_.get(1).empty()
                  ? "No frequency that it visited carries a service; ostrel-tv scan blind visits all.\n"
                  : "What is in the service list already does not count. To find it again empty the list "
                    "first:\n  ostrel-tv transponders clear --yes\n");
    }

    void stop() {
        client_.stopScan(source_);
        if (display_.wantsServices()) { // the interrupt may have cost the answer to a read
            const auto percent = progress_.percent;
            progress_ = {};
            progress_.percent = percent;
            client_.selectList("new");
        }
        settle();
        display_.finish(progress_, *end_);
    }

    Client& client_;
    Display display_;
    const std::uint32_t source_;
    std::deque<Notification> events_; ///< to be taken before those that the client has
    ScanProgress progress_;
    bool isStarted_ = false; ///< the event was taken that announces it
    std::optional<End> end_;
};

void scan(Session& session, Kind kind, std::uint32_t source) {
    session.stopSignals = {SIGINT, SIGTERM, SIGHUP}; // so that none leaves the scan to run on
    Follower follower(session, source);
    follower.start(kind);
    follower.follow();
}

void stopScan(Session& session, std::uint32_t source) {
    const bool stopped = session.getClient().stopScan(source);
    if (session.json)
        printJson(stopped ? R"({"stopped":true})" : R"({"stopped":false})");
    else
        print(stopped ? "The scan is stopped.\n" : "No scan is running.\n");
}

void showScan(Session& session, std::uint32_t source) {
    const auto info = explaining(noScanYet, "no scan has run yet; ostrel-tv scan blind starts one",
                                 [&] { return session.getClient().getScanInfo(source); });
    if (session.json) {
        printJson(encode(info));
        return;
    }
    // The service's own counter counts a service twice that was put in before another.
    const auto found = std::uint64_t{info.tvServices} + info.radioServices + info.type3Services;
    print(std::string("scanning  ") + (info.scanning ? "yes" : "no") + "\n" + //
          "progress  " + std::to_string(info.progress) + " %\n" + //
          "found     " + std::to_string(found) + "\n" + //
          "tv        " + std::to_string(info.tvServices) + "\n" + //
          "radio     " + std::to_string(info.radioServices) + "\n" + //
          "data      " + std::to_string(info.type3Services) + "\n");
}

/// A command of "scan", which takes the tuner.
Command make(Session& session, const char* name, const char* description, const char* notes,
             std::vector<std::string> examples, void (*run)(Session&, std::uint32_t)) {
    const auto source = std::make_shared<std::uint32_t>(0);
    return {.name = name,
            .description = description,
            .notes = notes,
            .examples = std::move(examples),
            .options = {sourceOption(*source)},
            .run = [&session, source, run] { run(session, *source); }};
}

constexpr const char* scanNotes =
    "Ctrl-C asks the service to stop the scan, shows what was found, and ends with status 130. The scan is "
    "stopped too when its reader goes away, as behind \"| head\". With --json every event is printed as one "
    "object on a line of its own.\n"
    "\n"
    "Services that are in the list already are not found again: ostrel-tv transponders clear removes them.";

} // namespace

Command makeScan(Session& session) {
    const auto blind = [](Session& s, std::uint32_t source) { scan(s, Kind::Blind, source); };
    const auto listed = [](Session& s, std::uint32_t source) { scan(s, Kind::Listed, source); };
    return {
        .name = "scan",
        .description = "Search for services, or see how a search gets on",
        .notes = "There is one scan, which all clients share. Its new services:\n"
                 "  ostrel-tv services --list new",
        .examples = {"ostrel-tv scan blind", "ostrel-tv scan info"},
        .commands = {
            make(session, "blind", "Scan every frequency of the band", scanNotes,
                 {"ostrel-tv scan blind", "ostrel-tv transponders clear --yes && ostrel-tv scan blind"},
                 blind),
            make(session, "start", "Scan the frequencies of the transponder list", scanNotes,
                 {"ostrel-tv scan start --json | jq --unbuffered .params.percent"}, listed),
            make(session, "stop", "Stop the scan, whoever started it", "", {"ostrel-tv scan stop"}, stopScan),
            make(session, "info", "Show how far the scan has got that runs or ran last",
                 "In JSON servicesFound is the service's own counter: a service that was put in before "
                 "another counts twice in it.",
                 {"ostrel-tv scan info", "ostrel-tv scan info --json | jq .progress"}, showScan)}};
}

} // namespace Ostrel::Client::Tool
