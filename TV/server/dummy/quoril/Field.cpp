#include "TV/server/dummy/quoril/Field.h"

#include <algorithm>
#include <iterator>

namespace Ostrel::TV {

namespace {
constexpr std::string_view names[fieldCount] = {"ServiceId", "Start", "End"}; // by Field
}

std::optional<Field> findField(std::string_view name) {
    const auto found = std::find(std::begin(names), std::end(names), name);
    if (found == std::end(names))
        return std::nullopt;
    return static_cast<Field>(found - std::begin(names));
}

} // namespace Ostrel::TV
