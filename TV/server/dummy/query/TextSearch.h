#pragma once

#include "TV/server/dummy/query/FoundTexts.h"

#include <cstring>
#include <string>
#include <string_view>

namespace Ostrel::TV {

/// Looks for one text, byte for byte.
class TextSearch {
public:
    /// @param wanted  without a NUL
    explicit TextSearch(std::string_view wanted) : wanted_(wanted) {}

    bool occursIn(const char* text) const { return std::strstr(text, wanted_.c_str()) != nullptr; }

    /// Adds every text of the guide in which it occurs.
    void find(FoundTexts& found) const;

private:
    const std::string wanted_;
};

} // namespace Ostrel::TV
