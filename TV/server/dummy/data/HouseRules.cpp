#include "TV/server/dummy/data/HouseRules.h"

#include "TV/server/dummy/data/GuideText.h"

#include <algorithm>
#include <map>
#include <span>
#include <string_view>

namespace Ostrel::TV {

namespace {

constexpr std::int32_t shortest = 60;
constexpr std::int32_t longest = 82800;
constexpr std::size_t longestText = 255;
constexpr unsigned highestVersion = 6;
constexpr unsigned highestPlace = 64;
constexpr std::int32_t highestChannelNumber = 999;

/// Judges a world once.
class House {
public:
    House(const World& world, const WorldPlaces& places, WorldProblems& problems)
        : world_(world), places_(places), problems_(problems) {}

    void checkAll() {
        if (world_.timeZone != "Europe/London")
            problems_.add(places_.world, "the house is in London");
        for (std::size_t i = 0; i != world_.lineup.size(); ++i)
            checkLineupRow(i);
        for (const GuideServiceRows& service : world_.services) {
            told_.clear();
            for (std::size_t i = 0; i != service.count; ++i)
                checkRow(service.first + i);
        }
        checkLinks();
    }

private:
    void blame(std::size_t row, std::string reason) {
        problems_.add([&] { return places_.row(row); }, std::move(reason));
    }
    std::string_view read(PoolText text) const {
        return text.offset == 0 ? std::string_view() : world_.text(text);
    }

    void checkLineupRow(std::size_t index) {
        const LineupRow& row = world_.lineup[index];
        const auto blameLineup = [&](const char* reason) {
            problems_.add([&] { return places_.lineup(index); }, reason);
        };
        if (row.channelNumber > highestChannelNumber)
            blameLineup("channel numbers are 1 to 999");
        for (const PoolText text : {row.name, row.provider})
            if (hasFourByteCharacter(read(text)))
                blameLineup("a text has a character beyond U+FFFF");
    }

    void checkRow(std::size_t index) {
        const epgentry& row = world_.rows[index];
        checkTexts(index, row);
        checkTimes(index, row);
        checkCrids(index, row);
        if (row.ScheduleVersion > highestVersion)
            blame(index, "versions are 0 to 6");
        if (row.ServicePosition > highestPlace)
            blame(index, "places are 0 to 64");
    }

    static bool hasFourByteCharacter(std::string_view text) {
        return std::ranges::any_of(text, [](char c) { return static_cast<unsigned char>(c) >= 0xF0; });
    }

    void checkTexts(std::size_t index, const epgentry& row) {
        if (row.Title.offset == 0)
            blame(index, "an event needs a title");
        const std::pair<const char*, PoolText> texts[] = {
            {"the title", row.Title}, {"the synopsis", row.Description}, {"the guidance", row.Guidance}};
        for (const auto& [what, text] : texts) {
            if (read(text).size() > longestText)
                blame(index, std::string(what) + " is longer than 255 bytes");
            // A document loses its last byte: docs/oddities.md, "Four bytes become three".
            if (hasFourByteCharacter(read(text)))
                blame(index, std::string(what) + " has a character beyond U+FFFF");
            checkQuotes(index, read(text));
        }
        if (row.Description.offset == 0)
            return;
        const auto title = told_.emplace(read(row.Description), read(row.Title)).first->second;
        if (title != read(row.Title))
            blame(index, "\"" + std::string(title) + "\" has this synopsis on the same service");
    }

    /// Whoever looks for "O'Clock" types the apostrophe of a keyboard, and so does the built-in guide.
    void checkQuotes(std::size_t index, std::string_view text) {
        for (const char* quote : {"\u2018", "\u2019", "\u201C", "\u201D"})
            if (text.find(quote) != std::string_view::npos)
                blame(index, std::string("a text holds ") + quote + " where a keyboard has ' or \"");
    }

    void checkTimes(std::size_t index, const epgentry& row) {
        const std::int32_t lasts = row.End - row.Start;
        if (lasts < shortest || lasts > longest)
            blame(index, "an event lasts 60 s to 82800 s, this one " + std::to_string(lasts) + " s");
        const bool isLate = row.UnsuitableBeforeWatershed;
        if (isLate && !afterWatershed(row.Start))
            blame(index, "unsuitable before the watershed, yet it starts at " +
                             formatTime(row.Start + londonOffset).substr(11, 5) + " in London");
        if (row.Guidance.offset != 0 && !isLate)
            blame(index, "guidance is for events unsuitable before the watershed");
    }

    static bool hasShape(std::uint32_t type, std::string_view crid) {
        const auto among = [&](const char* characters) {
            return crid.find_first_not_of(characters, 1) == std::string_view::npos;
        };
        if (!crid.starts_with('/'))
            return false;
        return type == 3 ? crid.size() == 9 && among("0123456789")
                         : crid.size() == 7 && among("0123456789abcdefghijklmnopqrstuvwxyz");
    }

    void checkCrids(std::size_t index, const epgentry& row) {
        const auto crids = std::span(row.Crids).first(row.CridCount);
        for (const epgentry::Crid& crid : crids) {
            if (!hasShape(crid.CridType, read(crid.CridData)))
                blame(index, "crid " + std::string(read(crid.CridData)) +
                                 " is not like /23vbzj or, for type 3, /33991643");
            if (crid.CridType == 1 && &crid != &crids.front())
                blame(index, "the crid of type 1 is the first");
        }
        if (row.CridImi != 0 && (row.CridImi != 49 || crids.empty()))
            blame(index, "an imi is 49 and comes with a crid");
    }

    void checkLinks() {
        std::map<std::uint32_t, std::int32_t> starts;
        for (const epgentry& row : world_.rows)
            starts.emplace(row.ProgId, row.Start);
        for (std::size_t i = 0; i != world_.rows.size(); ++i) {
            const epgentry& row = world_.rows[i];
            if (row.LinkedHdProgs != 0 && starts.at(row.LinkedHdProgs) != row.Start)
                blame(i, "hd-event " + std::to_string(row.LinkedHdProgs) + " starts at another time");
        }
    }

    const World& world_;
    const WorldPlaces& places_;
    WorldProblems& problems_;
    std::map<std::string_view, std::string_view> told_; ///< titles by the synopses of one service
};

} // namespace

void checkHouse(const World& world, const WorldPlaces& places, WorldProblems& problems) {
    House(world, places, problems).checkAll();
}

} // namespace Ostrel::TV
