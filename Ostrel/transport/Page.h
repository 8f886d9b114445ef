#pragma once

#include "Ostrel/transport/Answer.h"
#include "Ostrel/transport/PageFile.h"

#include <optional>
#include <span>
#include <string_view>

namespace Ostrel {

/// Answers what browsers ask of a web page's files, which are a table and not a folder: no path
/// leads out of it.
class Page {
public:
    /// What a request says that matters here, several headers of a name as one list.
    struct Request {
        std::string_view path; ///< as it came, without a query
        std::string_view encodings = {}; ///< Accept-Encoding
        std::string_view known = {}; ///< If-None-Match
    };

    /// Refers to the files.
    explicit Page(std::span<const PageFile> files) : files_(files) {}

    /// The answer to a GET; nothing when there is nothing of that path.
    ///
    /// The page itself is what "/" shows, and any one plain word behind it: whoever types or follows
    /// "/guide" comes to the page, which says the rest in its fragment.
    std::optional<Answer> answer(const Request& request) const;

private:
    const PageFile* find(std::string_view path) const;
    bool isFolder(std::string_view path) const;

    std::span<const PageFile> files_;
};

} // namespace Ostrel
