#include "TV/server/dummy/data/GuideRules.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

namespace Ostrel::TV {

namespace {

constexpr std::int64_t shortest = 60;
constexpr std::int64_t longest = 82800;
constexpr std::int64_t latestTime = 0x7FFFFFFF;
constexpr std::size_t mostCrids = 10;
constexpr std::size_t longestText = 255;
constexpr unsigned highestVersion = 6;
constexpr unsigned highestPlace = 64;
constexpr int largestServiceId = 0x7FFFFFFF;

/// Whoever looks for "O'Clock" types the apostrophe of a keyboard, and so does the built-in guide.
void checkQuotes(const GuideEvent& event, const std::string& text) {
    for (const char* quote : {"\u2018", "\u2019", "\u201C", "\u201D"})
        if (text.find(quote) != std::string::npos)
            event.line.fail(std::string("a text holds ") + quote + " where a keyboard has ' or \"");
}

void checkText(const GuideEvent& event, const std::string& text, const char* what) {
    event.line.checkText(text);
    checkQuotes(event, text);
    if (text.size() > longestText)
        event.line.fail(std::string(what) + " is longer than " + std::to_string(longestText) + " bytes");
}

void checkTexts(const GuideEvent& event) {
    if (event.title.empty())
        event.line.fail("an event needs a title");
    checkText(event, event.title, "the title");
    checkText(event, event.synopsis, "the synopsis");
    checkText(event, event.guidance, "the guidance");
}

void checkTimes(const GuideEvent& event) {
    if (event.start < 1 || event.end > latestTime)
        event.line.fail("a time does not fit 32 bits");
    if (event.end - event.start < shortest || event.end - event.start > longest)
        event.line.fail("an event lasts 60 s to 82800 s, this one " +
                        std::to_string(event.end - event.start) + " s");
    if ((event.late || !event.guidance.empty()) && !afterWatershed(event.start))
        event.line.fail("unsuitable before the watershed, yet it starts at " +
                        formatTime(event.start + londonOffset).substr(11, 5) + " in London");
    if (!event.guidance.empty() && !event.late)
        event.line.fail("guidance is for events unsuitable before the watershed");
}

bool hasShape(const GuideCrid& crid) {
    const auto among = [&](const char* characters) {
        return crid.data.find_first_not_of(characters, 1) == std::string::npos;
    };
    if (crid.data.empty() || crid.data.front() != '/')
        return false;
    return crid.type == 3 ? crid.data.size() == 9 && among("0123456789")
                          : crid.data.size() == 7 && among("0123456789abcdefghijklmnopqrstuvwxyz");
}

void checkCrids(const GuideEvent& event) {
    if (event.crids.size() > mostCrids)
        event.line.fail("an event has at most 10 crids");
    for (const GuideCrid& crid : event.crids) {
        if (crid.type < 1 || crid.type > 3)
            event.line.fail("a crid's type is 1, 2 or 3");
        if (!hasShape(crid))
            event.line.fail("crid " + crid.data + " is not like /23vbzj or, for type 3, /33991643");
        if (crid.type == 1 && &crid != &event.crids.front())
            event.line.fail("the crid of type 1 is the first");
    }
    if (event.imi != 0 && (event.imi != 49 || event.crids.empty()))
        event.line.fail("an imi is 49 and comes with a crid");
}

void checkEvent(const GuideEvent& event) {
    checkTexts(event);
    checkTimes(event);
    checkCrids(event);
    if (event.version > highestVersion)
        event.line.fail("versions are 0 to 6");
}

/// What a service may not do across its events.
void checkService(const GuideFile& guide) {
    std::map<std::string, const GuideEvent*> told;
    const GuideEvent* before = nullptr;
    for (const GuideEvent& event : guide.events) {
        checkEvent(event);
        if (before != nullptr && event.start < before->end)
            event.line.fail("starts before the one above it has ended");
        before = &event;
        if (event.synopsis.empty())
            continue;
        const GuideEvent* first = told.emplace(event.synopsis, &event).first->second;
        if (first->title != event.title)
            event.line.fail("\"" + first->title + "\" has this synopsis on the same service");
    }
}

} // namespace

void checkGuide(const std::vector<GuideFile>& guide) {
    std::map<unsigned, std::pair<const GuideFile*, const GuideEvent*>> programmes;
    std::set<std::tuple<unsigned, unsigned, unsigned>> identifiers;
    const GuideFile* before = nullptr;

    for (const GuideFile& file : guide) {
        if (file.events.empty())
            file.line.fail("a service without events");
        if (file.id < 1 || file.id > largestServiceId || (before != nullptr && file.id <= before->id))
            file.line.fail("the services are not in the order of their ids");
        if (file.place > highestPlace)
            file.line.fail("places are 0 to 64");
        if (!identifiers.emplace(file.network, file.stream, file.dvbId).second)
            file.line.fail("another service has these DVB identifiers");
        before = &file;
        checkService(file);
        for (const GuideEvent& event : file.events)
            if (!programmes.emplace(event.programme, std::pair{&file, &event}).second)
                event.line.fail("programme " + std::to_string(event.programme) + " comes twice");
    }

    for (const GuideFile& file : guide) {
        for (const GuideEvent& event : file.events) {
            if (event.hdLink == 0)
                continue;
            const auto twin = programmes.find(event.hdLink);
            if (twin == programmes.end() || twin->second.first == &file || !twin->second.second->hd ||
                twin->second.second->start != event.start)
                event.line.fail("hd-event " + std::to_string(event.hdLink) +
                                " is not an HD event of another service with the same start");
        }
    }
}

} // namespace Ostrel::TV
