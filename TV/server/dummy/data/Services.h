#pragma once

#include "TV/server/dummy/data/TextFile.h"

#include <string>
#include <vector>

namespace Ostrel::TV {

/// A service that has a guide: a row of services.txt with its DVB identifiers.
struct Service {
    enum class Follows { Nobody, SideBySide, OneHourLater };

    int id = 0; ///< guide service id
    std::string slug;
    std::string name;
    unsigned network = 0; ///< DVB original_network_id
    unsigned stream = 0; ///< DVB transport_stream_id
    unsigned dvbId = 0; ///< DVB service_id
    unsigned place = 0; ///< position carried with its events, 0 when it has none
    Follows follows = Follows::Nobody;
    std::string leader; ///< slug of the service that it follows
    std::string character;
    TextLine line;

    /// The name of its guide file.
    std::string guideFile() const { return std::to_string(id) + "-" + slug + ".txt"; }
};

/// Reads services.txt; the line-up gives the identifiers of the services it holds.
std::vector<Service> readServices(const std::string& servicesPath, const std::string& lineupPath);

} // namespace Ostrel::TV
