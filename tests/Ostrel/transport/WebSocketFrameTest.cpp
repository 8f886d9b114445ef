#include "Ostrel/transport/WebSocketFrame.h"

#include <gtest/gtest.h>

namespace Ostrel {
namespace {

TEST(WebSocketFrameTest, LengthTakesAsFewBytesAsItCan) {
    using namespace std::string_literals;
    EXPECT_EQ(textFrameHead(0), "\x81\x00"s);
    EXPECT_EQ(textFrameHead(125), "\x81\x7d");
    EXPECT_EQ(textFrameHead(126), "\x81\x7e\x00\x7e"s);
    EXPECT_EQ(textFrameHead(65535), "\x81\x7e\xff\xff");
    EXPECT_EQ(textFrameHead(65536), "\x81\x7f\x00\x00\x00\x00\x00\x01\x00\x00"s);
}

TEST(WebSocketFrameTest, KeyIsSixteenBytesInBase64) {
    EXPECT_TRUE(isWebSocketKey("dGhlIHNhbXBsZSBub25jZQ=="));
    EXPECT_TRUE(isWebSocketKey("++//++//++//++//++//++=="));
    for (const char* key : {"", "==", "dGhlIHNhbXBsZSBub25jZQ=", "dGhlIHNhbXBsZSBub25jZQ===",
                            "dGhlIHNhbXBsZSBub25jZQQQ", "dGhlIHNhbXBsZSBub25j-Q=="})
        EXPECT_FALSE(isWebSocketKey(key)) << key;
}

TEST(WebSocketFrameTest, TextMayEndInsideACharacter) {
    for (const char* whole : {"", "a", "\u00e9", "\u20ac", "\U0001f600", "\U0001f600z"})
        EXPECT_FALSE(endsInsideCharacter(whole)) << whole;
    for (const char* part : {"\xc3", "a\xe2", "\xe2\x82", "\xf0", "\xf0\x9f", "a\xf0\x9f\x98"})
        EXPECT_TRUE(endsInsideCharacter(part)) << part;
}

} // namespace
} // namespace Ostrel
