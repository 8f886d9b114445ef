#include "clients/generator/cpp/Cpp.h"

#include <gtest/gtest.h>

#include <exception>
#include <sstream>

using namespace Ostrel::Generator;

namespace {

/// Takes blanks and line breaks together.
std::string onOneLine(const std::string& text) {
    std::string line;
    std::istringstream words(text);
    for (std::string word; words >> word;)
        line += (line.empty() ? "" : " ") + word;
    return line;
}

/// Returns what is made of a description, in one line, or what is wrong with it.
std::string make(const std::string& methods, const std::string& schemas) {
    const auto description = R"({"info":{"description":"A box.\n\nMore."},"methods":[)" + methods +
                             R"(],"components":{"errors":{},"schemas":{)" + schemas + "}}}";
    try {
        std::string made;
        for (const auto& file : writeLibrary(readModel(description), "the description"))
            made += file.name + ": " + file.text;
        return onOneLine(made);
    } catch (const std::exception& error) {
        return error.what();
    }
}

std::string makeMethod(const std::string& name, const std::string& params, const std::string& result) {
    return R"({"name":")" + name + R"(","summary":"Ask","description":"It asks.","params":[)" + params +
           R"(],"result":{"name":"it","schema":)" + result + "}}";
}

struct Row {
    const char* name;
    const char* text;
    const char* made; ///< is among what is made
};

class MemberTable : public testing::TestWithParam<Row> {};

// The member "it", which is needed, and "other", which is not, have the same schema.
TEST_P(MemberTable, BecomesThis) {
    const std::string member = GetParam().text;
    const auto made = make(makeMethod("Box::ask", "", R"({"$ref":"#/components/schemas/Thing"})"),
                           R"("Thing":{"type":"object","description":"A thing.","required":["it"],)"
                           R"("properties":{"it":)" +
                               member + R"(,"other":)" + member + "}}");
    EXPECT_NE(made.find(GetParam().made), std::string::npos) << made;
}

// clang-format off
const Row members[] = {
    {"Unsigned", R"({"type":"integer","minimum":0,"maximum":4294967295})", "std::uint32_t it = 0; std::optional<std::uint32_t> other{};"},
    {"Signed", R"({"type":"integer","minimum":-2147483648,"maximum":2147483647})", "std::int32_t it = 0;"},
    {"SmallIsUnsigned", R"({"type":"integer","minimum":0,"maximum":255})", "std::uint32_t it = 0; ///< Range: 0 to 255."},
    {"LargeUnsigned", R"({"type":"integer","minimum":0,"maximum":4294967296})", "std::uint64_t it = 0;"},
    {"LargeSigned", R"({"type":"integer","minimum":-2147483649,"maximum":0})", "std::int64_t it = 0;"},
    {"Unbounded", R"({"type":"integer"})", "std::int32_t it = 0;"},
    {"Fraction", R"({"type":"number","default":0.5})", "double it = 0.5"},
    {"Unit", R"({"type":"integer","minimum":0,"description":"How far.","x-unit":"kHz"})", "std::uint32_t it = 0; ///< How far. Unit: kHz."},
    {"Text", R"({"type":"string"})", "std::string it; std::optional<std::string> other{};"},
    {"TextWithDefault", R"({"type":"string","default":"*"})", R"(std::string other = "*";)"},
    {"List", R"({"type":"array","items":{"type":"string"},"maxItems":3})", "std::vector<std::string> it; ///< At most 3."},
    {"Flag", R"({"type":"boolean"})", "bool it = false; std::optional<bool> other{};"},
    {"FlagWithDefault", R"({"type":"boolean","default":true})", "bool other = true;"},
    {"MayBeNull", R"({"type":["string","null"]})", "std::optional<std::string> it;"},
    {"Enumeration", R"({"type":"integer","description":"From where.","oneOf":[{"const":3,"title":"Top"}]})",
     "/// From where. enum class It : std::uint32_t { Top = 3 };"},
    {"EnumeratedWithDefault", R"({"type":"integer","default":4,"oneOf":[{"const":3,"title":"Top"},{"const":4,"title":"End"}]})", "Other other = Other::End;"},
    {"DefaultIsNoConstant", R"({"type":"array","items":{"type":"number"},"default":[1]})", "there is no C++ for the default [1]"},
    {"Enumerated", R"({"type":"integer","oneOf":[{"const":3,"title":"Top"}]})", "It it = It::Top; std::optional<Other> other{};"},
    {"TextsStayTexts", R"({"type":"string","oneOf":[{"const":"a","description":"First."}]})",
     R"(std::string it; ///< - "a": First.)"},
    {"Record", R"({"type":"object","description":"Who.","properties":{"a":{"type":"boolean"}}})",
     "/// Who. struct It { std::optional<bool> a{}; bool operator==(const It&) const = default; };"},
    {"OfTwoTypes", R"({"description":"How late.","oneOf":[{"type":"integer","minimum":0,"description":"Always."},{"type":"array","items":{"type":"number"}}]})",
     "/// How late. /// - Always. /// - std::variant<std::uint32_t, std::vector<double>> it;"},
    {"OfAnyType", R"({"type":["number","string","null"]})", "JsonText it; std::optional<JsonText> other{};"},
    {"HasNoType", R"({"description":"?"})", R"(there is no C++ type for the member "it", {"description":"?"})"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Members, MemberTable, testing::ValuesIn(members),
                         [](const auto& row) { return row.param.name; });

class ParamTable : public testing::TestWithParam<Row> {};

TEST_P(ParamTable, BecomeThis) {
    const auto made = make(makeMethod("Box::ask", GetParam().text, R"({"type":"null"})"), "");
    EXPECT_NE(made.find(GetParam().made), std::string::npos) << made;
}

// clang-format off
const Row params[] = {
    {"None", "", R"(auto Box::ask() -> void { Caller::request(context_, "Box::ask"); })"},
    {"Plain", R"({"name":"a","required":true,"schema":{"type":"string"}})",
     R"(auto Box::ask(std::string_view a) -> void { Caller::request(context_, "Box::ask", {{"a", toJson(a)}}); })"},
    {"SomeMayBeMissing", R"({"name":"a","schema":{"type":"string"}})",
     R"(auto Box::ask(const AskParams& params) -> void { Caller::request(context_, "Box::ask", toJson(params).as_object()); })"},
    {"Context", R"({"name":"context","required":true,"schema":{"type":"integer"}})",
     R"(auto Box::ask() -> void { Caller::call(context_, "Box::ask"); })"},
    {"Payload", R"({"name":"context","required":true,"schema":{"type":"integer"}},)"
                R"({"name":"payload","required":true,"schema":{"type":"object","required":["a"],"properties":{"a":{"type":"number"}}}})",
     R"(auto Box::ask(double a) -> void { Caller::call(context_, "Box::ask", {{"a", toJson(a)}}); })"},
    {"EmptyPayload", R"({"name":"context","required":true,"schema":{"type":"integer"}},)"
                     R"({"name":"payload","required":true,"schema":{"type":"object"}})",
     R"(auto Box::ask() -> void { Caller::call(context_, "Box::ask", {}); })"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Params, ParamTable, testing::ValuesIn(params),
                         [](const auto& row) { return row.param.name; });

constexpr const char* part =
    R"("Part":{"type":"object","properties":{"valid":{"type":"boolean","default":true},)"
    R"("a":{"type":"boolean","default":true}}})";
constexpr const char* whole =
    R"("Whole":{"type":"object","properties":{"part":{"$ref":"#/components/schemas/Part"}}})";

TEST(GeneratorTest, PartOfOneRecordIsInsideIt) {
    const auto made = make(makeMethod("Box::ask", "", R"({"$ref":"#/components/schemas/Whole"})"),
                           std::string(whole) + "," + part);
    EXPECT_NE(made.find("struct Whole { struct Part { bool a = true; bool operator==(const Part&) const = "
                        "default; }; std::optional<Part> part{};"),
              std::string::npos)
        << made;
}

TEST(GeneratorTest, RecordThatMethodsUseTooComesBeforeThoseThatHoldIt) {
    const auto made = make(makeMethod("Box::ask", "", R"({"$ref":"#/components/schemas/Whole"})") + "," +
                               makeMethod("Box::get", "", R"({"$ref":"#/components/schemas/Part"})"),
                           std::string(whole) + "," + part);
    EXPECT_LT(made.find("struct Part {"), made.find("struct Whole { std::optional<Part> part{};")) << made;
}

TEST(GeneratorTest, NotificationOfARecordHasNoOther) {
    const auto made =
        make(makeMethod("Box::ask", "", R"({"$ref":"#/components/schemas/Thing"})") +
                 R"(,{"name":"Box::onOpen","summary":"Open","description":"It is.","tags":[],"params":[)"
                 R"({"name":"who","required":true,"schema":{"type":"string"}}]})",
             R"("Thing":{"type":"object","required":["who"],"properties":{"who":{"type":"string"}}})");
    EXPECT_NE(made.find("Its params are a Thing."), std::string::npos) << made;
    EXPECT_EQ(made.find("struct OnOpen"), std::string::npos) << made;
}

TEST(GeneratorTest, NotificationHasARecordOfItsParams) {
    const auto made =
        make(R"({"name":"Box::onOpen","summary":"Open","description":"It is.","tags":[],"params":[)"
             R"({"name":"who","required":true,"schema":{"type":"string"}}]})",
             "");
    EXPECT_NE(made.find("/// The params of `Box::onOpen`. struct OnOpen { std::string who;"),
              std::string::npos)
        << made;
    EXPECT_NE(made.find(R"(static constexpr const char* onOpen = "Box::onOpen";)"), std::string::npos)
        << made;
}

TEST(GeneratorTest, OneInterfaceHasItsRecordsInside) {
    const auto result = R"({"$ref":"#/components/schemas/Part"})";
    const auto one = make(makeMethod("Box::ask", "", result), part);
    EXPECT_TRUE(one.starts_with("Box.h: ")) << one;
    EXPECT_NE(one.find("template <> constexpr auto members<Box::Part>"), std::string::npos) << one;
    const auto two =
        make(makeMethod("Box::ask", "", result) + "," + makeMethod("Bin::ask", "", result), part);
    EXPECT_TRUE(two.starts_with("Records.h: ")) << two;
    EXPECT_NE(two.find("template <> constexpr auto members<Part>"), std::string::npos) << two;
    EXPECT_NE(two.find("auto Bin::ask() -> Part"), std::string::npos) << two;
}

TEST(GeneratorTest, TableHasTheMethodsOfAllDescriptions) {
    const auto read = [](const std::string& methods) {
        return readModel(R"({"info":{"description":"A box.\n\nMore."},"methods":[)" + methods +
                         R"(],"components":{"errors":{},"schemas":{}}})");
    };
    const auto null = R"({"type":"null"})";
    const auto table =
        writeMethodTable({read(makeMethod("Box::ask", "", null)), read(makeMethod("Bin::put", "", null))});
    EXPECT_NE(onOneLine(table).find(R"(methods[] = { "Box::ask", "Bin::put", };)"), std::string::npos)
        << table;
}

} // namespace
