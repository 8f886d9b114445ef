#pragma once

#include "clients/cpp/ClientOptions.h"
#include "clients/cpp/Errors.h"
#include "clients/cpp/Json.h"
#include "clients/cpp/Notification.h"
#include "clients/cpp/Records.h"
#include "clients/cpp/Url.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Client {

class Connection;

/// Talks to one TV service over one WebSocket.
///
/// Times are seconds since 1970-01-01 UTC. Calls block until their reply is there. Notifications that arrive meanwhile are kept
/// for next(), the newest keptNotifications of them. Only inside these operations the service's pings are answered: a client
/// that calls nothing for more than a minute is closed by the service.
///
/// Every operation may throw ConnectionLost and Interrupted; every call also TimedOut,
/// ServiceError and BadReply. One client, one thread: not for sharing.
class Client {
public:
    /// Where a seek counts from.
    enum class Whence : std::uint32_t { Start = 0, Cursor = 1, End = 2 };

    /// @throws ConnectError, Interrupted
    explicit Client(const Url& url, const ClientOptions& options = {});

    /// Closes the connection. The context stays: the service releases it by itself, and
    /// deleting one would end a scan that somebody else runs.
    ~Client();

    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// Sends one request as it stands and returns its result as JSON text.
    ///
    /// @param params  the text of a JSON object; empty: none are sent
    std::string request(std::string_view method, std::string_view params = {});

    /// Calls a method with this client's own context and returns its result as JSON text, of which
    /// decode() makes values.
    ///
    /// @param method   interface and operation, for example "ITVService::serviceListGet"
    /// @param payload  the method's parameters as JSON text, sent as it stands; empty: none
    std::string call(std::string_view method, std::string_view payload = {});

    /// Returns this client's own context; the first use makes it.
    std::uint32_t getContext();

    /// Uses a context that is there already, whoever made it, as this client's own from now on.
    void useContext(std::uint32_t context) { context_ = context; }

    /// Makes a further context.
    std::uint32_t createContext();

    /// Deletes a context. This ends a running scan, whoever started it.
    void deleteContext(std::uint32_t context);

    /// Returns the next notification, or nothing when none comes in time.
    std::optional<Notification> next(std::chrono::milliseconds timeout);

    /// Waits for the next notification.
    Notification next();

    /// Selects "all" services or the "new" ones of the latest scan; the cursor is at the start.
    void selectList(std::string_view base);

    /// Returns up to limit services from the cursor on and moves it behind them. This and what
    /// follows is refused with "Invalid state" while no list is selected.
    std::vector<ServiceInfo> read(std::uint32_t limit);

    /// Returns up to limit services from the cursor on and leaves it.
    std::vector<ServiceInfo> get(std::uint32_t limit);

    /// The seeks move the cursor and return its new position, counted from 0.
    std::uint32_t seek(std::int32_t offset, Whence whence);
    std::uint32_t seekByUri(std::string_view uri);
    std::uint32_t seekByChannelNumber(std::uint32_t channelNumber);

    /// Returns how well a tuner receives. A source id is the number of a tuner, here and below.
    SignalStatus getSignalStatus(std::uint32_t sourceId);

    /// Returns the service's time, which may be set to a day of its guide.
    std::uint32_t getUtcTime();

    /// Returns the legend of EventInfo::genres.
    std::vector<GenreStringMap> getGenres();

    /// Returns what a service shows now and, where it follows at once, next: up to two events, none
    /// when nothing is on air or the guide knows no such service. The id is ServiceInfo::id.
    std::vector<EventInfo> getNowNext(std::uint32_t id);

    /// Returns the events that a query finds. About 13 services fit into one query that has a
    /// time range too; more are refused with "Not supported".
    std::vector<EventInfo> queryEvents(const Query& query);

    /// Returns a document for each event that an expression is true for, by start time.
    ///
    /// @param expression  in the service's query language; empty: every event
    /// @param format      "quoriljson" or "quorilxml"
    std::vector<std::string> query(std::string_view expression, std::string_view format);

    /// Starts a scan over the transponder list. The module has one scan, shared by all clients;
    /// it reports by the notifications ITVConfig::onScanStart, onScanProgress and onScanComplete,
    /// the first two of which are there when this returns. A scan that somebody ends by deleting
    /// a context reports no completion.
    void startScan(std::uint32_t sourceId);

    /// Starts a scan over every frequency of the band, likewise.
    void startBlindScan(std::uint32_t sourceId);

    /// Ends the running scan, whoever started it; returns whether there was one.
    bool stopScan(std::uint32_t sourceId);

    /// Returns how far the scan is that runs or ran last; refused with "Invalid state" before any.
    ScanInfo getScanInfo(std::uint32_t sourceId);

    /// Adds a frequency for startScan(), in whole MHz (the rest is dropped), once more if it is known.
    void addTransponder(std::uint32_t sourceId, std::uint32_t frequencyKHz);

    /// Forgets all transponders and all services.
    void clearTransponders(std::uint32_t sourceId);

private:
    template <class Result> Result ask(std::string_view method, std::string_view payload = {});
    std::string makeParams(std::string_view payload);

    const std::chrono::milliseconds timeout_;
    const std::unique_ptr<Connection> connection_;
    std::optional<std::uint32_t> context_;
};

} // namespace Ostrel::Client
