// The guide operations of a context, as its handlers call them.

#include "Ostrel/rpc/Exception.h"
#include "Ostrel/runtime/Cancellation.h"
#include "TV/server/dummy/DummyTVModuleContext.h"
#include "TV/server/dummy/documents/RowDocument.h"
#include "TV/server/dummy/world/ChosenWorld.h"
#include "tests/TV/server/dummy/GuideFixture.h"
#include "tests/support/FakeTime.h"
#include "tests/support/LogCapture.h"

#include <atomic>

using namespace Ostrel;
using namespace Ostrel::TV;
using Ostrel::Test::LogCapture;

namespace {

/// Has the same guide in the place where contexts look for it.
class GuideContextTest : public GuideFixture {
protected:
    void SetUp() override { sharedGuide() = guide(); }
    void TearDown() override { sharedGuide() = Guide(); }

    /// Runs something that must fail: the error's text, which must have been logged once.
    static std::string failure(const std::string& operation, const std::function<void()>& run) {
        LogCapture log;
        try {
            run();
        } catch (const Exception& exception) {
            const auto lines = log.take();
            EXPECT_EQ(lines.size(), 1u);
            for (const DebugLine& line : lines) {
                EXPECT_EQ(line.level, DebugLevel::Error);
                EXPECT_EQ(line.module, "DummyTVModule");
                EXPECT_EQ(line.text, operation + "(): throwing exception: " + exception.what());
            }
            return exception.what();
        }
        return "it did not fail";
    }

    std::string queryFailure(const std::string& expression, const std::string& expressionFormat,
                             const std::string& outputFormat) {
        return failure("query", [&] { context.query(expression, expressionFormat, outputFormat); });
    }

    DummyTVModule module;
    DummyTVModuleContext context{&module};
};

} // namespace

TEST_F(GuideContextTest, LongWorkThatNobodyWaitsForIsLeft) {
    std::string strangers = R"("no such text")"; // so that no event is made
    for (unsigned i = 0; i != 10; ++i)
        strangers += R"(,"no such text )" + std::to_string(i) + '"';
    const std::string queries[] = {"{}", R"({"orderByServiceIdPriority":0})",
                                   R"({"stringList":["no such text"]})",
                                   R"({"stringList":[)" + strangers + "]}"};
    std::atomic<bool> wanted = true;
    {
        const Cancellation scope(wanted);
        for (const std::string& text : queries)
            EXPECT_THROW(context.queryEventInfo(makeQuery(text)), Cancelled) << text;
        for (const char* format : {"quoriljson", "quorilxml"})
            EXPECT_THROW(context.query("", "quoril", format), Cancelled);
        wanted = false;
        EXPECT_EQ(context.query("", "quoril", "quoriljson").size(), 11658u);
    }
    EXPECT_EQ(context.queryEventInfo(makeQuery("{}")).size(), 11658u);
}

TEST_F(GuideContextTest, TheEmptyExpressionGivesEveryDocumentInOrder) {
    for (const char* format : {"quoriljson", "quorilxml"}) {
        const auto documents = context.query("", "quoril", format);
        ASSERT_EQ(documents.size(), 11658u);
        for (std::size_t position = 0; position != documents.size(); ++position)
            ASSERT_EQ(documents[position], formatEntry(format, index()[position], Schedule));
    }
}

TEST_F(GuideContextTest, AnExpressionGivesItsDocuments) {
    const auto documents =
        context.query("ServiceId == 1043 && End > 1318748400 && Start < 1318752000", "quoril", "quoriljson");
    ASSERT_FALSE(documents.empty());
    for (const auto& document : documents) {
        EXPECT_EQ(document.find(R"({ "progSchedule": { "ServiceId": 1043, )"), 0u);
        EXPECT_NE(document.find(R"("Next": false, "Now": false)"), std::string::npos);
    }
    EXPECT_TRUE(context.query("Title == 5", "quoril", "quoriljson").empty());
}

TEST_F(GuideContextTest, UnknownFormatsAreNotSupported) {
    for (const char* format : {"Quoril", "quoril ", "", "quorilxml"})
        EXPECT_EQ(queryFailure("", format, "quoriljson"), "Not supported");
    for (const char* format : {"quorilxml ", "QuorilJson", "", "quoril"})
        EXPECT_EQ(queryFailure("", "quoril", format), "Not supported");
}

TEST_F(GuideContextTest, WhatDoesNotParseIsNotSupported) {
    EXPECT_EQ(queryFailure("ServiceId == \"1000\"", "quoril", "quorilxml"), "Not supported");
    EXPECT_EQ(queryFailure("End > -9", "quoril", "quoriljson"), "Not supported");
    EXPECT_EQ(failure("queryEventInfo",
                      [&] { context.queryEventInfo(makeQuery(R"({"timeRange":{"base":-90}})")); }),
              "Not supported");
}

TEST_F(GuideContextTest, AnEventQueryGivesEvents) {
    EXPECT_EQ(context.queryEventInfo(makeQuery("{}")).size(), 11658u);
}

TEST_F(GuideContextTest, NowAndNextFollowTheModulesClock) {
    const epgentry& row = guideRows()[10];
    const auto service = static_cast<unsigned>(row.ServiceId);
    FakeTime time(1000);
    module.timeOffset = row.Start - 1000;

    auto events = context.queryNowNextEventInfo(service);
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events[0].getTitle(), static_cast<const char*>(row.Title));
    EXPECT_EQ(events[0].getStartTime(), row.Start);
    if (events.size() == 2) {
        EXPECT_EQ(events[1].getStartTime(), row.End);
    }

    time.set(1000 + row.End - row.Start);
    const auto after = context.queryNowNextEventInfo(service);
    if (!after.empty()) {
        EXPECT_EQ(after[0].getStartTime(), row.End);
    }
}

TEST_F(GuideContextTest, NextIsNow) {
    const epgentry& row = guideRows()[10];
    FakeTime time(row.Start);
    const auto service = static_cast<unsigned>(row.ServiceId);
    const auto json = context.nowNextGet(service, "quoriljson");
    ASSERT_EQ(json.size(), 2u);
    EXPECT_EQ(json[0], formatEntry("quoriljson", &row, OnAir));
    EXPECT_NE(json[0].find(R"("Next": true, "Now": false)"), std::string::npos);
    EXPECT_NE(json[1].find(R"("Next": false, "Now": true)"), std::string::npos);
    const auto xml = context.nowNextGet(service, "quorilxml");
    ASSERT_EQ(xml.size(), 2u);
    EXPECT_EQ(xml[0], formatEntry("quorilxml", &row, OnAir));
}

TEST_F(GuideContextTest, AServiceWithoutGuideHasNeitherNowNorNext) {
    FakeTime time(1318748400);
    EXPECT_TRUE(context.queryNowNextEventInfo(1085).empty());
    EXPECT_TRUE(context.nowNextGet(1085, "quoriljson").empty());
    EXPECT_FALSE(context.queryNowNextEventInfo(1043).empty());
}

TEST_F(GuideContextTest, NoNextWithoutANow) {
    const epgentry& first = guideRows()[guideStartOrder().front()];
    const auto service = static_cast<unsigned>(first.ServiceId);
    FakeTime time(first.Start - 1);
    EXPECT_TRUE(context.queryNowNextEventInfo(service).empty());
    EXPECT_TRUE(context.nowNextGet(service, "quoriljson").empty());
    time.advance(1);
    EXPECT_FALSE(context.queryNowNextEventInfo(service).empty());
    EXPECT_FALSE(context.nowNextGet(service, "quoriljson").empty());
}

TEST_F(GuideContextTest, NowNextKnowsTwoFormats) {
    FakeTime time(1318748400);
    for (const char* format : {"quoril", "", "QuorilXml", "quoriljson "})
        EXPECT_EQ(failure("nowNextGet", [&] { context.nowNextGet(1043, format); }), "Not supported");
}
