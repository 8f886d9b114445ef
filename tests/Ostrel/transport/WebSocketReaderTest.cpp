#include "Ostrel/transport/WebSocketReader.h"

#include "Ostrel/transport/WebSocketFrame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace Ostrel {
namespace {

using namespace std::string_literals;

constexpr std::size_t most = 1000; ///< bytes of a message

/// A frame as a client sends it.
/// @param first  its first byte: 0x81 for a whole text
std::string frame(unsigned char first, std::string_view payload) {
    auto bytes = frameHead(FrameKind::Text, payload.size());
    bytes[0] = static_cast<char>(first);
    bytes[1] = static_cast<char>(static_cast<unsigned char>(bytes[1]) | 0x80u);
    const auto key = "\x11\x22\x33\x44"s;
    bytes += key;
    for (std::size_t i = 0; i != payload.size(); ++i)
        bytes += static_cast<char>(payload[i] ^ key[i % key.size()]);
    return bytes;
}

/// Tells what comes of bytes that arrive so many at a time, up to what nothing can follow.
std::string tell(std::string_view bytes, std::size_t step, bool discards = false) {
    using Event = WebSocketReader::Event;
    WebSocketReader reader(most, "");
    if (discards)
        reader.discardMessages();
    std::string told;
    const auto add = [&](const std::string& what) { told += (told.empty() ? "" : ", ") + what; };
    while (!bytes.empty()) {
        const auto room = reader.prepare();
        const auto size = std::min({room.size(), step, bytes.size()});
        bytes.copy(static_cast<char*>(room.data()), size);
        bytes.remove_prefix(size);
        reader.commit(size);
        for (auto event = reader.next(); event != Event::None; event = reader.next()) {
            switch (event) {
            case Event::Text:
                add("text " + std::string(reader.getPayload()));
                break;
            case Event::Binary:
                add("binary " + std::to_string(reader.getPayload().size()));
                break;
            case Event::Ping:
                add("ping " + std::string(reader.getPayload()));
                break;
            case Event::Close:
                return add("close " + std::to_string(reader.getCloseCode())), told;
            case Event::WrongFrame:
                return add("wrong frame"), told;
            case Event::BadText:
                return add("bad text"), told;
            default:
                return add("too long"), told;
            }
        }
    }
    return told;
}

struct Row {
    const char* name;
    std::string bytes;
    std::string told;
};

// clang-format off
const Row rows[] = {
    {"Text",                 frame(0x81, "hello"), "text hello"},
    {"TwoTexts",             frame(0x81, "one") + frame(0x81, "two"), "text one, text two"},
    {"EmptyText",            frame(0x81, ""), "text "},
    {"LongerText",           frame(0x81, std::string(most, 'x')), "text " + std::string(most, 'x')},
    {"OnePastTheMost",       frame(0x81, std::string(most + 1, 'x')), "too long"},
    {"ManyPastTheMost",      "\x81\xff\x00\x00\x01\x00\x00\x00\x00\x00\x01\x02\x03\x04"s, "too long"},
    {"Parts",                frame(0x01, "a") + frame(0x00, "b") + frame(0x80, "c"), "text abc"},
    {"PartsPastTheMost",     frame(0x01, std::string(most, 'x')) + frame(0x80, "x"), "too long"},
    {"EmptyParts",           frame(0x01, "") + frame(0x00, "") + frame(0x80, "c") + frame(0x81, "d"), "text c, text d"},
    {"PingInside",           frame(0x01, "a") + frame(0x89, "p") + frame(0x80, "b"), "ping p, text ab"},
    {"PongIsSkipped",        frame(0x8a, "p") + frame(0x81, "a"), "text a"},
    {"Binary",               frame(0x82, "\xff\xfe"), "binary 2"},
    {"CloseWithoutACode",    frame(0x88, ""), "close 0"},
    {"Close",                frame(0x88, "\x03\xe8"), "close 1000"},
    {"CloseWithAReason",     frame(0x88, "\x0f\xa0why"), "close 4000"},
    {"CloseWithHalfACode",   frame(0x88, "\x03"), "wrong frame"},
    {"CloseThatNobodySends", frame(0x88, "\x03\xed"), "wrong frame"},
    {"CloseBelowAllCodes",   frame(0x88, "\x03\xe7"), "wrong frame"},
    {"CloseWithABadReason",  frame(0x88, "\x03\xe8\xff"), "wrong frame"},
    {"CharacterInTwoParts",  frame(0x01, "\xe2\x82") + frame(0x80, "\xac"), "text \u20ac"},
    {"BadText",              frame(0x81, "a\xff"), "bad text"},
    {"BadTextInAPart",       frame(0x01, "a\xff"), "bad text"},
    {"BadBeginInAPart",      frame(0x01, "\xe0\x80"), "bad text"},
    {"HalfACharacter",       frame(0x81, "\xe2\x82"), "bad text"},
    {"HalfAndAnEmptyEnd",    frame(0x01, "\xe2\x82") + frame(0x80, ""), "bad text"},
    {"Unmasked",             "\x81\x01x"s, "wrong frame"},
    {"ReservedBit",          frame(0xc1, "x"), "wrong frame"},
    {"ReservedKind",         frame(0x83, "x"), "wrong frame"},
    {"ReservedControl",      frame(0x8b, "x"), "wrong frame"},
    {"PingInParts",          frame(0x09, "x"), "wrong frame"},
    {"LongPing",             frame(0x89, std::string(126, 'x')), "wrong frame"},
    {"NothingToGoOnWith",    frame(0x80, "x"), "wrong frame"},
    {"TextInsideAText",      frame(0x01, "a") + frame(0x81, "b"), "wrong frame"},
    {"LengthInTooManyBytes", "\x81\xfe\x00\x7d\x01\x02\x03\x04"s, "wrong frame"},
    {"LengthInFarTooMany",   "\x81\xff\x00\x00\x00\x00\x00\x00\xff\xff\x01\x02\x03\x04"s, "wrong frame"},
};
// clang-format on

class WebSocketReaderTable : public testing::TestWithParam<Row> {};

TEST_P(WebSocketReaderTable, FindsThis) {
    EXPECT_EQ(tell(GetParam().bytes, 4096), GetParam().told);
}

TEST_P(WebSocketReaderTable, FindsTheSameInPieces) {
    for (const std::size_t step : {1, 3, 7})
        EXPECT_EQ(tell(GetParam().bytes, step), GetParam().told) << step;
}

INSTANTIATE_TEST_SUITE_P(Rows, WebSocketReaderTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(WebSocketReaderTest, WhoSaysGoodbyeWaitsForTheCloseAlone) {
    const auto bytes =
        frame(0x81, "\xff") + frame(0x89, "p") + frame(0x01, std::string(most, 'x')) + frame(0x88, "");
    EXPECT_EQ(tell(bytes, 4096, true), "close 0");
    EXPECT_EQ(tell(bytes, 3, true), "close 0");
}

TEST(WebSocketReaderTest, LengthsOfEightBytesAndTheirEveryCut) {
    const std::string payload(70000, 'x');
    const auto bytes = frame(0x81, payload) + frame(0x81, "next");
    for (std::size_t cut = 1; cut != 16; ++cut) {
        WebSocketReader reader(payload.size(), bytes.substr(0, cut));
        EXPECT_EQ(reader.next(), WebSocketReader::Event::None) << cut;
        auto event = WebSocketReader::Event::None;
        std::string_view rest(bytes);
        for (rest.remove_prefix(cut); event == WebSocketReader::Event::None; event = reader.next()) {
            ASSERT_FALSE(rest.empty()) << cut;
            const auto room = reader.prepare();
            const auto size = std::min(room.size(), rest.size());
            rest.copy(static_cast<char*>(room.data()), size);
            rest.remove_prefix(size);
            reader.commit(size);
        }
        ASSERT_EQ(event, WebSocketReader::Event::Text) << cut;
        EXPECT_EQ(reader.getPayload(), payload) << cut;
    }
    EXPECT_EQ(tell(bytes, 4096), "too long");
}

TEST(WebSocketReaderTest, CountsWhatHasComeOfAMessage) {
    WebSocketReader reader(most, frame(0x81, std::string(most, 'x')).substr(0, 508));
    EXPECT_EQ(reader.next(), WebSocketReader::Event::None);
    EXPECT_EQ(reader.getMessageSize(), 500u);
}

TEST(WebSocketReaderTest, TextSizesAroundTheHead) {
    for (const std::size_t size : {0u, 1u, 7u, 8u, 9u, 125u, 126u, 127u})
        EXPECT_EQ(tell(frame(0x81, std::string(size, 'x')), 4096), "text " + std::string(size, 'x')) << size;
}

} // namespace
} // namespace Ostrel
