#include "world/SyntheticLineup.h"

#include <array>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace Ostrel::TV::Tool {

namespace {

using Twin = SyntheticService::Twin;

const char* const broadcasters[] = {
    "Alder",    "Anvil",    "Ashlar",  "Barley", "Beacon",  "Bellwether", "Birch",    "Bramble",  "Brass",
    "Brindle",  "Cairn",    "Candle",  "Cinder", "Clover",  "Compass",    "Copper",   "Cove",     "Crane",
    "Drift",    "Eddy",     "Ember",   "Fathom", "Fern",    "Flint",      "Foxglove", "Furlong",  "Gable",
    "Gorse",    "Granary",  "Halyard", "Harrow", "Hazel",   "Heron",      "Hollow",   "Ironwood", "Juniper",
    "Keel",     "Kestrel",  "Kiln",    "Lark",   "Lichen",  "Linden",     "Lodestar", "Marram",   "Meridian",
    "Millrace", "Moorland", "Nettle",  "Oakum",  "Osprey",  "Paddle",     "Pebble",   "Plover",   "Quarry",
    "Quill",    "Rampart",  "Rowan",   "Rudder", "Saffron", "Sextant",    "Shale",    "Sickle",   "Skylark",
    "Spindle",  "Spruce",   "Tallow",  "Teasel", "Tern",    "Thistle",    "Tiller",   "Trellis",  "Umber",
    "Vane",     "Verge",    "Weir",    "Whin",   "Willow",  "Windlass",   "Yarrow",   "Zephyr",
};

/// How services of a kind are called, behind the name of their broadcaster.
const std::array<std::vector<const char*>, kindCount> namesOfKind = {{
    {"One", "Two", "TV"},
    {"Plus", "Laughs", "Extra", "Gold"},
    {"Discover", "Past", "Nature", "Homes"},
    {"Films", "Cinema", "Premiere"},
    {"News", "World"},
    {"Sport", "Sport 2", "Racing"},
    {"Kids", "Juniors"},
    {"Music", "Hits", "Classics"},
    {"Shop", "Bargains"},
    {"FM", "Radio", "Talk"},
}};

/// What broadcasters run, over and over.
constexpr Kind mixture[] = {Kind::General, Kind::Entertainment, Kind::News,     Kind::Film,
                            Kind::Factual, Kind::Radio,         Kind::Children, Kind::Sport,
                            Kind::General, Kind::Music,         Kind::Radio,    Kind::Entertainment,
                            Kind::Film,    Kind::Shopping,      Kind::Factual,  Kind::Radio,
                            Kind::News,    Kind::Sport,         Kind::Children, Kind::Entertainment};

constexpr unsigned firstFrequencyMHz = 474, frequencyStepMHz = 8, frequencies = 48; // up to 850
constexpr unsigned network = 0x233A, firstStream = 0x1001, firstDvbId = 0x1001;
constexpr int firstGuideId = 1000;

/// Gives names that no other service has.
class Names {
public:
    explicit Names(const Random& random) : random_(random) {}

    std::string next(const std::string& broadcaster, Kind kind) {
        const auto& choice = namesOfKind[static_cast<std::size_t>(kind)];
        const auto first = random_.below(static_cast<std::uint32_t>(choice.size()));
        for (std::size_t i = 0; i != choice.size(); ++i)
            if (auto name = broadcaster + " " + choice[(first + i) % choice.size()];
                taken_.insert(name).second)
                return name;
        const std::string name = broadcaster + " " + choice[first] + " ";
        for (unsigned number = 3;; ++number)
            if (taken_.insert(name + std::to_string(number)).second)
                return name + std::to_string(number);
    }

private:
    Random random_;
    std::set<std::string> taken_;
};

/// General services have both twins; of some others one in two or three has one.
std::vector<Twin> chooseTwins(Kind kind, Random& random) {
    std::vector<Twin> twins;
    const bool general = kind == Kind::General;
    if (general || ((kind == Kind::Film || kind == Kind::Sport) && random.oneIn(2)))
        twins.push_back(Twin::HighDefinition);
    if (general || ((kind == Kind::Entertainment || kind == Kind::Factual) && random.oneIn(3)))
        twins.push_back(Twin::OneHourLater);
    return twins;
}

SyntheticService makeTwin(const SyntheticService& leader, Twin twin) {
    SyntheticService service = leader;
    service.twin = twin;
    service.lineup.name += twin == Twin::HighDefinition ? " HD" : " +1";
    service.lineup.highDefinition = twin == Twin::HighDefinition;
    return service;
}

/// Kind by kind, each from the next hundred on, the twins in high definition behind all others.
void numberChannels(std::vector<SyntheticService>& services) {
    const auto group = [](const SyntheticService& service) {
        if (service.kind == Kind::Radio)
            return kindCount + 1;
        return service.twin == Twin::HighDefinition ? kindCount : static_cast<std::size_t>(service.kind);
    };
    unsigned number = 0;
    for (std::size_t each = 0; each != kindCount + 2; ++each) {
        number = (number + 99) / 100 * 100;
        for (SyntheticService& service : services)
            if (group(service) == each)
                service.lineup.channelNumber = ++number;
    }
}

} // namespace

std::vector<SyntheticService> inventServices(std::size_t count, const Random& random) {
    Random chance = random.branch(1);
    Names names(random.branch(2));
    std::vector<SyntheticService> services;
    for (std::size_t i = 0; services.size() < count; ++i) {
        SyntheticService service;
        service.kind = mixture[i % std::size(mixture)];
        const std::string broadcaster = broadcasters[chance.below(std::size(broadcasters))];
        service.lineup.type = service.kind == Kind::Radio ? 2 : 1;
        service.lineup.name = names.next(broadcaster, service.kind);
        service.lineup.provider = broadcaster;
        service.lineup.scrambled =
            (service.kind == Kind::Film || service.kind == Kind::Sport) && chance.oneIn(3);
        services.push_back(service);
        for (const Twin twin : chooseTwins(service.kind, chance))
            if (services.size() < count)
                services.push_back(makeTwin(service, twin));
    }
    numberChannels(services);
    identifyServices(services);
    return services;
}

void identifyServices(std::vector<SyntheticService>& services) {
    for (std::size_t i = 0; i != services.size(); ++i) {
        const auto number = static_cast<unsigned>(i);
        LineupService& lineup = services[i].lineup;
        lineup.frequencyMHz = firstFrequencyMHz + number % frequencies * frequencyStepMHz;
        lineup.network = network;
        lineup.stream = firstStream + number % frequencies;
        lineup.dvbId = firstDvbId + number;
        services[i].guideId = firstGuideId + static_cast<int>(number);
    }
}

} // namespace Ostrel::TV::Tool
