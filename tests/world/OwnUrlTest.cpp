#include "world/OwnUrl.h"

#include <gtest/gtest.h>

using Ostrel::TV::Tool::OwnUrl;

namespace {

// A listing is the same wherever it is written, whether or not a char has a sign there.
TEST(OwnUrlTest, WhatIsNotAsciiIsEscaped) {
    OwnUrl url("service");
    url.set("provider", "T\u00e9l\u00e9 1&~\x7f");
    const auto text = url.write();
    EXPECT_EQ(text, "ostrel:service?provider=T%C3%A9l%C3%A9%201%26~\x7f");
}

} // namespace
