#include "Ostrel/transport/Page.h"

#include <boost/beast/core/string.hpp>
#include <boost/beast/http/rfc7230.hpp>

#include <algorithm>
#include <charconv>
#include <string>

namespace Ostrel {

namespace beast = boost::beast;
namespace http = beast::http;

namespace {

constexpr std::string_view pagePath = "/index.html";
constexpr std::size_t longestPath = 255; ///< bytes; the text of a refusal says it, too

/// A page of ours shows and calls what comes from here, and nobody puts it into theirs.
constexpr std::string_view policies =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; "
    "img-src 'self' data:; connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors "
    "'none'\r\n"
    "Referrer-Policy: no-referrer\r\n";

bool isLetterOrDigit(char character) {
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
           (character >= 'a' && character <= 'z');
}

bool mayStandInPath(char character) {
    return isLetterOrDigit(character) || std::string_view("/-._~").find(character) != std::string_view::npos;
}

/// Whether it could be a file's path: "/", or words behind one slash each, none that climbs.
bool isPlain(std::string_view path) {
    return path.starts_with('/') && path.size() <= longestPath && path.find("//") == std::string_view::npos &&
           path.find("/.") == std::string_view::npos && std::all_of(path.begin(), path.end(), mayStandInPath);
}

/// Whether it is one word, which is how a place in the page may be called.
bool isWord(std::string_view path) {
    return path.size() > 1 && path.find_first_of("/.", 1) == std::string_view::npos;
}

/// How much a coding is wanted, 0 to 1, as Accept-Encoding says it; negative when that is silent.
double findWeight(std::string_view encodings, beast::string_view coding) {
    // The comma: Beast takes the parameters of the last name but one for those of a bare last one.
    const auto list = std::string(encodings) + ',';
    double weight = -1;
    for (const auto& [name, parameters] : http::ext_list(list)) {
        if (!beast::iequals(name, coding))
            continue;
        weight = 1;
        for (const auto& [key, value] : parameters)
            if (beast::iequals(key, "q") &&
                std::from_chars(value.data(), value.data() + value.size(), weight).ec != std::errc())
                weight = 0; // not a number: then better without
    }
    return weight;
}

bool wantsGzip(std::string_view encodings) {
    auto weight = findWeight(encodings, "gzip");
    if (weight < 0)
        weight = findWeight(encodings, "*");
    return weight > 0 && weight >= findWeight(encodings, "identity");
}

/// Whether the tag is among those that If-None-Match names, weak or not.
bool isKnown(std::string_view known, std::string_view tag) {
    return known == "*" || known.find('"' + std::string(tag) + '"') != std::string_view::npos;
}

} // namespace

std::optional<Answer> Page::answer(const Request& request) const {
    if (!isPlain(request.path))
        return Answer{
            http::status::bad_request,
            "a path here is words of letters, digits and -._~ behind one slash each, 255 bytes at most\n"};

    const auto* file = find(request.path);
    if (file == nullptr)
        return std::nullopt;

    std::string headers(policies);
    // Weak, for it is the same with and without compression.
    headers.append("ETag: W/\"").append(file->tag).append("\"\r\n");
    headers += file->isForever ? "Cache-Control: public, max-age=31536000, immutable\r\n"
                               : "Cache-Control: no-cache\r\n";
    if (!file->gzip.empty())
        headers += "Vary: Accept-Encoding\r\n";

    if (isKnown(request.known, file->tag))
        return Answer{.status = http::status::not_modified, .type = nullptr, .headers = std::move(headers)};
    const bool isGzip = !file->gzip.empty() && wantsGzip(request.encodings);
    if (isGzip)
        headers += "Content-Encoding: gzip\r\n";
    return Answer{.status = http::status::ok,
                  .body = std::string(isGzip ? file->gzip : file->bytes),
                  .type = file->type,
                  .headers = std::move(headers)};
}

const PageFile* Page::find(std::string_view path) const {
    if (path == "/" || (isWord(path) && !isFolder(path)))
        path = pagePath;
    const auto found =
        std::find_if(files_.begin(), files_.end(), [&](const PageFile& file) { return file.path == path; });
    return found == files_.end() ? nullptr : &*found;
}

bool Page::isFolder(std::string_view path) const {
    return std::any_of(files_.begin(), files_.end(), [&](const PageFile& file) {
        return file.path.starts_with(path) && file.path.substr(path.size()).starts_with('/');
    });
}

} // namespace Ostrel
