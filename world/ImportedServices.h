#pragma once

#include "TV/server/dummy/data/GuideText.h"
#include "TV/server/dummy/data/LineupText.h"
#include "world/ImportReport.h"
#include "world/XmltvReader.h"

#include <cstddef>
#include <deque>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace Ostrel::TV::Tool {

/// Makes services of the channels of a listing.
///
/// With a line-up, a channel is the service of that line-up that has its id or one of its names, and
/// others are left out. Without one each channel becomes a service: it gets the number that the listing
/// gives it, or the next that is free, and a place on one of the multiplexes of the band. What an export
/// wrote of a service is taken as it is.
class ImportedServices {
public:
    /// A channel that became a service.
    struct Service {
        GuideService guide{};
        LineupService lineup{};
        bool isInLineup = true; ///< a guide may have services that are not on the air
        bool isComplete = false; ///< an export or the line-up said all of it
        std::size_t programmes = 0, programmesWithPicture = 0, programmesInHd = 0;
    };

    /// @param language  of the names; empty: the first ones
    /// @param lineup    empty: made of the channels
    ImportedServices(std::string language, std::vector<LineupService> lineup, ImportReport& report);

    void add(const XmltvChannel& channel);

    /// The service of a channel; null when it has none. A listing may leave channels out altogether: then each id
    /// is one.
    Service* find(const std::string& channel);

    /// The line-up that comes of it, in its order. No service is added afterwards.
    std::vector<LineupService> makeLineup();

private:
    void remember(XmltvChannel channel);
    void placeWaiting();
    void placeInLineup(const XmltvChannel& channel);
    void placeByItself(const XmltvChannel& channel);
    void giveNumber(Service& service);
    void giveIdentifiers(Service& service);
    std::string chooseName(const XmltvChannel& channel) const;

    const std::string language_;
    std::vector<LineupService> lineup_;
    ImportReport& report_;
    std::unordered_map<std::string, std::size_t> inLineup_; ///< by its name as names are compared
    std::set<std::size_t> usedOfLineup_;

    std::vector<XmltvChannel>
        waiting_; ///< until the first programme, so that the numbers they bring are known
    std::size_t bytes_ = 0; ///< of all channels
    bool hasChannels_ = false;
    std::deque<Service> services_; ///< none is ever moved
    std::unordered_map<std::string, Service*> byChannel_; ///< null for one that is left out
    std::set<unsigned> numbers_, dvbIds_;
    std::set<int> guideIds_;
    unsigned nextNumber_ = 1, nextDvbId_ = 1, placed_ = 0;
    int nextGuideId_ = 1000;
};

} // namespace Ostrel::TV::Tool
