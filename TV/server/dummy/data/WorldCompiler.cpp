// Makes the image of a world from a folder of text files.
//
//     WorldCompiler OUTPUT FOLDER
//
// Stops with "file:line: reason" at the first row that breaks a rule.

#include "TV/server/dummy/data/WorldFolder.h"

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace Ostrel::TV {

namespace {

void run(const std::vector<std::string>& arguments) {
    const std::string& output = arguments.at(0);
    WorldWriter world;
    readWorldFolder(arguments.at(1), world);
    std::FILE* const out = std::fopen(output.c_str(), "wb");
    if (out == nullptr)
        throw std::runtime_error(output + ": cannot be written");
    world.write(out);
    if (std::fclose(out) != 0)
        throw std::runtime_error(output + ": cannot be written");
}

} // namespace

} // namespace Ostrel::TV

int main(int count, char** arguments) {
    return Ostrel::TV::runProgram(count, arguments, 2, "WorldCompiler OUTPUT FOLDER", Ostrel::TV::run);
}
