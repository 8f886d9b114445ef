#pragma once

#include "Ostrel/rpc/RPCInterceptor.h"
#include "Ostrel/serialization/Deserializer.h"
#include "Ostrel/serialization/Serializer.h"

#include <optional>
#include <string>
#include <string_view>

namespace Ostrel {

/// A rule of the weather: which calls or notifications it is for, how often it applies, and what it
/// does to them.
struct WeatherRule {
    static constexpr unsigned mostDelay = 600'000; ///< milliseconds

    /// Reads a rule from the current object, strictly: what is left out is as below, and a rule has
    /// at least one effect.
    /// @throws DecodeError
    explicit WeatherRule(Deserializer& deserializer);

    /// @param name  in full, "INTERFACE::METHOD"
    bool matches(std::string_view name, bool isNotification) const noexcept;

    /// What becomes of the call that it applies to.
    RPCInterceptor::RequestFate::Outcome getOutcome() const noexcept;

    /// Writes the members into the object that has been begun.
    void serialize(Serializer& serializer) const;

    std::string method = "*"; ///< a glob: "*" is any run of characters
    bool notifications = false; ///< it is for notifications instead of calls
    unsigned after = 0; ///< so many matches pass
    std::optional<unsigned> times; ///< so often it applies; without a limit when there is none
    double probability = 1;

    /// Milliseconds.
    struct Delay {
        unsigned least = 0;
        unsigned most = 0;
    };
    std::optional<Delay> delay;
    ReturnCode error = ReturnCode::Success; ///< Success for none
    std::string drop; ///< what gets lost; empty for nothing

private:
    void readDelay(Deserializer& deserializer);
};

} // namespace Ostrel
