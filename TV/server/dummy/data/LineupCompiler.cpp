// Makes the line-up table from lineup.txt.
//
//     LineupCompiler OUTPUT FILE
//
// Stops with "file:line: reason" at the first row that breaks a rule.

#include "TV/server/dummy/data/TextFile.h"

#include <cstdio>
#include <set>
#include <string>
#include <vector>

namespace Ostrel::TV {

namespace {

/// ITVService::ServiceInfo::Type, as a number.
unsigned readType(const TextLine& line, const std::string& kind) {
    if (kind == "tv")
        return 1;
    if (kind == "radio")
        return 2;
    if (kind == "data")
        return 3;
    line.fail("kind \"" + kind + "\" is not tv, radio or data");
}

/// The four flags as initialisers.
std::string readFlags(const TextLine& line, const std::string& flags) {
    if (flags.size() != 4 || flags.find_first_not_of("01") != std::string::npos)
        line.fail("flags \"" + flags + "\" are not four digits 0 or 1");
    std::string made;
    for (const char flag : flags)
        made += flag == '1' ? ", true" : ", false";
    return made;
}

std::string literal(const TextLine& line, const std::string& text) {
    line.checkText(text);
    std::string made = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\')
            made += '\\';
        made += character;
    }
    return made + '"';
}

std::string hexadecimal(long number) {
    char made[16];
    std::snprintf(made, sizeof made, "0x%04lX", static_cast<unsigned long>(number));
    return made;
}

/// Makes the rows' initialisers, and knows which numbers are taken.
class Rows {
public:
    std::string add(const TextLine& line) {
        const auto field = line.fields(9);
        const long frequencyMHz = line.number(field[0], "frequency", 1, 999);
        const long channelNumber = line.number(field[1], "channel number", 1, 999);
        const unsigned type = readType(line, field[2]);
        if (field[3].empty())
            line.fail("the service has no name");
        const long network = line.number(field[4], "network", 1, 0xFFFF);
        const long stream = line.number(field[5], "stream", 1, 0xFFFF);
        const long service = line.number(field[6], "service", 1, 0xFFFF);
        const std::string flags = readFlags(line, field[8]);
        if (!channelNumbers_.insert(channelNumber).second)
            line.fail("channel number " + field[1] + " is taken");
        if (!services_.insert(service).second)
            line.fail("service " + field[6] + " is taken");

        return "    {" + std::to_string(frequencyMHz) + ", " + std::to_string(channelNumber) + ", " +
               std::to_string(type) + ", " + literal(line, field[3]) + ", " + hexadecimal(network) + ", " +
               hexadecimal(stream) + ", " + hexadecimal(service) + ", 0, " + literal(line, field[7]) + flags +
               "},\n";
    }

private:
    std::set<long> channelNumbers_;
    std::set<long> services_; ///< DVB service ids
};

void run(const std::vector<std::string>& arguments) {
    const std::string &output = arguments.at(0), &input = arguments.at(1);
    Rows rows;
    std::string made;
    for (const TextLine& line : readTextFile(input))
        made += rows.add(line);
    if (made.empty())
        throw TextFileError(input + ":0: there is no service");

    writeTextFile(output, "// Made from the line-up; changes here are lost.\n\n"
                          "#include \"TV/server/dummy/lineup/LineupRow.h\"\n\n"
                          "namespace Ostrel::TV {\n\n"
                          "static LineupRow rows[] = {\n" +
                              made +
                              "    {0, 0, 0, nullptr, 0, 0, 0, 0, nullptr, false, false, false, false},\n"
                              "};\n\n"
                              "std::span<LineupRow> lineupRows() noexcept {\n"
                              "    return std::span(rows).first(std::size(rows) - 1);\n"
                              "}\n\n"
                              "} // namespace Ostrel::TV\n");
}

} // namespace

} // namespace Ostrel::TV

int main(int count, char** arguments) {
    return Ostrel::TV::runProgram(count, arguments, 2, "LineupCompiler OUTPUT FILE", Ostrel::TV::run);
}
