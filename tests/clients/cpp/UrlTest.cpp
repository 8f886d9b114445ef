#include "clients/cpp/Url.h"
#include "clients/cpp/Errors.h"

#include <gtest/gtest.h>

using namespace Ostrel::Client;

namespace {

struct Row {
    const char* name;
    std::string text;
    const char* parsed; ///< address and target, or why not
};

std::string describe(const std::string& text) {
    try {
        const Url url(text);
        return url.getAddress() + " " + url.getTarget();
    } catch (const SettingsError& error) {
        return error.what();
    }
}

class UrlTable : public testing::TestWithParam<Row> {};

TEST_P(UrlTable, IsReadThus) {
    EXPECT_EQ(describe(GetParam().text), GetParam().parsed);
}

// clang-format off
const Row rows[] = {
    {"Default",       Url::defaultText,              "127.0.0.1:8480 /rpc/TV"},
    {"HttpIsTheSame", "http://box:80/rpc/TV",        "box:80 /rpc/TV"},
    {"HostAndPort",   "box:1",                       "box:1 /rpc/TV"},
    {"HostAlone",     "box",                         "box:8480 /rpc/TV"},
    {"NoPort",        "ws://box/tv",                 "box:8480 /tv"},
    {"RootIsNoPath",  "ws://box:65535/",             "box:65535 /rpc/TV"},
    {"V6",            "ws://[::1]:99/x",             "[::1]:99 /x"},
    {"V6NoPort",      "[::1]",                       "[::1]:8480 /rpc/TV"},
    {"Unix",          "unix:/run/a b.sock",          "unix:/run/a b.sock /rpc/TV"},
    {"UnixLongest",   "unix:" + std::string(107, 'x'), "unix:"
        "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx /rpc/TV"},
    {"UnixTooLong",   "unix:" + std::string(108, 'x'), "\"unix:"
        "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx\""
        " is no address of a service: the path of a socket has at most 107 bytes"},
    {"UnixEmpty",     "unix:",          R"("unix:" is no address of a service: unix: is followed by the path of a socket)"},
    {"Empty",         "",               R"("" is no address of a service: the host is missing)"},
    {"NoHost",        ":8480",          R"(":8480" is no address of a service: the host is missing)"},
    {"Tls",           "wss://box",      R"("wss://box" is no address of a service: there is no TLS here; go through an SSH tunnel)"},
    {"OtherScheme",   "ftp://box",      R"("ftp://box" is no address of a service: it begins with ws://, http:// or unix:, or is HOST:PORT)"},
    {"PortZero",      "box:0",          R"("box:0" is no address of a service: the port is a number from 1 to 65535)"},
    {"PortTooHigh",   "box:65536",      R"("box:65536" is no address of a service: the port is a number from 1 to 65535)"},
    {"PortNoNumber",  "box:80x",        R"("box:80x" is no address of a service: the port is a number from 1 to 65535)"},
    {"PortEmpty",     "box:",           R"("box:" is no address of a service: the port is a number from 1 to 65535)"},
    {"V6Bare",        "::1",            R"("::1" is no address of a service: an IPv6 address stands in brackets, [::1]:8480)"},
    {"V6Open",        "[::1:80",        R"("[::1:80" is no address of a service: the closing bracket of the IPv6 address is missing)"},
    {"V6Tail",        "[::1]80",        R"("[::1]80" is no address of a service: a colon and the port follow the bracket)"},
    {"User",          "ws://me@box",    R"("ws://me@box" is no address of a service: it has no user, query or fragment; a token is read from a file)"},
    {"Fragment",      "http://box/#t",  R"("http://box/#t" is no address of a service: it has no user, query or fragment; a token is read from a file)"},
    {"HeaderTrick",   "box\r\nX: 1",    "\"box  X: 1\" is no address of a service: it holds blanks, control characters or letters beyond ASCII"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Urls, UrlTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(UrlTest, OtherServersAreBesideIt) {
    EXPECT_EQ(Url("box").withServer("Simulator").getTarget(), "/rpc/Simulator");
    EXPECT_EQ(Url("ws://box/one/rpc/TV").withServer("Simulator").getTarget(), "/one/rpc/Simulator");
    EXPECT_EQ(Url("unix:/x").withServer("Simulator").getSocketPath(), "/x");
}

TEST(UrlTest, HostHasNoBracketsAndUnixSocketsAreLocalhost) {
    EXPECT_EQ(Url("[::1]:9").getHost(), "::1");
    EXPECT_EQ(Url("[::1]:9").getAuthority(), "[::1]:9");
    EXPECT_EQ(Url("unix:x").getAuthority(), "localhost");
    EXPECT_EQ(Url("unix:x").getSocketPath(), "x");
}

} // namespace
