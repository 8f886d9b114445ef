// Writes all documents of the built-in guide, each on a line of its own: every event as what is on air, as what
// follows and as one of a query's, in both forms. ./dev holds those of other machines to those of this one.

#include "TV/server/dummy/documents/RowDocument.h"

#include <cstdio>

using namespace Ostrel::TV;

int main() {
    for (const epgentry& row : guideRows())
        for (const auto mode : {OnAir, Following, Schedule})
            for (const auto format : {OutputFormat::Json, OutputFormat::Xml})
                if (std::puts(formatEntry(format, &row, mode).c_str()) < 0)
                    return 1;
    return std::fflush(stdout) != 0;
}
