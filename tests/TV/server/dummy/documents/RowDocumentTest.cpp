#include "TV/server/dummy/documents/RowDocument.h"

#include "TV/server/dummy/documents/JsonGenerator.h"
#include "TV/server/dummy/documents/XmlGenerator.h"
#include "TV/server/dummy/guide/TodayWorld.h"
#include "TV/server/dummy/world/BuiltInWorld.h"
#include "TV/server/dummy/world/ChosenWorld.h"
#include "tests/TV/server/dummy/AnyWorld.h"

#include <json/reader.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <map>
#include <memory>
#include <sstream>

using namespace Ostrel::TV;

namespace {

template <typename Generated> std::string generate(const epgentry& row, unsigned mode) {
    Generated generator;
    writeEntry(generator, &row, mode);
    return generator.getString();
}

/// Notes the calls that it gets.
class Notes : public Generator {
public:
    void addInt(const char* name, long long value) override { note(name) << value; }
    void addOptInt(const char* name, long long value, long long none) override {
        note(name) << value << "/" << none;
    }
    void addString(const char* name, const char* value) override { note(name) << (value ? value : "null"); }
    void addFlag(const char* name, bool value) override { note(name) << (value ? "yes" : "no"); }
    void addObjectStart(const std::string& name) override { out_ << name << "{ "; }
    void addObjectEnd(const std::string& name) override { out_ << "}" << name << " "; }
    void addListStart(const std::string& name) override { out_ << name << "[ "; }
    void addListEnd(const std::string& name) override { out_ << "]" << name << " "; }
    void addSeparator() override {}
    void begin() override { out_ << "begin "; }
    void end() override { out_ << "end"; }

    std::string notes() const { return out_.str(); }

private:
    std::ostream& note(const char* name) { return out_ << " " << (name ? name : "-") << ":"; }

    std::ostringstream out_;
};

/// A row without texts, which the table does not hold.
epgentry makeRow() {
    epgentry row{};
    row.ServiceId = -1;
    row.Content = 0;
    row.CridImi = 49;
    row.DvbOid = 9018;
    row.DvbSid = 4000000000u;
    row.DvbTid = 3;
    row.Start = -5;
    row.End = 5;
    row.LinkedHdProgs = 7;
    row.Next = row.Now = true;
    row.PreferredServiceNameId = 8;
    row.ProgId = 9;
    row.ScheduleVersion = 10;
    row.ServicePosition = 11;
    row.IsHd = true;
    return row;
}

/// What a document says of a text: a character of four bytes loses its last one.
std::string inJson(const char* text) {
    std::string said = text ? text : "";
    for (std::size_t i = 0; i < said.size(); ++i)
        if (static_cast<unsigned char>(said[i]) >= 0xF0)
            said.erase(i + 3, 1);
    return said;
}

/// Such a character is told from the low bits of its first three bytes.
std::string inXml(const char* text) {
    std::string said;
    for (; text && *text; ++text) {
        const auto byte = [&](int i) { return static_cast<unsigned char>(text[i]); };
        if (byte(0) < 0xF0) {
            said += *text;
            continue;
        }
        const unsigned character = (byte(0) & 0xFu) << 12 | (byte(1) & 0x3Fu) << 6 | (byte(2) & 0x3Fu);
        if (character < 0x800)
            said += {static_cast<char>(0xC0 | character >> 6), static_cast<char>(0x80 | (character & 0x3F))};
        else
            said +=
                {static_cast<char>(0xE0 | character >> 12), static_cast<char>(0x80 | (character >> 6 & 0x3F)),
                 static_cast<char>(0x80 | (character & 0x3F))};
        text += 3;
    }
    return said;
}

using RowDocumentsTest = AnyWorld;
OSTREL_TEST_ANY_WORLD(RowDocumentsTest);

} // namespace

TEST(RowDocumentTest, MakesTheseCalls) {
    Notes notes;
    const epgentry row = makeRow();
    writeEntry(notes, &row, Schedule);
    EXPECT_EQ(notes.notes(),
              "begin progSchedule{  ServiceId:4294967295Content[  -:0]Content CridData[ ]CridData CridType[ "
              "]CridType  CridImi:49 DataFromCurrentTs:no Description:null DvbOid:9018 DvbSid:4000000000 "
              "DvbTid:3 End:5 Guidance:null IsHd:yes LinkedHdProgs:7/0 LinkedHdSimulcastProgs:0/0 Next:no "
              "Now:no PreferredServiceNameId:8 ProgId:9 ScheduleVersion:10 ServicePosition:11 Start:-5 "
              "Title:null UnsuitableBeforeWatershed:no}progSchedule end");
}

TEST(RowDocumentTest, WritesARowOfNoTable) {
    const epgentry row = makeRow();
    EXPECT_EQ(
        formatEntry("quoriljson", &row, Schedule),
        R"({ "progSchedule": { "ServiceId": 4294967295, "Content": [ 0 ], "CridData": [  ], "CridType": [  ], )"
        R"("CridImi": 49, "DataFromCurrentTs": false, "Description": "", "DvbOid": 9018, "DvbSid": 4000000000, )"
        R"("DvbTid": 3, "End": 5, "Guidance": "", "IsHd": true, "LinkedHdProgs": 7, )"
        R"("LinkedHdSimulcastProgs": null, "Next": false, "Now": false, "PreferredServiceNameId": 8, )"
        R"("ProgId": 9, "ScheduleVersion": 10, "ServicePosition": 11, "Start": -5, "Title": "", )"
        R"("UnsuitableBeforeWatershed": false } })");
    EXPECT_EQ(formatEntry("quorilxml", &row, Schedule),
              "<progSchedule><ServiceId>4294967295</ServiceId><Content>0</Content><CridImi>49</CridImi>"
              "<DvbOid>9018</DvbOid><DvbSid>4000000000</DvbSid><DvbTid>3</DvbTid><End>5</End><IsHd/>"
              "<LinkedHdProgs>7</LinkedHdProgs><PreferredServiceNameId>8</PreferredServiceNameId>"
              "<ProgId>9</ProgId><ScheduleVersion>10</ScheduleVersion>"
              "<ServicePosition>11</ServicePosition><Start>-5</Start></progSchedule>");
}

TEST(RowDocumentTest, WritesTheFirstRowOfTheGuide) {
    const epgentry& row = guideRows().front();
    ASSERT_EQ(row.ProgId, 65576035u);
    const std::string title = static_cast<const char*>(row.Title);
    const std::string description = static_cast<const char*>(row.Description);
    ASSERT_EQ((title + description).find_first_of("\"\\<>&'"), std::string::npos);
    EXPECT_EQ(
        formatEntry("quoriljson", &row, Schedule),
        R"({ "progSchedule": { "ServiceId": 1000, "Content": [ 32 ], "CridData": [ "/23vbzj" ], )"
        R"("CridType": [ 1 ], "CridImi": )" +
            std::to_string(row.CridImi) + R"(, "DataFromCurrentTs": true, "Description": ")" + description +
            R"(", "DvbOid": 9018, "DvbSid": 17472, "DvbTid": 16514, "End": 1318615200, "Guidance": "", )"
            R"("IsHd": true, "LinkedHdProgs": null, "LinkedHdSimulcastProgs": null, "Next": false, )"
            R"("Now": false, "PreferredServiceNameId": 0, "ProgId": 65576035, "ScheduleVersion": )" +
            std::to_string(row.ScheduleVersion) +
            R"(, "ServicePosition": 1, "Start": 1318614300, "Title": ")" + title +
            R"(", "UnsuitableBeforeWatershed": false } })");
    EXPECT_EQ(formatEntry("quorilxml", &row, Schedule),
              "<progSchedule><ServiceId>1000</ServiceId><Content>32</Content><CridData>/23vbzj</CridData>"
              "<CridType>1</CridType><CridImi>" +
                  std::to_string(row.CridImi) + "</CridImi><DataFromCurrentTs/><Description>" + description +
                  "</Description><DvbOid>9018</DvbOid><DvbSid>17472</DvbSid><DvbTid>16514</DvbTid>"
                  "<End>1318615200</End><IsHd/><PreferredServiceNameId>0</PreferredServiceNameId>"
                  "<ProgId>65576035</ProgId><ScheduleVersion>" +
                  std::to_string(row.ScheduleVersion) +
                  "</ScheduleVersion><ServicePosition>1</ServicePosition><Start>1318614300</Start><Title>" +
                  title + "</Title></progSchedule>");
}

TEST_P(RowDocumentsTest, EveryRowReadsAsItsGeneratorWritesIt) {
    for (const epgentry& row : guideRows()) {
        for (const unsigned mode : {0u, 1u, 2u}) {
            ASSERT_EQ(formatEntry("quoriljson", &row, mode), generate<JsonGenerator>(row, mode));
            ASSERT_EQ(formatEntry("quorilxml", &row, mode), generate<XmlGenerator>(row, mode));
        }
    }
}

TEST(RowDocumentTest, RowsOfALaidWorldAreWrittenTheSameFast) {
    const World source = builtInWorld();
    const RepeatedDays days(source);
    const TodayWorld laid(source, days, {20000, 20001}, "UTC", {{0, 0}});
    ASSERT_GT(laid.world().rows.size(), 2000u);
    for (const epgentry& row : laid.world().rows) {
        ASSERT_EQ(formatEntry(OutputFormat::Json, &row, Schedule, laid.world()),
                  generate<JsonGenerator>(row, Schedule));
        ASSERT_EQ(formatEntry(OutputFormat::Xml, &row, OnAir, laid.world()),
                  generate<XmlGenerator>(row, OnAir));
    }
}

TEST(RowDocumentTest, ARowThatWasCopiedReadsTheSame) {
    const epgentry copy = guideRows()[5000];
    EXPECT_EQ(formatEntry("quoriljson", &copy, 2), formatEntry("quoriljson", &guideRows()[5000], 2));
    EXPECT_EQ(formatEntry("quorilxml", &copy, 2), formatEntry("quorilxml", &guideRows()[5000], 2));
}

TEST(RowDocumentTest, NextIsNow) {
    const auto flags = [](unsigned mode) {
        const auto text = formatEntry("quorilxml", &guideRows()[0], mode);
        const auto has = [&](const char* part) { return text.find(part) != std::string::npos; };
        return std::string(has("<progNowNext>")    ? "nownext"
                           : has("<progSchedule>") ? "schedule"
                                                   : "") +
               (has("<Next/>") ? " next" : "") + (has("<Now/>") ? " now" : "");
    };
    EXPECT_EQ(flags(0), "nownext next");
    EXPECT_EQ(flags(1), "nownext now");
    EXPECT_EQ(flags(2), "schedule");
}

TEST(RowDocumentTest, UnknownFormatsAreEmpty) {
    for (const char* name : {"", "quoril", "QuorilJson", "quorilxml ", "json"})
        EXPECT_EQ(formatEntry(name, &guideRows()[0], 2), "") << name;
}

TEST_P(RowDocumentsTest, EveryDocumentIsJsonAndSaysWhatTheRowSays) {
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    for (const epgentry& row : guideRows()) {
        const auto text = formatEntry("quoriljson", &row, Schedule);
        Json::Value document;
        std::string problem;
        ASSERT_TRUE(reader->parse(text.data(), text.data() + text.size(), &document, &problem)) << problem;
        const Json::Value& event = document["progSchedule"];
        ASSERT_EQ(event.size(), 24u);
        ASSERT_EQ(event["ServiceId"].asInt(), row.ServiceId);
        ASSERT_EQ(event["Content"].size(), row.Content == -1 ? 0u : 1u);
        ASSERT_EQ(event["CridData"].size(), row.CridCount);
        ASSERT_EQ(event["CridType"].size(), row.CridCount);
        for (unsigned i = 0; i != row.CridCount; ++i) {
            ASSERT_STREQ(event["CridData"][i].asCString(), row.Crids[i].CridData);
            ASSERT_EQ(event["CridType"][i].asUInt(), row.Crids[i].CridType);
        }
        ASSERT_EQ(event["Title"].asString(), inJson(row.Title));
        ASSERT_EQ(event["Description"].asString(), inJson(row.Description));
        ASSERT_EQ(event["Guidance"].asString(), inJson(row.Guidance));
        ASSERT_EQ(event["Start"].asInt(), row.Start);
        ASSERT_EQ(event["End"].asInt(), row.End);
        ASSERT_EQ(event["ProgId"].asUInt(), row.ProgId);
        ASSERT_EQ(event["LinkedHdProgs"].isNull(), row.LinkedHdProgs == 0);
        ASSERT_FALSE(event["Next"].asBool());
        ASSERT_FALSE(event["Now"].asBool());
    }
}

TEST_P(RowDocumentsTest, EveryDocumentIsXmlAndSaysWhatTheRowSays) {
    for (const epgentry& row : guideRows()) {
        const auto text = "<root>" + formatEntry("quorilxml", &row, Schedule) + "</root>";
        const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
            xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                          XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
            xmlFreeDoc);
        ASSERT_NE(document, nullptr) << text;
        std::map<std::string, std::string> first;
        for (const xmlNode* node = xmlDocGetRootElement(document.get())->children->children; node;
             node = node->next) {
            const std::unique_ptr<xmlChar, void (*)(void*)> content(xmlNodeGetContent(node),
                                                                    [](void* memory) { xmlFree(memory); });
            first.emplace(reinterpret_cast<const char*>(node->name),
                          reinterpret_cast<const char*>(content.get()));
        }
        ASSERT_EQ(first["Title"], inXml(row.Title));
        ASSERT_EQ(first["Description"], inXml(row.Description));
        ASSERT_EQ(first["Start"], std::to_string(row.Start));
        ASSERT_EQ(first.count("Content"), row.Content == -1 ? 0u : 1u);
        ASSERT_EQ(first.count("CridData"), row.CridCount == 0 ? 0u : 1u);
        ASSERT_EQ(first.count("IsHd"), row.IsHd ? 1u : 0u);
        ASSERT_EQ(first.count("LinkedHdProgs"), row.LinkedHdProgs == 0 ? 0u : 1u);
    }
    xmlCleanupParser();
}
