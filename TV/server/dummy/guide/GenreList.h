#pragma once

#include "TV/interfaces/ITVGuide.h"

namespace Ostrel::TV {

/// What the genre codes mean, ascending by code; one list for all modules of the process.
/// Filled by DummyTVModule::init() and only read afterwards, without a lock.
extern VectorObject<ITVGuide::GenreStringMap> genreList;

/// Adds every code of the genre table. A second call adds them a second time.
void fillGenreList();

} // namespace Ostrel::TV
