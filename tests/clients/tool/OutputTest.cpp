#include "clients/tool/Output.h"

#include <gtest/gtest.h>

using namespace Ostrel::Client::Tool;

namespace {

TEST(OutputTest, IndentsForPeople) {
    EXPECT_EQ(indented(R"({"a":[1,{"b":"x\ny"}],"c":[],"d":{},"e":null})"),
              "{\n  \"a\": [\n    1,\n    {\n      \"b\": \"x\\ny\"\n    }\n  ],\n"
              "  \"c\": [],\n  \"d\": {},\n  \"e\": null\n}");
}

} // namespace
