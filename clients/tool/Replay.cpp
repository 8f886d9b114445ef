#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"
#include "clients/tool/Record.h"
#include "clients/tool/ReplayConnections.h"
#include "clients/tool/ReplyDifference.h"
#include "commandline/Values.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <chrono>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace Ostrel::Client::Tool {

namespace {

constexpr double asFastAsPossible = std::numeric_limits<double>::infinity();
constexpr std::size_t mostDifferences = 10; ///< of one reply

struct ReplayOptions {
    std::string file;
    bool diff = false;
    std::vector<std::string> without; ///< members that are not compared
    double speed = 1;
};

/// Sends the requests of a record again, and compares what comes back.
class Replay {
public:
    Replay(Session& session, const ReplayOptions& options)
        : options_(options), json_(session.json), without_(options.without.begin(), options.without.end()),
          record_(options.file), connections_(Url(session.url), session.getOptions()) {}

    /// @throws std::runtime_error  replies differ
    void run() {
        while (const auto message = record_.next()) {
            if (message->direction == RecordedMessage::Direction::Request)
                send(*message);
            else if (message->direction == RecordedMessage::Direction::Reply)
                replyCame(*message);
        }
        if (sent_ + leftOut_ == 0)
            throw std::runtime_error(options_.file + " holds no requests");
        summarize();
        if (different_ > 0)
            throw std::runtime_error(std::to_string(different_) + " of " + std::to_string(compared_) +
                                     " replies differ");
    }

private:
    /// A request of which the record has not told the reply yet.
    struct Pending {
        std::uint64_t number;
        ReplayConnections::Answer answer;
    };

    void send(const RecordedMessage& message) {
        pending_.erase(message.connection);
        if (!message.isWhole) {
            ++leftOut_;
            return;
        }
        pause(message.time);
        ++sent_;
        known_.insert(message.connection);
        const auto text = withTodaysContexts(message.text);
        if (message.id.empty())
            connections_.notify(message.connection, text);
        else
            pending_[message.connection] = {sent_, connections_.request(message.connection, text)};
    }

    /// Waits until it is time for what was sent then.
    void pause(double time) {
        using Seconds = std::chrono::duration<double>;
        if (!first_) {
            first_ = time;
            begin_ = ReplayConnections::Clock::now();
        }
        // An hour at most: a clock that was set is no reason to wait for ever.
        const Seconds wait(std::min(3600.0, std::max(0.0, time - latest_.value_or(time)) / options_.speed));
        latest_ = time;
        due_ += std::chrono::duration_cast<ReplayConnections::Clock::duration>(wait);
        connections_.waitUntil(begin_ + due_);
    }

    /// Contexts go by other numbers today: each that was made has its own.
    std::string withTodaysContexts(std::string text) const {
        constexpr std::string_view key = "\"context\"";
        constexpr const char* blanks = " \t\r\n";
        for (auto at = text.find(key); at != std::string::npos; at = text.find(key, at)) {
            at += key.size();
            const auto colon = text.find_first_not_of(blanks, at);
            if (colon == std::string::npos || text[colon] != ':')
                continue;
            const auto begin = text.find_first_not_of(blanks, colon + 1);
            if (begin == std::string::npos)
                break;
            const auto end = std::min(text.find_first_not_of("0123456789", begin), text.size());
            const auto found = contexts_.find(text.substr(begin, end - begin));
            if (found != contexts_.end())
                text.replace(begin, end - begin, found->second);
        }
        return text;
    }

    void replyCame(const RecordedMessage& recorded) {
        const auto found = pending_.find(recorded.connection);
        if (found == pending_.end())
            return;
        const auto pending = std::move(found->second);
        pending_.erase(found);
        if (!recorded.isWhole) {
            ++leftOut_;
            return;
        }
        const auto before = parse(recorded.text);
        const auto now = parse(pending.answer.reply);
        const bool haveResults = hasResult(before) && hasResult(now);
        if (haveResults && recorded.method == "ITVService::createContext")
            contexts_[boost::json::serialize(before.at("result"))] = boost::json::serialize(now.at("result"));
        if (options_.diff)
            compare(recorded, pending, before, now,
                    haveResults && (recorded.method == "ITVService::createContext" ||
                                    recorded.method == "ITVService::utcTimeGet"));
    }

    /// @param isNew  the result is another one each time
    void compare(const RecordedMessage& recorded, const Pending& pending, const boost::json::value& before,
                 const boost::json::value& now, bool isNew) {
        ++compared_;
        if (isNew)
            return;
        auto differences = compareReplies(before, now, without_, mostDifferences + 1);
        if (!pending.answer.failure.empty())
            differences = {{"", recorded.text, ""}};
        if (differences.empty())
            return;
        ++different_;
        if (json_)
            printJson(toJson(recorded, pending, differences));
        else
            print(describe(recorded, pending, differences));
    }

    static boost::json::value parse(const std::string& text) {
        boost::json::error_code error;
        boost::json::parse_options deep;
        deep.max_depth = 1000;
        auto value = boost::json::parse(text, error, {}, deep);
        return error ? boost::json::value(text) : value;
    }

    static bool hasResult(const boost::json::value& reply) {
        return reply.is_object() && reply.get_object().contains("result");
    }

    static std::string describe(const RecordedMessage& recorded, const Pending& pending,
                                const std::vector<ReplyDifference>& differences) {
        std::string text = "request " + std::to_string(pending.number) + ", connection " +
                           std::to_string(recorded.connection) + ", " +
                           (recorded.method.empty() ? "no method" : cut(printable(recorded.method), 60)) +
                           "\n";
        const auto shown = [](const std::string& json) {
            return json.empty() ? std::string("nothing") : cut(printable(json), 60);
        };
        for (std::size_t i = 0; i < std::min(differences.size(), mostDifferences); ++i) {
            const auto& [path, before, now] = differences[i];
            text += "  " + (path.empty() ? "reply" : printable(path)) + ": recorded " + shown(before) +
                    ", now " +
                    (pending.answer.failure.empty() ? shown(now) : printable(pending.answer.failure)) + "\n";
        }
        if (differences.size() > mostDifferences)
            text += "  and more\n";
        return text;
    }

    static std::string toJson(const RecordedMessage& recorded, const Pending& pending,
                              const std::vector<ReplyDifference>& differences) {
        boost::json::array list;
        for (const auto& [path, before, now] : differences) {
            boost::json::object one{{"path", path}};
            if (!before.empty())
                one["recorded"] = parse(before);
            if (!now.empty())
                one["now"] = parse(now);
            list.push_back(std::move(one));
        }
        boost::json::object object{{"request", pending.number},
                                   {"connection", recorded.connection},
                                   {"method", recorded.method},
                                   {"differences", std::move(list)}};
        if (!pending.answer.failure.empty())
            object["failure"] = pending.answer.failure;
        return boost::json::serialize(object);
    }

    void summarize() const {
        if (json_) {
            boost::json::object summary{{"requests", sent_},
                                        {"connections", known_.size()},
                                        {"leftOut", leftOut_},
                                        {"missed", record_.getMissed()}};
            if (options_.diff) {
                summary["compared"] = compared_;
                summary["different"] = different_;
            }
            printJson(boost::json::serialize(summary));
            return;
        }
        std::string text =
            counted(sent_, "request") + " of " + counted(known_.size(), "connection") + " sent";
        if (options_.diff)
            text += ", " + counted(compared_, "reply", "replies") + " compared, " +
                    (different_ == 0 ? "none differs" : std::to_string(different_) + " differ");
        if (leftOut_ > 0)
            text += "; " + counted(leftOut_, "text") + " not whole in the record, left out";
        if (record_.getMissed() > 0)
            text += "; " + counted(record_.getMissed(), "message") + " missing in the record";
        print(text + "\n");
    }

    static std::string counted(std::uint64_t count, const std::string& one, const std::string& several = {}) {
        return std::to_string(count) + ' ' + (count == 1 ? one : several.empty() ? one + "s" : several);
    }

    const ReplayOptions& options_;
    const bool json_;
    const std::set<std::string> without_;
    Record record_;
    ReplayConnections connections_;
    std::map<std::uint64_t, Pending> pending_; ///< by connection
    std::map<std::string, std::string> contexts_; ///< today's, by those of the record
    std::set<std::uint64_t> known_; ///< connections

    std::optional<double> first_; ///< time of the first request, in the record
    std::optional<double> latest_; ///< and of the one before
    ReplayConnections::Clock::time_point begin_; ///< when the first was sent
    ReplayConnections::Clock::duration due_{0}; ///< of the next, from then on

    std::uint64_t sent_ = 0;
    std::uint64_t leftOut_ = 0;
    std::uint64_t compared_ = 0;
    std::uint64_t different_ = 0;
};

/// A number above 0, or "max".
CommandLine::Reader speed(double& place) {
    return [&place, read = CommandLine::positiveNumber(place)](const std::string& given) {
        if (given == "max")
            place = asFastAsPossible;
        else
            read(given);
    };
}

} // namespace

Command makeReplay(Session& session) {
    const auto options = std::make_shared<ReplayOptions>();
    return {
        .name = "replay",
        .description = "Send the requests of a record again, and compare the replies",
        .notes =
            "ostrel-tvd --record FILE writes the record. Its requests are sent in their order, each "
            "connection's by one of its own, and each once the one before is answered. Contexts that the "
            "record makes are made anew, and later requests use those. What was refused is sent, too.\n"
            "\n"
            "With --diff every reply that is not the recorded one is shown, place by place. The numbers of "
            "new contexts and the time that utcTimeGet tells are never compared; --without leaves out more. "
            "For equal replies start with an equal service: the same world, lists and clock, as a new "
            "ostrel-tvd has them. The exit status is 1 when replies differ.\n"
            "\n"
            "With --json every line is one object: one for each reply that differs, and a summary at last.",
        .examples = {"ostrel-tv replay record.jsonl", "ostrel-tv replay record.jsonl --diff --speed max",
                     "ostrel-tv replay record.jsonl --diff --without startTime --without endTime"},
        .options = {{.name = "FILE",
                     .description = "The record; - reads it from standard input",
                     .read = text(options->file),
                     .isRequired = true,
                     .isFile = true},
                    {.name = "--diff",
                     .description = "Show where replies differ",
                     .read = CommandLine::flag(options->diff)},
                    {.name = "--without",
                     .value = "MEMBER",
                     .description = "Leave members of this name out of the comparison; may be given again",
                     .read = text(options->without),
                     .mayRepeat = true,
                     .needs = {"--diff"}},
                    {.name = "--speed",
                     .value = "N",
                     .description = "So many times as fast as it was, or max: without pauses",
                     .read = speed(options->speed),
                     .standard = "1"}},
        .run = [&session, options] { Replay(session, *options).run(); }};
}

} // namespace Ostrel::Client::Tool
