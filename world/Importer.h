#pragma once

#include "TV/server/dummy/data/WorldWriter.h"
#include "world/Categories.h"
#include "world/ImportReport.h"
#include "world/ImportedServices.h"
#include "world/XmltvReader.h"
#include "world/XmltvTime.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace Ostrel::TV::Tool {

/// Makes a world of an XMLTV listing.
///
/// What it keeps in memory grows by a few bytes a programme, whose texts wait in the writer's files.
class Importer {
public:
    struct Options {
        std::string name{}; ///< of the world, unless the listing is an export, which knows it
        std::string language{}; ///< of titles, texts and names; empty: the first ones
        std::string zone{}; ///< that the broadcasters live by; empty: UTC, or what an export says
        bool isLocal = false; ///< times that name no zone are the zone's, and not UTC
        std::vector<LineupService> lineup{}; ///< empty: made of the channels
    };

    /// @param categories  used for as long as this object is
    /// @throws std::runtime_error  the zone is not known
    Importer(Options options, const Categories& categories, WorldWriter& world);

    /// Takes what a reader reads.
    XmltvReader::Listener listener();

    /// Mends the times of all programmes, and describes the world. Nothing may be read afterwards.
    /// @throws std::runtime_error  there is no channel, or there are too many
    void finish();

    const ImportReport& report() const { return report_; }

    /// How far from UTC a time of the listing was, where the world is UTC's for want of a zone; 0 otherwise.
    int seenOffset() const { return options_.zone.empty() ? seenOffset_ : 0; }

private:
    void readGuide(const std::vector<XmltvText>& attributes);
    void readProgramme(const XmltvProgramme& programme);
    bool readTimes(const XmltvProgramme& programme, GuideEvent& event);
    std::int64_t toUtc(const XmltvTime& time);
    void readTexts(const XmltvProgramme& programme, GuideEvent& event);
    void readContent(const XmltvProgramme& programme, GuideEvent& event);
    void readOwn(const XmltvProgramme& programme, GuideEvent& event);
    std::string limited(std::string text);

    void mendTimes(std::span<epgentry* const> events);
    void mendIdentifiers();
    void mendLinks();

    Options options_;
    const Categories& categories_;
    WorldWriter& world_;
    ImportReport report_;
    ImportedServices services_;
    std::vector<ZoneOffset> zone_; ///< where times may be local
    int seenOffset_ = 0;
    std::vector<std::uint32_t> identifiers_; ///< that the listing brings
    std::unordered_set<std::uint32_t> linked_; ///< identifiers that links lead to
};

} // namespace Ostrel::TV::Tool
