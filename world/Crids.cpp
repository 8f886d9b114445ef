#include "world/Crids.h"

#include "TV/server/dummy/data/ViewerText.h"
#include "TV/server/dummy/world/epgentry.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>

namespace Ostrel::TV::Tool {

namespace {

constexpr unsigned episodeType = 1, seriesType = 2;
constexpr unsigned shownAgain = 49; ///< as the built-in guide has it
constexpr std::size_t mostCrids = sizeof(epgentry::Crids) / sizeof(epgentry::Crid);

/// What tells an episode and its series from others; empty where nothing does.
struct Keys {
    std::string episode, series;
};

std::string_view findNumber(const XmltvProgramme& programme, std::string_view system) {
    for (const XmltvText& number : programme.episodeNumbers)
        if (number.kind == system)
            return number.text;
    return {};
}

std::string withoutBlanks(std::string_view text) {
    std::string dense;
    std::copy_if(text.begin(), text.end(), std::back_inserter(dense), [](char c) { return c != ' '; });
    return dense;
}

/// "EP01234567.0012": a letter pair, the number of the series, and that of the episode, 0 for none.
Keys readProgrammeId(std::string_view text) {
    constexpr std::size_t episodeDigits = 4;
    std::string id = withoutBlanks(text);
    std::erase(id, '.');
    if (id.size() < 2 + episodeDigits + 1)
        return {};
    Keys keys;
    const std::string number = id.substr(id.size() - episodeDigits);
    if (!id.starts_with("MV"))
        keys.series = "dd_progid " + id.substr(0, id.size() - episodeDigits);
    if (id.starts_with("MV") || number != "0000")
        keys.episode = "dd_progid " + id;
    return keys;
}

/// "1 . 4/13 . 0/1", from 0: series, episode and part, each perhaps of so many. Without an episode it says nothing.
std::string readNumbers(std::string_view text) {
    std::string numbers;
    const std::string dense = withoutBlanks(text);
    bool isTotal = false;
    for (const char c : dense) {
        isTotal = c == '/' || (isTotal && c != '.');
        if (!isTotal)
            numbers += c;
    }
    const auto first = numbers.find('.');
    const bool hasEpisode =
        first != std::string::npos && first + 1 < numbers.size() && numbers[first + 1] != '.';
    while (hasEpisode && numbers.ends_with(".0") && std::count(numbers.begin(), numbers.end(), '.') == 2)
        numbers.resize(numbers.size() - 2); // the first part of one is the whole
    while (hasEpisode && numbers.ends_with('.'))
        numbers.pop_back();
    return hasEpisode ? numbers : std::string();
}

/// What a database calls the episode, the film or the series: thetvdb.com "episode/123456".
void readDatabases(const XmltvProgramme& programme, Keys& keys) {
    for (const XmltvText& number : programme.episodeNumbers) {
        const std::string key = number.kind + " " + number.text;
        for (const char* const what : {"episode/", "movie/", "title/"})
            if (keys.episode.empty() && number.text.starts_with(what))
                keys.episode = key;
        if (keys.series.empty() && number.text.starts_with("series/"))
            keys.series = key;
    }
}

Keys findKeys(const XmltvProgramme& programme, std::string_view title, std::string_view subTitle) {
    Keys keys = readProgrammeId(findNumber(programme, "dd_progid"));
    const std::string name(title);
    if (keys.series.empty() && !programme.seriesIds.empty())
        keys.series = programme.seriesIds.front().kind + " " + programme.seriesIds.front().text;

    const std::string numbers = readNumbers(findNumber(programme, "xmltv_ns"));
    const std::string onscreen = withoutBlanks(findNumber(programme, "onscreen"));
    const bool isOfSeries = !numbers.empty() || !onscreen.empty() || !subTitle.empty();
    if (keys.episode.empty() && !numbers.empty())
        keys.episode = "numbers " + name + "\n" + numbers;
    readDatabases(programme, keys);
    if (keys.episode.empty() && !onscreen.empty())
        keys.episode = "onscreen " + name + "\n" + onscreen;
    if (keys.episode.empty() && !subTitle.empty())
        keys.episode = "title " + name + "\n" + std::string(subTitle);
    if (keys.series.empty() && isOfSeries && !name.empty() &&
        !findNumber(programme, "dd_progid").starts_with("MV"))
        keys.series = "title " + name;
    return keys;
}

/// Ten letters and digits behind a slash. The built-in guide has six; a listing of a million episodes would
/// have hundreds of them in common.
std::string digest(const std::string& key) {
    constexpr std::string_view digits = "0123456789abcdefghijklmnopqrstuvwxyz";
    constexpr int length = 10;
    std::uint64_t hash = XXH3_64bits(key.data(), key.size());
    std::string text = "/";
    for (int i = 0; i != length; ++i, hash /= digits.size())
        text += digits[hash % digits.size()];
    return text;
}

/// What is spelt out, the episodes first.
std::vector<GuideCrid> readCrids(const XmltvProgramme& programme) {
    std::vector<GuideCrid> crids;
    for (const XmltvText& number : programme.episodeNumbers) {
        const auto known = std::find(std::begin(cridSystems), std::end(cridSystems), number.kind);
        if (known != std::end(cridSystems) && crids.size() != mostCrids &&
            findCridFault(number.text) == nullptr)
            crids.push_back({static_cast<unsigned>(known - std::begin(cridSystems)) + 1, number.text});
    }
    return crids;
}

} // namespace

std::vector<GuideCrid> makeCrids(const XmltvProgramme& programme, std::string_view title,
                                 std::string_view subTitle) {
    std::vector<GuideCrid> crids = readCrids(programme);
    if (!crids.empty())
        return crids;
    const Keys keys = findKeys(programme, title, subTitle);
    if (!keys.episode.empty())
        crids.push_back({episodeType, digest("episode " + keys.episode)});
    if (!keys.series.empty())
        crids.push_back({seriesType, digest("series " + keys.series)});
    return crids;
}

unsigned readImi(const XmltvProgramme& programme, const std::vector<GuideCrid>& crids) {
    const std::string_view told = findNumber(programme, imiSystem);
    unsigned imi = 0;
    if (!told.empty() &&
        std::from_chars(told.data(), told.data() + told.size(), imi).ptr == told.data() + told.size() &&
        imi <= 0x7FFFFFFF)
        return imi;
    return programme.previouslyShown && !crids.empty() && crids.front().type == episodeType ? shownAgain : 0;
}

} // namespace Ostrel::TV::Tool
