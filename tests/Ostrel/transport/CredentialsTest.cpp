#include "Ostrel/transport/Credentials.h"

#include <gtest/gtest.h>

namespace Ostrel {
namespace {

TEST(CredentialsTest, BearerScheme) {
    EXPECT_EQ(bearerOf("Bearer abc"), "abc");
    EXPECT_EQ(bearerOf("bearer  abc "), "abc");
    EXPECT_EQ(bearerOf("Basic abc"), "");
    EXPECT_EQ(bearerOf("Bearer"), "");
}

TEST(CredentialsTest, SubProtocolIsChosen) {
    struct Row {
        const char* offers;
        const char* chosen;
        const char* token;
    };
    const Row rows[] = {
        {"", "", ""},
        {"jsonrpc", "jsonrpc", ""},
        {"chat, jsonrpc", "jsonrpc", ""},
        {"chat, other", "chat", ""},
        {"bearer.secret, chat", "chat", "secret"},
        {"jsonrpc,bearer.secret", "jsonrpc", "secret"},
        {"bearer.secret", "", "secret"},
    };
    for (const auto& row : rows) {
        const auto result = chooseSubProtocol(row.offers);
        EXPECT_EQ(result.chosen, row.chosen) << row.offers;
        EXPECT_EQ(result.token, row.token) << row.offers;
    }
}

} // namespace
} // namespace Ostrel
