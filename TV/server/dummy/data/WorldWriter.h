#pragma once

#include "TV/server/dummy/data/GuideText.h"
#include "TV/server/dummy/data/LineupText.h"
#include "TV/server/dummy/world/WorldImage.h"

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::TV {

/// Puts a world together and writes its image.
///
/// Events may come in any order and number: they wait in temporary files, and what is kept in
/// memory grows by 8 bytes an event. What does not fit the columns of a table is refused; whether
/// it makes sense is judged by checkWorld() (WorldRules.h) on the world that comes of it.
///
/// For one thread. std::system_error says that a temporary file cannot be written.
class WorldWriter {
public:
    WorldWriter();
    ~WorldWriter();
    WorldWriter(const WorldWriter&) = delete;
    WorldWriter& operator=(const WorldWriter&) = delete;

    /// @param timeZone  that the broadcasters live by, a name of the IANA's database
    void describe(std::string name, std::string timeZone);

    /// Services of the line-up, in the order in which the transponders carry them.
    void addToLineup(const LineupService& service);

    /// An event of a service, all of whose events must bear the same identifiers.
    void add(const GuideService& service, const GuideEvent& event);

    std::size_t eventCount() const { return count_; }

    /// Calls back for each service with its events in the order of their start, and may be called
    /// before write() only. Numbers may be changed but for the ServiceId, which is set to 0 to leave the event out.
    void mend(const std::function<void(std::span<epgentry* const> events)>& service);

    /// Writes the image. Nothing may be added afterwards.
    /// @param out  at its beginning
    /// @returns for each row of the table the number of its event, in the order of add(), from 0
    /// @throws std::runtime_error  the time zone is not known here, or the image would be too large
    std::vector<std::uint32_t> write(std::FILE* out);

private:
    class Spool;
    class KnownTexts;

    /// An event as it waits.
    struct Waiting {
        epgentry row;
        GuideRowFacts facts;
    };

    PoolText keep(std::string_view text);
    std::span<Waiting> waiting();
    std::vector<std::uint32_t> tableOrder();

    std::string name_ = "unnamed", timeZone_ = "UTC";
    std::vector<LineupRow> lineup_;
    std::unique_ptr<Spool> events_, texts_;
    std::unique_ptr<KnownTexts> known_;
    std::size_t count_ = 0;
};

} // namespace Ostrel::TV
