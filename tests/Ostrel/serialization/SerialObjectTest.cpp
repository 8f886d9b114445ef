#include "Ostrel/serialization/SerialObject.h"
#include "Ostrel/serialization/BooleanObject.h"
#include "Ostrel/serialization/UInt32Object.h"
#include "Ostrel/serialization/VectorBase.h"

#include <gtest/gtest.h>
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <json/writer.h>

#include <memory>
#include <vector>

namespace Ostrel {
namespace {

struct Point : SerialObject {
    Point(int across, int down) : x(across), y(down) {}
    Point* clone() const override { return new Point(*this); }
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override {
        Ostrel::serialize("y", y, serializer);
        Ostrel::serialize("x", x, serializer);
    }
    int x;
    int y;
};

struct Points : VectorBase {
    Points* clone() const override { return new Points(*this); }
    using VectorBase::serialize;
    void serialize(Serializer& serializer) const override {
        for (const auto& point : points)
            point.serialize("", serializer);
    }
    std::vector<Point> points;
};

std::string underKey(const SerialObject& object) {
    Serializer serializer;
    serializer.beginObject("");
    object.serialize("key", serializer);
    object.serialize("again", serializer);
    serializer.endObject("");
    return serializer.generate();
}

TEST(SerialObjectTest, ARecordIsAnObjectInItsOwnOrder) {
    const Point point(1, -2);
    EXPECT_EQ(point.serialize(), R"({"y":-2,"x":1})");
    EXPECT_EQ(underKey(point), R"({"key":{"y":-2,"x":1},"again":{"y":-2,"x":1}})");
}

TEST(SerialObjectTest, AListIsAnArray) {
    Points list;
    EXPECT_EQ(list.getObjectType(), SerialObject::ObjectType::List);
    EXPECT_EQ(list.serialize(), "[]");
    list.points = {{1, 2}, {3, 4}};
    EXPECT_EQ(list.serialize(), R"([{"y":2,"x":1},{"y":4,"x":3}])");
    list.points.pop_back();
    EXPECT_EQ(underKey(list), R"({"key":[{"y":2,"x":1}],"again":[{"y":2,"x":1}]})");
}

TEST(SerialObjectTest, PlainValuesStandAlone) {
    EXPECT_EQ(UInt32Object(4294967295u).serialize(), "4294967295");
    EXPECT_EQ(underKey(UInt32Object(7)), R"({"key":7,"again":7})");
    EXPECT_EQ(BooleanObject(true).serialize(), "true");
    EXPECT_EQ(underKey(BooleanObject(false)), R"({"key":false,"again":false})");
    EXPECT_EQ(BooleanObject(false).getObjectType(), SerialObject::ObjectType::Value);
}

TEST(SerialObjectTest, AnElementHasNoName) {
    Serializer serializer;
    serializer.beginList("");
    UInt32Object(1).serialize(serializer);
    UInt32Object(2).serialize("", serializer);
    BooleanObject(true).serialize(serializer);
    serializer.endList("");
    EXPECT_EQ(serializer.generate(), "[1,2,true]");
}

TEST(SerialObjectTest, ACloneIsIndependent) {
    Point point(1, 2);
    const std::unique_ptr<Point> copy(point.clone());
    point.x = 5;
    EXPECT_EQ(copy->serialize(), R"({"y":2,"x":1})");
    const std::unique_ptr<UInt32Object> number(UInt32Object(7).clone());
    EXPECT_EQ(number->getValue(), 7u);
    const std::unique_ptr<BooleanObject> flag(BooleanObject(true).clone());
    EXPECT_TRUE(flag->getValue());
}

TEST(SerialObjectTest, AJsoncppWriterChoosesTheStyle) {
    Json::FastWriter fast;
    EXPECT_EQ(Point(1, 2).serialize(fast), "{\"x\":1,\"y\":2}\n");
    EXPECT_EQ(UInt32Object(7).serialize(fast), "7\n");
    Json::StyledWriter styled;
    EXPECT_EQ(Points().serialize(styled), "[]\n");
}

} // namespace
} // namespace Ostrel
