#include "simulator/Weather.h"

#include "Ostrel/transport/StartError.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <utility>

namespace Ostrel {

namespace {

constexpr std::size_t mostOfAFile = 1u << 20; ///< bytes; as of a message

/// A number of the dice is below this.
constexpr std::uint64_t diceRange = std::uint64_t{1} << 32;
static_assert(std::mt19937::max() == diceRange - 1);

unsigned toUnsigned(std::uint64_t count) {
    return unsigned(std::min<std::uint64_t>(count, std::numeric_limits<unsigned>::max()));
}

} // namespace

// Settings

Weather::Settings::Settings(Deserializer& deserializer) {
    deserializer.refuseUnknown({"rules", "seed"});
    rules = deserializeList<WeatherRule>("rules", deserializer, mostRules);
    seed = deserialize<unsigned>("seed", deserializer, seed);
}

Weather::Settings Weather::Settings::readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text(mostOfAFile + 1, '\0');
    if (!file || (!file.read(text.data(), std::streamsize(text.size())) && !file.eof()))
        throw StartError("cannot read the weather file " + path + ": " + std::strerror(errno));
    text.resize(std::size_t(file.gcount()));
    try {
        if (text.size() > mostOfAFile)
            throw StartError("the weather file " + path + " has more than 1 MiB");
        Deserializer deserializer(text, "text");
        return Settings(deserializer);
    } catch (const DecodeError& error) {
        throw StartError("the weather file " + path + ": " + error.what());
    }
}

void Weather::Report::serialize(Serializer& serializer) const {
    serializer.beginList("rules");
    for (std::size_t i = 0; i < counts_.size(); ++i) {
        serializer.beginObject("");
        settings_.rules[i].serialize(serializer);
        Ostrel::serialize("matched", toUnsigned(counts_[i].matched), serializer);
        Ostrel::serialize("applied", toUnsigned(counts_[i].applied), serializer);
        serializer.endObject("");
    }
    serializer.endList("rules");
    Ostrel::serialize("seed", settings_.seed, serializer);
}

// The weather

Weather::Weather(RPCNotifier& notifier, Settings start) : notifier_(notifier), start_(std::move(start)) {
    reset();
}

Weather::~Weather() {
    notifier_.setInterceptor(nullptr);
}

Weather::Report::Report(const Change& change) : settings_(change.settings_), counts_(change.counts_) {}

void Weather::set(Change change) noexcept {
    const std::lock_guard lock(mutex_);
    std::swap(settings_, change.settings_);
    counts_.swap(change.counts_);
    dice_.seed(settings_.seed);
    notifier_.setInterceptor(settings_.rules.empty() ? nullptr : this); // fine weather costs nothing
}

Weather::Report Weather::report() const {
    Report report;
    const std::lock_guard lock(mutex_);
    report.settings_ = settings_;
    report.counts_ = counts_;
    return report;
}

RPCInterceptor::RequestFate Weather::judgeRequest(std::string_view name) noexcept {
    const std::lock_guard lock(mutex_);
    const auto* rule = findRule(name, false);
    if (rule == nullptr)
        return {};
    return {.delay = drawDelay(*rule), .outcome = rule->getOutcome(), .code = rule->error};
}

RPCInterceptor::NotificationFate Weather::judgeNotification(std::string_view name) noexcept {
    const std::lock_guard lock(mutex_);
    const auto* rule = findRule(name, true);
    if (rule == nullptr)
        return {};
    return {.delay = drawDelay(*rule), .isLost = !rule->drop.empty()};
}

/// The rule that decides; null for none. With the lock held.
const WeatherRule* Weather::findRule(std::string_view name, bool isNotification) noexcept {
    for (std::size_t i = 0; i < counts_.size(); ++i) {
        const auto& rule = settings_.rules[i];
        auto& count = counts_[i];
        if (!rule.matches(name, isNotification) || ++count.matched <= rule.after ||
            (rule.times && count.applied >= *rule.times))
            continue;
        if (rule.probability < 1 && double(dice_()) >= rule.probability * double(diceRange))
            continue;
        ++count.applied;
        return &rule;
    }
    return nullptr;
}

/// With the lock held.
std::chrono::milliseconds Weather::drawDelay(const WeatherRule& rule) noexcept {
    if (!rule.delay)
        return {};
    const auto [least, most] = *rule.delay;
    const auto beyond = least == most ? 0 : dice_() * std::uint64_t(most - least + 1) / diceRange;
    return std::chrono::milliseconds(least + beyond);
}

} // namespace Ostrel
