#include "bench/GuideBench.h"

#include "TV/server/dummy/DummyTVModuleContext.h"
#include "TV/server/dummy/guide/Guide.h"
#include "TV/server/dummy/guide/NowNext.h"
#include "TV/server/dummy/query/EventQuery.h"
#include "TV/server/dummy/query/QuorilQuery.h"
#include "bench/Database.h"
#include "bench/Yardsticks.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ostrel::Bench {

using namespace TV;

namespace {

constexpr unsigned noLimit = 4294967295u;
constexpr std::int32_t noon = 1318762800; // 2011-10-16 11:00 UTC
constexpr std::int32_t threeHours = 3 * 3600;
constexpr std::int32_t late = 1318748400;
constexpr std::int32_t firstService = 1000, secondService = 1043;

const char* const rarePhrase = "lighthouse keeper";
const char* const frequentWord = "News";

DummyTVModule& module() {
    static DummyTVModule theModule;
    return theModule;
}

DummyTVModuleContext& context() {
    static DummyTVModuleContext theContext(&module());
    return theContext;
}

Database& database() {
    static Database theDatabase;
    return theDatabase;
}

const Columns& columns() {
    static const Columns theColumns = makeColumns();
    return theColumns;
}

ITVGuide::Query makeQuery(const std::string& text) {
    Deserializer deserializer(text);
    return ITVGuide::Query(deserializer);
}

/// What is measured must say the same.
void expectEqual(std::size_t ours, std::size_t theirs, const std::string& what) {
    if (ours != theirs || ours == 0)
        throw std::logic_error(what + ": " + std::to_string(ours) + " and " + std::to_string(theirs));
}

using Documents = VectorObject<std::string>;

Documents queryAll(const char* format) {
    return context().query("", "quoril", format);
}

template <typename Write> std::vector<std::string> writeAll(Write write) {
    std::vector<std::string> documents;
    documents.reserve(columns().rows.size());
    for (const epgentry* row : columns().rows)
        documents.push_back(write(*row));
    return documents;
}

void addDocuments(std::vector<Comparison>& comparisons) {
    const auto json = queryAll("quoriljson"), xml = queryAll("quorilxml");
    const auto straightJson = writeAll(writeJsonDocument), straightXml = writeAll(writeXmlDocument);
    if (!std::equal(json.begin(), json.end(), straightJson.begin(), straightJson.end()) ||
        !std::equal(xml.begin(), xml.end(), straightXml.begin(), straightXml.end()))
        throw std::logic_error("the straight writers write something else");

    comparisons.push_back({"the whole guide as JSON documents", "straight-line writer", 1.2,
                           [] { benchmark::DoNotOptimize(queryAll("quoriljson")); },
                           [] { benchmark::DoNotOptimize(writeAll(writeJsonDocument)); }});
    comparisons.push_back({"the whole guide as XML documents", "straight-line writer", 1.2,
                           [] { benchmark::DoNotOptimize(queryAll("quorilxml")); },
                           [] { benchmark::DoNotOptimize(writeAll(writeXmlDocument)); }});

    const auto statement = std::make_shared<Database::Statement>(
        database(),
        "SELECT json_object('progSchedule', json_object('ServiceId', ServiceId, 'Content', "
        "json_array(Content),"
        " 'CridData', json(CridData), 'CridType', json(CridType), 'CridImi', CridImi,"
        " 'DataFromCurrentTs', DataFromCurrentTs, 'Description', Description, 'DvbOid', DvbOid,"
        " 'DvbSid', DvbSid, 'DvbTid', DvbTid, 'End', End, 'Guidance', Guidance, 'IsHd', IsHd,"
        " 'LinkedHdProgs', LinkedHdProgs, 'LinkedHdSimulcastProgs', LinkedHdSimulcastProgs, 'Next', 0,"
        " 'Now', 0, 'PreferredServiceNameId', PreferredServiceNameId, 'ProgId', ProgId,"
        " 'ScheduleVersion', ScheduleVersion, 'ServicePosition', ServicePosition, 'Start', Start,"
        " 'Title', Title, 'UnsuitableBeforeWatershed', UnsuitableBeforeWatershed)) FROM guide ORDER BY "
        "Start");
    comparisons.push_back({"the whole guide as JSON documents", "SQLite json_object", 0.1,
                           [] { benchmark::DoNotOptimize(queryAll("quoriljson")); },
                           [statement] {
                               std::vector<std::string> documents;
                               while (statement->step())
                                   documents.emplace_back(statement->text(),
                                                          static_cast<std::size_t>(statement->bytes()));
                               benchmark::DoNotOptimize(documents);
                           }});

    // The text's room is there once and for all.
    const auto room = std::make_shared<std::vector<char>>();
    for (const std::string& document : json)
        room->resize(room->size() + 2 * document.size() + 3);
    room->resize(room->size() + 18);
    const auto writeReply = [room] {
        char* to = room->data();
        *to++ = '[';
        for (const std::string& document : queryAll("quoriljson")) {
            *to++ = '"';
            to = escapeJsonText(to, document);
            *to++ = '"';
            *to++ = ',';
        }
        to[-1] = ']';
        return std::string_view(room->data(), static_cast<std::size_t>(to - room->data()));
    };
    if (writeReply() != json.SerialObject::serialize())
        throw std::logic_error("the fast escape writes something else");
    comparisons.push_back({"reply text of the whole guide", "the documents and one fast escape", 1,
                           [] { benchmark::DoNotOptimize(queryAll("quoriljson").SerialObject::serialize()); },
                           [=] { benchmark::DoNotOptimize(writeReply()); }});
}

std::size_t filter(const std::string& expression) {
    QuorilQuery rows(sharedGuide());
    rows.init(expression, 0, noLimit);
    std::size_t count = 0;
    while (const epgentry* row = rows.next()) {
        benchmark::DoNotOptimize(row);
        ++count;
    }
    return count;
}

/// The same condition, compiled.
template <typename Condition> std::size_t filterColumns(Condition condition) {
    const Columns& all = columns();
    std::size_t count = 0;
    for (std::size_t i = 0; i != all.rows.size(); ++i) {
        if (condition(all.serviceIds[i], all.starts[i], all.ends[i])) {
            benchmark::DoNotOptimize(all.rows[i]);
            ++count;
        }
    }
    return count;
}

std::size_t countRows(Database::Statement& statement) {
    std::size_t count = 0;
    while (statement.step())
        ++count;
    return count;
}

void addFilters(std::vector<Comparison>& comparisons) {
    const std::string expression = "(ServiceId in (" + std::to_string(firstService) + ", " +
                                   std::to_string(secondService) + ")) && End > " + std::to_string(late);
    const auto loop = [] {
        return filterColumns([](std::int32_t service, std::int32_t, std::int32_t end) {
            return (service == firstService || service == secondService) && end > late;
        });
    };
    const auto statement = std::make_shared<Database::Statement>(
        database(), "SELECT rowid FROM guide WHERE ServiceId IN (" + std::to_string(firstService) + "," +
                        std::to_string(secondService) + ") AND End > " + std::to_string(late));
    expectEqual(filter(expression), loop(), expression);
    expectEqual(filter(expression), countRows(*statement), expression);
    comparisons.push_back({expression, "compiled loop over the columns", 1.5,
                           [=] { benchmark::DoNotOptimize(filter(expression)); },
                           [=] { benchmark::DoNotOptimize(loop()); }});
    comparisons.push_back({expression, "SQLite with an index", 0.5,
                           [=] { benchmark::DoNotOptimize(filter(expression)); },
                           [=] { benchmark::DoNotOptimize(countRows(*statement)); }});

    // Nothing here tells of which services the rows may be.
    const std::string wide = "End > " + std::to_string(late) + " && Start < " + std::to_string(late + 3600);
    const auto wideLoop = [] {
        return filterColumns([](std::int32_t, std::int32_t start, std::int32_t end) {
            return end > late && start < late + 3600;
        });
    };
    expectEqual(filter(wide), wideLoop(), wide);
    comparisons.push_back({wide, "compiled loop over the columns", 1.5,
                           [=] { benchmark::DoNotOptimize(filter(wide)); },
                           [=] { benchmark::DoNotOptimize(wideLoop()); }});
}

std::size_t sizeOfEvents(const ITVGuide::Query& query) {
    VectorObject<ITVGuide::EventInfo> events;
    EventQuery(sharedGuide(), query).run(events);
    return events.SerialObject::serialize().size();
}

void addPage(std::vector<Comparison>& comparisons) {
    const auto query = std::make_shared<ITVGuide::Query>(makeQuery(
        R"({"serviceIdList":[1000,1004,1010,1016,1020,1033,1040,1043,1050,1060],"timeRange":{"base":)" +
        std::to_string(noon) + R"(,"limit":)" + std::to_string(noon + threeHours) +
        R"(},"orderByServiceIdPriority":0,"orderByStartTimePriority":1})"));
    const auto walk = [] {
        const Columns& all = columns();
        constexpr std::int32_t services[] = {1000, 1004, 1010, 1016, 1020, 1033, 1040, 1043, 1050, 1060};
        std::vector<const epgentry*> found;
        for (std::size_t i = 0; i != all.rows.size(); ++i)
            if (all.ends[i] > noon && all.starts[i] < noon + threeHours &&
                std::find(std::begin(services), std::end(services), all.serviceIds[i]) != std::end(services))
                found.push_back(all.rows[i]);
        std::sort(found.begin(), found.end(), [](const epgentry* a, const epgentry* b) {
            return std::pair(a->ServiceId, a->Start) < std::pair(b->ServiceId, b->Start);
        });
        std::string text = "[";
        for (const epgentry* row : found) {
            if (text.size() > 1)
                text += ',';
            appendRecord(text, *row);
        }
        text += ']';
        return text.size();
    };
    const auto statement = std::make_shared<Database::Statement>(
        database(),
        "SELECT json_object('serviceId', ServiceId, 'startTime', Start, 'endTime', End, 'title', Title,"
        " 'description', Description, 'highDefinition', IsHd, 'extra', 0, 'genres', json_array(Content & "
        "255))"
        " FROM guide WHERE ServiceId IN (1000,1004,1010,1016,1020,1033,1040,1043,1050,1060) AND End > " +
            std::to_string(noon) + " AND Start < " + std::to_string(noon + threeHours) +
            " ORDER BY ServiceId, Start");
    expectEqual(sizeOfEvents(*query), walk(), "guide page");
    comparisons.push_back({"a guide page: 10 services, 3 hours", "linear walk over the columns", 2,
                           [=] { benchmark::DoNotOptimize(sizeOfEvents(*query)); },
                           [=] { benchmark::DoNotOptimize(walk()); }});
    comparisons.push_back({"a guide page: 10 services, 3 hours", "SQLite with an index", 0.15,
                           [=] { benchmark::DoNotOptimize(sizeOfEvents(*query)); },
                           [=] {
                               std::string text;
                               while (statement->step())
                                   text.append(statement->text(),
                                               static_cast<std::size_t>(statement->bytes()));
                               benchmark::DoNotOptimize(text);
                           }});
}

std::size_t countEvents(const ITVGuide::Query& query) {
    VectorObject<ITVGuide::EventInfo> events;
    EventQuery(sharedGuide(), query).run(events);
    return events.size();
}

/// One pass over all texts, each of which stands there once.
std::size_t countHits(std::string_view phrase) {
    static const std::string distinct = distinctTexts();
    std::size_t hits = 0;
    std::string_view texts = distinct;
    while (const void* hit = memmem(texts.data(), texts.size(), phrase.data(), phrase.size())) {
        ++hits;
        texts.remove_prefix(static_cast<std::size_t>(static_cast<const char*>(hit) - texts.data()) +
                            phrase.size());
    }
    return hits;
}

void addTexts(std::vector<Comparison>& comparisons) {
    const auto rare = std::make_shared<ITVGuide::Query>(
        makeQuery(std::string(R"({"stringMatchDescription":true,"stringList":[")") + rarePhrase + "\"]}"));
    const auto pass = [] { return countHits(rarePhrase); };
    comparisons.push_back({"a rare phrase in titles and descriptions", "one memmem pass over the texts", 1,
                           [=] { benchmark::DoNotOptimize(countEvents(*rare)); },
                           [=] { benchmark::DoNotOptimize(pass()); }});

    const auto frequent = std::make_shared<ITVGuide::Query>(
        makeQuery(std::string(R"({"orderByServiceIdPriority":0,"orderByStartTimePriority":1,)"
                              R"("sliceRange":{"limit":20},"stringList":[")") +
                  frequentWord + "\"]}"));
    const auto statement = std::make_shared<Database::Statement>(
        database(), std::string("SELECT Title, Description, Start, End FROM guide WHERE instr(Title, '") +
                        frequentWord + "') > 0 ORDER BY ServiceId, Start LIMIT 20");
    expectEqual(countEvents(*frequent), countRows(*statement), "frequent word");
    comparisons.push_back({"a frequent word, by service, first 20", "SQLite instr in index order", 1,
                           [=] { benchmark::DoNotOptimize(countEvents(*frequent)); },
                           [=] { benchmark::DoNotOptimize(countRows(*statement)); }});
}

/// Phrases that stand in few texts, all different.
std::vector<std::string> rarePhrases() {
    constexpr std::size_t count = ITVGuide::Query::stringLimit, shortest = 12;
    std::vector<std::string> phrases;
    const auto& rows = columns().rows;
    for (std::size_t i = 0; i != rows.size() && phrases.size() != count; i += 40) {
        const char* const description = rows[i]->Description;
        const std::string text = description ? description : "";
        const std::size_t from = text.find(' '), to = text.find(' ', from + shortest);
        if (from == text.npos || to == text.npos || text.find_first_of("\"\\") != text.npos)
            continue;
        const std::string phrase = text.substr(from + 1, to - from - 1);
        if (std::find(phrases.begin(), phrases.end(), phrase) == phrases.end())
            phrases.push_back(phrase);
    }
    expectEqual(phrases.size(), count, "rare phrases");
    return phrases;
}

/// The dearest that a request can ask for.
void addAttacks(std::vector<Comparison>& comparisons) {
    std::string list;
    const auto phrases = std::make_shared<std::vector<std::string>>(rarePhrases());
    for (const std::string& phrase : *phrases)
        list += (list.empty() ? "\"" : ",\"") + phrase + '"';
    const auto query = std::make_shared<ITVGuide::Query>(
        makeQuery(R"({"stringMatchDescription":true,"stringList":[)" + list + "]}"));
    const auto walk = [phrases] {
        std::size_t count = 0;
        for (const epgentry* row : columns().rows)
            count += std::any_of(phrases->begin(), phrases->end(), [&](const std::string& phrase) {
                const char* const title = row->Title;
                const char* const description = row->Description;
                return (title && std::strstr(title, phrase.c_str())) ||
                       (description && std::strstr(description, phrase.c_str()));
            });
        return count;
    };
    expectEqual(countEvents(*query), walk(), "rare phrases");
    comparisons.push_back({"256 rare phrases in titles and descriptions",
                           "a memmem pass over the texts for each", 0.25,
                           [=] { benchmark::DoNotOptimize(countEvents(*query)); },
                           [=] {
                               for (const std::string& phrase : *phrases)
                                   benchmark::DoNotOptimize(countHits(phrase));
                           }});

    // All of it is read, and what it asks for is little.
    constexpr std::size_t messageLimit = 1 << 20;
    const auto expression = std::make_shared<std::string>("ServiceId == " + std::to_string(secondService));
    expression->insert(expression->find("== ") + 3, messageLimit - expression->size(), '0');
    expectEqual(filter(*expression), filter("ServiceId == " + std::to_string(secondService)), "zeros");
    comparisons.push_back({"an expression of 1 MiB", "its digits as a number", 2,
                           [=] { benchmark::DoNotOptimize(filter(*expression)); },
                           [=] {
                               std::uint64_t value = 0;
                               for (const char c : *expression)
                                   if (c >= '0' && c <= '9')
                                       value = value * 10 + static_cast<unsigned>(c - '0');
                               benchmark::DoNotOptimize(value);
                           }});
}

void addNowNext(std::vector<Comparison>& comparisons) {
    const auto service = static_cast<unsigned>(secondService);
    // The rows of one service by start, as a program that knew only this question would hold them.
    const auto rows = std::make_shared<std::vector<const epgentry*>>();
    for (const epgentry* row : columns().rows)
        if (row->ServiceId == secondService)
            rows->push_back(row);
    module().timeOffset = static_cast<std::int32_t>(noon - std::time(nullptr));
    expectEqual(context().nowNextGet(service, "quoriljson").size(), 2, "now and next");
    comparisons.push_back({"now and next of one service", "binary search and straight-line writer", 5,
                           [=] { benchmark::DoNotOptimize(context().nowNextGet(service, "quoriljson")); },
                           [=] {
                               const auto behind =
                                   std::partition_point(rows->begin(), rows->end(), [](const epgentry* row) {
                                       return row->Start <= noon;
                                   });
                               std::vector<std::string> documents;
                               documents.push_back(writeJsonDocument(*behind[-1]));
                               documents.push_back(writeJsonDocument(**behind));
                               benchmark::DoNotOptimize(documents);
                           }});
}

} // namespace

std::vector<Comparison> makeGuideComparisons() {
    std::vector<Comparison> comparisons;
    sharedGuide().addEvents();
    addDocuments(comparisons);
    addFilters(comparisons);
    addPage(comparisons);
    addTexts(comparisons);
    addAttacks(comparisons);
    addNowNext(comparisons);
    return comparisons;
}

} // namespace Ostrel::Bench
