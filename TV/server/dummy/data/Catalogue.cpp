#include "TV/server/dummy/data/Catalogue.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <tuple>

namespace Ostrel::TV {

namespace {

constexpr int minutesPerDay = 24 * 60;
const std::array<std::string, 7> weekdays = {"mon", "tue", "wed", "thu", "fri", "sat", "sun"};

int readMinute(const TextLine& line, const std::string& text) {
    if (text.size() != 5 || text[2] != ':')
        line.fail("\"" + text + "\" is not a time like 09:30");
    return static_cast<int>(line.number(text.substr(0, 2), "hour", 0, 23) * 60 +
                            line.number(text.substr(3), "minute", 0, 59));
}

Slot readSlot(const TextLine& line) {
    Slot slot;
    slot.line = line;
    slot.minute = readMinute(line, line.word());
    const auto words = splitText(line.rest(), ' ');
    if (words.size() == 1 && words[0] == "closed") {
        slot.source = Slot::Source::Closed;
    } else if (words.size() == 1) {
        slot.name = words[0];
    } else if (words.size() == 2 && words[0] == "again") {
        slot.source = Slot::Source::Again;
        slot.againMinute = readMinute(line, words[1]);
    } else if (words.size() == 2 && words[0] == "with") {
        slot.source = Slot::Source::With;
        slot.name = words[1];
    } else {
        line.fail("expected a time and a pool, \"again HH:MM\", \"with SERVICE\" or \"closed\"");
    }
    return slot;
}

/// The times of a section go forward, over midnight at most once, and span less than a day.
void checkOrder(const std::vector<Slot>& slots) {
    const int start = slots.front().minute;
    int before = -1;
    for (const Slot& slot : slots) {
        const int since = (slot.minute - start + minutesPerDay) % minutesPerDay;
        if (since <= before)
            slot.line.fail("the times of a section do not go forward");
        before = since;
    }
}

Programme::Kind readKind(const TextLine& line, const std::string& text) {
    if (text == "series")
        return Programme::Kind::Series;
    if (text == "film")
        return Programme::Kind::Film;
    if (text == "oneoff")
        return Programme::Kind::Oneoff;
    if (text == "bulletin")
        return Programme::Kind::Bulletin;
    if (text == "strand")
        return Programme::Kind::Strand;
    line.fail("\"" + text + "\" is not series, film, oneoff, bulletin or strand");
}

void readManner(Programme& programme, const TextLine& line) {
    const auto field = line.fields(4);
    programme.manner = line;
    programme.kind = readKind(line, field[0]);
    programme.pools = splitText(field[1], ',');
    if (programme.pools.empty())
        line.fail("a programme needs a pool");
    programme.genre = field[2] == "none" ? -1 : static_cast<int>(line.number(field[2], "genre", 0, 0xFFFF));
    for (const std::string& flag : splitText(field[3], ',')) {
        if (flag == "hd")
            programme.hd = true;
        else if (flag == "late")
            programme.late = true;
        else
            line.fail("\"" + flag + "\" is not hd or late");
    }
}

std::string afterMark(const TextLine& line) {
    if (line.rest().empty())
        line.fail("a text is missing");
    line.checkText(line.rest());
    return line.rest();
}

class Reader {
public:
    explicit Reader(const std::string& path) : lines_(readTextFile(path)) {}

    Catalogue read() {
        for (const TextLine& line : lines_) {
            if (line.text().front() == '[')
                openSection(line);
            else if (std::isdigit(static_cast<unsigned char>(line.text().front())) != 0)
                addSlot(line);
            else
                addToProgramme(line);
        }
        finish();
        return std::move(catalogue_);
    }

private:
    void openSection(const TextLine& line) {
        const std::string name = line.text().substr(1, line.text().size() - 2);
        if (line.text().back() != ']')
            line.fail("a section's name ends with ]");
        section_ = &sections_[name];
        if (!section_->empty())
            line.fail("section " + name + " comes twice");
        if (name != "all" && name != "weekdays" && name != "weekend" &&
            std::find(weekdays.begin(), weekdays.end(), name) == weekdays.end())
            line.fail("there is no section " + name);
    }

    void addSlot(const TextLine& line) {
        if (section_ == nullptr)
            line.fail("a slot outside a section");
        section_->push_back(readSlot(line));
    }

    void addToProgramme(const TextLine& line) {
        const std::string mark = line.word();
        auto& programmes = catalogue_.programmes;
        if (mark == "=") {
            programmes.emplace_back();
            programmes.back().title = afterMark(line);
            programmes.back().line = line;
            wantManner_ = true;
        } else if (programmes.empty()) {
            line.fail("a programme starts with \"= title\"");
        } else if (wantManner_) {
            readManner(programmes.back(), line);
            wantManner_ = false;
        } else if (mark == "!") {
            programmes.back().guidance = afterMark(line);
            if (!programmes.back().late)
                line.fail("guidance is for late programmes only");
        } else if (mark == "-") {
            // A lone dash is an episode about which nothing is said.
            if (!line.rest().empty())
                line.checkText(line.rest());
            programmes.back().episodes.push_back(line);
        } else {
            line.fail("expected \"= title\", \"! guidance\" or \"- synopsis\"");
        }
    }

    void finish() {
        for (std::size_t day = 0; day != weekdays.size(); ++day) {
            for (const std::string& name :
                 {weekdays[day], std::string(day < 5 ? "weekdays" : "weekend"), std::string("all")}) {
                const auto found = sections_.find(name);
                if (found == sections_.end() || found->second.empty())
                    continue;
                checkOrder(found->second);
                catalogue_.days[day] = found->second;
                break;
            }
            if (catalogue_.days[day].empty())
                lines_.front().fail("nothing is on at " + weekdays[day]);
            if (catalogue_.days[day].front().minute != catalogue_.days[0].front().minute)
                catalogue_.days[day].front().line.fail("all days of a service start at the same time");
        }
        checkPools();
    }

    /// Every pool has slots and programmes: a name that only one side knows is misspelt.
    void checkPools() const {
        std::set<std::string> ofSlots, ofProgrammes;
        for (const auto& [name, slots] : sections_)
            for (const Slot& slot : slots)
                ofSlots.insert(slot.name);
        for (const Programme& programme : catalogue_.programmes) {
            if (programme.episodes.empty())
                programme.line.fail("a programme without an episode");
            for (const std::string& pool : programme.pools)
                if (ofProgrammes.insert(pool); ofSlots.count(pool) == 0)
                    programme.manner.fail("no slot has pool " + pool);
        }
        for (const auto& [name, slots] : sections_)
            for (const Slot& slot : slots)
                if (slot.source == Slot::Source::Pool && ofProgrammes.count(slot.name) == 0)
                    slot.line.fail("no programme has pool " + slot.name);
    }

    std::vector<TextLine> lines_;
    std::map<std::string, std::vector<Slot>> sections_;
    std::vector<Slot>* section_ = nullptr;
    bool wantManner_ = false;
    Catalogue catalogue_;
};

} // namespace

std::vector<std::pair<const Programme*, std::size_t>> Catalogue::deal(const std::string& pool) const {
    // Episode k of n stands at (2k + 1) / 2n of the way, so that every programme is spread
    // evenly over the pool; equals keep the order of the file.
    struct Place {
        const Programme* programme;
        std::size_t episode;
        std::size_t above, below;
    };
    std::vector<Place> places;
    for (const Programme& programme : programmes) {
        if (std::find(programme.pools.begin(), programme.pools.end(), pool) == programme.pools.end())
            continue;
        const std::size_t count = programme.episodes.size();
        for (std::size_t episode = 0; episode != count; ++episode)
            places.push_back({&programme, episode, 2 * episode + 1, 2 * count});
    }
    std::stable_sort(places.begin(), places.end(),
                     [](const Place& a, const Place& b) { return a.above * b.below < b.above * a.below; });
    std::vector<std::pair<const Programme*, std::size_t>> dealt;
    dealt.reserve(places.size());
    for (const Place& place : places)
        dealt.emplace_back(place.programme, place.episode);
    return dealt;
}

Catalogue readCatalogue(const std::string& path) {
    return Reader(path).read();
}

} // namespace Ostrel::TV
