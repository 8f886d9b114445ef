// Makes the constant guide table from the guide files of the services.
//
//     GuideCompiler OUTPUT DATA GUIDE
//
// Stops with "file:line: reason" at the first row that breaks a rule.

#include "TV/server/dummy/data/GuideRules.h"
#include "TV/server/dummy/data/GuideText.h"
#include "TV/server/dummy/data/Services.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <unordered_map>
#include <vector>

namespace Ostrel::TV {

namespace {

/// The texts of all rows, each once. Written as character arrays that stand one behind the
/// other, since compilers promise no more than 65536 characters for one literal.
class TextPool {
public:
    /// Where the text stands; 0, the place of the empty text, when there is none.
    std::uint32_t add(const std::string& text) {
        const auto [known, isNew] = offsets_.emplace(text, size_);
        if (isNew) {
            if (parts_.back().size() + text.size() >= mostCharacters)
                parts_.emplace_back();
            parts_.back() += text + '\0';
            size_ += static_cast<std::uint32_t>(text.size()) + 1;
        }
        return known->second;
    }

    std::string write() const {
        std::string members, values;
        for (std::size_t i = 0; i != parts_.size(); ++i) {
            members += "    char part" + std::to_string(i) + "[" + std::to_string(parts_[i].size()) + "];\n";
            values += "    " + literal(parts_[i]) + ",\n";
        }
        return "struct GuideTexts {\n" + members + "};\n\nconst GuideTexts guideTexts = {\n" + values +
               "};\n" + "static_assert(sizeof(GuideTexts) == " + std::to_string(size_) + ");\n";
    }

private:
    static constexpr std::size_t mostCharacters = 60000;

    /// A literal a text; the NUL behind the last one is the array's own.
    static std::string literal(const std::string& texts) {
        std::string out = "\"";
        for (const char c : texts.substr(0, texts.size() - 1)) {
            if (c == '\0') {
                out += "\\0\"\n    \"";
                continue;
            }
            if (c == '"' || c == '\\' || c == '?') // a question mark might start a trigraph
                out += '\\';
            out += c;
        }
        return out + "\"";
    }

    std::vector<std::string> parts_{std::string(1, '\0')};
    std::unordered_map<std::string, std::uint32_t> offsets_{{std::string(), 0}};
    std::uint32_t size_ = 1;
};

struct Row {
    const GuideFile* service;
    const GuideEvent* event;
};

/// The rows in the order of the table.
std::vector<Row> tableOrder(const std::vector<GuideFile>& guide) {
    std::vector<Row> rows;
    for (const GuideFile& file : guide) {
        const auto first = rows.size();
        for (const GuideEvent& event : file.events)
            rows.push_back({&file, &event});
        std::sort(rows.begin() + static_cast<std::ptrdiff_t>(first), rows.end(),
                  [](const Row& a, const Row& b) { return a.event->programme < b.event->programme; });
    }
    return rows;
}

/// A comma-separated list in braces.
class Fields {
public:
    template <class Number> Fields& operator<<(Number value) { return add(std::to_string(value)); }
    Fields& operator<<(bool value) { return add(value ? "true" : "false"); }
    Fields& operator<<(const std::string& text) { return add(text); }

    std::string close() const { return text_ + "}"; }

private:
    Fields& add(const std::string& value) {
        text_ += text_.size() == 1 ? value : "," + value;
        return *this;
    }

    std::string text_ = "{";
};

std::string poolText(std::uint32_t offset) {
    return (Fields() << offset).close();
}

/// A row's members in the order of epgentry.
std::string writeRow(const Row& row, TextPool& pool) {
    const GuideFile& service = *row.service;
    const GuideEvent& event = *row.event;
    Fields crids;
    for (const GuideCrid& crid : event.crids) {
        Fields pair;
        pair << poolText(pool.add(crid.data)) << crid.type;
        crids << pair.close();
    }

    constexpr bool dataFromCurrentTs = true;
    constexpr bool now = false;
    constexpr unsigned preferredServiceNameId = 0;
    Fields fields;
    fields << service.id << event.content << event.crids.size() << crids.close() << event.imi
           << dataFromCurrentTs << poolText(pool.add(event.synopsis)) << service.network << service.dvbId
           << service.stream << event.end << poolText(pool.add(event.guidance)) << event.hd << event.hdLink
           << event.hdLink << event.next << now << preferredServiceNameId << event.programme << event.version
           << service.place << event.start << poolText(pool.add(event.title)) << event.late;
    return fields.close();
}

std::string writeFacts(const std::string& text) {
    const bool json = text.find_first_of("\"\\") != std::string::npos;
    const bool xml = std::any_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) >= 0x80 ||
               std::string_view("<>&'\"").find(c) != std::string_view::npos;
    });
    Fields fields;
    fields << text.size() << json << xml;
    return fields.close();
}

std::string writeStartOrder(const std::vector<Row>& rows) {
    std::vector<std::size_t> order(rows.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return rows[a].event->start < rows[b].event->start;
    });
    std::string out;
    for (std::size_t i = 0; i != order.size(); ++i)
        out += std::to_string(order[i]) + ((i + 1) % 20 == 0 ? ",\n" : ",");
    return out;
}

std::string writeTable(const std::vector<GuideFile>& guide) {
    const auto rows = tableOrder(guide);
    const std::string count = std::to_string(rows.size());

    TextPool pool;
    std::string table, facts, services;
    for (const Row& row : rows) {
        table += writeRow(row, pool) + ",\n";
        Fields fields;
        fields << writeFacts(row.event->title) << writeFacts(row.event->synopsis)
               << writeFacts(row.event->guidance);
        facts += fields.close() + ",\n";
    }
    std::size_t first = 0;
    for (const GuideFile& file : guide) {
        Fields fields;
        fields << file.id << first << file.events.size();
        services += fields.close() + ",\n";
        first += file.events.size();
    }

    return "// Made from the guide files; changes here are lost.\n\n"
           "#include \"TV/server/dummy/guide/GuideTable.h\"\n\n"
           "namespace Ostrel::TV {\n\n" +
           pool.write() +
           "\nnamespace {\n\n"
           "constexpr std::size_t rowCount = " +
           count +
           ";\n\n"
           "const epgentry rows[rowCount + 1] = {\n" +
           table +
           "};\n\n"
           "const GuideRowFacts facts[rowCount] = {\n" +
           facts +
           "};\n\n"
           "const std::uint16_t startOrder[rowCount] = {\n" +
           writeStartOrder(rows) +
           "};\n\n"
           "const GuideServiceRows services[] = {\n" +
           services +
           "};\n\n"
           "} // namespace\n\n"
           "std::span<const epgentry> guideRows() noexcept { return {rows, rowCount}; }\n"
           "std::span<const GuideRowFacts> guideRowFacts() noexcept { return facts; }\n"
           "std::span<const std::uint16_t> guideStartOrder() noexcept { return startOrder; }\n"
           "std::span<const GuideServiceRows> guideServices() noexcept { return services; }\n\n"
           "} // namespace Ostrel::TV\n";
}

void run(const std::vector<std::string>& arguments) {
    const std::string &output = arguments.at(0), &data = arguments.at(1), &directory = arguments.at(2);
    std::vector<GuideFile> guide;
    for (const Service& service : readServices(data + "/services.txt", data + "/lineup.txt"))
        guide.push_back(readGuide(directory + "/" + service.guideFile()));
    checkGuide(guide);
    writeTextFile(output, writeTable(guide));
}

} // namespace

} // namespace Ostrel::TV

int main(int count, char** arguments) {
    return Ostrel::TV::runProgram(count, arguments, 3, "GuideCompiler OUTPUT DATA GUIDE", Ostrel::TV::run);
}
