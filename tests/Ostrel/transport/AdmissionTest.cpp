#include "Ostrel/transport/Admission.h"
#include "Ostrel/transport/StartError.h"

#include "Ostrel/transport/Address.h"
#include "tests/support/TempDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace Ostrel {
namespace {

TEST(AdmissionTest, HostMustNameThisMachine) {
    const Admission admission({}, {"tv.example", "box"}, "");
    const std::pair<const char*, bool> rows[] = {
        {"localhost", true},
        {"localhost:8480", true},
        {"LocalHost:1", true},
        {"127.0.0.1:8480", true},
        {"127.9.9.9", true},
        {"[::1]:8480", true},
        {"10.0.0.5:8480", true},
        {"10.0.0.6:8480", false},
        {"tv.example", true},
        {"TV.Example:99", true},
        {"box", true},
        {"evil.example", false},
        {"", false},
        {"localhost.evil.com", false},
        {"127.0.0.1.evil.com", false},
        {"[::1", false},
        {"[::1]evil.com", false},
        {"127.0.0.1:80@evil", false},
        {"127.0.0.1:evil.com", false},
        {"localhost:", true},
        {"127.0.0.1:0", false},
        {"127.0.0.1:1", true},
        {"127.0.0.1:65535", true},
        {"127.0.0.1:65536", false},
        {"127.0.0.1:99999999", false},
        {"127.0.0.1:-1", false},
        {"[::1]:65536", false},
    };
    for (const auto& [host, accepted] : rows)
        EXPECT_EQ(admission.acceptsHost(host, "10.0.0.5"), accepted) << host;
}

TEST(AdmissionTest, OriginMustBeKnown) {
    using Origin = Admission::Origin;
    const Admission admission({"https://tv.example", "null"}, {}, "");
    const std::pair<const char*, Origin> rows[] = {
        {"", Origin::Refused},
        {"http://", Origin::Refused},
        {"http://127.0.0.1:65535", Origin::Other},
        {"http://127.0.0.1:65536", Origin::Refused},
        {"http://127.0.0.1:99999", Origin::Refused},
        {"http://127.0.0.1:0", Origin::Refused},
        {"http://box:8480", Origin::Own},
        {"http://BOX:8480", Origin::Own},
        {"http://box:8481", Origin::Refused},
        {"http://localhost:3000", Origin::Other},
        {"https://127.0.0.1", Origin::Other},
        {"http://[::1]:5173", Origin::Other},
        {"http://localhost.evil.example", Origin::Refused},
        {"https://tv.example", Origin::Other},
        {"http://tv.example", Origin::Refused},
        {"https://tv.example.evil.example", Origin::Refused},
        {"null", Origin::Other},
        {"file://localhost", Origin::Refused},
        {"http://localhost:80@evil.com", Origin::Refused},
        {"http://localhost:x y", Origin::Refused},
    };
    for (const auto& [origin, judgement] : rows)
        EXPECT_EQ(admission.judge(origin, "box:8480"), judgement) << origin;
    EXPECT_EQ(Admission({}, {}, "").judge("null", "box:8480"), Origin::Refused);
    EXPECT_EQ(admission.judge("http://box", "box:80"), Origin::Own);
}

TEST(AdmissionTest, TokenMustBeTheWholeToken) {
    const std::string token = "0123456789abcdefghijklmnopqrstuv";
    const Admission admission({}, {}, token);
    EXPECT_TRUE(admission.acceptsToken(token));
    for (const auto& wrong :
         {std::string(), token + "x", token.substr(1), token.substr(0, 31), "X" + token.substr(1)})
        EXPECT_FALSE(admission.acceptsToken(wrong)) << wrong;
}

/// What is thrown for a text that should not be read.
template <class Value> std::string refusalOf(Value (*parse)(const std::string&), const std::string& text) {
    try {
        parse(text);
    } catch (const StartError& error) {
        return error.what();
    }
    return "it was read";
}

TEST(AdmissionTest, OriginIsReadAsBrowsersWriteIt) {
    const std::pair<const char*, const char*> rows[] = {
        {"https://tv.example", "https://tv.example"},
        {"http://tv.example:8080", "http://tv.example:8080"},
        {"HTTPS://TV.Example", "https://tv.example"},
        {"https://tv.example:443", "https://tv.example"},
        {"http://tv.example:80", "http://tv.example"},
        {"https://tv.example:80", "https://tv.example:80"},
        {"http://[fe80::1]:5173", "http://[fe80::1]:5173"},
        {"null", "null"},
    };
    for (const auto& [text, origin] : rows)
        EXPECT_EQ(Admission::parseOrigin(text), origin);
}

TEST(AdmissionTest, OriginThatNoBrowserSendsIsRefusedWithTheRightOne) {
    const std::pair<const char*, const char*> rows[] = {
        {"tv.example", "https://tv.example"},
        {"tv.example:8443", "https://tv.example:8443"},
        {"https://tv.example/", "https://tv.example"},
        {"http://tv.example:81/page?x#y", "http://tv.example:81"},
        {"ftp://tv.example", "https://tv.example"},
        {"//tv.example", "https://tv.example"},
        {"https://me@tv.example", "https://tv.example"},
        {"*", "http://HOST[:PORT] or https://HOST[:PORT], once for each"},
        {"https://*.tv.example", "http://HOST[:PORT] or https://HOST[:PORT], once for each"},
        {"https://", "http://HOST[:PORT] or https://HOST[:PORT], once for each"},
        {"https://tv.example:65536", "http://HOST[:PORT] or https://HOST[:PORT], once for each"},
        {"https://tv.example:", "http://HOST[:PORT] or https://HOST[:PORT], once for each"},
        {"https://tv.example:http", "http://HOST[:PORT] or https://HOST[:PORT], once for each"},
        {"https://fernseh\xc3\xbc.example", "http://HOST[:PORT] or https://HOST[:PORT], once for each"},
        {"https://[::1", "http://HOST[:PORT] or https://HOST[:PORT], once for each"},
        {"", "http://HOST[:PORT] or https://HOST[:PORT], once for each"},
    };
    for (const auto& [text, right] : rows)
        EXPECT_EQ(refusalOf(Admission::parseOrigin, text),
                  '"' + std::string(text) + "\" is no web origin; write " + right);
}

TEST(AdmissionTest, HostIsANameOrAnAddress) {
    const std::pair<const char*, const char*> rows[] = {
        {"tv.example", "tv.example"}, {"Box", "box"},           {"10.0.0.5", "10.0.0.5"},
        {"fe80::1", "fe80::1"},       {"[fe80::1]", "fe80::1"},
    };
    for (const auto& [text, host] : rows) {
        EXPECT_EQ(Admission::parseHost(text), host);
        const std::string header = host == std::string("fe80::1") ? "[fe80::1]:1" : host + std::string(":1");
        EXPECT_TRUE(Admission({}, {Admission::parseHost(text)}, "").acceptsHost(header, "10.9.9.9")) << text;
    }
}

TEST(AdmissionTest, HostThatNoHeaderNamesIsRefusedWithTheRightOne) {
    const std::string form = "it without scheme, port and path, such as tv.example";
    const std::pair<const char*, std::string> rows[] = {
        {"tv.example:8480", "tv.example"},
        {"http://tv.example:8480/page", "tv.example"},
        {"tv.example/", "tv.example"},
        {"[fe80::1]:8480", "fe80::1"},
        {"*", form},
        {"*.tv.example", form},
        {"", form},
        {"tv example", form},
        {"[fe80::1", form},
    };
    for (const auto& [text, right] : rows)
        EXPECT_EQ(refusalOf(Admission::parseHost, text),
                  '"' + std::string(text) + "\" is no host's name; write " + right);
}

class TokenFileTest : public testing::Test {
protected:
    std::string write(const std::string& text, std::filesystem::perms permissions) {
        const auto path = directory_.file("token");
        std::ofstream(path) << text;
        std::filesystem::permissions(path, permissions);
        return path;
    }

    static constexpr auto ownerOnly =
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
    const Ostrel::Test::TempDirectory directory_;
};

TEST_F(TokenFileTest, HoldsOneLongLine) {
    const std::string token = "0123456789-_ABCDEFghijklmnopqrst";
    EXPECT_EQ(Admission::readTokenFile(write(token + "\n", ownerOnly)), token);
    EXPECT_EQ(Admission::readTokenFile(write(token, ownerOnly)), token);
    EXPECT_THROW(Admission::readTokenFile(write(token.substr(1), ownerOnly)), StartError);
    EXPECT_THROW(Admission::readTokenFile(write(token + "\nmore\n", ownerOnly)), StartError);
    EXPECT_THROW(Admission::readTokenFile(write(token + "+/", ownerOnly)), StartError);
    EXPECT_THROW(Admission::readTokenFile(directory_.file("absent")), StartError);
}

TEST_F(TokenFileTest, IsRefusedWhenOthersCanReadIt) {
    const std::string token(40, 't');
    EXPECT_THROW(Admission::readTokenFile(write(token, ownerOnly | std::filesystem::perms::group_read)),
                 StartError);
    EXPECT_THROW(Admission::readTokenFile(write(token, ownerOnly | std::filesystem::perms::others_read)),
                 StartError);
}

TEST_F(TokenFileTest, ThatAServiceManagerKeepsMayBeReadByOneMore) {
    using std::filesystem::perms;
    const std::string token(40, 't');
    const auto folder = directory_.file("");
    ::setenv("CREDENTIALS_DIRECTORY", folder.substr(0, folder.size() - 1).c_str(), 1);
    EXPECT_EQ(Admission::readTokenFile(write(token, ownerOnly | perms::group_read)), token);
    EXPECT_THROW(Admission::readTokenFile(write(token, ownerOnly | perms::others_read)), StartError);
    ::setenv("CREDENTIALS_DIRECTORY", "/elsewhere", 1);
    EXPECT_THROW(Admission::readTokenFile(write(token, ownerOnly | perms::group_read)), StartError);
    ::unsetenv("CREDENTIALS_DIRECTORY");
}

TEST(AddressTest, IsReadAndPrinted) {
    const std::pair<const char*, const char*> rows[] = {
        {"127.0.0.1:8480", "127.0.0.1:8480"}, {"localhost:0", "127.0.0.1:0"},
        {"[::1]:65535", "[::1]:65535"},       {"0.0.0.0:1", "0.0.0.0:1"},
        {"unix:/tmp/a:b", "unix:/tmp/a:b"},
    };
    for (const auto& [text, printed] : rows)
        EXPECT_EQ(Address::parse(text).toString(), printed);
    for (const auto* text : {"", "8480", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:x",
                             "127.0.0.1:1x", "::1:8480", "tv.example:1", "unix:", "127.0.0.1:-1"})
        EXPECT_THROW(Address::parse(text), StartError) << text;
}

TEST(AddressTest, WhatIsNoneIsRefusedWithTheRightOne) {
    const std::string forms = "127.0.0.1:PORT, [::1]:PORT or unix:PATH";
    const std::pair<const char*, std::string> rows[] = {
        {"http://127.0.0.1:8480", "it is a URL; write 127.0.0.1:8480"},
        {"http://localhost:8480/page", "it is a URL; write localhost:8480"},
        {"/run/tv.sock", "it is a path; write unix:/run/tv.sock"},
        {"8480", "the host is missing; write 127.0.0.1:8480"},
        {":8480", "the host is missing; write 127.0.0.1:8480"},
        {"*:8480", "* is no address; write 0.0.0.0:8480"},
        {"*", "* is no address; write 0.0.0.0:PORT"},
        {"localhost", "the port is missing; write localhost:PORT"},
        {"0.0.0.0", "the port is missing; write 0.0.0.0:PORT"},
        {"[::1]", "the port is missing; write [::1]:PORT"},
        {"::1", "an IPv6 address needs brackets; write [::1]:PORT"},
        {"::1:8480", "an IPv6 address needs brackets; write [::1]:8480"},
        {"127.0.0.1:65536", "the port is not a number from 0 to 65535; write 127.0.0.1:PORT"},
        {"tv.example:1", "the host is not an IP address; write " + forms},
        {"tv.example", "the port is missing; write " + forms},
        {"", "the port is missing; write " + forms},
        {"unix:", "the path is missing; write unix:PATH"},
    };
    for (const auto& [text, why] : rows)
        EXPECT_EQ(refusalOf(Address::parse, text), "cannot listen on \"" + std::string(text) + "\": " + why);
}

TEST(AddressTest, KnowsWhatStaysOnThisMachine) {
    for (const auto* text : {"127.0.0.1:1", "[::1]:1", "localhost:1", "127.1.2.3:1", "unix:x"})
        EXPECT_TRUE(Address::parse(text).isLoopback()) << text;
    for (const auto* text : {"0.0.0.0:1", "[::]:1", "10.0.0.1:1"})
        EXPECT_FALSE(Address::parse(text).isLoopback()) << text;
}

} // namespace
} // namespace Ostrel
