#pragma once

#include "TV/server/dummy/data/TextFile.h"

#include <string>
#include <vector>

namespace Ostrel::TV {

/// A service of a line-up, as lineup.txt describes it.
struct LineupService {
    unsigned frequencyMHz = 0; ///< of its transponder
    unsigned channelNumber = 0; ///< as shown to the viewer
    unsigned type = 1; ///< ITVService::ServiceInfo::Type: 1 television, 2 radio, 3 data
    std::string name;
    unsigned network = 0; ///< DVB original_network_id
    unsigned stream = 0; ///< DVB transport_stream_id
    unsigned dvbId = 0; ///< DVB service_id
    std::string provider; ///< may be empty
    bool scrambled = false;
    bool highDefinition = false;
    bool visible = true;
    bool selectable = true;
    TextLine line;
};

/// Reads a line-up: the services of its good lines. What they are beside each other is judged by
/// checkWorld() (WorldRules.h).
std::vector<LineupService> readLineup(const std::string& path, WorldProblems& problems);

/// The same where any mistake is too much.
/// @throws TextFileError  with all mistakes
std::vector<LineupService> readLineup(const std::string& path);

/// The text of lineup.txt.
std::string writeLineup(const std::vector<LineupService>& services);

} // namespace Ostrel::TV
