#pragma once

#include "TV/server/dummy/data/TextFile.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Ostrel::TV::Tool {

/// Which DVB content code a listing's category stands for.
///
/// The built-in table (world/categories.txt) knows the frequent ones; lines of another file go before
/// it.
class Categories {
public:
    Categories();

    /// Adds the lines of a file.
    /// @throws TextFileError
    void add(const std::string& path);

    /// The code of a category; its case does not matter. Of "Film/Drama" the first part that is known counts.
    std::optional<int> find(std::string_view category) const;

    /// What a code is called in listings; nothing when the table does not have it.
    std::optional<std::string_view> nameOf(int code) const;

    /// The code of a programme with these categories: of the first that names a kind within a genre, or
    /// else of the first that names a genre. Nothing when none is known.
    std::optional<int> choose(const std::vector<std::string_view>& categories) const;

private:
    void add(const TextLine& line, std::unordered_map<std::string, int>& codes);
    std::optional<int> findWhole(std::string_view category) const;

    std::unordered_map<std::string, int> codes_; ///< by the name in lower case
    std::unordered_map<int, std::string> names_;
};

} // namespace Ostrel::TV::Tool
