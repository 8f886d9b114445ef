#include "TV/server/dummy/query/TextSearch.h"

namespace Ostrel::TV {

void TextSearch::find(FoundTexts& found) const {
    // The empty text leads, so that a NUL stands before every other one.
    const std::string_view texts = found.texts();
    const char* const start = texts.data();
    const char* const end = start + texts.size();
    for (const char* at = start + 1; at < end;) {
        const void* const hit =
            memmem(at, static_cast<std::size_t>(end - at), wanted_.data(), wanted_.size());
        if (hit == nullptr)
            break;
        const char* const inside = static_cast<const char*>(hit);
        const void* const before = memrchr(start, '\0', static_cast<std::size_t>(inside - start));
        found.add(static_cast<std::size_t>(static_cast<const char*>(before) + 1 - start));
        at = inside + std::strlen(inside) + 1;
    }
}

} // namespace Ostrel::TV
