#pragma once

#include "tests/support/WireClient.h"

#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

namespace Ostrel::Test {

/// What a page of metrics says: NAME or NAME{LABELS}, and the value.
using Series = std::map<std::string, double>;

/// Reads a page of metrics; throws when it says a thing twice.
inline Series readSeries(const std::string& page) {
    Series series;
    std::istringstream lines(page);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.starts_with('#'))
            continue;
        const auto space = line.rfind(' ');
        if (!series.emplace(line.substr(0, space), std::stod(line.substr(space))).second)
            throw std::runtime_error("twice: " + line);
    }
    return series;
}

/// Asks a listener for its metrics, on a connection of its own.
inline Series scrapeMetrics(const Address& address, const std::string& headers = {}) {
    WireClient client(address);
    client.send("GET /metrics HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n");
    const auto answer = client.readAnswer();
    if (answer.status != 200)
        throw std::runtime_error(answer.head + answer.body);
    return readSeries(answer.body);
}

} // namespace Ostrel::Test
