#pragma once

#include "TV/server/dummy/data/GuideText.h"
#include "world/XmltvReader.h"

#include <string_view>
#include <vector>

namespace Ostrel::TV::Tool {

/// How XMLTV spells a content reference identifier that is known: as an episode-num of one of these
/// systems. Its index, from 1, is the type.
constexpr std::string_view cridSystems[] = {"crid-episode", "crid-series", "crid-recommendation"};

/// The instance of what the identifiers name, when it is not the first one.
constexpr std::string_view imiSystem = "imi";

/// Makes content reference identifiers of what tells episodes and series from others in a listing.
///
/// Those that the listing spells out are taken as they are. Otherwise the same numbers, or the same title
/// and number, make the same identifiers, in any file and on any machine: dd_progid, xmltv_ns, what the
/// databases of episodes call it, onscreen, and last the sub-title, whichever comes first. A programme that has
/// none of them gets none: not all that share a title are one series.
std::vector<GuideCrid> makeCrids(const XmltvProgramme& programme, std::string_view title,
                                 std::string_view subTitle);

/// The instance that the listing tells; otherwise, of an episode that was shown before, one that is not the
/// first.
unsigned readImi(const XmltvProgramme& programme, const std::vector<GuideCrid>& crids);

} // namespace Ostrel::TV::Tool
