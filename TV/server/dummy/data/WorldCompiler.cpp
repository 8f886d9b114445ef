// Makes the image of the built-in world from its folder of text files.
//
//     WorldCompiler OUTPUT FOLDER
//
// Tells every rule that is broken, the house's own too, as "file:line: reason".

#include "TV/server/dummy/data/HouseRules.h"
#include "TV/server/dummy/data/TextFile.h"
#include "TV/server/dummy/data/WorldFolder.h"

#include <string>
#include <vector>

namespace Ostrel::TV {

namespace {

void run(const std::vector<std::string>& arguments) {
    const WorldFile world = readWorldFolder(arguments.at(1), checkHouse);
    writeTextFile(arguments.at(0), {world.bytes().data(), world.bytes().size()});
}

} // namespace

} // namespace Ostrel::TV

int main(int count, char** arguments) {
    return Ostrel::TV::runProgram(count, arguments, 2, "WorldCompiler OUTPUT FOLDER", Ostrel::TV::run);
}
