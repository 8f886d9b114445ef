#include "world/Ratings.h"

#include <charconv>
#include <string_view>

namespace Ostrel::TV::Tool {

namespace {

constexpr int leastWarned = 12, leastLate = 17;

struct Word {
    std::string_view rating;
    int age;
};

constexpr Word words[] = {
    {"TV-MA", 17}, {"MA", 17}, {"R", 17}, {"X", 18}, {"AO", 18}, {"M", 15}, {"A", 18},
};

/// The age that a rating is for; 0 when it is for all, or says none.
int readAge(std::string_view rating) {
    for (const Word& word : words)
        if (word.rating == rating)
            return word.age;
    const auto digit = rating.find_first_of("0123456789");
    int age = 0;
    if (digit != std::string_view::npos)
        std::from_chars(rating.data() + digit, rating.data() + rating.size(), age);
    return age;
}

} // namespace

Warning readRatings(const std::vector<XmltvText>& ratings) {
    Warning warning;
    int highest = 0;
    for (const XmltvText& rating : ratings) {
        if (rating.kind == guidanceSystem) {
            warning.guidance = rating.text;
        } else if (rating.kind == watershedSystem) {
            warning.isLate = true;
        } else if (const int age = readAge(rating.text); age > highest) {
            highest = age;
            warning.isLate = warning.isLate || age >= leastLate;
            if (age >= leastWarned && warning.guidance.empty())
                warning.guidance =
                    "Rated " + rating.text + (rating.kind.empty() ? "." : " (" + rating.kind + ").");
        }
    }
    return warning;
}

} // namespace Ostrel::TV::Tool
