#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Ostrel::TV::Tool {

/// A title and a synopsis that are hard to show; either may be empty.
struct StressText {
    std::string title, synopsis;
};

/// All there are, in a fixed order. None holds more than 255 bytes but for one long synopsis.
const std::vector<StressText>& stressTexts();

/// A text over and over, as often as it fits into so many bytes.
std::string repeat(const std::string& text, std::size_t bytes);

} // namespace Ostrel::TV::Tool
