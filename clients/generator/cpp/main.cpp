// Makes the dull part of the C++ client of descriptions of the wire:
//
//     ostrel-client-generator library FOLDER DESCRIPTION      records and typed calls, in files of FOLDER
//     ostrel-client-generator methods FILE DESCRIPTION...     a table of methods for the command line
//
// A file is written if its text changes, so that nothing made from it is made again.

#include "clients/generator/cpp/Cpp.h"

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

namespace {

using namespace Ostrel::Generator;

void write(const std::filesystem::path& path, const std::string& text) {
    std::ifstream old(path);
    if (old && std::string(std::istreambuf_iterator<char>(old), {}) == text)
        return;
    if (path.has_parent_path())
        std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path);
    file << text << std::flush;
    if (!file)
        throw std::runtime_error(path.string() + " cannot be written");
}

Model read(const std::string& path) {
    std::ifstream file(path);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    try {
        return readModel(text);
    } catch (const std::exception& error) {
        throw std::runtime_error(path + ": " + error.what());
    }
}

bool run(const std::vector<std::string>& arguments) {
    const auto what = arguments.empty() ? "" : arguments[0];
    if (what == "library" && arguments.size() == 3) {
        for (const auto& file : writeLibrary(read(arguments[2]), arguments[2]))
            write(std::filesystem::path(arguments[1]) / file.name, file.text);
    } else if (what == "methods" && arguments.size() >= 3) {
        std::vector<Model> models;
        for (auto path = arguments.begin() + 2; path != arguments.end(); ++path)
            models.push_back(read(*path));
        write(arguments[1], writeMethodTable(models));
    } else {
        return false;
    }
    return true;
}

} // namespace

int main(int count, char** arguments) {
    try {
        if (run({arguments + 1, arguments + count}))
            return 0;
        std::cerr
            << "usage: ostrel-client-generator library FOLDER DESCRIPTION | methods FILE DESCRIPTION...\n";
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "ostrel-client-generator: " << error.what() << '\n';
        return 1;
    }
}
