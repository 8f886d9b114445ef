#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"

#include <cstdio>

namespace Ostrel::Client::Tool {

namespace {

void showGenres(Session& session) {
    const auto genres = session.getClient().getGenres();
    if (session.json) {
        printJson(encode(genres));
        return;
    }
    Table table({{"Code"}, {"Genre"}});
    for (const auto& genre : genres) {
        char code[16];
        std::snprintf(code, sizeof code, "0x%02X", genre.code);
        table.add({code, genre.text});
    }
    print(table.format());
}

} // namespace

Command makeGenres(Session& session) {
    return {.name = "genres",
            .description = "Show the genre codes and what they mean",
            .examples = {"ostrel-tv genres | grep -i sport"},
            .run = [&session] { showGenres(session); }};
}

} // namespace Ostrel::Client::Tool
