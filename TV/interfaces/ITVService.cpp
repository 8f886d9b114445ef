#include "TV/interfaces/ITVService.h"

namespace Ostrel::TV {

ITVService::ServiceInfo::ServiceInfo(const unsigned& channelNumber, const std::string& name,
                                     const std::string& uri, const unsigned& id, Type type,
                                     const std::string& provider, bool scrambled, bool highDefinition,
                                     bool visible, bool selectable)
    : channelNumber_(channelNumber), name_(name), uri_(uri), id_(id), type_(type), provider_(provider),
      scrambled_(scrambled), highDefinition_(highDefinition), visible_(visible), selectable_(selectable) {}

ITVService::ServiceInfo* ITVService::ServiceInfo::clone() const {
    return new ServiceInfo(*this);
}

void ITVService::ServiceInfo::serialize(Serializer& serializer) const {
    Ostrel::serialize("channelNumber", channelNumber_, serializer);
    Ostrel::serialize("name", name_, serializer);
    Ostrel::serialize("uri", uri_, serializer);
    Ostrel::serialize("id", id_, serializer);
    Ostrel::serialize("type", static_cast<unsigned>(type_), serializer);
    Ostrel::serialize("provider", provider_, serializer);
    Ostrel::serialize("scrambled", scrambled_, serializer);
    Ostrel::serialize("highDefinition", highDefinition_, serializer);
    Ostrel::serialize("visible", visible_, serializer);
    Ostrel::serialize("selectable", selectable_, serializer);
}

ITVService::SignalStatus* ITVService::SignalStatus::clone() const {
    return new SignalStatus(*this);
}

void ITVService::SignalStatus::serialize(Serializer& serializer) const {
    Ostrel::serialize("strength", strength_, serializer);
    Ostrel::serialize("quality", quality_, serializer);
}

} // namespace Ostrel::TV
