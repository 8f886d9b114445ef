#include "Ostrel/transport/Page.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace Ostrel::Test {
namespace {

constexpr PageFile files[] = {
    {"/assets/app-01234567.js", "text/javascript", "script", "zipped script", "a1", true},
    {"/icon.svg", "image/svg+xml", "icon", "", "b2", false},
    {"/index.html", "text/html", "page", "zipped page", "c3", false},
};

/// The status, the body's type and the body.
std::string describe(const std::optional<Answer>& answer) {
    if (!answer)
        return "nothing";
    auto text = std::to_string(unsigned(answer->status));
    if (answer->type != nullptr)
        text += ' ' + std::string(answer->type) + " [" + answer->body + ']';
    return text;
}

std::string describe(const Page::Request& request) {
    return describe(Page(files).answer(request));
}

struct Row {
    const char* name;
    Page::Request request;
    const char* answer;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
}

constexpr const char* odd = "400 text/plain; charset=utf-8 [a path here is words of letters, digits and -._~ "
                            "behind one slash each, 255 bytes at most\n]";
constexpr const char* page = "200 text/html [page]";
constexpr const char* zipped = "200 text/html [zipped page]";
const std::string longestWord = '/' + std::string(254, 'a');
const std::string tooLong = longestWord + 'a';
constexpr const char* script = "/assets/app-01234567.js";

// clang-format off
const Row rows[] = {
    {"Page",             {"/"},                page},
    {"PageByName",       {"/index.html"},      page},
    {"Script",           {script},             "200 text/javascript [script]"},
    {"Icon",             {"/icon.svg"},        "200 image/svg+xml [icon]"},
    {"Place",            {"/guide"},           page},
    {"PlaceOfOneLetter", {"/a"},               page},
    {"PlaceOddlyCalled", {"/a-b_c~1"},         page},
    {"LongestPlace",     {longestWord},        page},
    {"NoSuchFile",       {"/icon.png"},        "nothing"},
    {"NoSuchAsset",      {"/assets/app"},      "nothing"},
    {"Folder",           {"/assets"},          "nothing"},
    {"FolderSlash",      {"/assets/"},         "nothing"},
    {"FolderBegun",      {"/asset"},           page},
    {"PlaceSlash",       {"/guide/"},          "nothing"},
    {"PlaceBelow",       {"/guide/now"},       "nothing"},
    {"FileBelow",        {"/icon.svg/"},       "nothing"},
    {"OtherCase",        {"/Icon.svg"},        "nothing"},
    {"DotsInside",       {"/a..b"},            "nothing"},

    {"Climbs",           {"/.."},              odd},
    {"ClimbsLater",      {"/assets/../icon.svg"}, odd},
    {"ClimbsNowhere",    {"/./icon.svg"},      odd},
    {"Hidden",           {"/.git"},            odd},
    {"Encoded",          {"/%2e%2e/etc"},      odd},
    {"EncodedLetter",    {"/%69con.svg"},      odd},
    {"EncodedTooLong",   {"/%c0%ae%c0%ae/"},   odd},
    {"EncodedNull",      {"/icon.svg%00.js"},  odd},
    {"Null",             {{"/icon.svg\0.js", 13}}, odd},
    {"TwoSlashes",       {"//icon.svg"},       odd},
    {"TwoSlashesInside", {"/assets//app-01234567.js"}, odd},
    {"Backslash",        {"/..\\icon.svg"},    odd},
    {"Blank",            {"/icon svg"},        odd},
    {"Accented",         {"/\xc3\xa9"},        odd},
    {"Empty",            {""},                 odd},
    {"NoSlash",          {"icon.svg"},         odd},
    {"TooLong",          {tooLong},            odd},
    {"Star",             {"*"},                odd},

    {"Gzip",             {"/", "gzip"},                      zipped},
    {"GzipAmongOthers",  {"/", "deflate, br;q=1.0, GZIP;q=0.001"}, zipped},
    {"GzipInAnyCase",    {"/", "br, x ;q=1,gzip ; Q=1"},     zipped},
    {"AnyCoding",        {"/", "br, *;q=0.5"},               zipped},
    {"GzipBeforeAny",    {"/", "gzip, *;q=0"},               zipped},
    {"IdentityNotLiked", {"/", "gzip;q=0.2, identity;q=0.1"}, zipped},
    {"IdentityNever",    {"/", "gzip, identity;q=0"},        zipped},
    {"GzipOfPlace",      {"/guide", "gzip"},                 zipped},
    {"GzipNever",        {"/", "gzip;q=0"},                  page},
    {"GzipNeverInCapitals", {"/", "GZIP;Q=0"},               page},
    {"GzipNeverAtAll",   {"/", "gzip;q=0.000, *"},           page},
    {"NoneButBrotli",    {"/", "br"},                        page},
    {"AnyNever",         {"/", "*;q=0"},                     page},
    {"IdentityLiked",    {"/", "gzip;q=0.5, identity"},      page},
    {"NoWeight",         {"/", "gzip;q=high"},               page},
    {"PartOfAName",      {"/", "gzipped, x-gzip-2"},         page},
    {"NoList",           {"/", ";;,="},                      page},
    {"NotWorthIt",       {"/icon.svg", "gzip"},              "200 image/svg+xml [icon]"},

    {"Known",            {"/", "", "W/\"c3\""},              "304"},
    {"KnownStrongly",    {"/", "", "\"c3\""},                "304"},
    {"KnownZipped",      {"/", "gzip", "W/\"c3\""},          "304"},
    {"KnownAmongOthers", {"/", "", "\"a1\",W/\"b2\" , W/\"c3\""}, "304"},
    {"KnownWhatever",    {"/", "", "*"},                     "304"},
    {"KnownOther",       {"/", "", "W/\"a1\""},              page},
    {"KnownLonger",      {"/", "", "\"c33\", \"cc3\""},      page},
    {"KnownUnquoted",    {"/", "", "c3"},                    page},
    {"KnownNowhere",     {"/icon.png", "", "*"},             "nothing"},
};
// clang-format on

class PageTable : public testing::TestWithParam<Row> {};

TEST_P(PageTable, AnswersThis) {
    EXPECT_EQ(describe(GetParam().request), GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(Rows, PageTable, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

const std::string policies =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
    "Referrer-Policy: no-referrer\r\n";

std::string headersOf(const Page::Request& request) {
    return Page(files).answer(request)->headers;
}

TEST(PageTest, ThePageIsAskedForAgainEachTime) {
    const auto headers = policies + "ETag: W/\"c3\"\r\nCache-Control: no-cache\r\nVary: Accept-Encoding\r\n";
    EXPECT_EQ(headersOf({"/"}), headers);
    EXPECT_EQ(headersOf({"/guide"}), headers);
    EXPECT_EQ(headersOf({"/", "gzip"}), headers + "Content-Encoding: gzip\r\n");
    EXPECT_EQ(headersOf({"/", "gzip", "*"}), headers);
}

TEST(PageTest, WhatNeverChangesIsKept) {
    EXPECT_EQ(headersOf({script}),
              policies + "ETag: W/\"a1\"\r\nCache-Control: public, max-age=31536000, immutable\r\n"
                         "Vary: Accept-Encoding\r\n");
}

TEST(PageTest, WhatHasOneFormVariesWithNothing) {
    EXPECT_EQ(headersOf({"/icon.svg", "gzip"}), policies + "ETag: W/\"b2\"\r\nCache-Control: no-cache\r\n");
}

TEST(PageTest, WithoutFilesThereIsNothing) {
    EXPECT_EQ(describe(Page({}).answer({"/"})), "nothing");
    EXPECT_EQ(describe(Page({}).answer({"/guide"})), "nothing");
}

} // namespace
} // namespace Ostrel::Test
