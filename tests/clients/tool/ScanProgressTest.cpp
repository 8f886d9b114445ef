#include "clients/tool/ScanProgress.h"

#include "clients/tool/Output.h"

#include <gtest/gtest.h>

using namespace Ostrel::Client;
using namespace Ostrel::Client::Tool;

namespace {

ServiceInfo service(ServiceInfo::Type type, const std::string& name) {
    ServiceInfo info;
    info.type = type;
    info.name = name;
    return info;
}

TEST(ScanProgressTest, CountsEachKind) {
    ScanProgress progress;
    EXPECT_EQ(progress.describeServices(), "0 new services");
    progress.count(service(ServiceInfo::Type::Television, "A"));
    EXPECT_EQ(progress.describeServices(), "1 new service: 1 tv");
    progress.count(service(ServiceInfo::Type::Radio, "B"));
    progress.count(service(ServiceInfo::Type::Data, "C"));
    progress.count(service(static_cast<ServiceInfo::Type>(9), "D"));
    EXPECT_EQ(progress.describeServices(), "4 new services: 1 tv, 1 radio, 2 data");
    EXPECT_EQ(progress.newest, "D");
}

TEST(ScanProgressTest, BarGrowsWithThePercentage) {
    ScanProgress progress;
    EXPECT_EQ(progress.formatBar(80), "[.........................]   0 %  0 new services");
    progress.percent = 50;
    progress.count(service(ServiceInfo::Type::Television, "BBC HD"));
    EXPECT_EQ(progress.formatBar(80), "[############.............]  50 %  1 new service: 1 tv  BBC HD");
    progress.percent = 100;
    EXPECT_EQ(progress.formatBar(33), "[#########################] 100 %");
    progress.percent = 4294967295;
    EXPECT_EQ(progress.formatBar(27), "[#########################]");
}

TEST(ScanProgressTest, BarIsCutBetweenLetters) {
    ScanProgress progress;
    progress.newest = "\u96fb\u8996\u53f0"; // two columns each
    for (std::size_t columns = 0; columns < 70; ++columns)
        EXPECT_LE(getWidth(progress.formatBar(columns)), columns);
    EXPECT_TRUE(progress.formatBar(49).ends_with("services")) << progress.formatBar(49);
    EXPECT_TRUE(progress.formatBar(53).ends_with("\u96fb")) << progress.formatBar(53);
    EXPECT_TRUE(progress.formatBar(54).ends_with("\u96fb")) << progress.formatBar(54);
}

TEST(ScanProgressTest, NamesPlayNoTricks) {
    ScanProgress progress;
    progress.newest = "\x1b[2J";
    EXPECT_EQ(progress.formatLine(), "  0 %  0 new services  \uFFFD[2J");
}

} // namespace
