// Makes the constant genre table from genres.txt.
//
//     GenreCompiler OUTPUT FILE

#include "TV/server/dummy/data/TextFile.h"

#include <string>
#include <vector>

namespace Ostrel::TV {

namespace {

constexpr std::size_t mostRows = 80;

std::string nibbles(long code) {
    return std::to_string(code >> 4) + ", " + std::to_string(code & 0xF);
}

void run(const std::vector<std::string>& arguments) {
    const std::string &output = arguments.at(0), &input = arguments.at(1);
    const auto lines = readTextFile(input);
    std::string rows;
    long before = -1;
    for (const TextLine& line : lines) {
        const auto field = line.fields(3);
        const long first = line.number(field[0], "first code", before + 1, 0xFF);
        const long last = line.number(field[1], "last code", first, 0xFF);
        line.checkText(field[2]);
        if (field[2].empty() || field[2].find_first_of("\"\\") != std::string::npos)
            line.fail("a genre needs a text without quotation marks and backslashes");
        rows += "    {" + nibbles(first) + ", " + nibbles(last) + ", \"" + field[2] + "\"},\n";
        before = last;
    }
    if (lines.empty() || lines.size() > mostRows)
        throw TextFileError(input + ":0: expected 1 to " + std::to_string(mostRows) + " rows");

    writeTextFile(output,
                  "// Made from the genre texts; changes here are lost.\n\n"
                  "#include \"TV/server/dummy/guide/GenreTable.h\"\n\n"
                  "namespace Ostrel::TV {\n\n"
                  "namespace {\n\n"
                  "constexpr std::size_t rowCount = " +
                      std::to_string(lines.size()) +
                      ";\n\n"
                      "const GenreRow rows[rowCount + 1] = {\n" +
                      rows +
                      "    {-1, 0, 0, 0, nullptr},\n};\n\n"
                      "} // namespace\n\n"
                      "std::span<const GenreRow> genreRows() noexcept { return {rows, rowCount}; }\n\n"
                      "} // namespace Ostrel::TV\n");
}

} // namespace

} // namespace Ostrel::TV

int main(int count, char** arguments) {
    return Ostrel::TV::runProgram(count, arguments, 2, "GenreCompiler OUTPUT FILE", Ostrel::TV::run);
}
