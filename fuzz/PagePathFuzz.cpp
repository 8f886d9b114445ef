// Any target with any conditions: nothing is shown but the page's listed files, each as it is.
//
// The first line is the target, the second Accept-Encoding and the third If-None-Match; an empty one is left out.

#include "Ostrel/transport/Http.h"
#include "fuzz/Require.h"
#include "tests/support/TestServer.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <sstream>
#include <string>

using namespace Ostrel;
using Fuzz::require;

namespace http = boost::beast::http;

namespace {

constexpr PageFile files[] = {
    {"/index.html", "text/html; charset=utf-8", "the page", "the page, pressed", "a1", false},
    {"/favicon.svg", "image/svg+xml", "a picture", "", "b2", false},
    {"/assets/index-Bx1z9aQc.js", "text/javascript", "a script", "a script, pressed", "c3", true},
    {"/assets/fonts/a_b~c.woff2", "font/woff2", "a font", "", "d4", true},
};

/// The file that a path stands for; null for none.
const PageFile* find(const std::string& path) {
    for (const auto& file : files)
        if (file.path == path)
            return &file;
    const bool isPlace = path.find_first_of("/.", 1) == std::string::npos && path != "/assets" &&
                         path != "/rpc" && path != "/openrpc" && path != "/metrics";
    return isPlace ? &files[0] : nullptr;
}

bool isPlain(const std::string& path) {
    const auto fits = [](unsigned char c) {
        return c < 0x80 && (std::isalnum(c) || std::string("/-._~").find(char(c)) != std::string::npos);
    };
    return !path.empty() && path.front() == '/' && path.size() <= 255 &&
           std::all_of(path.begin(), path.end(), fits) && path.find("//") == std::string::npos &&
           path.find("/.") == std::string::npos;
}

std::string trim(std::string text) {
    text.erase(0, text.find_first_not_of(" \t"));
    return text.erase(text.find_last_not_of(" \t") + 1);
}

/// Whether a list of bare names, with a weight of one digit at most, wants gzip; what is written in any other way is
/// not judged here.
std::optional<bool> wantsGzip(const std::string& list) {
    int gzip = -1, any = -1, identity = -1;
    std::istringstream in(list);
    for (std::string part; std::getline(in, part, ',');) {
        const auto mark = part.find(";q=");
        const auto name = trim(part.substr(0, mark));
        int weight = 10;
        if (mark != std::string::npos) {
            const auto text = trim(part.substr(mark + 3));
            if (text == "0" || text == "1")
                weight = text == "1" ? 10 : 0;
            else if (text.size() == 3 && text.rfind("0.", 0) == 0 && text[2] >= '0' && text[2] <= '9')
                weight = text[2] - '0';
            else
                return std::nullopt;
        }
        if (name == "gzip")
            gzip = weight;
        else if (name == "*")
            any = weight;
        else if (name == "identity")
            identity = weight;
        else if (name != "br" && name != "deflate")
            return std::nullopt;
    }
    if (gzip < 0)
        gzip = any;
    return gzip > 0 && gzip >= identity;
}

std::string headerOf(const Answer& answer, const std::string& name) {
    const auto at = answer.headers.find(name + ": ");
    if (at == std::string::npos)
        return "";
    const auto begin = at + name.size() + 2;
    return answer.headers.substr(begin, answer.headers.find("\r\n", begin) - begin);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static Test::TestServer server;
    static const Admission admission({}, {}, "");
    static const Advice advice;
    static const Page page{files};
    static const std::string mainServer = "Test";
    static const Http http(admission, advice, mainServer, page, "127.0.0.1");

    std::istringstream lines(std::string(reinterpret_cast<const char*>(data), size));
    std::string target, encodings, known;
    std::getline(lines, target);
    std::getline(lines, encodings);
    std::getline(lines, known);
    encodings = trim(encodings); // as whoever reads heads leaves them
    known = trim(known);
    Http::Request request(http::verb::get, target, 11);
    if (!encodings.empty())
        request.insert(http::field::accept_encoding, encodings);
    if (!known.empty())
        request.insert(http::field::if_none_match, known);

    auto path = target;
    if (const std::string scheme = "http://"; path.rfind(scheme, 0) == 0) {
        const auto slash = path.find('/', scheme.size());
        path = slash == std::string::npos ? "/" : path.substr(slash);
    }
    path = path.substr(0, path.find('?'));
    if (path.rfind("/rpc/", 0) == 0 || path.rfind("/openrpc", 0) == 0 || path == "/healthz" ||
        path == "/metrics")
        return 0; // no place of the page

    const auto outcome = http.decide(request);
    const auto* answer = std::get_if<Answer>(&outcome);
    require(answer != nullptr, "a page's file is answered");
    const auto status = unsigned(answer->status);
    const auto* file = isPlain(path) ? find(path) : nullptr;
    if (file == nullptr) {
        require(status == (isPlain(path) ? 404 : 400), "what is no file is refused");
        require(answer->body.size() < 512, "a refusal is short");
        return 0;
    }
    const bool isTagged = known == "*" || known.find('"' + std::string(file->tag) + '"') != std::string::npos;
    require(status == (isTagged ? 304 : 200), "a known file is not sent again, another one is");
    require(headerOf(*answer, "ETag") == "W/\"" + std::string(file->tag) + '"', "each file has its tag");
    require(headerOf(*answer, "Content-Security-Policy").find("frame-ancestors 'none'") != std::string::npos,
            "each file has the policy");
    if (isTagged) {
        require(answer->body.empty(), "304 has no body");
        return 0;
    }
    const bool isPressed = headerOf(*answer, "Content-Encoding") == "gzip";
    require(!isPressed || !file->gzip.empty(), "what is not pressed is not sent as such");
    require(answer->body == (isPressed ? file->gzip : file->bytes), "a file is sent as it is");
    if (const auto wanted = wantsGzip(encodings))
        require(isPressed == (*wanted && !file->gzip.empty()), "a file is pressed for who wants it so");
    return 0;
}
