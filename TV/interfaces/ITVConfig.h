#pragma once

#include "Ostrel/serialization/Deserializer.h"
#include "Ostrel/serialization/Listener.h"
#include "Ostrel/serialization/VectorObject.h"

#include <cstdint>

namespace Ostrel::TV {

/// Which transponders to receive, and the scans that find services on them.
class OSTREL_API ITVConfig : public virtual IObservable {
public:
    class ITVConfigListener;
    class ITVConfigNotifier;
    class ScanInfo;
    class TuningParams;

    ~ITVConfig() override = default;

    /// Forgets all transponders and the services found on them. Always true.
    virtual bool transponderListDeleteAll(const unsigned& sourceId) = 0;

    virtual bool transponderListAdd(const unsigned& sourceId, const TuningParams& tuningParams) = 0;

    /// Starts a scan over every frequency of the band.
    virtual bool scanBlindStart(const unsigned& sourceId, const int& useNIT) = 0;

    /// Starts a scan from one transponder, following what it says of the others.
    virtual bool scanHomeStart(const unsigned& sourceId, const TuningParams& tuningParams,
                               const int& useNIT) = 0;

    /// Starts a scan over the transponder list.
    virtual bool scanStart(const unsigned& sourceId, const int& useNIT) = 0;

    /// Ends a running scan.
    virtual bool scanStop(const unsigned& sourceId) = 0;

    virtual ScanInfo scanInfoGet(const unsigned& sourceId) = 0;
};

/// Hears how a scan gets on.
class OSTREL_API ITVConfig::ITVConfigListener : public virtual IListener {
public:
    virtual void onScanStart(const unsigned& sourceId) = 0;
    virtual void onScanComplete(const unsigned& sourceId) = 0;
    /// @param percent  whole percent, 0 to 100
    virtual void onScanProgress(const unsigned& sourceId, const unsigned& percent) = 0;
};

/// Passes on what it hears to listeners of its own.
class OSTREL_API ITVConfig::ITVConfigNotifier : public virtual IObservable,
                                                public virtual ITVConfigListener {};

/// The state of a scan, and what it has found so far.
class OSTREL_API ITVConfig::ScanInfo : public SerialObject {
public:
    ScanInfo(const bool& scanning, const unsigned& progress, const unsigned& reserved1,
             const unsigned& reserved2, const unsigned& reserved3, const unsigned& reserved4,
             const unsigned& reserved5, const unsigned& servicesFound, const unsigned& tvServices,
             const unsigned& radioServices, const unsigned& type3Services, const unsigned& reserved6,
             const unsigned& reserved7);

    bool getScanning() const { return scanning_; }
    std::uint32_t getProgress() const { return progress_; }
    std::uint32_t getServicesFound() const { return servicesFound_; }
    std::uint32_t getTvServices() const { return tvServices_; }
    std::uint32_t getRadioServices() const { return radioServices_; }
    std::uint32_t getType3Services() const { return type3Services_; }

    ScanInfo* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;

private:
    bool scanning_;
    std::uint32_t progress_; ///< whole percent, 0 to 100
    std::uint32_t reserved1_;
    std::uint32_t reserved2_;
    std::uint32_t reserved3_;
    std::uint32_t reserved4_;
    std::uint32_t reserved5_;
    std::uint32_t servicesFound_;
    std::uint32_t tvServices_;
    std::uint32_t radioServices_;
    std::uint32_t type3Services_;
    std::uint32_t reserved6_;
    std::uint32_t reserved7_;
};

/// How to tune to one transponder.
class OSTREL_API ITVConfig::TuningParams : public SerialObject {
public:
    /// @throws DecodeError
    explicit TuningParams(Deserializer& deserializer);

    std::uint32_t getFrequencyKHz() const { return frequencyKHz_; }

    TuningParams* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;

private:
    std::uint32_t frequencyKHz_;
};

} // namespace Ostrel::TV
