#pragma once

#include "Ostrel/rpc/RPCNotifier.h"
#include "Ostrel/serialization/SerialObject.h"
#include "simulator/WeatherRule.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <random>
#include <utility>
#include <vector>

namespace Ostrel {

/// What a server's calls and notifications meet on their way, by rules: they are late, fail or get
/// lost.
///
/// Rules are tried in their order; the first that matches, and whose dice fall where it has a
/// probability below 1, decides. The dice are std::mt19937, seeded with the seed: one number each time
/// such a rule is reached, which falls when it is below the probability's part of 2^32, and one each
/// time a rule with a range of delays decides, which is scaled to the range. So the same rules, seed
/// and order of calls give the same weather, on every machine.
///
/// Any thread may call any operation.
class Weather final : public RPCInterceptor {
public:
    static constexpr std::size_t mostRules = 100;

    /// What the weather is to be: rules, and a seed that is chosen by chance when it is left out.
    struct Settings {
        Settings() = default;

        /// Reads it strictly, whole or not at all.
        /// @throws DecodeError
        explicit Settings(Deserializer& deserializer);

        /// Reads it from a file.
        /// @throws StartError  the file cannot be read, or what is wrong with its text
        static Settings readFile(const std::string& path);

        std::vector<WeatherRule> rules;
        std::uint32_t seed = std::random_device()();
    };

    class Change;

    /// How often a rule has met a name that it matches, and has decided.
    struct Count {
        std::uint64_t matched = 0;
        std::uint64_t applied = 0;
    };

    /// The rules with their counts, and the seed, as they travel.
    class Report : public SerialObject {
    public:
        /// What it will be, once that change has come.
        explicit Report(const Change& change);

        Report* clone() const override { return new Report(*this); }
        using SerialObject::serialize;
        void serialize(Serializer& serializer) const override;

    private:
        friend class Weather;
        Report() = default;

        Settings settings_;
        std::vector<Count> counts_;
    };

    /// Settings with all the memory that they take once they are set.
    class Change {
    public:
        Change(Settings settings) : settings_(std::move(settings)), counts_(settings_.rules.size()) {}

    private:
        friend class Weather;
        Settings settings_;
        std::vector<Count> counts_;
    };

    /// @param notifier  whose weather it is; must live longer
    /// @param start     what it is at first, and after a reset
    Weather(RPCNotifier& notifier, Settings start);
    ~Weather() override;

    Weather(const Weather&) = delete;
    Weather& operator=(const Weather&) = delete;

    /// Begins anew with these settings: nothing is counted yet. What is delayed already stays so.
    void set(Change change) noexcept;

    /// Begins anew as at the start.
    void reset() { set(getStart()); }

    /// What it was at the start.
    Change getStart() const { return start_; }

    Report report() const;

    RequestFate judgeRequest(std::string_view name) noexcept override;
    NotificationFate judgeNotification(std::string_view name) noexcept override;

private:
    const WeatherRule* findRule(std::string_view name, bool isNotification) noexcept;
    std::chrono::milliseconds drawDelay(const WeatherRule& rule) noexcept;

    RPCNotifier& notifier_;
    const Settings start_;

    mutable std::mutex mutex_; ///< guards what follows
    Settings settings_;
    std::vector<Count> counts_; ///< by rule
    std::mt19937 dice_;
};

} // namespace Ostrel
