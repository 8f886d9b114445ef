#include "TV/server/dummy/data/GuideText.h"

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
    if (field.size() != 5 && field.size() != 6)
        line.fail("expected: event PROGRAMME | START | END | CONTENT | version N | MARKS");
    GuideEvent event;
    event.line = line;
    event.programme = static_cast<unsigned>(line.number(field[0], "programme", 1, anyNumber));
    event.start = parseTime(line, field[1]);
    event.end = parseTime(line, field[2]);
    event.content = field[3] == "none" ? -1 : static_cast<int>(line.number(field[3], "content", 0, 0xFFFF));
    if (!field[4].starts_with("version "))
        line.fail("expected \"version\" and a number");
    event.version = static_cast<unsigned>(line.number(field[4].substr(8), "version", 0, anyNumber));
    for (const std::string& mark : splitText(field.size() == 6 ? field[5] : std::string(), ' ')) {
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
    std::vector<GuideCrid> crids;
    for (const std::string& text : splitText(line.rest(), ' ')) {
        const auto colon = text.find(':');
        if (colon == std::string::npos)
            line.fail("expected crids like 1:/23vbzj");
        crids.push_back({static_cast<unsigned>(line.number(text.substr(0, colon), "crid type", 0, anyNumber)),
                         text.substr(colon + 1)});
    }
    return crids;
}

/// Takes a line that belongs to an event; false for a word that none has.
bool readDetail(GuideEvent& event, const TextLine& line) {
    const std::string word = line.word();
    if (word == "title")
        event.title = line.rest();
    else if (word == "synopsis")
        event.synopsis = line.rest();
    else if (word == "guidance")
        event.guidance = line.rest();
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

/// Takes a line about the service; false for a word that is none of its own.
bool readServiceLine(GuideFile& guide, const TextLine& line) {
    const std::string word = line.word();
    const auto number = [&] { return static_cast<unsigned>(line.number(line.rest(), word, 0, anyNumber)); };
    if (word == "service")
        guide.id = static_cast<int>(number());
    else if (word == "network")
        guide.network = number();
    else if (word == "stream")
        guide.stream = number();
    else if (word == "dvb-service")
        guide.dvbId = number();
    else if (word == "place")
        guide.place = number();
    else
        return false;
    guide.line = line;
    return true;
}

} // namespace

std::string writeGuide(const GuideFile& guide, const std::string& heading) {
    std::string out =
        "# " + heading + "\n#\n# Made by the schedule writer; ../README.md says what the words mean.\n\n";
    out += "service " + std::to_string(guide.id) + "\n";
    out += "network " + hexadecimal(guide.network) + "\n";
    out += "stream " + hexadecimal(guide.stream) + "\n";
    out += "dvb-service " + hexadecimal(guide.dvbId) + "\n";
    out += "place " + std::to_string(guide.place) + "\n";
    for (const GuideEvent& event : guide.events)
        writeEvent(out, event);
    return out;
}

GuideFile readGuide(const std::string& path) {
    GuideFile guide;
    for (const TextLine& line : readTextFile(path)) {
        if (line.word() == "event")
            guide.events.push_back(readEvent(line));
        else if (guide.events.empty() ? !readServiceLine(guide, line)
                                      : !readDetail(guide.events.back(), line))
            line.fail(std::string("\"") + line.word() + "\" has no place here");
    }
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
    return utc;
}

} // namespace Ostrel::TV
