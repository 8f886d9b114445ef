#include "Ostrel/rpc/Exception.h"
#include "TV/interfaces/ITVConfig.h"
#include "TV/interfaces/ITVGuide.h"
#include "TV/interfaces/ITVService.h"

#include <gtest/gtest.h>

#include <memory>

using namespace Ostrel;
using namespace Ostrel::TV;

namespace {

ITVService::ServiceInfo makeService() {
    return {10,
            "ITV3",
            "dvb://233a..3eb0",
            1085,
            ITVService::ServiceInfo::Type::Television,
            "ITV",
            false,
            false,
            true,
            true};
}

ITVGuide::EventInfo makeEvent() {
    return {1043, 1318614300L, 1318615200L, "News", "What is \"new\".", true, 0, {0x20, 0xF1}};
}

TEST(RecordsTest, ServiceInfoIsWrittenInOrder) {
    EXPECT_EQ(
        makeService().serialize(),
        R"({"channelNumber":10,"name":"ITV3","uri":"dvb://233a..3eb0","id":1085,"type":1,)"
        R"("provider":"ITV","scrambled":false,"highDefinition":false,"visible":true,"selectable":true})");
}

TEST(RecordsTest, ServiceInfoFlagsKeepTheirPlaces) {
    const bool flags[][4] = {{true, false, false, false},
                             {false, true, false, false},
                             {false, false, true, false},
                             {false, false, false, true}};
    for (const auto& flag : flags) {
        const ITVService::ServiceInfo service(4294967295u, "", "", 0, ITVService::ServiceInfo::Type::Data, "",
                                              flag[0], flag[1], flag[2], flag[3]);
        EXPECT_EQ(service.getScrambled(), flag[0]);
        EXPECT_EQ(service.getHighDefinition(), flag[1]);
        EXPECT_EQ(service.getVisible(), flag[2]);
        EXPECT_EQ(service.getSelectable(), flag[3]);
    }
}

TEST(RecordsTest, SignalStatusStartsAtZero) {
    EXPECT_EQ(ITVService::SignalStatus().serialize(), R"({"strength":0,"quality":0})");
}

TEST(RecordsTest, EventInfoIsWrittenInOrder) {
    EXPECT_EQ(makeEvent().serialize(),
              R"({"serviceId":1043,"startTime":1318614300,"endTime":1318615200,"title":"News",)"
              R"("description":"What is \"new\".","highDefinition":true,"extra":0,"genres":[32,241]})");
}

TEST(RecordsTest, CopyOfAnEventHasItsOwnGenres) {
    const ITVGuide::EventInfo event = makeEvent();
    ITVGuide::EventInfo copy = event;
    copy.getGenres().clear();
    EXPECT_EQ(event.getGenres().size(), 2u);

    copy = event;
    copy.getGenres()[0] = 1;
    EXPECT_EQ(event.getGenres()[0], 0x20);
}

TEST(RecordsTest, GenreStringMapIsWrittenInOrder) {
    EXPECT_EQ(ITVGuide::GenreStringMap(0xB3, "live broadcast").serialize(),
              R"({"code":179,"text":"live broadcast"})");
}

TEST(RecordsTest, ScanInfoIsWrittenInOrder) {
    const ITVConfig::ScanInfo info(true, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13);
    EXPECT_EQ(info.serialize(),
              R"({"scanning":true,"progress":2,"reserved1":3,"reserved2":4,"reserved3":5,"reserved4":6,)"
              R"("reserved5":7,"servicesFound":8,"tvServices":9,"radioServices":10,"type3Services":11,)"
              R"("reserved6":12,"reserved7":13})");
}

TEST(RecordsTest, TuningParamsNeedAFrequency) {
    Deserializer given(R"({"frequencyKHz":690999,"bandwidth":8})");
    EXPECT_EQ(ITVConfig::TuningParams(given).getFrequencyKHz(), 690999u);

    Deserializer lacking("{}");
    EXPECT_THROW(ITVConfig::TuningParams{lacking}, DecodeError);
}

TEST(VectorObjectTest, BytesAreWrittenAsNumbers) {
    EXPECT_EQ((VectorObject<unsigned char>{0x20, 0xF1}.serialize()), "[32,241]");
}

TEST(VectorObjectTest, ElementsAreWrittenInOrder) {
    EXPECT_EQ((VectorObject<std::string>{"b", "a", ""}.serialize()), R"(["b","a",""])");
    EXPECT_EQ((VectorObject<ITVGuide::GenreStringMap>{{16, "movie"}, {32, "news"}}.serialize()),
              R"([{"code":16,"text":"movie"},{"code":32,"text":"news"}])");
}

TEST(VectorObjectTest, ElementsHaveNoKeysAndNothingAroundThem) {
    Serializer serializer;
    serializer.beginObject("");
    serializer.beginList("outer");
    VectorObject<unsigned char>().serialize(serializer);
    VectorObject<unsigned char>{1, 2}.serialize(serializer);
    serializer.endList("outer");
    serializer.endObject("");
    EXPECT_EQ(serializer.generate(), R"({"outer":[1,2]})");
}

TEST(VectorObjectTest, CloneIsACopyOfItsOwn) {
    const VectorObject<std::string> list{"a"};
    const std::unique_ptr<VectorObject<std::string>> copy(list.clone());
    copy->push_back("b");
    EXPECT_EQ(list.serialize(), R"(["a"])");
    EXPECT_EQ(copy->serialize(), R"(["a","b"])");
}

TEST(ExceptionTest, UnknownCodesAreGenericFailures) {
    EXPECT_STREQ(Exception(static_cast<ReturnCode>(6)).what(), "Generic failure");
    EXPECT_STREQ(Exception(static_cast<ReturnCode>(-1)).what(), "Generic failure");
    EXPECT_STREQ(Exception(static_cast<ReturnCode>(0)).what(), "Success");
}

} // namespace
