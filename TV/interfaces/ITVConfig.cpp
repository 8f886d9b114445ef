#include "TV/interfaces/ITVConfig.h"

namespace Ostrel::TV {

ITVConfig::ScanInfo::ScanInfo(const bool& scanning, const unsigned& progress, const unsigned& reserved1,
                              const unsigned& reserved2, const unsigned& reserved3, const unsigned& reserved4,
                              const unsigned& reserved5, const unsigned& servicesFound,
                              const unsigned& tvServices, const unsigned& radioServices,
                              const unsigned& type3Services, const unsigned& reserved6,
                              const unsigned& reserved7)
    : scanning_(scanning), progress_(progress), reserved1_(reserved1), reserved2_(reserved2),
      reserved3_(reserved3), reserved4_(reserved4), reserved5_(reserved5), servicesFound_(servicesFound),
      tvServices_(tvServices), radioServices_(radioServices), type3Services_(type3Services),
      reserved6_(reserved6), reserved7_(reserved7) {}

ITVConfig::ScanInfo* ITVConfig::ScanInfo::clone() const {
    return new ScanInfo(*this);
}

void ITVConfig::ScanInfo::serialize(Serializer& serializer) const {
    Ostrel::serialize("scanning", scanning_, serializer);
    Ostrel::serialize("progress", progress_, serializer);
    Ostrel::serialize("reserved1", reserved1_, serializer);
    Ostrel::serialize("reserved2", reserved2_, serializer);
    Ostrel::serialize("reserved3", reserved3_, serializer);
    Ostrel::serialize("reserved4", reserved4_, serializer);
    Ostrel::serialize("reserved5", reserved5_, serializer);
    Ostrel::serialize("servicesFound", servicesFound_, serializer);
    Ostrel::serialize("tvServices", tvServices_, serializer);
    Ostrel::serialize("radioServices", radioServices_, serializer);
    Ostrel::serialize("type3Services", type3Services_, serializer);
    Ostrel::serialize("reserved6", reserved6_, serializer);
    Ostrel::serialize("reserved7", reserved7_, serializer);
}

ITVConfig::TuningParams::TuningParams(Deserializer& deserializer)
    : frequencyKHz_(deserialize<unsigned>("frequencyKHz", deserializer)) {}

ITVConfig::TuningParams* ITVConfig::TuningParams::clone() const {
    return new TuningParams(*this);
}

void ITVConfig::TuningParams::serialize(Serializer& serializer) const {
    Ostrel::serialize("frequencyKHz", frequencyKHz_, serializer);
}

} // namespace Ostrel::TV
