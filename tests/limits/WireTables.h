#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Ostrel::Test {

/// The first table behind a line of docs/wire.md: its rows, and of these the cells.
inline std::vector<std::vector<std::string>> readTable(const std::string& behind) {
    std::ifstream file(OSTREL_PROJECT "/docs/wire.md");
    std::string line;
    while (std::getline(file, line) && line != behind) {
    }
    while (std::getline(file, line) && !line.starts_with("|---")) {
    }
    std::vector<std::vector<std::string>> rows;
    while (std::getline(file, line) && line.starts_with("| ")) {
        auto& cells = rows.emplace_back();
        for (std::size_t begin = 2, end = 0; (end = line.find(" |", begin)) != std::string::npos;
             begin = end + 3)
            cells.push_back(line.substr(begin, end - begin));
    }
    if (rows.empty())
        throw std::runtime_error("docs/wire.md has no table behind " + behind);
    return rows;
}

} // namespace Ostrel::Test
