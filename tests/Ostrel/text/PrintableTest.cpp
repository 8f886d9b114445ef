#include "Ostrel/text/Printable.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace Ostrel {
namespace {

TEST(ExcerptTest, IsAtMost64BytesOfWholeCharacters) {
    const std::string longest(64, 'a');
    EXPECT_EQ(excerpt(longest), longest);
    EXPECT_EQ(excerpt(longest + "b"), longest);
    const std::string before(62, 'a');
    EXPECT_EQ(excerpt(before + "\xc3\xa9"), before + "\xc3\xa9");
    EXPECT_EQ(excerpt(before + "\xe2\x82\xac"), before);
    EXPECT_EQ(excerpt(before.substr(1) + "\xf0\x9f\x98\x80"), before.substr(1));
}

TEST(ExcerptTest, EscapesControlCharacters) {
    EXPECT_EQ(excerpt(std::string_view("a\x00\n\x1f\x7f\"\\ z", 9)), R"(a\x00\x0a\x1f\x7f"\ z)");
    // U+0080 to U+009F too, and no other letter that begins with their first byte.
    EXPECT_EQ(excerpt("a\u0080\u009f\u00a0"), "a\\xc2\\x80\\xc2\\x9f\u00a0");
}

TEST(ExcerptTest, TakesTextsThatAreNoUtf8) {
    EXPECT_EQ(excerpt(std::string(100, '\x80')), std::string(60, '\x80'));
}

} // namespace
} // namespace Ostrel
