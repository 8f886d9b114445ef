#include "commandline/Table.h"
#include "tests/clients/tool/Run.h"
#include "tests/support/Child.h"
#include "tests/support/FakeService.h"
#include "tests/support/Terminal.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include <unistd.h>

using Ostrel::Test::Child;
using Ostrel::Test::error;
using Ostrel::Test::FakeService;
using Ostrel::Test::result;
using Ostrel::Test::run;
using Ostrel::Test::Terminal;

namespace {

std::string makeService(unsigned number, const std::string& name, const std::string& flags) {
    std::string text = R"({"channelNumber":)";
    text.append(std::to_string(number)).append(R"(,"name":")").append(name);
    text.append(R"(","uri":"dvb://233a..1041","id":7,"type":1,"provider":"BBC",)").append(flags);
    return text + "}";
}

std::string makeList(const std::vector<std::string>& elements) {
    std::string text;
    for (const auto& element : elements)
        text.append(text.empty() ? "[" : ",").append(element);
    return text + "]";
}

constexpr const char* usual = R"("scrambled":false,"highDefinition":false,"visible":true,"selectable":true)";
constexpr const char* unusual =
    R"("scrambled":true,"highDefinition":true,"visible":false,"selectable":false)";
constexpr const char* invalidParameter =
    R"({"code":-32000,"message":"Invalid parameter","data":{"returnCode":1,"name":"InvalidParameter"}})";

TEST(ToolTest, ServicesAsATableAndAsJson) {
    const auto list = makeList({makeService(1, "TÉLÉ", usual), makeService(724, "B", unusual)});
    FakeService fake(
        {{"ITVService::serviceListSet", {result("true")}}, {"ITVService::serviceListRead", {result(list)}}});
    const auto table = run({"services"}, fake.getAddress());
    EXPECT_EQ(table.status, 0);
    EXPECT_EQ(table.errors, "");
    EXPECT_EQ(table.output,
              "No.  Name  Kind  Guide  URI               Provider  Flags\n"
              "  1  TÉLÉ  tv        7  dvb://233a..1041  BBC\n"
              "724  B     tv        7  dvb://233a..1041  BBC       HD scrambled hidden locked\n");
    EXPECT_EQ(run({"--json", "services"}, fake.getAddress()).output, list + "\n");
    EXPECT_EQ(run({"services", "--json"}, fake.getAddress()).output, list + "\n");
}

TEST(ToolTest, ListWithoutServicesSaysSo) {
    FakeService fake(
        {{"ITVService::serviceListSet", {result("true")}}, {"ITVService::serviceListRead", {result("[]")}}});
    EXPECT_EQ(run({"services", "--list", "new"}, fake.getAddress()).output,
              "No scan has found a new service; ostrel-tv scan blind starts one.\n");
    EXPECT_EQ(run({"services"}, fake.getAddress()).output,
              "The service list is empty; ostrel-tv scan blind finds services.\n");
    EXPECT_EQ(run({"services", "--list", "new", "--json"}, fake.getAddress()).output, "[]\n");
}

TEST(ToolTest, PositionBehindTheLastServiceIsNoEmptyList) {
    FakeService fake({{"ITVService::serviceListSet", {result("true")}},
                      {"ITVService::serviceListSeek", {result("96")}},
                      {"ITVService::serviceListRead", {result("[]")}}});
    EXPECT_EQ(run({"services", "--from", "96"}, fake.getAddress()).output, "The list ends at position 95.\n");
    EXPECT_EQ(run({"services", "--from", "0"}, fake.getAddress()).output,
              "The service list is empty; ostrel-tv scan blind finds services.\n");
}

TEST(ToolTest, ServicesAreReadInSlicesUntilAShortOne) {
    const auto slice = makeList(std::vector<std::string>(500, makeService(1, "A", usual)));
    FakeService fake(
        {{"ITVService::serviceListSet", {result("true")}}, {"ITVService::serviceListRead", {result(slice)}}});
    const auto listed = run({"services", "--limit", "1000", "--json"}, fake.getAddress());
    EXPECT_EQ(boost::json::parse(listed.output).as_array().size(), 1000U);
    const auto requests = fake.getRequests();
    EXPECT_EQ(std::count_if(requests.begin(), requests.end(),
                            [](const std::string& text) { return text.ends_with(R"({"limit":500}}})"); }),
              2);
}

TEST(ToolTest, ServiceIsFoundByNumberUriAndPosition) {
    FakeService fake({{"ITVService::serviceListSet", {result("true")}},
                      {"ITVService::serviceListSeek", {result("2")}},
                      {"ITVService::serviceListSeekByUri", {error(invalidParameter)}},
                      {"ITVService::serviceListGet", {result(makeList({makeService(4, "Four", usual)}))}},
                      {"ITVService::serviceListSeekByChannelNumber", {result("3")}},
                      {"ITVService::serviceListRead", {result(makeList({makeService(4, "Four", usual)}))}}});
    EXPECT_EQ(run({"services", "--channel", "4"}, fake.getAddress()).status, 0);
    EXPECT_EQ(run({"services", "--list", "new", "--from", "2", "--limit", "3"}, fake.getAddress()).status, 0);
    const auto refused = run({"services", "--uri", "dvb://x"}, fake.getAddress());
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(refused.errors, "ostrel-tv: no service has the URI dvb://x; ostrel-tv services lists them\n");

    std::vector<std::string> payloads;
    for (const auto& text : fake.getRequests()) {
        const auto request = boost::json::parse(text);
        if (const auto* params = request.as_object().if_contains("params"))
            payloads.push_back(boost::json::serialize(params->at("payload")));
    }
    EXPECT_EQ(payloads,
              (std::vector<std::string>{R"({"base":"all"})", R"({"channelNumber":4})", R"({"limit":1})",
                                        R"({"base":"new"})", R"({"offset":2,"whence":0})", R"({"limit":3})",
                                        R"({"base":"all"})", R"({"uri":"dvb://x"})", R"({"limit":1})"}));
}

std::string makeEvent(unsigned service, int start, int end, const std::string& title) {
    return R"({"serviceId":)" + std::to_string(service) + R"(,"startTime":)" + std::to_string(start) +
           R"(,"endTime":)" + std::to_string(end) + R"(,"title":")" + title +
           R"(","description":"d","highDefinition":false,"extra":0,"genres":[20]})";
}

const std::string news = makeEvent(7, 1318748400, 1318752000, "News");
const std::string film = makeEvent(7, 1318752000, 1318759200, "Film");

/// What a service with a line-up, a clock and some events answers.
std::map<std::string, FakeService::Frames> guideAnswers(const std::string& events) {
    return {{"ITVService::serviceListSet", {result("true")}},
            {"ITVService::serviceListRead",
             {result(makeList({makeService(4, "Four", usual), makeService(1, "Hidden", unusual)}))}},
            {"ITVService::utcTimeGet", {result("1318750200")}},
            {"ITVGuide::getGenreStringMapList", {result(R"([{"code":20,"text":"comedy"}])")}},
            {"ITVGuide::queryNowNextEventInfo", {result(events)}},
            {"ITVGuide::queryEventInfo", {result(events)}}};
}

/// Returns what was asked of a method, payload by payload.
std::vector<std::string> payloadsOf(const FakeService& fake, const std::string& method) {
    std::vector<std::string> payloads;
    for (const auto& text : fake.getRequests()) {
        if (text.find("\"" + method + "\"") != std::string::npos)
            payloads.push_back(boost::json::serialize(boost::json::parse(text).at("params").at("payload")));
    }
    return payloads;
}

TEST(ToolTest, NowShowsTwoEventsAndTheTimeLeft) {
    FakeService fake(guideAnswers(makeList({news, film})));
    const std::string four = "  4  Four  08:00-09:00  News   [#####.....] 30 min\n"
                             "           09:00-11:00  Film\n";
    const auto shown = run({"now"}, fake.getAddress());
    EXPECT_EQ(shown.errors, "");
    EXPECT_EQ(shown.output, "No.  Name  Time         Title  Left\n" + four) << "hidden ones are left out";
    EXPECT_EQ(run({"now", "4"}, fake.getAddress()).output, shown.output);
    const auto all = run({"now", "--all"}, fake.getAddress()).output;
    EXPECT_LT(all.find("Hidden"), all.find("Four")) << all;
    EXPECT_EQ(run({"now", "4", "--json"}, fake.getAddress()).output,
              "[{\"service\":" + makeService(4, "Four", usual) + ",\"now\":" + news + ",\"next\":" + film +
                  "}]\n");
    const auto refused = run({"now", "5"}, fake.getAddress());
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.errors,
              "ostrel-tv: no service has the channel number 5; ostrel-tv services lists them\n");
}

TEST(ToolTest, LongNamesAndTitlesBreakNoTable) {
    auto answers = guideAnswers(makeList({makeEvent(7, 1318748400, 1318752000, std::string(255, 'T'))}));
    answers["ITVService::serviceListRead"] = {
        result(makeList({makeService(4, std::string(255, 'N'), usual)}))};
    FakeService fake(answers);
    for (const std::string command : {"now", "guide"}) {
        const Terminal terminal(24);
        Child child("/bin/sh",
                    {"-c", "exec \"$0\" $2 >\"$1\"", OSTREL_TV_PROGRAM, terminal.getPath(), command}, {},
                    {"OSTREL_TV_URL=" + fake.getAddress(), "PAGER="});
        EXPECT_EQ(child.wait(), 0) << child.readErrors();
        std::istringstream lines(terminal.read());
        std::size_t count = 0;
        for (std::string line; std::getline(lines, line); ++count)
            EXPECT_LE(Ostrel::CommandLine::getWidth(line), 80u) << line;
        EXPECT_EQ(count, 2u) << command;
    }
}

TEST(ToolTest, NowSaysThatThereIsMore) {
    auto answers = guideAnswers(makeList({news}));
    const std::string last = "These are the first 20; ostrel-tv now --all shows every service.\n";
    for (const std::size_t count : {19U, 20U}) {
        const std::vector<std::string> lineup(count, makeService(4, "Four", usual));
        answers["ITVService::serviceListRead"] = {result(makeList(lineup))};
        FakeService fake(answers);
        EXPECT_EQ(run({"now"}, fake.getAddress()).output.ends_with(last), count == 20) << count;
        EXPECT_FALSE(run({"now", "--all"}, fake.getAddress()).output.ends_with(last));
    }
}

TEST(ToolTest, NowWithoutAnythingOnSaysSo) {
    FakeService fake(guideAnswers("[]"));
    EXPECT_EQ(run({"now"}, fake.getAddress()).output,
              "The guide has nothing for 2011-10-16 08:30, the service's time.\n");
    EXPECT_EQ(run({"now", "--json"}, fake.getAddress()).output, "[]\n");
}

TEST(ToolTest, ServicesThatAreGoneAreNoSilenceOfTheGuide) {
    auto answers = guideAnswers("[]");
    answers["ITVService::serviceListRead"] = {result("[]")};
    answers["ITVService::serviceListGet"] = {result("[]")};
    answers["ITVService::serviceListSeekByChannelNumber"] = {error(invalidParameter)};
    FakeService fake(answers);
    const std::string rest = "he service list is empty; ostrel-tv scan blind finds services";
    EXPECT_EQ(run({"now"}, fake.getAddress()).output, "T" + rest + ".\n");
    for (const std::vector<std::string>& line : {std::vector<std::string>{"now", "4"},
                                                 {"guide", "--channel", "4"},
                                                 {"services", "--channel", "4"},
                                                 {"clock", "step", "next", "--channel", "4"}})
        EXPECT_EQ(run(line, fake.getAddress()).errors, "ostrel-tv: t" + rest + "\n") << line[0];
}

TEST(ToolTest, GuideAsATableAndAsJson) {
    const auto other = makeEvent(9, 1318752000, 1318759200, "Else");
    FakeService fake(guideAnswers(makeList({film, other})));
    EXPECT_EQ(run({"guide"}, fake.getAddress()).output,
              "No.  Name       Time                    Title  Genre\n"
              "  1  Hidden     Sun 16 Oct 09:00-11:00  Film   comedy\n"
              "     service 9  Sun 16 Oct 09:00-11:00  Else   comedy\n");
    EXPECT_EQ(run({"guide", "--json"}, fake.getAddress()).output, makeList({film, other}) + "\n");
}

TEST(ToolTest, GuideOptionsBecomeAQuery) {
    FakeService fake(guideAnswers("[]"));
    const std::vector<std::vector<std::string>> lines = {
        {},
        {"--channel", "4", "--service", "8", "--from", "now", "--to", "+2h"},
        {"--from", "-30m", "--strict", "--genre", "Comedy", "--genre", "0x10"},
        {"--text", "a", "--text", "b", "--all-texts", "--in-description", "--sort", "service,start"},
        {"--sort", "start", "--offset", "2", "--count", "3"},
        {"--to", "1970-01-01T00:00:09Z", "--offset", "4294967295", "--count", "2"}};
    for (auto line : lines) {
        line.insert(line.begin(), {"guide", "--json"});
        EXPECT_EQ(run(line, fake.getAddress()).output, "[]\n");
    }
    EXPECT_EQ(run({"guide", "--count", "1"}, fake.getAddress()).output, "The guide has no such event.\n");
    // clang-format off
    EXPECT_EQ(payloadsOf(fake, "ITVGuide::queryEventInfo"),
              (std::vector<std::string>{
                  R"({"query":{}})",
                  R"({"query":{"serviceIdList":[7,8],"timeRange":{"base":1318750200,"limit":1318757400}}})",
                  R"({"query":{"timeRange":{"strict":true,"base":1318748400},"genreList":[20,16]}})",
                  R"({"query":{"stringList":["a","b"],"stringAnd":true,"stringMatchDescription":true,)"
                  R"("orderByServiceIdPriority":0,"orderByStartTimePriority":1}})",
                  R"({"query":{"orderByStartTimePriority":0,"sliceRange":{"base":2,"limit":5}}})",
                  R"({"query":{"timeRange":{"limit":9},)"
                  R"("sliceRange":{"base":4294967295}}})",
                  R"({"query":{"sliceRange":{"limit":1}}})"}));
    // clang-format on
}

TEST(ToolTest, SortedEventsAreLeftOutHere) {
    const auto events = {makeEvent(1, 1, 2, "a"), makeEvent(2, 1, 2, "b")};
    FakeService fake(guideAnswers(makeList(events)));
    const auto guideFrom = [&](const char* offset) {
        return run({"guide", "--sort", "service", "--offset", offset, "--count", "3", "--json"},
                   fake.getAddress())
            .output;
    };
    EXPECT_EQ(guideFrom("1"), makeList({makeEvent(2, 1, 2, "b")}) + "\n");
    EXPECT_EQ(guideFrom("2"), "[]\n") << "the service would give both";
    const auto payloads = payloadsOf(fake, "ITVGuide::queryEventInfo");
    EXPECT_EQ(payloads.at(1), R"({"query":{"orderByServiceIdPriority":0,"sliceRange":{"limit":5}}})");
}

TEST(ToolTest, ManyServicesAreAskedForWithoutAFilter) {
    const auto events = {makeEvent(1, 1, 2, "a"), makeEvent(99, 1, 2, "b"), makeEvent(2, 1, 2, "c"),
                         makeEvent(3, 1, 2, "d")};
    FakeService fake(guideAnswers(makeList(events)));
    std::vector<std::string> line{"guide", "--json", "--offset", "1", "--count", "1"};
    for (int i = 1; i <= 13; ++i)
        line.insert(line.end(), {"--service", std::to_string(i)});
    EXPECT_EQ(run(line, fake.getAddress()).output, makeList(events) + "\n") << "13 still fit";
    line.insert(line.end(), {"--service", "14"});
    EXPECT_EQ(run(line, fake.getAddress()).output, makeList({makeEvent(2, 1, 2, "c")}) + "\n");
    const auto payloads = payloadsOf(fake, "ITVGuide::queryEventInfo");
    EXPECT_EQ(payloads.at(0), R"({"query":{"serviceIdList":[1,2,3,4,5,6,7,8,9,10,11,12,13],)"
                              R"("sliceRange":{"base":1,"limit":2}}})");
    EXPECT_EQ(payloads.at(1), R"({"query":{}})");
}

TEST(ToolTest, UnknownGenreIsRefused) {
    FakeService fake(guideAnswers("[]"));
    for (const std::string genre : {"opera", "", "256", "0x1G", "-1"}) {
        const auto refused = run({"guide", "--genre", genre}, fake.getAddress());
        EXPECT_EQ(refused.status, 2);
        EXPECT_EQ(refused.errors,
                  "ostrel-tv: no genre is called \"" + genre + "\"; ostrel-tv genres lists them\n");
    }
}

TEST(ToolTest, TimesThatEndBeforeTheyBeginAreRefused) {
    FakeService fake(guideAnswers("[]"));
    const auto refused = run({"guide", "--from", "+2h", "--to", "now"}, fake.getAddress());
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.errors, "ostrel-tv: --from +2h is later than --to now\n");
    EXPECT_EQ(run({"guide", "--from", "+2h", "--to", "+2h"}, fake.getAddress()).status, 0);
    EXPECT_EQ(run({"guide", "--from", "--to", "+2h"}).errors,
              "ostrel-tv: --from: \"--to\" is no time; try 2011-10-12T20:00, now, +2h, -30m or @1318420800\n"
              "Try: ostrel-tv guide --help\n");
}

TEST(ToolTest, QueryPrintsOneDocumentALine) {
    FakeService fake({{"ITVGuide::query", {result(R"(["{ \"a\": 1 }","<b/>"])")}}});
    EXPECT_EQ(run({"query", ""}, fake.getAddress()).output, "{ \"a\": 1 }\n<b/>\n");
    run({"query", "End > 1", "--format", "xml"}, fake.getAddress());
    EXPECT_EQ(payloadsOf(fake, "ITVGuide::query"),
              (std::vector<std::string>{
                  R"({"expression":"","expressionFormat":"quoril","outputFormat":"quoriljson"})",
                  R"({"expression":"End > 1","expressionFormat":"quoril","outputFormat":"quorilxml"})"}));
}

TEST(ToolTest, QueryForAnUnknownFieldSaysWhyNothingIsFound) {
    FakeService fake({{"ITVGuide::query", {result("[]")}}});
    const auto shown = run({"query", "Title == 5"}, fake.getAddress());
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(shown.output, "");
    EXPECT_EQ(shown.errors,
              "ostrel-tv: nothing matches: there is no field Title, only ServiceId, Start and End\n");
    EXPECT_EQ(run({"query", "End == 5"}, fake.getAddress()).errors, "");
}

TEST(ToolTest, RefusedQueryIsShownWithACaret) {
    FakeService fake({{"ITVGuide::query",
                       {error(R"({"code":-32000,"message":"Not supported",)"
                              R"("data":{"returnCode":4,"name":"NotSupported"}})")}}});
    const auto refused = run({"query", "End = 1"}, fake.getAddress());
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(refused.errors, "ostrel-tv: the query is refused: \"=\" alone is no operator; == compares\n"
                              "  End = 1\n"
                              "      ^\n");
    EXPECT_EQ(run({"query", "End > 1"}, fake.getAddress()).errors,
              "ostrel-tv: Not supported (NotSupported)\n");
}

TEST(ToolTest, SignalOfASimulatedTunerIsExplained) {
    FakeService fake({{"ITVService::signalStatusGet", {result(R"({"strength":0,"quality":0})")}}});
    EXPECT_EQ(run({"signal"}, fake.getAddress()).output,
              "strength  0\nquality   0\nA simulated tuner reports 0 for both until ostrel-tv signal set "
              "tells it others.\n");
    EXPECT_EQ(run({"signal", "--json"}, fake.getAddress()).output, "{\"strength\":0,\"quality\":0}\n");
}

TEST(ToolTest, SignalTimeAndGenres) {
    FakeService fake({{"ITVService::signalStatusGet", {result(R"({"strength":5,"quality":6})")}},
                      {"ITVService::utcTimeGet", {result("1318248000")}},
                      {"ITVGuide::getGenreStringMapList", {result(R"([{"code":1,"text":"Film"}])")}}});
    EXPECT_EQ(run({"signal"}, fake.getAddress()).output, "strength  5\nquality   6\n");
    EXPECT_EQ(run({"signal", "--json"}, fake.getAddress()).output, "{\"strength\":5,\"quality\":6}\n");
    const auto time = run({"time"}, fake.getAddress()).output;
    EXPECT_TRUE(time.starts_with("UTC      2011-10-10T12:00:00Z\nlocal    2011-10-10 1")) << time;
    EXPECT_TRUE(time.ends_with("\nseconds  1318248000\n")) << time;
    EXPECT_EQ(run({"time", "--json"}, fake.getAddress()).output, "{\"time\":1318248000}\n");
    EXPECT_EQ(run({"genres"}, fake.getAddress()).output, "Code  Genre\n0x01  Film\n");
    EXPECT_EQ(run({"genres", "--json"}, fake.getAddress()).output, "[{\"code\":1,\"text\":\"Film\"}]\n");
}

std::string event(const std::string& method, const std::string& more = {}) {
    return R"({"jsonrpc":"2.0","method":"ITVConfig::)" + method + R"(","params":{"sourceId":3)" + more + "}}";
}

std::string progress(unsigned percent) {
    return event("onScanProgress", R"(,"percent":)" + std::to_string(percent));
}

std::string toolEvent(const std::string& frame) {
    return "{" + frame.substr(std::string(R"({"jsonrpc":"2.0",)").size()) + "\n";
}

/// What a service answers to the calls that go with a scan.
std::map<std::string, FakeService::Frames> scanAnswers(FakeService::Frames start) {
    return {{"ITVConfig::scanBlindStart", std::move(start)},
            {"ITVService::serviceListSet", {result("true")}},
            {"ITVService::serviceListRead", {result(makeList({makeService(1, "BBC ONE", usual)}))}}};
}

TEST(ToolTest, ScanShowsALineForEachEvent) {
    FakeService fake(scanAnswers({event("onScanStart"), progress(0), result("true"), progress(50),
                                  progress(100), event("onScanComplete")}),
                     // Left of a scan that somebody else had started.
                     {event("onScanStart"), progress(90), event("onScanComplete")});
    const auto shown = run({"scan", "blind", "--source", "3"}, fake.getAddress());
    EXPECT_EQ(shown.errors, "");
    EXPECT_EQ(shown.output, "  0 %  1 new service: 1 tv  BBC ONE\n"
                            " 50 %  2 new services: 2 tv  BBC ONE\n"
                            "100 %  3 new services: 3 tv  BBC ONE\n"
                            "Scan complete, 4 new services: 4 tv\n");
    EXPECT_EQ(shown.status, 0);
    EXPECT_NE(fake.getRequests().at(1).find(R"("payload":{"sourceId":3,"useNIT":0})"), std::string::npos);
}

TEST(ToolTest, ScanPrintsOneObjectForEachEvent) {
    const FakeService::Frames events = {event("onScanStart"), progress(0), progress(100),
                                        event("onScanComplete")};
    FakeService fake(
        {{"ITVConfig::scanStart", {events[0], events[1], result("true"), events[2], events[3]}}});
    const auto shown = run({"scan", "start", "--json"}, fake.getAddress());
    EXPECT_EQ(shown.status, 0);
    std::string expected;
    for (const auto& each : events)
        expected += toolEvent(each);
    EXPECT_EQ(shown.output, expected);
    EXPECT_EQ(fake.getRequests().size(), 2U) << "a script reads the services itself";
}

TEST(ToolTest, InterruptStopsTheScanAndShowsTheResult) {
    auto answers = scanAnswers({event("onScanStart"), progress(0), result("true")});
    answers["ITVConfig::scanStop"] = {progress(42), event("onScanComplete"), result("true")};
    FakeService fake(answers);
    Child child(OSTREL_TV_PROGRAM, {"scan", "blind", "--url", fake.getAddress()});
    EXPECT_EQ(child.readLine(), "  0 %  1 new service: 1 tv  BBC ONE\n");
    child.interrupt();
    EXPECT_EQ(child.readLine(), " 42 %  1 new service: 1 tv  BBC ONE\n");
    EXPECT_EQ(child.readOutput(), "Scan stopped at 42 %, 2 new services: 2 tv\n");
    EXPECT_EQ(child.wait(), 130);
    EXPECT_EQ(child.readErrors(), "");
}

/// A scan that is stopped: whether its stop was asked for tells.
bool isStopAskedFor(const FakeService& fake) {
    const auto requests = fake.getRequests();
    return std::any_of(requests.begin(), requests.end(), [](const std::string& text) {
        return text.find("\"ITVConfig::scanStop\"") != std::string::npos;
    });
}

TEST(ToolTest, TerminationStopsTheScanToo) {
    auto answers = scanAnswers({event("onScanStart"), progress(0), result("true")});
    answers["ITVConfig::scanStop"] = {event("onScanComplete"), result("true")};
    FakeService fake(answers);
    Child child(OSTREL_TV_PROGRAM, {"scan", "blind", "--url", fake.getAddress()});
    child.readLine();
    child.terminate();
    EXPECT_EQ(child.readOutput(), "Scan stopped at 0 %, 1 new service: 1 tv\n");
    EXPECT_EQ(child.wait(), 128 + SIGTERM);
    EXPECT_TRUE(isStopAskedFor(fake));
}

TEST(ToolTest, ReaderThatGoesAwayStopsTheScan) {
    for (const bool json : {false, true}) {
        auto answers = scanAnswers({event("onScanStart"), progress(0), result("true"), progress(1)});
        answers["ITVConfig::scanStop"] = {event("onScanComplete"), result("true")};
        FakeService fake(answers);
        std::vector<std::string> line{"scan", "blind", "--url", fake.getAddress()};
        if (json)
            line.emplace_back("--json");
        Child child(OSTREL_TV_PROGRAM, line);
        child.closeOutput();
        EXPECT_EQ(child.wait(), 0);
        EXPECT_EQ(child.readErrors(), "");
        EXPECT_TRUE(isStopAskedFor(fake));
    }
}

TEST(ToolTest, ScanWithNowhereToWriteIsStopped) {
    auto answers = scanAnswers({event("onScanStart"), progress(0), result("true")});
    answers["ITVConfig::scanStop"] = {event("onScanComplete"), result("true")};
    FakeService fake(answers);
    Child child("/bin/sh", {"-c", "exec \"$0\" scan blind >/dev/full", OSTREL_TV_PROGRAM}, {},
                {"OSTREL_TV_URL=" + fake.getAddress()});
    EXPECT_EQ(child.wait(), 1);
    EXPECT_TRUE(isStopAskedFor(fake));
}

TEST(ToolTest, ScanThatFindsNothingNewSaysWhy) {
    auto answers =
        scanAnswers({event("onScanStart"), result("true"), progress(100), event("onScanComplete")});
    answers["ITVService::serviceListRead"] = {result("[]")};
    answers["ITVService::serviceListGet"] = {result(makeList({makeService(1, "BBC ONE", usual)}))};
    {
        FakeService fake(answers);
        EXPECT_EQ(
            run({"scan", "blind"}, fake.getAddress()).output,
            "100 %  0 new services\nScan complete, 0 new services\n"
            "What is in the service list already does not count. To find it again empty the list first:\n"
            "  ostrel-tv transponders clear --yes\n");
    }
    answers["ITVService::serviceListGet"] = {result("[]")};
    FakeService fake(answers);
    EXPECT_EQ(run({"scan", "blind"}, fake.getAddress()).output,
              "100 %  0 new services\nScan complete, 0 new services\n"
              "No frequency that it visited carries a service; ostrel-tv scan blind visits all.\n");
}

TEST(ToolTest, ScanThatSomebodyElseStopsIsNoFailure) {
    FakeService fake(scanAnswers(
        {event("onScanStart"), progress(0), result("true"), progress(7), event("onScanComplete")}));
    const auto shown = run({"scan", "blind"}, fake.getAddress());
    EXPECT_EQ(shown.status, 0);
    EXPECT_NE(shown.output.find("Scan stopped at 7 %"), std::string::npos) << shown.output;
}

TEST(ToolTest, ScanThatEndsInSilenceIsNoticed) {
    auto answers = scanAnswers({event("onScanStart"), progress(0), result("true")});
    answers["ITVConfig::scanInfoGet"] = {
        result(R"({"scanning":false,"progress":0,"reserved1":0,"reserved2":0,"reserved3":0,"reserved4":0,)"
               R"("reserved5":0,"servicesFound":0,"tvServices":0,"radioServices":0,"type3Services":0,)"
               R"("reserved6":0,"reserved7":0})")};
    FakeService fake(answers);
    const auto shown = run({"scan", "blind"}, fake.getAddress());
    EXPECT_EQ(shown.status, 1);
    EXPECT_NE(shown.output.find("Scan ended at 0 %"), std::string::npos) << shown.output;
    EXPECT_EQ(shown.errors, "ostrel-tv: somebody deleted a context, which ended the scan; start it again\n");
}

TEST(ToolTest, StartOfAnotherScanEndsOurs) {
    auto answers = scanAnswers({event("onScanStart"), progress(0), result("true")});
    answers["ITVService::serviceListRead"] = {result("[]"), progress(7), event("onScanStart"), progress(0)};
    FakeService fake(answers);
    const auto shown = run({"scan", "blind"}, fake.getAddress());
    EXPECT_EQ(shown.status, 1);
    EXPECT_EQ(shown.output,
              "  0 %  0 new services\n  7 %  0 new services\nScan ended at 7 %, 0 new services\n");
}

TEST(ToolTest, ScanThatIsRefusedIsExplained) {
    FakeService fake({
        {"ITVConfig::scanStart",
         {error(
             R"({"code":-32000,"message":"Not supported","data":{"returnCode":4,"name":"NotSupported"}})")}},
        {"ITVConfig::scanInfoGet",
         {error(
             R"({"code":-32000,"message":"Invalid state","data":{"returnCode":2,"name":"InvalidState"}})")}},
    });
    const auto start = run({"scan", "start"}, fake.getAddress());
    EXPECT_EQ(start.status, 1);
    EXPECT_EQ(start.errors, "ostrel-tv: a scan is running already; ostrel-tv scan stop ends it\n");
    const auto info = run({"scan", "info"}, fake.getAddress());
    EXPECT_EQ(info.status, 1);
    EXPECT_EQ(info.errors, "ostrel-tv: no scan has run yet; ostrel-tv scan blind starts one\n");
}

TEST(ToolTest, ScanStopAndInfo) {
    const std::string info =
        R"({"scanning":true,"progress":66,"reserved1":0,"reserved2":0,"reserved3":0,"reserved4":0,)"
        R"("reserved5":0,"servicesFound":89,"tvServices":35,"radioServices":13,"type3Services":0,)"
        R"("reserved6":0,"reserved7":0})";
    FakeService fake(
        {{"ITVConfig::scanStop", {result("false")}}, {"ITVConfig::scanInfoGet", {result(info)}}});
    EXPECT_EQ(run({"scan", "stop"}, fake.getAddress()).output, "No scan is running.\n");
    EXPECT_EQ(run({"scan", "stop", "--json"}, fake.getAddress()).output, "{\"stopped\":false}\n");
    EXPECT_EQ(run({"scan", "info"}, fake.getAddress()).output,
              "scanning  yes\nprogress  66 %\nfound     48\ntv        35\nradio     13\ndata      0\n");
    EXPECT_EQ(run({"scan", "info", "--json"}, fake.getAddress()).output, info + "\n");
}

TEST(ToolTest, TranspondersAreAddedAndCleared) {
    FakeService fake({{"ITVConfig::transponderListAdd", {result("true")}},
                      {"ITVConfig::transponderListDeleteAll", {result("true")}}});
    EXPECT_EQ(run({"transponders", "add", "690"}, fake.getAddress()).output, "Added 690 MHz.\n");
    EXPECT_EQ(run({"transponders", "add", "--khz", "690999"}, fake.getAddress()).output, "Added 690 MHz.\n");
    EXPECT_EQ(run({"transponders", "clear", "--yes"}, fake.getAddress()).output,
              "All transponders and services are removed.\n");
    std::vector<std::string> payloads;
    for (const auto& text : fake.getRequests()) {
        if (const auto at = text.find("\"payload\":"); at != std::string::npos)
            payloads.push_back(text.substr(at + 10));
    }
    EXPECT_EQ(payloads,
              (std::vector<std::string>{R"({"sourceId":0,"tuningParams":{"frequencyKHz":690000}}}})",
                                        R"({"sourceId":0,"tuningParams":{"frequencyKHz":690999}}}})",
                                        R"({"sourceId":0}}})"}));
}

TEST(ToolTest, ClearingAsksForYesWhereThereIsNoTerminal) {
    FakeService fake({});
    const auto refused = run({"transponders", "clear"}, fake.getAddress(), "y\n");
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.errors,
              "ostrel-tv: this removes all transponders and all services; say so with --yes\n");
    EXPECT_TRUE(fake.getRequests().empty());
}

TEST(ToolTest, CallSendsThePayloadAsItStands) {
    FakeService fake({{"ITVService::serviceListGet", {result(R"([{"a":1.5}])")}},
                      {"ITVService::deleteContext", {result("null")}}});
    const auto shown = run({"call", "serviceListGet", R"({"limit": 1e0})"}, fake.getAddress());
    EXPECT_EQ(shown.output, "[\n  {\n    \"a\": 1.5\n  }\n]\n");
    EXPECT_EQ(run({"call", "ITVService::serviceListGet", "-", "--json"}, fake.getAddress(), "[7]").output,
              "[{\"a\":1.5}]\n");
    EXPECT_EQ(run({"call", "createContext"}, fake.getAddress()).output, "4711\n");
    EXPECT_EQ(run({"call", "deleteContext", R"({"context":9})"}, fake.getAddress()).output, "null\n");
    EXPECT_EQ(run({"call", "deleteContext"}, fake.getAddress()).output, "null\n");

    std::vector<std::string> params;
    for (const auto& text : fake.getRequests()) {
        if (const auto at = text.find("\"params\":"); at != std::string::npos)
            params.push_back(text.substr(at + 9));
    }
    EXPECT_EQ(params, (std::vector<std::string>{R"({"context":4711,"payload":{"limit": 1e0}}})",
                                                R"({"context":4711,"payload":[7]}})", //
                                                R"({"context":9}})", R"({"context":4711}})"}));
}

/// Returns the parameters of each request that has some.
std::vector<std::string> paramsOf(const FakeService& fake) {
    std::vector<std::string> params;
    for (const auto& text : fake.getRequests()) {
        if (const auto at = text.find("\"params\":"); at != std::string::npos)
            params.push_back(text.substr(at + 9));
    }
    return params;
}

TEST(ToolTest, CallWithoutAPayloadSendsAnEmptyOne) {
    FakeService fake({{"ITVService::utcTimeGet", {result("5")}}});
    EXPECT_EQ(run({"call", "utcTimeGet"}, fake.getAddress()).output, "5\n");
    EXPECT_EQ(paramsOf(fake), (std::vector<std::string>{R"({"context":4711,"payload":{}}})"}));
}

TEST(ToolTest, CallSelectsAListFirst) {
    FakeService fake(
        {{"ITVService::serviceListSet", {result("true")}}, {"ITVService::serviceListGet", {result("[]")}}});
    EXPECT_EQ(run({"call", "serviceListGet", R"({"limit":1})", "--list", "new"}, fake.getAddress()).output,
              "[]\n");
    EXPECT_EQ(paramsOf(fake), (std::vector<std::string>{R"({"context":4711,"payload":{"base":"new"}}})",
                                                        R"({"context":4711,"payload":{"limit":1}}})"}));
}

TEST(ToolTest, CallThatMissesAListSaysSo) {
    FakeService fake({{"ITVService::serviceListGet",
                       {error(R"({"code":-32000,"message":"Invalid state",)"
                              R"("data":{"returnCode":2,"name":"InvalidState"}})")}}});
    EXPECT_EQ(run({"call", "serviceListGet", R"({"limit":1})"}, fake.getAddress()).errors,
              "ostrel-tv: Invalid state: no list is selected; do it with --list all (InvalidState)\n");
}

TEST(ToolTest, CallWithAContextThatIsGoneSaysSo) {
    FakeService fake({{"ITVService::utcTimeGet",
                       {error(R"({"code":-32000,"message":"Invalid parameter",)"
                              R"("data":{"returnCode":1,"name":"InvalidParameter","member":"context"}})")}}});
    EXPECT_EQ(run({"call", "utcTimeGet", "--context", "9"}, fake.getAddress()).errors,
              "ostrel-tv: Invalid parameter: there is no such context; without --context a new one is made "
              "(InvalidParameter)\n");
}

TEST(ToolTest, CallWithAContextMakesNone) {
    FakeService fake(
        {{"ITVService::serviceListGet", {result("[]")}}, {"ITVService::deleteContext", {result("null")}}});
    EXPECT_EQ(run({"call", "serviceListGet", R"({"limit":1})", "--context", "9"}, fake.getAddress()).status,
              0);
    EXPECT_EQ(run({"call", "deleteContext", "--context", "9"}, fake.getAddress()).status, 0);
    EXPECT_EQ(paramsOf(fake),
              (std::vector<std::string>{R"({"context":9,"payload":{"limit":1}}})", R"({"context":9}})"}));
    for (const auto& request : fake.getRequests())
        EXPECT_EQ(request.find("createContext"), std::string::npos);
}

TEST(ToolTest, RefusalsEndWithStatusOne) {
    FakeService fake({{"ITVService::serviceListSeek", {error(invalidParameter)}},
                      {"ITVService::serviceListGet",
                       {error(R"({"code":-32602,"message":"missing member \"limit\"",)"
                              R"("data":{"name":"DecodeError","member":"limit"}})")}}});
    const auto refused = run({"call", "serviceListSeek", "{}"}, fake.getAddress());
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(refused.errors, "ostrel-tv: Invalid parameter (InvalidParameter)\n");
    const auto undecodable = run({"call", "serviceListGet", "{}"}, fake.getAddress());
    EXPECT_EQ(undecodable.status, 1);
    EXPECT_EQ(undecodable.errors, "ostrel-tv: missing member \"limit\"\n");
}

TEST(ToolTest, RefusalWithoutAReasonIsALine) {
    FakeService fake({{"ITVService::utcTimeGet", {error("{}")}}});
    const auto refused = run({"time"}, fake.getAddress());
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.errors, "ostrel-tv: the service refused and gave no reason\n");
}

TEST(ToolTest, WatchPrintsUntilInterrupted) {
    const std::string progress =
        R"({"jsonrpc":"2.0","method":"ITVConfig::onScanProgress","params":{"sourceId":1,"percent":42}})";
    FakeService fake({}, {progress, progress});
    Child child(OSTREL_TV_PROGRAM, {"watch", "--json", "--url", fake.getAddress()});
    const auto* line =
        "{\"method\":\"ITVConfig::onScanProgress\",\"params\":{\"sourceId\":1,\"percent\":42}}\n";
    EXPECT_EQ(child.readLine(), line);
    EXPECT_EQ(child.readLine(), line);
    child.interrupt();
    EXPECT_EQ(child.readOutput(), "");
    EXPECT_EQ(child.wait(), 130);
    EXPECT_EQ(child.readErrors(), "");
}

TEST(ToolTest, WatchEndsWithTheConnection) {
    FakeService fake({}, {R"({"jsonrpc":"2.0","method":"a","params":{"b":1,"c":"x"}})", "CLOSE"});
    const auto watched = run({"watch"}, fake.getAddress());
    EXPECT_EQ(watched.status, 3);
    EXPECT_EQ(watched.output.substr(std::string("2026-11-21 04:13:41").size()), "  a  b 1, c \"x\"\n");
    EXPECT_EQ(watched.errors,
              "ostrel-tv: lost the connection to " + fake.getAddress() +
                  ": the service closed it with 1001 (going away); is ostrel-tvd still running?\n");
}

TEST(ToolTest, NobodyReadingIsNoError) {
    FakeService fake({{"ITVGuide::getGenreStringMapList", {result(R"([{"code":1,"text":"Film"}])")}}});
    Child child(OSTREL_TV_PROGRAM, {"genres", "--url", fake.getAddress()});
    child.closeOutput();
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(child.readErrors(), "");
}

TEST(ToolTest, NoConnectionNamesTheWayOut) {
    const auto failed = run({"time"}, "unix:/nonexistent/socket");
    EXPECT_EQ(failed.status, 3);
    EXPECT_EQ(failed.errors,
              "ostrel-tv: cannot connect to unix:/nonexistent/socket: No such file or directory; "
              "is ostrel-tvd running? choose another with --url\n");
    FakeService fake({});
    fake.refuseWith(401, "a token is needed\n");
    const auto refused = run({"time"}, fake.getAddress());
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.errors, "ostrel-tv: cannot connect to " + fake.getAddress() +
                                  ": 401 Unauthorized: a token is needed; "
                                  "--token-file must name a file with the token of this service\n");
}

TEST(ToolTest, NoReplyEndsWithStatusThree) {
    FakeService fake({});
    const auto failed = run({"time", "--timeout", "1"}, fake.getAddress());
    EXPECT_EQ(failed.status, 3);
    EXPECT_EQ(failed.errors, "ostrel-tv: no reply to ITVService::utcTimeGet within 1 s; "
                             "wait longer with --timeout\n");
}

struct UsageRow {
    const char* name;
    std::vector<std::string> arguments;
};

class WrongUsage : public testing::TestWithParam<UsageRow> {};

TEST_P(WrongUsage, EndsWithStatusTwoAndAReason) {
    const auto failed = run(GetParam().arguments);
    EXPECT_EQ(failed.status, 2);
    EXPECT_EQ(failed.output, "");
    EXPECT_TRUE(failed.errors.starts_with("ostrel-tv: ")) << failed.errors;
}

const UsageRow wrongUsages[] = {
    {"NoCommand", {}},
    {"UnknownCommand", {"channels"}},
    {"UnknownOption", {"services", "--colour"}},
    {"UnknownList", {"services", "--list", "old"}},
    {"NegativeLimit", {"services", "--limit", "-1"}},
    {"LimitTooLarge", {"services", "--limit", "4294967296"}},
    {"NegativeFrom", {"services", "--from", "-1"}},
    {"NoCount", {"guide", "--count", ""}},
    {"NoChannel", {"now", ""}},
    {"HexadecimalChannel", {"now", "0x4"}},
    {"BlankBeforeTheNumber", {"now", " 4"}},
    {"TextIsNotUtf8", {"guide", "--text", "\xff"}},
    {"TextIsASurrogate", {"guide", "--text", "\xed\xa0\x80"}},
    {"QueryIsNotUtf8", {"query", "End > \xff"}},
    {"UriIsNotUtf8", {"services", "--uri", "\xff"}},
    {"MethodIsNotUtf8", {"call", "A::\xff"}},
    {"TwoWaysToFind", {"services", "--channel", "1", "--uri", "x"}},
    {"ZeroTimeout", {"time", "--timeout", "0"}},
    {"BadUrl", {"time", "--url", "wss://box"}},
    {"NoTokenFile", {"time", "--token-file", "/nonexistent/token"}},
    {"ScanOfWhat", {"scan"}},
    {"NoFrequency", {"transponders", "add"}},
    {"TwoFrequencies", {"transponders", "add", "690", "--khz", "690000"}},
    {"FrequencyTooHigh", {"transponders", "add", "4294968"}},
    {"NowChannelAndAll", {"now", "4", "--all"}},
    {"NoTime", {"guide", "--from", "tomorrow"}},
    {"StrictWithoutTimes", {"guide", "--strict"}},
    {"NoTexts", {"guide", "--all-texts"}},
    {"NoTextForTheDescription", {"guide", "--in-description"}},
    {"SortTwice", {"guide", "--sort", "start,start"}},
    {"SortByTitle", {"guide", "--sort", "title"}},
    {"NoExpression", {"query"}},
    {"UnknownFormat", {"query", "", "--format", "csv"}},
    {"XmlAsJson", {"query", "", "--format", "xml", "--json"}},
    {"NoMethod", {"call"}},
    {"UnknownMethod", {"call", "frobnicate"}},
    {"PayloadIsNoJson", {"call", "serviceListGet", "limit=5"}},
    {"NoContextToDelete", {"call", "deleteContext", "{}"}},
    {"ContextNamedTwice", {"call", "deleteContext", R"({"context":1})", "--context", "1"}},
    {"ContextForANewContext", {"call", "createContext", "--context", "1"}},
    {"ListForANewContext", {"call", "createContext", "--list", "all"}},
    {"NoServices", {"services", "--limit", "0"}},
    {"NoEvents", {"guide", "--count", "0"}},
    {"SpeedOfMoreThanAll", {"clock", "speed", "3601"}},
    {"NoSpeed", {"clock", "speed", "fast"}},
    {"NoTimeToSet", {"clock", "set", "tomorrow"}},
    {"StepOfNothing", {"clock", "step"}},
    {"StepBack", {"clock", "step", "--", "-10s"}},
    {"StepOfNoUnit", {"clock", "step", "10w"}},
    {"BeforeAStep", {"clock", "step", "10s", "--before", "5s"}},
    {"SignalAlone", {"signal", "set", "--strength", "5"}},
    {"SignalOfMoreThanAll", {"signal", "set", "--strength", "101", "--quality", "5"}},
    {"UnknownSignalCommand", {"signal", "frobnicate"}},
    {"MoreTrafficThanIsKept", {"traffic", "--last", "10001"}},
    {"UnknownDirection", {"traffic", "--direction", "up"}},
    {"ErrorsAmongRequests", {"traffic", "--errors", "--direction", "request"}},
    {"NoEffect", {"weather", "add", "--method", "*"}},
    {"UnknownEffect", {"weather", "add", "--drop", "call"}},
    {"DelayOfHalfARange", {"weather", "add", "--delay", "200-"}},
    {"DelayOfMoreThanTenMinutes", {"weather", "add", "--delay", "600001"}},
    {"MoreThanAlways", {"weather", "add", "--delay", "1", "--probability", "1.1"}},
    {"WeatherOfWhat", {"weather", "set"}},
    {"NoWeatherFile", {"weather", "set", "/nonexistent"}},
    {"WeatherIsNoJson", {"weather", "set", "-"}},
    {"ListForTheSimulator", {"call", "worldGet", "--list", "all"}},
    {"ContextForTheSimulator", {"call", "worldGet", "--context", "1"}},
    {"HelpForNoCommand", {"help", "frobnicate"}},
};

INSTANTIATE_TEST_SUITE_P(Usage, WrongUsage, testing::ValuesIn(wrongUsages),
                         [](const auto& row) { return row.param.name; });

TEST(ToolTest, WhatTheParserCannotPlaceIsNamed) {
    const auto complaint = [](const std::vector<std::string>& arguments) { return run(arguments).errors; };
    EXPECT_EQ(complaint({"channels"}),
              "ostrel-tv: there is no command \"channels\"\nTry: ostrel-tv --help\n");
    EXPECT_EQ(
        complaint({"scan", "bli"}),
        "ostrel-tv: there is no command \"bli\"; did you mean \"blind\"?\nTry: ostrel-tv scan --help\n");
    EXPECT_EQ(complaint({"scan"}), "ostrel-tv: a command is missing\nTry: ostrel-tv scan --help\n");
    EXPECT_EQ(complaint({"query", "--bogus"}),
              "ostrel-tv: there is no option \"--bogus\"\nTry: ostrel-tv query --help\n");
    EXPECT_EQ(
        complaint({"guide", "--off", "1"}),
        "ostrel-tv: there is no option \"--off\"; did you mean \"--offset\"?\nTry: ostrel-tv guide --help\n");
    EXPECT_EQ(complaint({"--count=1", "guide"}),
              "ostrel-tv: \"--count=1\" goes behind the command\nTry: ostrel-tv guide --help\n");
    EXPECT_EQ(complaint({"scan", "info", "now"}),
              "ostrel-tv: \"now\" is one argument too many\nTry: ostrel-tv scan info --help\n");
    EXPECT_EQ(complaint({"query", "End", "==", "5"}),
              "ostrel-tv: \"==\" is one argument too many; put the expression in quotation marks\n"
              "Try: ostrel-tv query --help\n");
    EXPECT_EQ(complaint({"guide", "--count"}),
              "ostrel-tv: --count wants a value\nTry: ostrel-tv guide --help\n");
    EXPECT_EQ(complaint({"guide", "--count", "1", "--count", "2"}),
              "ostrel-tv: --count has more values than it takes\nTry: ostrel-tv guide --help\n");
}

TEST(ToolTest, WhatDoesNotFitTogetherIsNamed) {
    const auto complaint = [](const std::vector<std::string>& arguments) { return run(arguments).errors; };
    EXPECT_EQ(complaint({"services", "--channel", "1", "--uri", "x"}),
              "ostrel-tv: --channel and --uri do not go together\nTry: ostrel-tv services --help\n");
    EXPECT_EQ(complaint({"clock", "step", "next", "--channel", "1", "--service", "1043"}),
              "ostrel-tv: --channel and --service do not go together\nTry: ostrel-tv clock step --help\n");
    EXPECT_EQ(complaint({"clock", "step", "10s", "--channel", "1"}),
              "ostrel-tv: --before, --channel and --service go with next\n");
    EXPECT_EQ(complaint({"guide", "--all-texts"}),
              "ostrel-tv: --all-texts goes with --text\nTry: ostrel-tv guide --help\n");
    EXPECT_EQ(complaint({"query"}), "ostrel-tv: EXPRESSION is missing\nTry: ostrel-tv query --help\n");
    EXPECT_EQ(complaint({"services", "--list", "old"}),
              "ostrel-tv: --list: \"old\" is none of all, new\nTry: ostrel-tv services --help\n");
    EXPECT_EQ(complaint({"--json=maybe", "time"}),
              "ostrel-tv: --json takes true or false, or no value\nTry: ostrel-tv time --help\n");
    EXPECT_EQ(complaint({"call", "utcTimGet"}),
              "ostrel-tv: there is no method \"utcTimGet\"; did you mean \"utcTimeGet\"?\n");
}

TEST(ToolTest, HelpCommandIsTheHelp) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{}, {"services"}, {"scan"}, {"scan", "blind"}}) {
        auto asked = words;
        asked.insert(asked.begin(), "help");
        auto longer = words;
        longer.emplace_back("--help");
        const auto help = run(asked);
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.output, run(longer).output);
    }
    const auto unknown = run({"help", "scna"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_EQ(unknown.errors,
              "ostrel-tv: there is no command \"scna\"; did you mean \"scan\"?\nTry: ostrel-tv --help\n");
}

TEST(ToolTest, WrongNumberIsNamedWithItsBounds) {
    EXPECT_EQ(run({"services", "--limit", "0"}).errors,
              "ostrel-tv: --limit: \"0\" is no whole number from 1 to 4294967295\n"
              "Try: ostrel-tv services --help\n");
    EXPECT_EQ(run({"guide", "--count", "0"}).status, 2);
    EXPECT_EQ(run({"guide", "--service", "x"}).errors,
              "ostrel-tv: --service: \"x\" is no whole number from 0 to 2147483647\n"
              "Try: ostrel-tv guide --help\n");
    EXPECT_EQ(run({"transponders", "add", "4294968"}).errors,
              "ostrel-tv: MHZ: \"4294968\" is no whole number from 0 to 4294967\n"
              "Try: ostrel-tv transponders add --help\n");
}

TEST(ToolTest, NumberWithZerosInFrontIsDecimal) {
    FakeService fake({{"ITVConfig::transponderListAdd", {result("true")}}});
    EXPECT_EQ(run({"transponders", "add", "0690"}, fake.getAddress()).output, "Added 690 MHz.\n");
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

const std::vector<std::vector<std::string>> everyCommand = {{},
                                                            {"services"},
                                                            {"now"},
                                                            {"guide"},
                                                            {"query"},
                                                            {"genres"},
                                                            {"scan"},
                                                            {"scan", "blind"},
                                                            {"scan", "start"},
                                                            {"scan", "stop"},
                                                            {"signal"},
                                                            {"scan", "info"},
                                                            {"time"},
                                                            {"watch"},
                                                            {"call"},
                                                            {"help"},
                                                            {"transponders"},
                                                            {"transponders", "add"},
                                                            {"transponders", "clear"},
                                                            {"clock"},
                                                            {"clock", "show"},
                                                            {"clock", "hold"},
                                                            {"clock", "run"},
                                                            {"clock", "speed"},
                                                            {"clock", "set"},
                                                            {"clock", "step"},
                                                            {"signal", "set"},
                                                            {"reset"},
                                                            {"traffic"},
                                                            {"weather"},
                                                            {"weather", "show"},
                                                            {"weather", "set"},
                                                            {"weather", "add"},
                                                            {"weather", "clear"}};

TEST(ToolTest, HelpFitsItsColumns) {
    for (const std::size_t columns : {80U, 60U}) {
        for (auto words : everyCommand) {
            words.emplace_back("--help");
            Child child(OSTREL_TV_PROGRAM, words, {}, {"COLUMNS=" + std::to_string(columns)});
            for (const auto& line : linesOf(child.readOutput())) {
                // An example is for the clipboard: it is never broken.
                const bool isExample = line.starts_with("  ") && line[2] != ' ';
                EXPECT_TRUE(line.size() <= columns || (columns < 80 && isExample)) << line;
            }
            EXPECT_EQ(child.wait(), 0);
        }
    }
}

TEST(ToolTest, ManualNamesEveryCommandAndOption) {
    auto page = run({"--man"}).output;
    page.erase(std::remove(page.begin(), page.end(), '\\'), page.end());
    std::size_t count = 0;
    for (auto words : everyCommand) {
        std::string name;
        for (const auto& word : words)
            name += (name.empty() ? "" : " ") + word;
        EXPECT_TRUE(words.empty() || page.find(".SS \"" + name + "\"\n") != std::string::npos) << name;
        words.emplace_back("--help");
        for (const auto& line : linesOf(run(words).output)) {
            if (!line.starts_with("  --"))
                continue;
            const auto option = line.substr(2, line.find_first_of(" ,", 2) - 2);
            EXPECT_NE(page.find("fB" + option + "fR"), std::string::npos) << option;
            ++count;
        }
    }
    EXPECT_GT(count, 35U);
}

TEST(ToolTest, CompletionKnowsMethodsAndOptions) {
    const auto complete = [script =
                               run({"--bash-completion"}).output](const std::vector<std::string>& words) {
        std::vector<std::string> arguments{"--noprofile", "--norc", "-s", "--", "ostrel-tv"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        Child bash(
            "/bin/bash", arguments,
            script + "\nCOMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _ostrel_tv; echo \"${COMPREPLY[*]}\"\n");
        auto output = bash.readOutput();
        EXPECT_EQ(bash.wait(), 0);
        EXPECT_EQ(bash.readErrors(), "");
        return output;
    };
    EXPECT_EQ(complete({"s"}), "services scan signal\n");
    EXPECT_EQ(complete({"weather", "add", "--drop", "re"}), "reply request\n");
    EXPECT_EQ(complete({"scan", "st"}), "start stop\n");
    EXPECT_EQ(complete({"--json", "call", "scan"}),
              "scanBlindStart scanStart scanHomeStart scanStop scanInfoGet\n");
    const auto methods = complete({"call", ""});
    for (const auto* const path : {OSTREL_DESCRIPTION, OSTREL_SIMULATOR_DESCRIPTION}) {
        std::ifstream file(path);
        const auto description = boost::json::parse(std::string(std::istreambuf_iterator<char>(file), {}));
        for (const auto& method : description.at("methods").as_array()) {
            const std::string name(method.at("name").as_string());
            if (method.as_object().contains("result")) {
                EXPECT_NE((" " + methods).find(" " + name.substr(name.find("::") + 2) + " "),
                          std::string::npos)
                    << name;
            }
        }
    }
    EXPECT_EQ(complete({"guide", "--s"}), "--service --strict --sort\n");
    EXPECT_EQ(complete({"services", "--list", "n"}), "new\n");
}

TEST(ToolTest, HelpAndVersionAreOutput) {
    const auto help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.output.find("Examples:"), std::string::npos);
    const auto version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_TRUE(version.output.starts_with("ostrel-tv ")) << version.output;
}

TEST(ToolTest, ListLongerThanTheScreenGoesThroughThePager) {
    const auto list = makeList(std::vector<std::string>(5, makeService(1, "A", usual)));
    FakeService fake(
        {{"ITVService::serviceListSet", {result("true")}}, {"ITVService::serviceListRead", {result(list)}}});
    const auto show = [&](unsigned short rows, const std::string& pager, const std::string& option) {
        const Terminal terminal(rows);
        Child child("/bin/sh",
                    {"-c", "exec \"$0\" services $2 >\"$1\"", OSTREL_TV_PROGRAM, terminal.getPath(), option},
                    {}, {"OSTREL_TV_URL=" + fake.getAddress(), "PAGER=" + pager});
        EXPECT_EQ(child.wait(), 0) << child.readErrors();
        return terminal.read();
    };
    EXPECT_EQ(show(6, "wc -l", ""), "6\n") << "the prompt wants a line too";
    const auto table = show(7, "wc -l", "");
    EXPECT_TRUE(table.starts_with("No.  Name")) << table;
    EXPECT_EQ(show(6, "", ""), table) << "an empty name switches it off";
    EXPECT_EQ(show(6, "/nonexistent/pager 2>/dev/null", ""), table);
    EXPECT_TRUE(show(2, "wc -l", "--json").starts_with("[{"));
    EXPECT_EQ(show(6, "true", ""), "") << "who quits the pager has seen enough";
    EXPECT_EQ(run({"services"}, fake.getAddress()).output, table) << "no terminal, no pager";
}

TEST(ToolTest, NowhereToWriteIsAFailure) {
    FakeService fake({{"ITVGuide::getGenreStringMapList", {result(R"([{"code":1,"text":"Film"}])")}}});
    for (const std::string line :
         {"\"$0\" --help >/dev/full", "\"$0\" genres >/dev/full", "\"$0\" genres >&-"}) {
        Child child("/bin/sh", {"-c", line, OSTREL_TV_PROGRAM}, {}, {"OSTREL_TV_URL=" + fake.getAddress()});
        EXPECT_EQ(child.wait(), 1) << line;
        const auto errors = child.readErrors();
        EXPECT_TRUE(errors.starts_with("ostrel-tv: cannot write: ")) << line << ": " << errors;
    }
    for (const auto& request : fake.getRequests())
        EXPECT_EQ(request.find("Film"), std::string::npos) << "what was to be read went to the service";
}

} // namespace
