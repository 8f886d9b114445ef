#include "TV/server/dummy/data/WorldFile.h"

#include "TV/server/dummy/data/WorldLayout.h"
#include "TV/server/dummy/data/WorldRules.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ostrel::TV {

namespace {

/// A file's descriptor.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0)
            close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    operator int() const { return number_; }

private:
    const int number_;
};

/// The texts of a world and what is known of each, for rows by the million that share them: it is looked
/// up without reading a text again.
class TextTable {
public:
    /// @param texts  each ended by a NUL
    explicit TextTable(std::string_view texts) : blocks_(texts.size() / blockSize + 1) {
        for (std::size_t at = 0; at < texts.size();) {
            const std::string_view text = texts.data() + at;
            Block& block = blocks_[at / blockSize];
            if (block.starts == 0)
                block.before = static_cast<std::uint32_t>(facts_.size());
            block.starts |= bitOf(at);
            facts_.push_back(factsOf(text));
            at += text.size() + 1;
        }
    }

    /// Null where no text begins.
    const GuideTextFacts* find(PoolText text) const {
        if (text.offset / blockSize >= blocks_.size())
            return nullptr;
        const Block& block = blocks_[text.offset / blockSize];
        if ((block.starts & bitOf(text.offset)) == 0)
            return nullptr;
        return &facts_[block.before + std::size_t(std::popcount(block.starts & (bitOf(text.offset) - 1)))];
    }

private:
    static constexpr std::size_t blockSize = 64;

    static std::uint64_t bitOf(std::size_t offset) { return std::uint64_t{1} << offset % blockSize; }

    /// So many bytes of texts.
    struct Block {
        std::uint64_t starts = 0; ///< a bit for each byte with which a text begins
        std::uint32_t before = 0; ///< texts that begin before it, if one begins in it
    };
    std::vector<Block> blocks_;
    std::vector<GuideTextFacts> facts_;
};

/// Verifies that an image is one of ours in every respect that readers count on without looking.
class Verifier {
public:
    Verifier(std::span<const char> bytes, const std::string& name) : bytes_(bytes), name_(name) {}

    void verify() {
        verifyHeader();
        verifyTables();
        verifyTexts();
        const World world = image().world();
        verifyRows(world);
        verifyLineup(world);
        verifyRules(world);
    }

private:
    const WorldImage& image() const { return *reinterpret_cast<const WorldImage*>(bytes_.data()); }

    [[noreturn]] void fail(const std::string& reason) const { throw WorldError(name_ + ": " + reason); }
    [[noreturn]] void refuse(const std::string& what) const {
        fail("is not as ostrel-world makes it (" + what + "); compile it again");
    }

    void verifyHeader() const;
    void verifyTables() const;
    void verifyTexts();
    void verifyRows(const World& world) const;
    void verifyLineup(const World& world) const;
    void verifyRules(const World& world) const;

    /// Whether it is absent or a text begins there.
    bool isText(PoolText text) const { return texts_->find(text) != nullptr; }
    bool isTextWithFacts(PoolText text, const GuideTextFacts& facts) const {
        const GuideTextFacts* const known = texts_->find(text);
        return known != nullptr && std::memcmp(known, &facts, sizeof facts) == 0;
    }

    const std::span<const char> bytes_;
    const std::string& name_;
    std::optional<TextTable> texts_;
};

void Verifier::verifyHeader() const {
    if (bytes_.size() < sizeof(WorldImage) || image().magic != WorldImage::magicText)
        fail("is not a compiled world; make one with ostrel-world compile, or name a folder of text files");
    if (image().version != WorldImage::currentVersion)
        fail("was made by another version of ostrel-world; compile it again");
    if (image().size > bytes_.size())
        fail("has been cut off; copy or compile it again");
    if (image().size < bytes_.size())
        fail("is longer than its world; copy or compile it again");
    const std::uint64_t checksum =
        XXH3_64bits(bytes_.data() + WorldImage::checkedFrom, bytes_.size() - WorldImage::checkedFrom);
    if (image().checksumLow != static_cast<std::uint32_t>(checksum) ||
        image().checksumHigh != static_cast<std::uint32_t>(checksum >> 32))
        fail("is damaged; copy or compile it again");
}

/// The tables stand where only one layout has them, and so inside the file and apart.
void Verifier::verifyTables() const {
    WorldImage expected = image();
    try {
        layOut(expected);
    } catch (const std::runtime_error&) {
        refuse("it tells of more than it can hold");
    }
    if (std::memcmp(&expected, &image(), sizeof expected) != 0)
        refuse("its tables are not where they belong");
    if (image().rowFacts.count != image().rows.count || image().startOrder.count != image().rows.count)
        refuse("its tables are not equally long");
}

void Verifier::verifyTexts() {
    const std::string_view texts(bytes_.data() + image().texts.offset, image().texts.count);
    if (texts.empty() || texts.front() != '\0' || texts.back() != '\0')
        refuse("its texts do not end");
    texts_.emplace(texts);
    if (!isText(image().name) || !isText(image().timeZone))
        refuse("its name is no text");
}

bool areBools(const void* row, std::initializer_list<std::size_t> offsets) {
    return std::all_of(offsets.begin(), offsets.end(), [row](std::size_t offset) {
        return static_cast<const unsigned char*>(row)[offset] <= 1;
    });
}

template <typename Row> bool isZero(const Row* row) {
    static constexpr std::array<char, sizeof(Row)> zeros{};
    const void* const bytes = row; // what lies between its members is looked at too
    return std::memcmp(bytes, zeros.data(), sizeof(Row)) == 0;
}

void Verifier::verifyRows(const World& world) const {
    for (std::size_t i = 0; i != world.rows.size(); ++i) {
        const epgentry& row = world.rows[i];
        const GuideRowFacts& facts = world.rowFacts[i];
        bool isGood = areBools(&row, {offsetof(epgentry, DataFromCurrentTs), offsetof(epgentry, IsHd),
                                      offsetof(epgentry, Next), offsetof(epgentry, Now),
                                      offsetof(epgentry, UnsuitableBeforeWatershed)});
        for (const epgentry::Crid& crid : row.Crids)
            isGood = isGood && isText(crid.CridData);
        if (!isGood || !isTextWithFacts(row.Title, facts.title) ||
            !isTextWithFacts(row.Description, facts.description) ||
            !isTextWithFacts(row.Guidance, facts.guidance))
            refuse("row " + std::to_string(i));
    }
    if (!isZero(world.rows.data() + world.rows.size()))
        refuse("its rows do not end");
}

void Verifier::verifyLineup(const World& world) const {
    for (std::size_t i = 0; i != world.lineup.size(); ++i) {
        const LineupRow& row = world.lineup[i];
        if (!areBools(&row, {offsetof(LineupRow, scrambled), offsetof(LineupRow, highDefinition),
                             offsetof(LineupRow, visible), offsetof(LineupRow, selectable)}) ||
            !isText(row.name) || !isText(row.provider))
            refuse("row " + std::to_string(i) + " of its line-up");
    }
    if (!isZero(world.lineup.data() + world.lineup.size()))
        refuse("its line-up does not end");
}

void Verifier::verifyRules(const World& world) const {
    WorldPlaces places = WorldPlaces::names(world);
    const auto inFile = [this](auto nameOf) {
        return [this, nameOf](std::size_t row) { return name_ + ": " + nameOf(row); };
    };
    places.row = inFile(places.row);
    places.lineup = inFile(places.lineup);
    places.world = name_;
    WorldProblems problems;
    checkWorld(world, places, problems);
    if (problems.count() != 0)
        throw WorldError(problems);
}

} // namespace

void verifyWorldImage(std::span<const char> bytes, const std::string& name) {
    Verifier(bytes, name).verify();
}

void WorldFile::Unmap::operator()(const char* bytes) const {
    munmap(const_cast<char*>(bytes), size);
}

WorldFile::Mapping WorldFile::map(int file, std::size_t size) {
    void* const address = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
    if (address == MAP_FAILED)
        throw std::system_error(errno, std::generic_category(), "cannot map a world");
    return {static_cast<const char*>(address), Unmap{size}};
}

WorldFile::WorldFile(const std::string& path) {
    // Nonblocking, because a pipe would have its reader wait.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0)
        throw WorldError(path + ": cannot be read: " + std::generic_category().message(errno));
    if (!S_ISREG(status.st_mode))
        throw WorldError(path + ": is neither a file nor a folder");
    if (!std::in_range<std::size_t>(status.st_size))
        throw WorldError(path + ": is larger than this machine can map");
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size != 0) // nothing cannot be mapped
        bytes_ = map(file, size);
    verifyWorldImage(bytes(), path);
}

WorldFile::WorldFile(std::FILE* image) {
    struct stat status {};
    if (std::fflush(image) != 0 || fstat(fileno(image), &status) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot read a temporary file");
    bytes_ = map(fileno(image), static_cast<std::size_t>(status.st_size));
}

} // namespace Ostrel::TV
