#include "world/Stress.h"

#include "world/StressTexts.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <utility>

namespace Ostrel::TV::Tool {

namespace {

using Stress = SyntheticService::Stress;

struct Named {
    Stress stress;
    std::string name;
};

const std::array<Named, stressServices>& namedServices() {
    static const std::array<Named, stressServices> services = {{
        {Stress::Crowded, "Two Thousand Events"},
        {Stress::Silent, "Nothing Known"},
        {Stress::Minutes, "Minute by Minute"},
        {Stress::Endless, "Thirty Hours"},
        {Stress::Gaps, "Now and Then"},
        {Stress::RightToLeft, "قناة الميناء"},
        {Stress::Han, "港口电视台"},
        {Stress::Emoji, "🦊📺"},
        {Stress::Name, repeat("Uninterrupted", 255)},
        {Stress::Name, "Q"},
        {Stress::Name, "Same Name"},
        {Stress::Name, "Same Name"},
        {Stress::Data, "<Text & Data>"},
    }};
    return services;
}

/// Lays events one behind the other.
class Line {
public:
    Line(const SyntheticSpan& span, std::int64_t end) : at_(span.toUtc(span.start)), end_(end) {}

    bool isFull() const { return at_ >= end_; }
    void leave(std::int64_t seconds) { at_ += seconds; }

    void add(std::string title, std::string synopsis, std::int64_t seconds) {
        GuideEvent event;
        event.start = at_;
        event.end = at_ += seconds;
        event.title = std::move(title);
        event.synopsis = std::move(synopsis);
        events_.push_back(std::move(event));
    }

    std::vector<GuideEvent> take() { return std::move(events_); }

private:
    std::int64_t at_, end_;
    std::vector<GuideEvent> events_;
};

constexpr std::int64_t minute = 60, hour = 3600;

void crowd(Line& line, std::int64_t seconds) {
    constexpr int count = 2000;
    const std::int64_t whole = seconds / count;
    const std::int64_t length = whole < minute ? std::max<std::int64_t>(whole, 1) : whole / minute * minute;
    for (int i = 1; i <= count; ++i)
        line.add("No. " + std::to_string(i), "One of two thousand.", length);
}

/// An hour of single minutes, and three hours in one.
void countMinutes(Line& line) {
    while (!line.isFull()) {
        for (int i = 1; i <= 60; ++i)
            line.add("Minute " + std::to_string(i), "It is over soon.", minute);
        line.add("A Rest", "", 3 * hour);
    }
}

void fillWith(Line& line, const std::vector<StressText>& texts, Random& random) {
    while (!line.isFull()) {
        const StressText& text = texts[random.below(static_cast<std::uint32_t>(texts.size()))];
        line.add(text.title, text.synopsis, 30 * minute * (1 + random.below(4)));
    }
}

/// Texts whose titles begin with a character of a row of them.
std::vector<StressText> textsBetween(const std::string& first, const std::string& last) {
    std::vector<StressText> found;
    std::copy_if(stressTexts().begin(), stressTexts().end(), std::back_inserter(found),
                 [&](const StressText& text) { return text.title >= first && text.title < last; });
    return found;
}

} // namespace

void addStressServices(std::vector<SyntheticService>& services) {
    for (const Named& named : namedServices()) {
        SyntheticService service;
        service.stress = named.stress;
        service.lineup.name = named.name;
        service.lineup.channelNumber = highestChannelNumber;
        if (named.stress == Stress::Data) {
            service.lineup.type = 3;
            service.lineup.visible = service.lineup.selectable = false;
        }
        services.push_back(std::move(service));
    }
    identifyServices(services);
    std::vector<SyntheticService*> byNumber;
    byNumber.reserve(services.size());
    for (SyntheticService& service : services)
        byNumber.push_back(&service);
    std::stable_sort(byNumber.begin(), byNumber.end(),
                     [](const SyntheticService* a, const SyntheticService* b) {
                         return a->lineup.channelNumber < b->lineup.channelNumber;
                     });
    const auto gaps = static_cast<unsigned>(byNumber.size() - 1);
    for (unsigned i = 0; i <= gaps; ++i)
        byNumber[i]->lineup.channelNumber = 1 + i * (highestChannelNumber - 1) / gaps;
}

std::vector<GuideEvent> layOutStress(Stress stress, const SyntheticSpan& span, Random random) {
    Line line(span, span.toUtc(span.end));
    switch (stress) {
    case Stress::Crowded:
        crowd(line, span.end - span.start);
        break;
    case Stress::Minutes:
        countMinutes(line);
        break;
    case Stress::Endless:
        for (; !line.isFull(); line.leave(hour))
            line.add("Thirty Hours", "And then an hour of nothing.", 30 * hour);
        break;
    case Stress::Gaps:
        for (; !line.isFull(); line.leave((1 + random.below(5)) * hour))
            line.add("Something", "Before it there is nothing, and behind it.", hour / 2);
        break;
    case Stress::RightToLeft:
        fillWith(line, textsBetween("\u0590", "\u0700"), random);
        break;
    case Stress::Han:
        fillWith(line, textsBetween("\u3000", "\uE000"), random);
        break;
    case Stress::Emoji:
        fillWith(line, textsBetween("\U00010000", "\U0010FFFF"), random);
        break;
    case Stress::None:
    case Stress::Silent:
    case Stress::Name:
    case Stress::Data:
        break;
    }
    return line.take();
}

void spoil(std::vector<GuideEvent>& events, Random random, std::size_t& next) {
    const auto& texts = stressTexts();
    for (GuideEvent& event : events) {
        if (!random.oneIn(stressShare))
            continue;
        const StressText& text = texts[next++ % texts.size()];
        event.title = text.title;
        event.synopsis = text.synopsis;
        constexpr int contents[] = {-1, 0, 0x0F, 0xFF, 0x1234, 0xFFFF};
        event.content = contents[random.below(std::size(contents))];
        event.late = random.oneIn(2);
        event.guidance = random.oneIn(4) ? repeat("Contains \"<&>\", ", 240) + "and more." : "";
        event.version = random.oneIn(2) ? 0x7FFFFFFF : 0;
    }
}

} // namespace Ostrel::TV::Tool
