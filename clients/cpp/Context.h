// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "clients/cpp/Json.h"
#include "clients/cpp/Records.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Client {

class Connection;

/// The calls of a service, made with one context: a list of services that is selected, and a cursor
/// in it. Nothing else belongs to a context; all that is not about the list answers any of them alike.
///
/// A Client is a Context itself, and hands out others:
///
///     auto favourites = client.createContext(); // a second cursor
///     favourites.selectList("all");
///     client.within(500ms).getUtcTime(); // a call with a time-out of its own
///
/// These are the calls that most programs want. ITVService, ITVConfig and ITVGuide have all of them, by
/// the names that they have on the wire:
///
///     ITVService(favourites).serviceListDelete();
///
/// A copy is another handle to the same context. Handles belong to the thread of their client; the
/// connection closes with the last of both.
///
/// Times are seconds since 1970-01-01 UTC. Calls block until their reply is there. Each may throw
/// ConnectionLost, TimedOut, ServiceError, BadReply and Interrupted. After all but the first the
/// connection is as good as before: a reply that comes too late is dropped. The service releases a
/// context that its client has left; a ServiceError whose member is "context" says so.
class Context {
public:
    using Whence = Ostrel::Client::Whence; ///< where a seek counts from

    /// Returns a handle to the same context whose calls wait so long for their reply.
    Context within(std::chrono::milliseconds timeout) const;

    /// Returns the number of the context. A client's own is made at its first use.
    std::uint32_t getContext();

    /// Sends one request as it stands and returns its result as JSON text.
    ///
    /// @param params  the text of a JSON object; empty: none are sent
    std::string request(std::string_view method, std::string_view params = {});

    /// Calls a method with this context and returns its result as JSON text, of which
    /// decode() makes values.
    ///
    /// @param method   interface and operation, for example "ITVService::serviceListGet"
    /// @param payload  the method's parameters as JSON text, sent as it stands; empty: none
    std::string call(std::string_view method, std::string_view payload = {});

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

protected:
    /// @param context  empty: made at its first use
    Context(std::shared_ptr<Connection> connection, std::optional<std::uint32_t> context,
            std::chrono::milliseconds timeout);

private:
    friend class Caller;
    friend class Client;

    std::string makeParams(std::string_view payload);

    std::shared_ptr<Connection> connection_;
    std::shared_ptr<std::optional<std::uint32_t>> context_; ///< of all handles to it; empty: not made yet
    std::chrono::milliseconds timeout_;
};

} // namespace Ostrel::Client
