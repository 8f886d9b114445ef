#include "TV/server/dummy/guide/GenreList.h"

#include "TV/server/dummy/guide/GenreTable.h"

#include <cstdint>

namespace Ostrel::TV {

VectorObject<ITVGuide::GenreStringMap> genreList;

void fillGenreList() {
    for (const GenreRow& row : genreRows())
        for (std::int32_t code = row.first(); code <= row.last(); ++code)
            genreList.emplace_back(static_cast<unsigned char>(code), row.text);
}

} // namespace Ostrel::TV
