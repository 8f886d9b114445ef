#include "tests/support/CollidingKeys.h"

#include <cstdint>
#include <random>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace Ostrel::Test {

namespace {

constexpr std::uint32_t buckets = 1u << 15; ///< and members
constexpr std::uint32_t start = 0xcbf29ce484222325 % buckets;
constexpr std::uint32_t prime = 0x100000001b3 % buckets;

constexpr std::size_t frontSize = 7; ///< characters of a key that are tried forwards
constexpr std::size_t backSize = 6; ///< and those that are tried backwards from the bucket

/// The control characters below 16 that JSON can write in two bytes.
constexpr std::pair<std::uint32_t, const char*> characters[] = {
    {8, "\\b"}, {9, "\\t"}, {10, "\\n"}, {12, "\\f"}, {13, "\\r"}};
constexpr std::size_t characterCount = std::size(characters);

/// What multiplies prime to 1.
constexpr std::uint32_t inverseOfPrime() {
    std::uint32_t inverse = 1;
    while (inverse * prime % buckets != 1)
        inverse += 2;
    return inverse;
}

struct Part {
    std::uint32_t digest;
    std::string text;
};

/// Lengthens each part by each character.
template <class Step> std::vector<Part> lengthen(const std::vector<Part>& parts, Step step) {
    std::vector<Part> result;
    for (const auto& part : parts)
        for (const auto& [code, text] : characters)
            result.push_back(step(part, code, text));
    return result;
}

} // namespace

std::vector<std::string> collidingKeys() {
    std::vector<Part> fronts = {{start, {}}};
    for (std::size_t i = 0; i < frontSize; ++i)
        fronts = lengthen(fronts, [](const Part& part, std::uint32_t code, const char* text) {
            return Part{(part.digest ^ code) * prime % buckets, part.text + text};
        });
    std::vector<Part> backs = {{0, {}}};
    for (std::size_t i = 0; i < backSize; ++i)
        backs = lengthen(backs, [](const Part& part, std::uint32_t code, const char* text) {
            return Part{(part.digest * inverseOfPrime() % buckets) ^ code, text + part.text};
        });

    std::unordered_multimap<std::uint32_t, std::string_view> byDigest;
    for (const auto& back : backs)
        byDigest.emplace(back.digest, back.text);
    std::vector<std::string> keys;
    for (const auto& front : fronts)
        for (auto [at, end] = byDigest.equal_range(front.digest); at != end && keys.size() < buckets; ++at)
            keys.push_back(front.text + std::string(at->second));
    return keys;
}

std::vector<std::string> scatteredKeys() {
    std::mt19937 random; // NOLINT: the same keys each time
    std::vector<std::string> keys(buckets);
    for (auto& key : keys)
        for (std::size_t i = 0; i < frontSize + backSize; ++i)
            key += characters[random() % characterCount].second;
    return keys;
}

std::string objectWith(const std::vector<std::string>& keys) {
    std::string text = "{";
    for (const auto& key : keys)
        text += (text.size() == 1 ? "\"" : ",\"") + key + "\":0";
    return text + "}";
}

} // namespace Ostrel::Test
