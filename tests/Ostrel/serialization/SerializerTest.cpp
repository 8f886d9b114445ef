#include "Ostrel/serialization/Serializer.h"

#include <gtest/gtest.h>
#include <json/reader.h>

#include <cstdint>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace Ostrel {
namespace {

std::string escaped(std::string_view text) {
    std::string out;
    appendEscaped(out, text);
    return out;
}

Json::Value readBack(const std::string& text) {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["strictRoot"] = false;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string problem;
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, &problem)) << problem << text;
    return value;
}

TEST(SerializerTest, MembersAppearInTheOrderOfTheCalls) {
    Serializer serializer;
    serializer.beginObject("");
    serialize("z", 1u, serializer);
    serialize("a", -2, serializer);
    serializer.beginList("list");
    serialize("", true, serializer);
    serialize("", false, serializer);
    serializer.beginObject("");
    serializer.endObject("");
    serializer.beginList("");
    serializer.endList("");
    serialize("", std::string("text"), serializer);
    serializer.endList("list");
    serializer.writeJson("raw", R"({"k":null})");
    serialize("last", 3L, serializer);
    serializer.endObject("");
    EXPECT_EQ(serializer.generate(),
              R"({"z":1,"a":-2,"list":[true,false,{},[],"text"],"raw":{"k":null},"last":3})");
}

TEST(SerializerTest, TextsThatEndLikeAnOpenerAreFollowedByAComma) {
    Serializer serializer;
    serializer.beginList("");
    for (const char* text : {"{", "[", ":", ""})
        serialize("", std::string(text), serializer);
    serializer.endList("");
    EXPECT_EQ(serializer.generate(), R"(["{","[",":",""])");
}

TEST(SerializerTest, GenerateLeavesItEmpty) {
    Serializer serializer;
    serialize("", 1, serializer);
    EXPECT_EQ(serializer.generate(), "1");
    serialize("", 2, serializer);
    EXPECT_EQ(serializer.generate(), "2");
}

TEST(SerializerTest, IntegersReachTheirLimits) {
    Serializer serializer;
    serializer.beginList("");
    serialize("", std::numeric_limits<int>::min(), serializer);
    serialize("", std::numeric_limits<unsigned>::max(), serializer);
    serializer.write("", std::numeric_limits<std::int64_t>::min());
    serializer.write("", std::numeric_limits<std::int64_t>::max());
    serializer.endList("");
    EXPECT_EQ(serializer.generate(), "[-2147483648,4294967295,-9223372036854775808,9223372036854775807]");
}

TEST(SerializerTest, WritesNumbersWithAFractionInTheFewestDigits) {
    Serializer serializer;
    serializer.beginList("");
    for (const double value : {0.0, 0.1, 1.0, 3600.0, -2.5, 1e300, 1e-7, 1700000000.123456})
        serialize("", value, serializer);
    serializer.endList("");
    EXPECT_EQ(serializer.generate(), "[0,0.1,1,3600,-2.5,1e+300,1e-07,1700000000.123456]");
}

TEST(SerializerTest, EscapesWhatJsonWantsEscapedAndNothingElse) {
    EXPECT_EQ(escaped("plain / text"), "plain / text");
    EXPECT_EQ(escaped("say \"hi\" \\ there"), R"(say \"hi\" \\ there)");
    EXPECT_EQ(escaped("\b\f\n\r\t"), R"(\b\f\n\r\t)");
    EXPECT_EQ(escaped(std::string_view("\x00\x01\x1f", 3)), R"(\u0000\u0001\u001f)");
    EXPECT_EQ(escaped("\x7f\xc3\xa9\xf0\x9f\x98\x80"), "\x7f\xc3\xa9\xf0\x9f\x98\x80");
    EXPECT_EQ(escaped(""), "");
}

TEST(SerializerTest, KeysAreEscaped) {
    Serializer serializer;
    serializer.beginObject("");
    serialize("a\"b", 1, serializer);
    serializer.endObject("");
    EXPECT_EQ(serializer.generate(), R"({"a\"b":1})");
}

TEST(SerializerTest, JsoncppReadsBackEveryCharacter) {
    std::string all;
    for (int c = 0; c < 0x80; ++c)
        all += static_cast<char>(c);
    all += "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80";
    std::string large; // longer than the pieces in which texts are escaped
    while (large.size() < 20000)
        large += all;

    Serializer serializer;
    serializer.beginObject("");
    serialize("all", all, serializer);
    serialize("large", large, serializer);
    serialize("number", std::numeric_limits<unsigned>::max(), serializer);
    serialize("flag", true, serializer);
    serializer.endObject("");

    const auto value = readBack(serializer.generate());
    EXPECT_EQ(value["all"].asString(), all);
    EXPECT_EQ(value["large"].asString(), large);
    EXPECT_EQ(value["number"].asUInt(), std::numeric_limits<unsigned>::max());
    EXPECT_TRUE(value["flag"].asBool());
}

/// Writes {"text":"...","list":[1]}, 22 bytes and the text.
std::string writeRecord(const std::string& text, std::size_t limit) {
    Serializer serializer(limit);
    serializer.beginObject("");
    serialize("text", text, serializer);
    serializer.beginList("list");
    serialize("", 1, serializer);
    serializer.endList("list");
    serializer.endObject("");
    return serializer.generate();
}

TEST(SerializerTest, ATextAtItsLimitIsWrittenAndOnePastItIsNot) {
    const auto whole = writeRecord("abc", 1000);
    EXPECT_EQ(whole, R"({"text":"abc","list":[1]})");
    EXPECT_EQ(writeRecord("abc", whole.size()), whole);
    // Wherever it ends, the text is never longer than the limit.
    for (std::size_t limit = 0; limit < whole.size(); ++limit)
        EXPECT_THROW(writeRecord("abc", limit), TextTooLarge) << limit;
}

TEST(SerializerTest, EscapesCountForTheLimit) {
    const std::string controls(10000, '\x01');
    const auto size = writeRecord(controls, 100000).size();
    EXPECT_EQ(size, 60022u);
    EXPECT_NO_THROW(writeRecord(controls, size));
    EXPECT_THROW(writeRecord(controls, size - 1), TextTooLarge);
}

TEST(SerializerTest, ARawValueCountsForTheLimit) {
    Serializer fits(6);
    fits.writeJson("", "[1, 2]");
    EXPECT_EQ(fits.generate(), "[1, 2]");
    Serializer tooSmall(5);
    EXPECT_THROW(tooSmall.writeJson("", "[1, 2]"), TextTooLarge);
    EXPECT_EQ(tooSmall.generate(), "") << "a long text is refused before it is appended";
}

TEST(SerializerTest, WhatIsNoUtf8IsReplaced) {
    const auto written = [](const std::string& text) {
        Serializer serializer;
        serialize("", text, serializer);
        return serializer.generate();
    };
    EXPECT_EQ(written("a \xf0\x9f\x98 \"z\""), "\"a \xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd \\\"z\\\"\"");
    EXPECT_EQ(written("a\xff"), "\"a\xef\xbf\xbd\"");
    EXPECT_EQ(written("a longer text that ends in \xc3"), "\"a longer text that ends in \xef\xbf\xbd\"");
    EXPECT_EQ(written("\xf0\x9f\x98\x80"), "\"\xf0\x9f\x98\x80\"");
    // Characters lie across the pieces in which texts are escaped.
    std::string large = "a";
    while (large.size() < 20000)
        large += "\xf0\x9f\x98\x80";
    EXPECT_EQ(written(large), '"' + large + '"');
}

TEST(SerializerTest, TheLimitIsNamed) {
    EXPECT_STREQ(TextTooLarge(64u << 20).what(), "the reply is larger than 67108864 bytes");
}

TEST(SerializerTest, EscapesMayStandAnywhere) {
    const auto plainly = [](const std::string& text) {
        std::string out;
        for (const char c : text) {
            const std::string sign = c == '"' ? "\\\"" : c == '\\' ? "\\\\" : c == '\t' ? "\\t" : "\\u001f";
            out += c == '"' || c == '\\' || c == '\t' || c == '\x1f' ? sign : std::string(1, c);
        }
        return out;
    };
    const char signs[] = {'"', '\\', '\t', '\x1f', ' ', '\x7f', '\xc3', '!'};
    for (std::size_t size = 0; size != 80; ++size) {
        for (std::size_t place = 0; place <= size; ++place) {
            for (const char sign : signs) {
                std::string text(size, 'a');
                text.insert(place, 1, sign);
                text += std::string(place % 7, sign) + 'b';
                std::string out = "before";
                appendEscaped(out, text);
                ASSERT_EQ(out, "before" + plainly(text));
            }
        }
    }
    for (const std::size_t size : {1300u, 1349u, 1350u, 5000u}) {
        std::string out;
        const std::string text(size, '\x1f');
        appendEscaped(out, text);
        ASSERT_EQ(out, plainly(text));
    }
}

/// Writes the same as a Serializer, byte by byte.
class PlainWriter {
public:
    void begin(const std::string& key, char bracket) { add(key, std::string(1, bracket)); }
    void end(char bracket) { out += bracket; }
    void add(const std::string& key, const std::string& value) {
        if (!out.empty() && out.back() != '[' && out.back() != '{')
            out += ',';
        if (!key.empty())
            out += quote(key) + ':';
        out += value;
    }
    static std::string quote(const std::string& text) {
        std::string quoted = "\"";
        for (const char c : text) {
            if (c == '"' || c == '\\')
                quoted += '\\';
            quoted += c == '\n'     ? std::string("\\n")
                      : c == '\x01' ? std::string("\\u0001")
                                    : std::string(1, c);
        }
        return quoted + '"';
    }

    std::string out;
};

TEST(SerializerTest, WritesWhatAPlainWriterDoes) {
    std::mt19937 random(1);
    const auto upTo = [&](std::size_t most) { return random() % (most + 1); };
    const std::string characters[] = {"a",  "z",  " ",    "\x7f",     "\"",
                                      "\\", "\n", "\x01", "\xc3\xa9", "\xf0\x9f\x98\x80"};
    const auto text = [&](std::size_t most) {
        std::string made;
        const auto kinds = upTo(1) == 0 ? 3 : std::size(characters) - 1; // half of them want no escape
        for (auto size = upTo(most); size > 0; --size)
            made += characters[upTo(kinds)];
        return made;
    };
    for (int round = 0; round != 300; ++round) {
        PlainWriter plain;
        std::vector<std::function<void(Serializer&)>> steps;
        const auto add = [&](const std::string& key) {
            switch (upTo(3)) {
            case 0: {
                const auto number = static_cast<std::int64_t>(random() >> 1) *
                                    static_cast<std::int64_t>(random() >> 2) * (upTo(1) == 0 ? 1 : -1);
                plain.add(key, std::to_string(number));
                steps.emplace_back([=](Serializer& out) { out.write(key, number); });
                break;
            }
            case 1: {
                const bool value = upTo(1) == 0;
                plain.add(key, value ? "true" : "false");
                steps.emplace_back([=](Serializer& out) { out.write(key, value); });
                break;
            }
            default: {
                const auto value = text(upTo(3) == 0 ? 900 : 40);
                plain.add(key, PlainWriter::quote(value));
                steps.emplace_back([=](Serializer& out) { serialize(key, value, out); });
            }
            }
        };
        plain.begin("", '{');
        steps.emplace_back([](Serializer& out) { out.beginObject(""); });
        for (auto members = upTo(12); members > 0; --members)
            add('k' + text(40));
        plain.begin("list", '[');
        steps.emplace_back([](Serializer& out) { out.beginList("list"); });
        for (auto elements = upTo(12); elements > 0; --elements)
            add("");
        plain.end(']');
        plain.end('}');
        steps.emplace_back([](Serializer& out) {
            out.endList("list");
            out.endObject("");
        });

        const auto write = [&](std::size_t limit) {
            std::string room;
            room.reserve(upTo(600));
            Serializer out(limit, std::move(room));
            for (const auto& step : steps)
                step(out);
            return out.generate();
        };
        ASSERT_EQ(write(std::numeric_limits<std::size_t>::max()), plain.out);
        ASSERT_EQ(write(plain.out.size()), plain.out);
        ASSERT_THROW(write(plain.out.size() - 1), TextTooLarge);
        ASSERT_THROW(write(upTo(plain.out.size() - 1)), TextTooLarge);
    }
}

TEST(SerializerTest, WhatFitsIntoTheRoomStaysThere) {
    std::string room;
    room.reserve(100);
    const auto* const place = room.data();
    const auto size = room.capacity();
    Serializer serializer(1000, std::move(room));
    serializer.beginList("");
    serialize("", std::string((size - 4) / 2, '"'), serializer);
    serializer.endList("");
    const auto text = serializer.generate();
    EXPECT_EQ(text.data(), place);
    EXPECT_GE(text.size(), size - 1);
}

} // namespace
} // namespace Ostrel
