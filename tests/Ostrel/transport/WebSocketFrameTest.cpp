#include "Ostrel/transport/WebSocketFrame.h"

#include <gtest/gtest.h>

namespace Ostrel {
namespace {

TEST(WebSocketFrameTest, LengthTakesAsFewBytesAsItCan) {
    using namespace std::string_literals;
    EXPECT_EQ(frameHead(FrameKind::Text, 0), "\x81\x00"s);
    EXPECT_EQ(frameHead(FrameKind::Text, 125), "\x81\x7d");
    EXPECT_EQ(frameHead(FrameKind::Text, 126), "\x81\x7e\x00\x7e"s);
    EXPECT_EQ(frameHead(FrameKind::Text, 65535), "\x81\x7e\xff\xff");
    EXPECT_EQ(frameHead(FrameKind::Pong, 0), "\x8a\x00"s);
    EXPECT_EQ(frameHead(FrameKind::Text, 65536), "\x81\x7f\x00\x00\x00\x00\x00\x01\x00\x00"s);
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
        EXPECT_EQ(countUnfinished(whole), 0u) << whole;
    for (const char* part : {"\xc3", "a\xe2", "a\xf0"})
        EXPECT_EQ(countUnfinished(part), 1u) << part;
    for (const char* part : {"\xe2\x82", "a\xf0\x9f"})
        EXPECT_EQ(countUnfinished(part), 2u) << part;
    EXPECT_EQ(countUnfinished("a\xf0\x9f\x98"), 3u);
}

} // namespace
} // namespace Ostrel
