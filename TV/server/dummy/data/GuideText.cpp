#include "TV/server/dummy/data/GuideText.h"

#include "TV/server/dummy/data/ViewerText.h"

#include <chrono>
#include <cstdio>

namespace Ostrel::TV {

namespace {

constexpr long anyNumber = 0x7FFFFFFF;

std::string hexadecimal(unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%04X", value);
    return text;
}

std::string content(int value) {
    if (value < 0)
        return "none";
    char text[16];
    std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned>(value));
    return text;
}

void writeEvent(std::string& out, const GuideEvent& event) {
    std::string marks;
    const auto mark = [&](bool set, const char* name) {
        if (!set)
            return;
        marks += marks.empty() ? " | " : " ";
        marks += name;
    };
    mark(event.hd, "hd");
    mark(event.late, "late");
    mark(event.next, "next");

    out += "\n";
    if (!event.origin.empty())
        out += "# from " + event.origin + "\n";
    out += "event " + std::to_string(event.programme) + " | " + formatTime(event.start) + " | " +
           formatTime(event.end) + " | " + content(event.content) + " | version " +
           std::to_string(event.version) + marks + "\n";
    out += "title " + event.title + "\n";
    if (!event.synopsis.empty())
        out += "synopsis " + event.synopsis + "\n";
    if (!event.guidance.empty())
        out += "guidance " + event.guidance + "\n";
    if (!event.crids.empty()) {
        out += "crids";
        for (const GuideCrid& crid : event.crids)
            out.append(" ").append(std::to_string(crid.type)).append(":").append(crid.data);
        out += "\n";
    }
    if (event.imi != 0)
        out += "imi " + std::to_string(event.imi) + "\n";
    if (event.hdLink != 0)
        out += "hd-event " + std::to_string(event.hdLink) + "\n";
}

GuideEvent readEvent(const TextLine& line) {
    const auto field = splitText(line.rest(), '|');
    if (field.size() < 3 || field.size() > 6)
        line.fail("expected: event PROGRAMME | START | END | CONTENT | version N | MARKS");
    GuideEvent event;
    event.line = line;
    event.programme = static_cast<unsigned>(line.number(field[0], "programme", 1, anyNumber));
    event.start = parseTime(line, field[1]);
    event.end = parseTime(line, field[2]);
    if (field.size() > 3 && field[3] != "none")
        event.content = static_cast<int>(line.number(field[3], "content", 0, 0xFFFF));
    if (field.size() > 4) {
        if (!field[4].starts_with("version "))
            line.fail("expected \"version\" and a number");
        event.version = static_cast<unsigned>(line.number(field[4].substr(8), "version", 0, anyNumber));
    }
    for (const std::string& mark : splitText(field.size() > 5 ? field[5] : std::string(), ' ')) {
        if (mark == "hd")
            event.hd = true;
        else if (mark == "late")
            event.late = true;
        else if (mark == "next")
            event.next = true;
        else
            line.fail("\"" + mark + "\" is not hd, late or next");
    }
    return event;
}

std::vector<GuideCrid> readCrids(const TextLine& line) {
    constexpr std::size_t most = 10;
    std::vector<GuideCrid> crids;
    for (const std::string& text : splitText(line.rest(), ' ')) {
        const auto colon = text.find(':');
        if (colon == std::string::npos)
            line.fail("expected crids like 1:/23vbzj");
        crids.push_back({static_cast<unsigned>(line.number(text.substr(0, colon), "a crid's type", 1, 3)),
                         text.substr(colon + 1)});
        if (const char* const fault = findCridFault(crids.back().data))
            line.fail(fault);
    }
    if (crids.size() > most)
        line.fail("an event has at most 10 crids");
    return crids;
}

void readText(const TextLine& line, std::string& text) {
    line.checkText(line.rest());
    if (!text.empty())
        line.fail("the event has a " + line.word() + " already");
    text = line.rest();
}

/// Takes a line that belongs to an event; false for a word that none has.
bool readDetail(GuideEvent& event, const TextLine& line) {
    const std::string word = line.word();
    if (word == "title")
        readText(line, event.title);
    else if (word == "synopsis")
        readText(line, event.synopsis);
    else if (word == "guidance")
        readText(line, event.guidance);
    else if (word == "crids")
        event.crids = readCrids(line);
    else if (word == "imi")
        event.imi = static_cast<unsigned>(line.number(line.rest(), "imi", 0, anyNumber));
    else if (word == "hd-event")
        event.hdLink = static_cast<unsigned>(line.number(line.rest(), "hd-event", 1, anyNumber));
    else
        return false;
    return true;
}

/// The numbers of a service by the words that the file has for them.
template <typename Service> auto findNumber(Service& service, const std::string& word) {
    return word == "network"       ? &service.network
           : word == "stream"      ? &service.stream
           : word == "dvb-service" ? &service.dvbId
           : word == "place"       ? &service.place
                                   : nullptr;
}

/// Takes a line about the service; false for a word that is none of its own.
bool readServiceLine(GuideService& service, const TextLine& line) {
    const std::string word = line.word();
    unsigned id = static_cast<unsigned>(service.id);
    unsigned* const number = word == "service" ? &id : findNumber(service, word);
    if (number == nullptr)
        return false;
    const auto said = static_cast<unsigned>(line.number(line.rest(), word, 0, anyNumber));
    if (*number != 0 && *number != said)
        line.fail("the " + word + " is " + std::to_string(*number) + " already, not " + line.rest());
    *number = said;
    service.id = static_cast<int>(id);
    return true;
}

} // namespace

std::string writeGuide(const GuideFile& guide, const std::string& heading) {
    std::string out = "# " + heading + "\n#\n# Times are UTC.\n\n";
    out += "service " + std::to_string(guide.id) + "\n";
    out += "network " + hexadecimal(guide.network) + "\n";
    out += "stream " + hexadecimal(guide.stream) + "\n";
    out += "dvb-service " + hexadecimal(guide.dvbId) + "\n";
    out += "place " + std::to_string(guide.place) + "\n";
    for (const GuideEvent& event : guide.events)
        writeEvent(out, event);
    return out;
}

GuideFile readGuide(const std::string& path, const GuideService& service, WorldProblems& problems) {
    GuideFile guide{service, {}};
    const std::size_t before = problems.count();
    readTextFile(path, problems, [&](const TextLine& line) {
        if (line.word() == "event") {
            // What stands below a wrong line is still its event's.
            guide.events.emplace_back();
            guide.events.back() = readEvent(line);
        } else if (guide.events.empty() ? !readServiceLine(guide, line)
                                        : !readDetail(guide.events.back(), line)) {
            line.fail("\"" + line.word() + "\" has no place here");
        }
    });
    if (guide.events.empty() && problems.count() == before)
        problems.add(path + ":0", "there is no event; a service without any needs no file");
    std::erase_if(guide.events, [](const GuideEvent& event) { return event.programme == 0; });
    return guide;
}

std::string formatTime(std::int64_t utc) {
    using namespace std::chrono;
    const sys_seconds time{seconds{utc}};
    const auto day = floor<days>(time);
    const year_month_day date{day};
    const hh_mm_ss clock{time - day};
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text;
}

std::int64_t parseTime(const TextLine& line, const std::string& text) {
    using namespace std::chrono;
    int year = 0, hour = 0, minute = 0, second = 0;
    unsigned month = 0, day = 0;
    if (std::sscanf(text.c_str(), "%4d-%2u-%2uT%2d:%2d:%2dZ", &year, &month, &day, &hour, &minute, &second) !=
        6)
        line.fail("\"" + text + "\" is not a time like 2011-10-14T17:45:00Z");
    const year_month_day date{std::chrono::year{year}, std::chrono::month{month}, std::chrono::day{day}};
    const sys_seconds time = sys_days{date} + hours{hour} + minutes{minute} + seconds{second};
    const std::int64_t utc = time.time_since_epoch().count();
    if (!date.ok() || formatTime(utc) != text)
        line.fail("\"" + text + "\" is not a time like 2011-10-14T17:45:00Z");
    if (utc < 1 || utc > anyNumber)
        line.fail(text + " is not between 1970 and 2038-01-19T03:14:07Z");
    return utc;
}

} // namespace Ostrel::TV
