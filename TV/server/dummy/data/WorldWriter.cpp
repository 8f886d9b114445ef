#include "TV/server/dummy/data/WorldWriter.h"

#include "TV/server/dummy/data/TemporaryFile.h"
#include "TV/server/dummy/data/WorldLayout.h"
#include "TV/server/dummy/data/ZoneOffsets.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <limits>
#include <numeric>
#include <stdexcept>

#include <sys/mman.h>

namespace Ostrel::TV {

static_assert(std::endian::native == std::endian::little, "images have the lowest byte first");

namespace {

template <typename Row> Row zeroRow() {
    Row row;
    std::memset(&row, 0, sizeof row); // what lies between its members goes into the image too
    return row;
}

} // namespace

/// Bytes that wait in a temporary file.
class WorldWriter::Spool {
public:
    ~Spool() { unmap(); }
    Spool() = default;
    Spool(const Spool&) = delete;
    Spool& operator=(const Spool&) = delete;

    std::size_t size() const { return size_; }

    void append(const void* bytes, std::size_t count) {
        unmap();
        if (std::fwrite(bytes, 1, count, file_.get()) != count)
            failToWriteWorld();
        if (__builtin_add_overflow(size_, count, &size_)) // on 32 bits, where it could not be mapped
            throw std::runtime_error("a world has at most 4 GiB");
    }

    /// Good until the next append().
    char* bytes() {
        if (mapped_ == nullptr && size_ != 0) {
            if (std::fflush(file_.get()) != 0)
                failToWriteWorld();
            void* const address =
                mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED, fileno(file_.get()), 0);
            if (address == MAP_FAILED)
                failToWriteWorld();
            mapped_ = static_cast<char*>(address);
            mappedSize_ = size_;
        }
        return mapped_;
    }

private:
    void unmap() {
        if (mapped_ != nullptr)
            munmap(mapped_, mappedSize_);
        mapped_ = nullptr;
    }

    const TemporaryFile file_ = makeTemporaryFile();
    std::size_t size_ = 0;
    char* mapped_ = nullptr;
    std::size_t mappedSize_ = 0;
};

/// Where texts of late stand: a text that comes again is kept once, or, rarely, a few times. It
/// never grows, and its pages cost nothing until they are used: not even a sanitizer's.
class WorldWriter::KnownTexts {
public:
    KnownTexts()
        : entries_(static_cast<Entry*>(
              mmap(nullptr, tableSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        if (entries_ == MAP_FAILED)
            throw std::bad_alloc();
    }
    ~KnownTexts() { munmap(entries_, tableSize); }
    KnownTexts(const KnownTexts&) = delete;
    KnownTexts& operator=(const KnownTexts&) = delete;

    /// The place of a text's offset; 0 in it says that the text is not known.
    std::uint32_t& find(std::string_view text) {
        const XXH128_hash_t hash = XXH3_128bits(text.data(), text.size());
        Entry& entry = entries_[hash.low64 % entryCount];
        if (entry.low != hash.low64 || entry.high != hash.high64)
            entry = {hash.low64, hash.high64, 0};
        return entry.offset;
    }

private:
    struct Entry {
        std::uint64_t low, high;
        std::uint32_t offset;
    };
    static constexpr std::size_t entryCount = std::size_t{1} << 20;
    static constexpr std::size_t tableSize = entryCount * sizeof(Entry);

    Entry* const entries_; ///< all zero at first
};

WorldWriter::WorldWriter()
    : events_(std::make_unique<Spool>()), texts_(std::make_unique<Spool>()),
      known_(std::make_unique<KnownTexts>()) {
    texts_->append("", 1);
}

WorldWriter::~WorldWriter() = default;

void WorldWriter::describe(std::string name, std::string timeZone) {
    name_ = std::move(name);
    timeZone_ = std::move(timeZone);
}

PoolText WorldWriter::keep(std::string_view text) {
    constexpr std::size_t mostBytes = std::numeric_limits<std::uint16_t>::max();
    if (text.empty())
        return {0};
    if (text.size() > mostBytes)
        throw std::runtime_error("a text is longer than " + std::to_string(mostBytes) + " bytes");
    if (text.size() >= std::numeric_limits<std::uint32_t>::max() - texts_->size())
        throw std::runtime_error("all texts together are longer than 4 GiB");
    std::uint32_t& offset = known_->find(text);
    if (offset == 0) {
        offset = static_cast<std::uint32_t>(texts_->size());
        texts_->append(text.data(), text.size());
        texts_->append("", 1);
    }
    return {offset};
}

void WorldWriter::addToLineup(const LineupService& service) {
    auto row = zeroRow<LineupRow>();
    row.frequencyMHz = service.frequencyMHz;
    row.channelNumber = static_cast<std::int32_t>(service.channelNumber);
    row.type = service.type;
    row.name = keep(service.name);
    row.originalNetworkId = service.network;
    row.transportStreamId = service.stream;
    row.dvbServiceId = service.dvbId;
    row.provider = keep(service.provider);
    row.scrambled = service.scrambled;
    row.highDefinition = service.highDefinition;
    row.visible = service.visible;
    row.selectable = service.selectable;
    lineup_.push_back(row);
}

void WorldWriter::add(const GuideService& service, const GuideEvent& event) {
    auto waiting = zeroRow<Waiting>();
    epgentry& row = waiting.row;
    if (event.crids.size() > std::size(row.Crids))
        throw std::runtime_error("an event has at most " + std::to_string(std::size(row.Crids)) + " crids");
    using Time = std::numeric_limits<std::int32_t>;
    if (std::min(event.start, event.end) < Time::min() || std::max(event.start, event.end) > Time::max())
        throw std::runtime_error("a time does not fit 32 bits");
    row.ServiceId = service.id;
    row.Content = event.content;
    row.CridCount = static_cast<std::uint32_t>(event.crids.size());
    for (std::size_t i = 0; i != event.crids.size(); ++i)
        row.Crids[i] = {keep(event.crids[i].data), event.crids[i].type};
    row.CridImi = event.imi;
    row.DataFromCurrentTs = true;
    row.Description = keep(event.synopsis);
    row.DvbOid = service.network;
    row.DvbSid = service.dvbId;
    row.DvbTid = service.stream;
    row.End = static_cast<std::int32_t>(event.end);
    row.Guidance = keep(event.guidance);
    row.IsHd = event.hd;
    row.LinkedHdProgs = event.hdLink;
    row.LinkedHdSimulcastProgs = event.hdLink;
    row.Next = event.next;
    row.ProgId = event.programme;
    row.ScheduleVersion = event.version;
    row.ServicePosition = service.place;
    row.Start = static_cast<std::int32_t>(event.start);
    row.Title = keep(event.title);
    row.UnsuitableBeforeWatershed = event.late;
    waiting.facts.title = factsOf(event.title);
    waiting.facts.description = factsOf(event.synopsis);
    waiting.facts.guidance = factsOf(event.guidance);
    events_->append(&waiting, sizeof waiting);
    ++count_;
}

std::span<WorldWriter::Waiting> WorldWriter::waiting() {
    return {reinterpret_cast<Waiting*>(events_->bytes()), count_};
}

void WorldWriter::mend(const std::function<void(std::span<epgentry* const>)>& service) {
    const auto events = waiting();
    std::vector<std::uint32_t> order(events.size());
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        const epgentry &left = events[a].row, &right = events[b].row;
        return std::pair(left.ServiceId, left.Start) < std::pair(right.ServiceId, right.Start);
    });
    std::vector<epgentry*> group;
    for (std::size_t i = 0; i != order.size(); ++i) {
        group.push_back(&events[order[i]].row);
        if (i + 1 == order.size() || events[order[i + 1]].row.ServiceId != group.front()->ServiceId) {
            service(group);
            group.clear();
        }
    }
}

/// The numbers of the events in the order of the table; those that were left out are missing.
std::vector<std::uint32_t> WorldWriter::tableOrder() {
    const auto events = waiting();
    std::vector<std::uint32_t> order;
    order.reserve(events.size());
    for (std::size_t i = 0; i != events.size(); ++i)
        if (events[i].row.ServiceId != 0)
            order.push_back(static_cast<std::uint32_t>(i));
    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        const epgentry &left = events[a].row, &right = events[b].row;
        return std::pair(left.ServiceId, left.ProgId) < std::pair(right.ServiceId, right.ProgId);
    });
    return order;
}

namespace {

/// Writes an image from its beginning to its end, and adds up what it writes.
class ImageFile {
public:
    explicit ImageFile(std::FILE* out) : out_(out), state_(XXH3_createState()) {
        if (state_ == nullptr)
            throw std::bad_alloc();
        XXH3_64bits_reset(state_.get());
    }

    void writeHeader(const WorldImage& image) {
        put(&image, WorldImage::checkedFrom);
        write(reinterpret_cast<const char*>(&image) + WorldImage::checkedFrom,
              sizeof image - WorldImage::checkedFrom);
    }

    /// Fills up to where a table stands.
    void begin(const WorldImage::Table& table) {
        static constexpr char zeros[WorldImage::alignment] = {};
        write(zeros, table.offset - size_);
    }

    template <typename Element> void write(const Element& element) { write(&element, sizeof element); }

    void write(const void* bytes, std::size_t count) {
        XXH3_64bits_update(state_.get(), bytes, count);
        put(bytes, count);
    }

    /// Writes the header again, with the checksum of what has been written.
    void finish(WorldImage image) {
        const std::uint64_t checksum = XXH3_64bits_digest(state_.get());
        image.checksumLow = static_cast<std::uint32_t>(checksum);
        image.checksumHigh = static_cast<std::uint32_t>(checksum >> 32);
        if (std::fseek(out_, 0, SEEK_SET) != 0 || std::fwrite(&image, sizeof image, 1, out_) != 1 ||
            std::fflush(out_) != 0)
            failToWriteWorld();
    }

private:
    void put(const void* bytes, std::size_t count) {
        if (count == 0) // an empty table has no address
            return;
        if (std::fwrite(bytes, 1, count, out_) != count)
            failToWriteWorld();
        size_ += count;
    }

    struct Free {
        void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
    };
    std::FILE* out_;
    std::size_t size_ = 0;
    std::unique_ptr<XXH3_state_t, Free> state_;
};

std::vector<GuideServiceRows> makeServices(std::span<const std::uint32_t> order, auto serviceOf) {
    std::vector<GuideServiceRows> services;
    for (std::uint32_t i = 0; i != order.size(); ++i) {
        const std::int32_t id = serviceOf(order[i]);
        if (services.empty() || services.back().serviceId != id)
            services.push_back({id, i, 0});
        ++services.back().count;
    }
    return services;
}

} // namespace

std::vector<std::uint32_t> WorldWriter::write(std::FILE* out) {
    auto image = zeroRow<WorldImage>();
    image.magic = WorldImage::magicText;
    image.version = WorldImage::currentVersion;
    image.name = keep(name_);
    image.timeZone = keep(timeZone_);

    std::vector<std::uint32_t> order = tableOrder();
    const auto events = waiting();
    const auto row = [&](std::uint32_t event) -> const epgentry& { return events[event].row; };
    const auto services = makeServices(order, [&](std::uint32_t event) { return row(event).ServiceId; });
    std::vector<std::uint32_t> startOrder(order.size());
    std::iota(startOrder.begin(), startOrder.end(), 0u);
    std::stable_sort(startOrder.begin(), startOrder.end(), [&](std::uint32_t a, std::uint32_t b) {
        return row(order[a]).Start < row(order[b]).Start;
    });
    std::int32_t latestEnd = 0;
    for (const std::uint32_t event : order)
        latestEnd = std::max(latestEnd, row(event).End);
    const auto zoneOffsets =
        readZoneOffsets(timeZone_, order.empty() ? 0 : row(order[startOrder.front()]).Start, latestEnd);

    const auto count = [](const auto& elements) { return static_cast<std::uint32_t>(elements.size()); };
    image.rows.count = image.rowFacts.count = image.startOrder.count = count(order);
    image.services.count = count(services);
    image.lineup.count = count(lineup_);
    image.zoneOffsets.count = count(zoneOffsets);
    image.texts.count = static_cast<std::uint32_t>(texts_->size());
    layOut(image);

    ImageFile file(out);
    file.writeHeader(image);
    file.begin(image.rows);
    for (const std::uint32_t event : order)
        file.write(row(event));
    file.write(zeroRow<epgentry>());
    file.begin(image.rowFacts);
    for (const std::uint32_t event : order)
        file.write(events[event].facts);
    const auto writeAll = [&](const WorldImage::Table& table, const auto& elements) {
        file.begin(table);
        file.write(elements.data(), elements.size() * sizeof elements[0]);
    };
    writeAll(image.startOrder, startOrder);
    writeAll(image.services, services);
    writeAll(image.lineup, lineup_);
    file.write(zeroRow<LineupRow>());
    writeAll(image.zoneOffsets, zoneOffsets);
    file.begin(image.texts);
    file.write(texts_->bytes(), texts_->size());
    file.finish(image);
    return order;
}

} // namespace Ostrel::TV
