#pragma once

#include "TV/server/dummy/data/GuideText.h"
#include "TV/server/dummy/data/LineupText.h"

#include <string>
#include <vector>

namespace Ostrel::TV {

/// A service that has a guide: a row of services.txt with its DVB identifiers.
struct Service : GuideService {
    enum class Follows { Nobody, SideBySide, OneHourLater };

    std::string slug;
    std::string name;
    Follows follows = Follows::Nobody;
    std::string leader; ///< slug of the service that it follows
    std::string character;
    TextLine line;

    /// The name of its guide file.
    std::string guideFile() const { return std::to_string(id) + "-" + slug + ".txt"; }
};

/// Reads services.txt; the line-up gives the identifiers of the services it holds.
std::vector<Service> readServices(const std::string& path, const std::vector<LineupService>& lineup,
                                  WorldProblems& problems);

/// The same where any mistake is too much.
/// @throws TextFileError  with all mistakes
std::vector<Service> readServices(const std::string& servicesPath, const std::string& lineupPath);

} // namespace Ostrel::TV
