#include "Ostrel/serialization/Deserializer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

namespace Ostrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What a reader makes of a text: "MEMBER: MESSAGE" of its refusal, or "read".
std::string refusal(const std::string& text, const std::function<void(Deserializer&)>& read) {
    try {
        Deserializer deserializer(text);
        read(deserializer);
        return "read";
    } catch (const DecodeError& error) {
        return error.getMember() + ": " + error.what();
    }
}

struct Row {
    const char* name;
    std::string text;
    std::function<void(Deserializer&)> read;
    std::string result;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.text;
}

class DeserializerTable : public testing::TestWithParam<Row> {};

TEST_P(DeserializerTable, Says) {
    EXPECT_EQ(refusal(GetParam().text, GetParam().read), GetParam().result);
}

void boolean(Deserializer& payload) {
    payload.readBool("m");
}
void integer(Deserializer& payload) {
    payload.readInt("m");
}
void natural(Deserializer& payload) {
    payload.readUnsigned("m");
}
void string(Deserializer& payload) {
    payload.readString("m");
}
void integers(Deserializer& payload) {
    payload.readIntList("m");
}
void bytes(Deserializer& payload) {
    payload.readByteList("m");
}
void strings(Deserializer& payload) {
    payload.readStringList("m", 2);
}
void percent(Deserializer& payload) {
    payload.readUnsigned("m", 1, 100);
}
void number(Deserializer& payload) {
    payload.readNumber("m", 0, 3600);
}
/// A record of a list.
struct Entry {
    explicit Entry(Deserializer& payload) : n(deserialize<unsigned>("n", payload)) {
        payload.refuseUnknown({"n"});
    }
    unsigned n;
};
void entries(Deserializer& payload) {
    deserializeList<Entry>("m", payload, 2);
}
void object(Deserializer& payload) {
    payload.enterMember("m");
}
void text(Deserializer& payload) {
    payload.readObjectText("m");
}
void nothing(Deserializer&) {}
void known(Deserializer& payload) {
    payload.refuseUnknown({"a", "b"});
}
void knownInside(Deserializer& payload) {
    payload.enterMember("query");
    payload.refuseUnknown({"a", "b"});
}
void inside(Deserializer& payload) {
    payload.enterMember("query");
    payload.enterMember("timeRange");
    payload.readInt("base");
}
void insideList(Deserializer& payload) {
    payload.enterMember("query");
    payload.readIntList("serviceIdList");
}
void afterwards(Deserializer& payload) {
    payload.enterMember("query");
    payload.leaveMember("query");
    payload.readInt("base");
}

// clang-format off
const Row rows[] = {
    {"EmptyText",        "",                   nothing,  "payload: missing payload"},
    {"Blank",            " ",                  nothing,  "payload: payload is not a JSON object"},
    {"NotJson",          "{",                  nothing,  "payload: payload is not a JSON object"},
    {"Array",            "[]",                 nothing,  "payload: payload is not a JSON object"},
    {"NullText",         "null",               nothing,  "payload: payload is not a JSON object"},
    {"EmptyObject",      "{}",                 nothing,  "read"},
    {"Missing",          "{}",                 natural,  R"(m: missing member "m")"},
    {"MissingObject",    "{}",                 object,   R"(m: missing member "m")"},
    {"MissingList",      "{}",                 integers, R"(m: missing member "m")"},
    {"MissingText",      "{}",                 text,     "read"},
    {"Bool",             R"({"m":false})",     boolean,  "read"},
    {"BoolNumber",       R"({"m":0})",         boolean,  R"(m: member "m" is not a boolean)"},
    {"BoolNull",         R"({"m":null})",      boolean,  R"(m: member "m" is not a boolean)"},
    {"IntMin",           R"({"m":-2147483648})",         integer,  "read"},
    {"IntBelow",         R"({"m":-2147483649})",         integer,  R"(m: member "m" is not a signed 32-bit integer)"},
    {"IntMax",           R"({"m":2147483647})",          integer,  "read"},
    {"IntAbove",         R"({"m":2147483648})",          integer,  R"(m: member "m" is not a signed 32-bit integer)"},
    {"IntFraction",      R"({"m":0.5})",                 integer,  R"(m: member "m" is not a signed 32-bit integer)"},
    {"IntNearlyOne",     R"({"m":1.00000000000000001})", integer,  R"(m: member "m" is not a signed 32-bit integer)"},
    {"IntString",        R"({"m":"1"})",                 integer,  R"(m: member "m" is not a signed 32-bit integer)"},
    {"IntNull",          R"({"m":null})",                integer,  R"(m: member "m" is not a signed 32-bit integer)"},
    {"IntBool",          R"({"m":true})",                integer,  R"(m: member "m" is not a signed 32-bit integer)"},
    {"UnsignedMax",      R"({"m":4294967295})",          natural,  "read"},
    {"UnsignedAbove",    R"({"m":4294967296})",          natural,  R"(m: member "m" is not an unsigned 32-bit integer)"},
    {"UnsignedMinus",    R"({"m":-1})",                  natural,  R"(m: member "m" is not an unsigned 32-bit integer)"},
    {"UnsignedBeyond64", R"({"m":18446744073709551615})", natural, R"(m: member "m" is not an unsigned 32-bit integer)"},
    {"UnsignedHuge",     R"({"m":1e999999999})",         natural,  R"(m: member "m" is not an unsigned 32-bit integer)"},
    {"UnsignedHuger",    R"({"m":1e99999999999})",       natural,  R"(m: member "m" is not an unsigned 32-bit integer)"},
    {"String",           R"({"m":""})",        string,   "read"},
    {"StringNumber",     R"({"m":1})",         string,   R"(m: member "m" is not a string)"},
    {"IntList",          R"({"m":[]})",        integers, "read"},
    {"IntListNumber",    R"({"m":1})",         integers, R"(m: member "m" is not a list of signed 32-bit integers)"},
    {"IntListNull",      R"({"m":null})",      integers, R"(m: member "m" is not a list of signed 32-bit integers)"},
    {"IntListElement",   R"({"m":[1,2.5]})",   integers, R"(m[1]: member "m[1]" is not a signed 32-bit integer)"},
    {"ByteList",         R"({"m":[0,255]})",   bytes,    "read"},
    {"ByteListObject",   R"({"m":{}})",        bytes,    R"(m: member "m" is not a list of integers from 0 to 255)"},
    {"ByteListBelow",    R"({"m":[-1]})",      bytes,    R"(m[0]: member "m[0]" is not an integer from 0 to 255)"},
    {"ByteListAbove",    R"({"m":[0,256]})",   bytes,    R"(m[1]: member "m[1]" is not an integer from 0 to 255)"},
    {"StringList",       R"({"m":["",""]})",   strings,  "read"},
    {"StringListString", R"({"m":"a"})",       strings,  R"(m: member "m" is not a list of strings)"},
    {"StringListNumber", R"({"m":["a",1]})",   strings,  R"(m[1]: member "m[1]" is not a string)"},
    {"StringListLong",   R"({"m":[1,2,3]})",   strings,  R"(m: member "m" has more than 2 entries)"},
    {"RangeLeast",       R"({"m":1})",         percent,  "read"},
    {"RangeMost",        R"({"m":100.0})",     percent,  "read"},
    {"RangeBelow",       R"({"m":0})",         percent,  R"(m: member "m" is not an integer from 1 to 100)"},
    {"RangeAbove",       R"({"m":101})",       percent,  R"(m: member "m" is not an integer from 1 to 100)"},
    {"RangeFraction",    R"({"m":1.5})",       percent,  R"(m: member "m" is not an integer from 1 to 100)"},
    {"RangeMissing",     "{}",                 percent,  R"(m: missing member "m")"},
    {"NumberLeast",      R"({"m":-0.0})",      number,   "read"},
    {"NumberMost",       R"({"m":3.6e3})",     number,   "read"},
    {"NumberBelow",      R"({"m":-0.001})",    number,   R"(m: member "m" is not a number from 0 to 3600)"},
    {"NumberAbove",      R"({"m":3600.001})",  number,   R"(m: member "m" is not a number from 0 to 3600)"},
    {"NumberHuge",       R"({"m":1e999})",     number,   R"(m: member "m" is not a number from 0 to 3600)"},
    {"NumberHuger",      R"({"m":1e99999999999})", number, R"(m: member "m" is not a number from 0 to 3600)"},
    {"NumberString",     R"({"m":"1"})",       number,   R"(m: member "m" is not a number from 0 to 3600)"},
    {"NumberNull",       R"({"m":null})",      number,   R"(m: member "m" is not a number from 0 to 3600)"},
    {"NumberMissing",    "{}",                 number,   R"(m: missing member "m")"},
    {"Entries",          R"({"m":[{"n":1},{"n":2}]})", entries, "read"},
    {"EntriesNone",      R"({"m":[]})",        entries,  "read"},
    {"EntriesMany",      R"({"m":[1,2,3]})",   entries,  R"(m: member "m" has more than 2 entries)"},
    {"EntriesObject",    R"({"m":{}})",        entries,  R"(m: member "m" is not a list of objects)"},
    {"EntriesNumber",    R"({"m":[{"n":1},1]})", entries, R"(m[1]: member "m[1]" is not an object)"},
    {"EntriesMissing",   R"({"m":[{"n":1},{}]})", entries, R"(m[1].n: missing member "m[1].n")"},
    {"EntriesUnknown",   R"({"m":[{"n":1,"o":1}]})", entries, R"(m[0].o: unknown member "m[0].o")"},
    {"Object",           R"({"m":{}})",        object,   "read"},
    {"ObjectList",       R"({"m":[]})",        object,   R"(m: member "m" is not an object)"},
    {"ObjectNull",       R"({"m":null})",      object,   R"(m: member "m" is not an object)"},
    {"TextNumber",       R"({"m":1})",         text,     "m: m is not a JSON object"},
    {"TextNull",         R"({"m":null})",      text,     "m: m is not a JSON object"},
    {"TextList",         R"({"m":[]})",        text,     "m: m is not a JSON object"},
    {"Known",            R"({"b":1,"a":2})",   known,    "read"},
    {"Unknown",          R"({"a":1,"c":2})",   known,    R"(c: unknown member "c")"},
    {"UnknownControls",  R"({"c\nd":2})",      known,    R"(c\x0ad: unknown member "c\x0ad")"},
    {"UnknownLong",      R"({")" + std::string(65, 'x') + R"(":1})", known,
                         std::string(64, 'x') + R"(: unknown member ")" + std::string(64, 'x') + '"'},
    {"UnknownInside",    R"({"query":{"foo":1}})", knownInside, R"(query.foo: unknown member "query.foo")"},
    {"Inside",           R"({"query":{"timeRange":{"base":"x"}}})", inside,
                         R"(query.timeRange.base: member "query.timeRange.base" is not a signed 32-bit integer)"},
    {"InsideMissing",    R"({"query":{"timeRange":{}}})", inside,
                         R"(query.timeRange.base: missing member "query.timeRange.base")"},
    {"InsideNoObject",   R"({"query":{"timeRange":1}})", inside,
                         R"(query.timeRange: member "query.timeRange" is not an object)"},
    {"InsideList",       R"({"query":{"serviceIdList":[1,2,3,null]}})", insideList,
                         R"(query.serviceIdList[3]: member "query.serviceIdList[3]" is not a signed 32-bit integer)"},
    {"Afterwards",       R"({"query":{"base":1}})", afterwards, R"(base: missing member "base")"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(, DeserializerTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(DeserializerTest, ReadsValues) {
    Deserializer payload(
        R"({"yes":true,"low":-5,"high":4294967295,"one":1.0,"uno":1e0,"text":"a\u00e9\u0000b"})");
    EXPECT_TRUE(deserialize<bool>("yes", payload));
    EXPECT_EQ(deserialize<int>("low", payload), -5);
    EXPECT_EQ(deserialize<unsigned>("high", payload), 4294967295u);
    EXPECT_EQ(deserialize<int>("one", payload), 1);
    EXPECT_EQ(deserialize<unsigned>("uno", payload), 1u);
    EXPECT_EQ(deserialize<std::string>("text", payload), std::string("a\xc3\xa9\0b", 5));
}

TEST(DeserializerTest, ReadsLists) {
    const Deserializer payload(R"({"ints":[-1,0,2e1],"bytes":[0,32,255],"texts":["","a"],"none":[]})");
    EXPECT_THAT(payload.readIntList("ints"), ElementsAre(-1, 0, 20));
    EXPECT_THAT(payload.readByteList("bytes"), ElementsAre(0, 32, 255));
    EXPECT_THAT(payload.readStringList("texts", 2), ElementsAre("", "a"));
    EXPECT_THAT(payload.readIntList("none"), IsEmpty());
}

TEST(DeserializerTest, ReadsNumbersWithAFraction) {
    const Deserializer payload(
        R"({"tenth":0.1,"half":5e-1,"whole":2,"most":3600,"little":1e-300,"minus":-0.0})");
    EXPECT_EQ(payload.readNumber("tenth", 0, 3600), 0.1);
    EXPECT_EQ(payload.readNumber("half", 0, 1), 0.5);
    EXPECT_EQ(payload.readNumber("whole", 0, 3600), 2.0);
    EXPECT_EQ(payload.readNumber("most", 0, 3600), 3600.0);
    EXPECT_EQ(payload.readNumber("little", 0, 1), 1e-300);
    EXPECT_FALSE(std::signbit(payload.readNumber("minus", 0, 1)));
}

TEST(DeserializerTest, ReadsListsOfRecords) {
    Deserializer payload(R"({"inside":{"list":[{"n":1},{"n":2}]},"n":3})");
    payload.enterMember("inside");
    const auto list = deserializeList<Entry>("list", payload, 2);
    payload.leaveMember("inside");
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].n, 1u);
    EXPECT_EQ(list[1].n, 2u);
    EXPECT_EQ(payload.readInt("n"), 3);
}

TEST(DeserializerTest, ARecordRefusesByRulesOfItsOwn) {
    Deserializer payload(R"({"list":[{"a":[],"b":1}]})");
    EXPECT_TRUE(payload.isList("list"));
    payload.readObjectList("list", 1, [&] {
        EXPECT_TRUE(payload.isList("a"));
        EXPECT_FALSE(payload.isList("b"));
        EXPECT_FALSE(payload.isList("c"));
        try {
            payload.refuse("b", "is odd");
        } catch (const DecodeError& error) {
            EXPECT_STREQ(error.what(), R"(member "list[0].b" is odd)");
            EXPECT_EQ(error.getMember(), "list[0].b");
        }
    });
}

TEST(DeserializerTest, OfDuplicateMembersTheLastCounts) {
    EXPECT_EQ(Deserializer(R"({"m":"x","n":0,"m":2})").readInt("m"), 2);
}

TEST(DeserializerTest, ANullMemberIsThere) {
    Deserializer payload(R"({"m":null})");
    EXPECT_TRUE(payload.has("m"));
    EXPECT_FALSE(payload.has("n"));
    EXPECT_EQ(deserialize("n", payload, 7), 7);
    EXPECT_THROW(deserialize("m", payload, 7), DecodeError);
}

TEST(DeserializerTest, EntersAndLeavesMembers) {
    Deserializer payload(R"({"m":1,"a":{"m":2,"b":{"m":3}}})");
    payload.enterMember("a");
    payload.enterMember("b");
    EXPECT_EQ(payload.readInt("m"), 3);
    payload.leaveMember("b");
    EXPECT_EQ(payload.readInt("m"), 2);
    payload.leaveMember("a");
    EXPECT_EQ(payload.readInt("m"), 1);
}

TEST(DeserializerTest, AnObjectTextComesAsTextOrAsObject) {
    const Deserializer params(R"({"text":"{\"a\": 1}","object":{"b":[1.0,"x\n"]},"nonsense":"{"})");
    EXPECT_EQ(params.readObjectText("text"), R"({"a": 1})");
    EXPECT_EQ(params.readObjectText("object"), R"({"b":[1.0,"x\n"]})");
    EXPECT_EQ(params.readObjectText("nonsense"), "{");
    EXPECT_EQ(params.readObjectText("none"), "");
}

TEST(DeserializerTest, TheNameOfTheTextIsInTheMessage) {
    try {
        Deserializer("[]", "params");
        FAIL();
    } catch (const DecodeError& error) {
        EXPECT_STREQ(error.what(), "params is not a JSON object");
        EXPECT_EQ(error.getMember(), "params");
    }
}

TEST(DeserializerTest, TheTextMayGoAway) {
    auto text = std::make_unique<std::string>(R"({"m":")" + std::string(5000, 'x') + R"("})");
    const Deserializer payload(*text);
    text.reset();
    EXPECT_EQ(payload.readString("m"), std::string(5000, 'x'));
}

struct Half {
    explicit Half(Deserializer& deserializer)
        : value(deserialize<unsigned>("frequencyKHz", deserializer) / 2) {}
    unsigned value;
};

TEST(DeserializerTest, MakesRecords) {
    EXPECT_EQ(deserialize<Half>(R"({"frequencyKHz":8})").value, 4u);
    Deserializer payload(R"({"tuning":{"frequencyKHz":10},"m":1})");
    const std::unique_ptr<Half> half(createSerialObject<Half>("tuning", payload));
    EXPECT_EQ(half->value, 5u);
    EXPECT_EQ(payload.readInt("m"), 1);
}

} // namespace
} // namespace Ostrel
