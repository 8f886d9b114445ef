#include "clients/cpp/ClientOptions.h"

#include "clients/cpp/Errors.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace Ostrel::Client {

namespace {

bool isTokenLetter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_';
}

} // namespace

std::string readToken(const std::string& path) {
    std::ifstream file(path);
    std::string token;
    if (!file || !std::getline(file, token)) {
        throw SettingsError("cannot read a token from " + path + ": " +
                            (file.is_open() ? "it is empty or no file" : std::strerror(errno)));
    }
    if (!token.empty() && token.back() == '\r')
        token.pop_back();
    std::string more;
    if (token.empty() || !std::all_of(token.begin(), token.end(), isTokenLetter) || std::getline(file, more))
        throw SettingsError(path + " holds no token: it is one line of letters, digits, \"-\" and \"_\"");
    return token;
}

} // namespace Ostrel::Client
