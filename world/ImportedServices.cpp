#include "world/ImportedServices.h"

#include "world/Language.h"
#include "world/OwnUrl.h"
#include "world/XmltvText.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace Ostrel::TV::Tool {

namespace {

constexpr unsigned mostNumber = 9999, mostDvbId = 0xFFFF;
constexpr std::uint32_t mostId = 0x7FFFFFFF;
constexpr unsigned television = 1, radio = 2, lastType = 3;

// Where services without a place go: the frequencies of a blind scan.
constexpr unsigned lowestMHz = 474, stepMHz = 8, multiplexes = 48, servicesOfMultiplex = 24;
constexpr unsigned temporaryNetwork = 0xFF00; ///< of those that DVB leaves to private use

bool isNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// A number from 1 to 9999, or 0.
unsigned readNumber(std::string_view text) {
    unsigned number = 0;
    if (isNumber(text))
        std::from_chars(text.data(), text.data() + text.size(), number);
    return number <= mostNumber ? number : 0;
}

/// A name as names are compared: "ITV 1 +1" and "itv1+1" are one.
std::string comparable(std::string_view name) {
    std::string made;
    for (const char c : name) {
        if (std::string_view(" .-_'").find(c) == std::string_view::npos)
            made += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return made;
}

/// Reads an id such as "4440.4082.233a.dvb" of an export: service, stream and network.
bool readDvbIds(std::string_view id, GuideService& service) {
    for (unsigned* const number : {&service.dvbId, &service.stream, &service.network}) {
        const auto [end, error] = std::from_chars(id.data(), id.data() + id.size(), *number, 16);
        if (error != std::errc() || *number < 1 || *number > mostDvbId || end == id.data() + id.size() ||
            *end != '.')
            return false;
        id.remove_prefix(static_cast<std::size_t>(end - id.data()) + 1);
    }
    return id == "dvb";
}

/// A name as lineup.txt may hold it, where a bar separates fields.
std::string asField(std::string name) {
    constexpr std::size_t longest = 255;
    std::replace(name.begin(), name.end(), '|', '/');
    cutText(name, longest);
    return name;
}

std::optional<OwnUrl> findOwn(const XmltvChannel& channel) {
    for (const XmltvText& url : channel.urls)
        if (url.kind == OwnUrl::system)
            return OwnUrl::read("service", url.text);
    return std::nullopt;
}

/// Whether a name says that the service is in high definition.
bool isHdName(std::string_view name) {
    return name.ends_with(" HD") || name.ends_with(" UHD") || name.ends_with(" 4K");
}

} // namespace

ImportedServices::ImportedServices(std::string language, std::vector<LineupService> lineup,
                                   ImportReport& report)
    : language_(std::move(language)), lineup_(std::move(lineup)), report_(report) {
    for (std::size_t i = 0; i != lineup_.size(); ++i)
        inLineup_.emplace(comparable(lineup_[i].name), i);
}

void ImportedServices::add(const XmltvChannel& channel) {
    hasChannels_ = true;
    remember(channel);
}

/// Channels wait in memory, and their ids stay there.
void ImportedServices::remember(XmltvChannel channel) {
    constexpr std::size_t mostBytes = std::size_t{1} << 26;
    ++report_.channels;
    bytes_ += sizeof channel + channel.id.size();
    for (const auto* const texts : {&channel.names, &channel.urls})
        for (const XmltvText& text : *texts)
            bytes_ += sizeof text + text.kind.size() + text.text.size();
    if (bytes_ > mostBytes)
        throw std::runtime_error("the channels alone take more than 64 megabytes");
    waiting_.push_back(std::move(channel));
}

ImportedServices::Service* ImportedServices::find(const std::string& channel) {
    if (!hasChannels_ && byChannel_.count(channel) == 0)
        remember({.id = channel, .names = {{.text = channel}}, .urls = {}, .number = {}});
    placeWaiting();
    const auto known = byChannel_.find(channel);
    return known == byChannel_.end() ? nullptr : known->second;
}

void ImportedServices::placeWaiting() {
    if (waiting_.empty())
        return;
    const auto before = services_.size();
    for (const XmltvChannel& channel : std::exchange(waiting_, {})) {
        if (byChannel_.count(channel.id) != 0)
            report_.count(Finding::ChannelTwice);
        else if (lineup_.empty())
            placeByItself(channel);
        else
            placeInLineup(channel);
    }
    for (auto i = before; i != services_.size(); ++i)
        giveIdentifiers(services_[i]);
}

void ImportedServices::placeInLineup(const XmltvChannel& channel) {
    auto found = inLineup_.find(comparable(channel.id));
    for (std::size_t i = 0; found == inLineup_.end() && i != channel.names.size(); ++i)
        found = inLineup_.find(comparable(channel.names[i].text));
    byChannel_[channel.id] = nullptr;
    if (found == inLineup_.end())
        return report_.count(Finding::ChannelNotInLineup);
    if (!usedOfLineup_.insert(found->second).second)
        return report_.count(Finding::ChannelTwice);
    const LineupService& service = lineup_[found->second];
    Service& made = services_.emplace_back();
    made.isComplete = true;
    made.guide.network = service.network;
    made.guide.stream = service.stream;
    made.guide.dvbId = service.dvbId;
    byChannel_[channel.id] = &made;
}

void ImportedServices::placeByItself(const XmltvChannel& channel) {
    Service& service = services_.emplace_back();
    byChannel_[channel.id] = &service;
    service.lineup.name = chooseName(channel);
    unsigned number = readNumber(channel.number);
    for (std::size_t i = 0; number == 0 && i != channel.names.size(); ++i)
        number = readNumber(channel.names[i].text);

    const auto own = findOwn(channel);
    if (own && readDvbIds(channel.id, service.guide) && dvbIds_.insert(service.guide.dvbId).second) {
        service.isComplete = true;
        if (const auto id = own->number("id", 1, mostId, 0);
            id != 0 && guideIds_.insert(static_cast<int>(id)).second)
            service.guide.id = static_cast<int>(id);
        service.guide.place = own->number("place", 0, mostId, 0);
        service.isInLineup = own->has("mhz");
        LineupService& lineup = service.lineup;
        lineup.network = service.guide.network;
        lineup.stream = service.guide.stream;
        service.guide.network = own->number("guide-network", 1, mostDvbId, lineup.network);
        service.guide.stream = own->number("guide-stream", 1, mostDvbId, lineup.stream);
        lineup.frequencyMHz = own->number("mhz", 1, 999, lowestMHz);
        lineup.type = own->number("type", television, lastType, television);
        lineup.provider = asField(own->text("provider"));
        lineup.scrambled = own->has("scrambled");
        lineup.highDefinition = own->has("hd");
        lineup.visible = !own->has("hidden");
        lineup.selectable = !own->has("unselectable");
        number = own->number("number", 1, mostNumber, number);
    }
    if (!service.isInLineup)
        return;
    if (number != 0 && numbers_.insert(number).second)
        service.lineup.channelNumber = number;
    else
        report_.count(number == 0 ? Finding::NumberMissing : Finding::NumberTaken);
}

std::string ImportedServices::chooseName(const XmltvChannel& channel) const {
    std::vector<XmltvText> names;
    std::copy_if(channel.names.begin(), channel.names.end(), std::back_inserter(names),
                 [](const XmltvText& name) { return !isNumber(name.text); });
    std::string name(choose(names.empty() ? channel.names : names, language_));
    if (name.empty())
        name = cleanText(channel.id);
    return asField(std::move(name));
}

/// What an export did not bring: services stand on the multiplexes in the order of the listing.
void ImportedServices::giveIdentifiers(Service& service) {
    if (service.guide.id == 0) {
        while (!guideIds_.insert(nextGuideId_).second)
            ++nextGuideId_;
        service.guide.id = nextGuideId_;
    }
    if (service.isComplete)
        return;
    while (nextDvbId_ <= mostDvbId && !dvbIds_.insert(nextDvbId_).second)
        ++nextDvbId_;
    if (nextDvbId_ > mostDvbId)
        throw std::runtime_error("there are more channels than the " + std::to_string(mostDvbId) +
                                 " that DVB has numbers for; choose some with --lineup");
    const unsigned multiplex = placed_++ / servicesOfMultiplex % multiplexes;
    service.lineup.frequencyMHz = lowestMHz + stepMHz * multiplex;
    service.lineup.network = service.guide.network = temporaryNetwork;
    service.lineup.stream = service.guide.stream = multiplex + 1;
    service.guide.dvbId = nextDvbId_;
}

void ImportedServices::giveNumber(Service& service) {
    while (nextNumber_ <= mostNumber && !numbers_.insert(nextNumber_).second)
        ++nextNumber_;
    if (nextNumber_ > mostNumber)
        throw std::runtime_error("there are more channels than the " + std::to_string(mostNumber) +
                                 " that there are numbers for; choose some with --lineup");
    service.lineup.channelNumber = nextNumber_;
}

std::vector<LineupService> ImportedServices::makeLineup() {
    placeWaiting();
    if (!lineup_.empty())
        return lineup_;
    std::vector<LineupService> made;
    for (Service& service : services_) {
        if (!service.isInLineup)
            continue;
        LineupService& lineup = service.lineup;
        lineup.dvbId = service.guide.dvbId;
        if (lineup.channelNumber == 0)
            giveNumber(service);
        if (!service.isComplete && service.programmes != 0) {
            lineup.type = service.programmesWithPicture == 0 ? radio : television;
            lineup.highDefinition = service.programmesInHd == service.programmes;
        }
        if (!service.isComplete)
            lineup.highDefinition = lineup.highDefinition || isHdName(lineup.name);
        made.push_back(lineup);
    }
    return made;
}

} // namespace Ostrel::TV::Tool
