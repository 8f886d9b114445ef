#include "soak/Announcements.h"

#include <charconv>

namespace Ostrel::Soak {

namespace {

constexpr std::string_view start =
    R"({"jsonrpc":"2.0","method":"ITVConfig::onScanStart","params":{"sourceId":1}})";
constexpr std::string_view complete =
    R"({"jsonrpc":"2.0","method":"ITVConfig::onScanComplete","params":{"sourceId":1}})";
constexpr std::string_view progress =
    R"({"jsonrpc":"2.0","method":"ITVConfig::onScanProgress","params":{"sourceId":1,"percent":)";

/// The percentage that a notification tells; nothing when it tells none.
std::optional<unsigned> percentOf(std::string_view text) {
    if (!text.starts_with(progress))
        return std::nullopt;
    unsigned percent = 0;
    const auto* end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data() + progress.size(), end, percent);
    if (failure != std::errc() || std::string_view(rest, std::size_t(end - rest)) != "}}" || percent > 100)
        return std::nullopt;
    return percent;
}

} // namespace

std::string ScanStory::take(std::string_view text) {
    const auto before = state_;
    if (text == start) {
        // One that runs may have ended with a context, which nobody is told.
        state_ = State::Started;
        return before == State::Started || before == State::AtHundred ? "a start is out of place" : "";
    }
    if (text == complete) {
        state_ = State::Ended;
        ++completed_;
        return before == State::Ended || before == State::Started ? "a completion is out of place" : "";
    }
    const auto percent = percentOf(text);
    if (!percent)
        return "it is no notification of a scan";
    const auto last = percent_;
    percent_ = *percent;
    state_ = percent_ == 100 ? State::AtHundred : State::Running;
    if (before == State::Started)
        return percent_ == 0 ? "" : "a scan does not begin with 0 percent";
    if (before != State::Running)
        return "a percentage is out of place";
    if (percent_ == last)
        return "the percentage is the same as before";
    if (percent_ < last && ++wentBack_ > setBacks_)
        return "a scan goes back, though the clock does not";
    return {};
}

std::string Announcements::hear(Place& place, std::string_view text) {
    const auto at = place++;
    if (at == getEnd()) {
        kept_.emplace_back(text);
        story_.setBacks(setBacks_);
        return story_.take(text);
    }
    const auto& expected = kept_[at - forgotten_];
    return text == expected ? std::string() : "others heard " + expected;
}

void Announcements::forget(Place place) {
    for (; forgotten_ < place; ++forgotten_)
        kept_.pop_front();
}

} // namespace Ostrel::Soak
