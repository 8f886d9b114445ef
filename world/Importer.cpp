#include "world/Importer.h"

#include "TV/server/dummy/data/ZoneOffsets.h"
#include "world/Crids.h"
#include "world/Language.h"
#include "world/OwnUrl.h"
#include "world/Ratings.h"
#include "world/XmltvText.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace Ostrel::TV::Tool {

namespace {

constexpr std::int64_t latest = std::numeric_limits<std::int32_t>::max();
constexpr std::uint32_t mostNumber = 0x7FFFFFFF;
constexpr std::int32_t longestGuess =
    6 * 3600; ///< for a stop that is missing, however late the next start is
constexpr std::int32_t lastLength = 30 * 60; ///< for the last programme of a service
constexpr std::size_t longestText = std::numeric_limits<std::uint16_t>::max();

bool isHighDefinition(const std::string& quality) {
    for (const char* const sign : {"HD", "720", "1080", "2160", "4K"})
        if (quality.find(sign) != std::string::npos)
            return true;
    return false;
}

/// A clump is a slot that several programmes share: "0/2" and "1/2" are the halves of it.
void takePartOfClump(std::string_view clump, GuideEvent& event) {
    std::int64_t index = 0, count = 0;
    const auto bar = clump.find('/');
    if (bar == std::string_view::npos || event.end == 0)
        return;
    std::from_chars(clump.data(), clump.data() + bar, index);
    std::from_chars(clump.data() + bar + 1, clump.data() + clump.size(), count);
    if (count < 2 || index < 0 || index >= count || count > event.end - event.start)
        return;
    const auto length = event.end - event.start;
    event.end = event.start + length * (index + 1) / count;
    event.start += length * index / count;
}

/// The sub-title as a sentence of its own before the description, unless that begins with it.
std::string joined(std::string_view subTitle, std::string_view description) {
    if (subTitle.empty() || description.starts_with(subTitle))
        return std::string(description);
    std::string text(subTitle);
    if (description.empty())
        return text;
    text += std::string_view(".!?:").find(text.back()) == std::string_view::npos ? ". " : " ";
    return text.append(description);
}

} // namespace

Importer::Importer(Options options, const Categories& categories, WorldWriter& world)
    : options_(std::move(options)), categories_(categories), world_(world),
      services_(options_.language, options_.lineup, report_) {
    if (!options_.zone.empty())
        zone_ = readZoneOffsets(options_.zone, 1, static_cast<std::int32_t>(latest));
}

XmltvReader::Listener Importer::listener() {
    return {.onGuide = [this](const std::vector<XmltvText>& attributes) { readGuide(attributes); },
            .onChannel = [this](const XmltvChannel& channel) { services_.add(channel); },
            .onProgramme = [this](const XmltvProgramme& programme) { readProgramme(programme); }};
}

void Importer::readGuide(const std::vector<XmltvText>& attributes) {
    for (const XmltvText& attribute : attributes) {
        const auto own = OwnUrl::read("world", attribute.text);
        if (attribute.kind != "source-data-url" || !own)
            continue;
        if (std::string name = own->text("name"); !name.empty())
            options_.name = limited(std::move(name));
        if (options_.zone.empty())
            options_.zone = own->text("zone");
    }
}

void Importer::readProgramme(const XmltvProgramme& programme) {
    ++report_.programmes;
    auto* const service = services_.find(programme.channel);
    if (service == nullptr)
        return report_.count(Finding::ProgrammeOfOtherChannel);
    GuideEvent event;
    if (!readTimes(programme, event))
        return;
    readTexts(programme, event);
    readContent(programme, event);
    readOwn(programme, event);
    world_.add(service->guide, event);
    ++service->programmes;
    service->programmesWithPicture += programme.hasPicture ? 1 : 0;
    service->programmesInHd += event.hd ? 1 : 0;
}

/// An end of 0 is still to be found.
bool Importer::readTimes(const XmltvProgramme& programme, GuideEvent& event) {
    const auto start = readXmltvTime(programme.start);
    if (!start) {
        report_.count(Finding::StartUnreadable);
        return false;
    }
    event.start = toUtc(*start);
    if (!programme.stop.empty()) {
        const auto stop = readXmltvTime(programme.stop);
        event.end = stop ? toUtc(*stop) : 0;
        if (event.end <= event.start) {
            report_.count(Finding::StopUnreadable);
            event.end = 0;
        }
    }
    takePartOfClump(programme.clump, event);
    if (event.start < 1 || event.start + lastLength > latest || event.end > latest) {
        report_.count(Finding::OutOfRange);
        return false;
    }
    return true;
}

std::int64_t Importer::toUtc(const XmltvTime& time) {
    if (time.offset && *time.offset != 0)
        seenOffset_ = *time.offset;
    if (time.offset || !options_.isLocal)
        return time.seconds - time.offset.value_or(0);
    return localToUtc(zone_, time.seconds);
}

std::string Importer::limited(std::string text) {
    if (cutText(text, longestText))
        report_.count(Finding::TextTooLong);
    return text;
}

void Importer::readTexts(const XmltvProgramme& programme, GuideEvent& event) {
    event.title = limited(std::string(choose(programme.titles, options_.language)));
    event.synopsis = limited(joined(choose(programme.subTitles, options_.language),
                                    choose(programme.descriptions, options_.language)));
    Warning warning = readRatings(programme.ratings);
    event.guidance = limited(std::move(warning.guidance));
    event.late = warning.isLate;
}

void Importer::readContent(const XmltvProgramme& programme, GuideEvent& event) {
    std::vector<std::string_view> categories;
    for (const XmltvText& category : programme.categories)
        categories.push_back(category.text);
    if (const auto code = categories_.choose(categories)) {
        event.content = *code;
    } else if (!categories.empty()) {
        report_.count(Finding::CategoryUnknown);
        for (const std::string_view category : categories)
            report_.addUnknownCategory(std::string(category));
    }
    event.hd = isHighDefinition(programme.quality);
    event.crids = makeCrids(programme, event.title, choose(programme.subTitles, options_.language));
    event.imi = readImi(programme, event.crids);
}

void Importer::readOwn(const XmltvProgramme& programme, GuideEvent& event) {
    std::optional<OwnUrl> own;
    for (std::size_t i = 0; !own && i != programme.urls.size(); ++i)
        if (programme.urls[i].kind == OwnUrl::system)
            own = OwnUrl::read("event", programme.urls[i].text);
    if (!own)
        return;
    event.programme = own->number("id", 1, mostNumber, 0);
    event.version = own->number("version", 0, mostNumber, 0);
    event.hdLink = own->number("hd-event", 1, mostNumber, 0);
    event.next = own->has("next");
    if (own->has("untitled"))
        event.title.clear();
    if (event.programme != 0)
        identifiers_.push_back(event.programme);
    if (event.hdLink != 0)
        linked_.insert(event.hdLink);
}

/// The events of a service in the order of their start, the same one in that of the file.
void Importer::mendTimes(std::span<epgentry* const> events) {
    epgentry* before = events.front();
    const auto end = [&](std::int32_t next) {
        if (before->End == 0) {
            const bool isLast = next == 0;
            report_.count(isLast ? Finding::LastStopMissing : Finding::StopMissing);
            before->End = isLast ? before->Start + lastLength
                                 : static_cast<std::int32_t>(std::min<std::int64_t>(
                                       next, std::int64_t{before->Start} + longestGuess));
        } else if (next != 0 && before->End > next) {
            report_.count(Finding::Overlap);
            before->End = next;
        }
    };
    for (epgentry* const event : events.subspan(1)) {
        if (before->Start == event->Start) {
            const bool isSame = before->Title.offset == event->Title.offset && before->End == event->End;
            report_.count(isSame ? Finding::ProgrammeTwice : Finding::SameStart);
            event->ServiceId = 0;
            continue;
        }
        end(event->Start);
        before = event;
    }
    end(0);
    if (report_.events == 0 || events.front()->Start < report_.firstStart)
        report_.firstStart = events.front()->Start;
    report_.lastEnd = std::max<std::int64_t>(report_.lastEnd, before->End);
    ++report_.guides;
    report_.events += static_cast<std::size_t>(std::count_if(
        events.begin(), events.end(), [](const epgentry* event) { return event->ServiceId != 0; }));
}

/// Programmes without an identifier, and all but one of those that share theirs, get the numbers behind the
/// largest one.
void Importer::mendIdentifiers() {
    std::sort(identifiers_.begin(), identifiers_.end());
    identifiers_.erase(std::unique(identifiers_.begin(), identifiers_.end()), identifiers_.end());
    std::vector<bool> isTaken(identifiers_.size());
    std::uint32_t largest = identifiers_.empty() ? 0 : identifiers_.back();
    world_.mend([&](std::span<epgentry* const> events) {
        for (epgentry* const event : events) {
            if (event->ServiceId == 0)
                continue;
            if (event->ProgId != 0) {
                const auto known = std::lower_bound(identifiers_.begin(), identifiers_.end(), event->ProgId);
                const auto index = static_cast<std::size_t>(known - identifiers_.begin());
                if (!isTaken[index]) {
                    isTaken[index] = true;
                    continue;
                }
                report_.count(Finding::IdentifierTaken);
            }
            if (largest == mostNumber)
                throw std::runtime_error("no programme identifier is left behind " +
                                         std::to_string(mostNumber));
            event->ProgId = ++largest;
        }
    });
}

/// A link leads to an event in high definition of another service.
void Importer::mendLinks() {
    if (linked_.empty())
        return;
    std::unordered_map<std::uint32_t, std::int32_t> services; // of the events that links may lead to
    world_.mend([&](std::span<epgentry* const> events) {
        for (const epgentry* const event : events)
            if (event->ServiceId != 0 && event->IsHd && linked_.count(event->ProgId) != 0)
                services[event->ProgId] = event->ServiceId;
    });
    world_.mend([&](std::span<epgentry* const> events) {
        for (epgentry* const event : events) {
            const auto target = services.find(event->LinkedHdProgs);
            if (event->ServiceId == 0 || event->LinkedHdProgs == 0 ||
                (target != services.end() && target->second != event->ServiceId))
                continue;
            report_.count(Finding::LinkLost);
            event->LinkedHdProgs = event->LinkedHdSimulcastProgs = 0;
        }
    });
}

void Importer::finish() {
    const auto lineup = services_.makeLineup();
    if (lineup.empty())
        throw std::runtime_error("there is no channel that could become a service");
    for (const LineupService& service : lineup)
        world_.addToLineup(service);
    report_.services = lineup.size();
    world_.mend([this](std::span<epgentry* const> events) { mendTimes(events); });
    mendIdentifiers();
    mendLinks();
    world_.describe(options_.name, options_.zone.empty() ? "UTC" : options_.zone);
}

} // namespace Ostrel::TV::Tool
