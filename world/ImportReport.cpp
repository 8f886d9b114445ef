#include "world/ImportReport.h"

#include "TV/server/dummy/data/GuideText.h"
#include "commandline/Table.h"
#include "commandline/Text.h"
#include "world/XmltvText.h"

#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace Ostrel::TV::Tool {

namespace {

constexpr std::size_t longestCategory = 100; ///< bytes
constexpr std::size_t mostCategories = 1000, shownCategories = 8;

struct Row {
    Finding finding;
    const char* name; ///< for scripts
    const char* what;
    const char* remedy;
};

// clang-format off
constexpr Row rows[] = {
    {Finding::ChannelTwice,            "channelTwice",            "channels whose id another one has", "left out"},
    {Finding::ChannelNotInLineup,      "channelNotInLineup",      "channels that the line-up does not have", "left out"},
    {Finding::ProgrammeOfOtherChannel, "programmeOfOtherChannel", "programmes of channels that are not there", "left out"},
    {Finding::StartUnreadable,         "startUnreadable",         "starts that are no time", "left out"},
    {Finding::OutOfRange,              "outOfRange",              "programmes before 1970 or after 2038", "left out"},
    {Finding::ProgrammeTwice,          "programmeTwice",          "programmes that come twice", "left out"},
    {Finding::SameStart,               "sameStart",               "programmes that start together with another", "left out"},
    {Finding::NumberMissing,           "numberMissing",           "channels without a number", "numbered in order"},
    {Finding::NumberTaken,             "numberTaken",             "channel numbers that another channel has", "numbered in order"},
    {Finding::StopUnreadable,          "stopUnreadable",          "stops that are no time behind the start", "the next start taken"},
    {Finding::StopMissing,             "stopMissing",             "stops missing", "the next start taken"},
    {Finding::LastStopMissing,         "lastStopMissing",         "stops missing of the last programme", "30 minutes taken"},
    {Finding::Overlap,                 "overlap",                 "programmes that run into the next", "cut"},
    {Finding::TextTooLong,             "textTooLong",             "texts longer than 65535 bytes", "cut"},
    {Finding::IdentifierTaken,         "identifierTaken",         "programme identifiers that come twice", "a new one given"},
    {Finding::LinkLost,                "linkLost",                "links to HD programmes that are not there", "dropped"},
    {Finding::CategoryUnknown,         "categoryUnknown",         "programmes of categories that are not known", "without a genre"},
};
// clang-format on

std::string number(std::size_t count) {
    return std::to_string(count);
}

} // namespace

void ImportReport::addUnknownCategory(std::string name) {
    cutText(name, longestCategory);
    if (const auto known = unknownCategories_.find(name); known != unknownCategories_.end())
        ++known->second;
    else if (unknownCategories_.size() < mostCategories)
        unknownCategories_.emplace(name, 1);
}

std::string ImportReport::format() const {
    std::string text = number(services) + " services, " + number(guides) + " guides: " + number(events) +
                       " events of " + number(programmes) + " programmes";
    if (events != 0)
        text += ", " + formatTime(firstStart) + " to " + formatTime(lastEnd);
    text += "\n";

    using CommandLine::Table;
    Table table({{"Count", Table::Align::Right}, {"What"}, {"Remedy"}});
    bool isEmpty = true;
    for (const Row& row : rows) {
        if (get(row.finding) == 0)
            continue;
        table.add({number(get(row.finding)), row.what, row.remedy});
        isEmpty = false;
    }
    if (!isEmpty)
        text += "\n" + table.format();
    if (unknownCategories_.empty())
        return text;

    std::vector<std::pair<std::size_t, std::string>> often;
    for (const auto& [name, count] : unknownCategories_)
        often.emplace_back(count, name);
    std::stable_sort(often.begin(), often.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    std::string names;
    for (std::size_t i = 0; i != std::min(often.size(), shownCategories); ++i)
        names +=
            (i == 0 ? "" : ", ") + CommandLine::printable(often[i].second) + " " + number(often[i].first);
    if (often.size() > shownCategories)
        names += ", and " + number(often.size() - shownCategories) + " more";
    return text + "\nCategories to give a code with --categories: " + names + "\n";
}

std::string ImportReport::formatJson() const {
    boost::json::object findings, categories;
    for (const Row& row : rows)
        findings[row.name] = get(row.finding);
    for (const auto& [name, count] : unknownCategories_)
        categories[name] = count;
    return boost::json::serialize(boost::json::object{{"channels", channels},
                                                      {"programmes", programmes},
                                                      {"services", services},
                                                      {"guides", guides},
                                                      {"events", events},
                                                      {"firstStart", firstStart},
                                                      {"lastEnd", lastEnd},
                                                      {"findings", std::move(findings)},
                                                      {"unknownCategories", std::move(categories)}});
}

} // namespace Ostrel::TV::Tool
