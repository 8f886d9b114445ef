#include "world/XmltvWriter.h"

#include "world/Categories.h"
#include "world/Crids.h"
#include "world/OwnUrl.h"
#include "world/Ratings.h"
#include "world/XmltvText.h"
#include "world/XmltvTime.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace Ostrel::TV::Tool {

namespace {

constexpr std::uint32_t television = 1, radio = 2;
constexpr std::size_t pieceSize = std::size_t{1} << 16;

/// What stands on one channel: a service of the line-up, or of the guide, or of both.
struct Channel {
    const LineupRow* lineup = nullptr;
    std::span<const epgentry> rows{};
    std::string id{};
};

/// "4440.4082.233a.dvb", the way names of the network are written: from the small to the large.
std::string makeId(std::uint32_t service, std::uint32_t stream, std::uint32_t network) {
    char id[48];
    std::snprintf(id, sizeof id, "%x.%x.%x.dvb", service, stream, network);
    return id;
}

std::vector<Channel> findChannels(const World& world) {
    std::unordered_map<std::uint32_t, const GuideServiceRows*> guides; // by DVB service_id
    for (const GuideServiceRows& service : world.services)
        guides.emplace(world.rows[service.first].DvbSid, &service);
    std::vector<Channel> channels;
    for (const LineupRow& row : world.lineup) {
        Channel& channel = channels.emplace_back();
        channel.lineup = &row;
        channel.id = makeId(row.dvbServiceId, row.transportStreamId, row.originalNetworkId);
        if (const auto guide = guides.extract(row.dvbServiceId))
            channel.rows = world.rows.subspan(guide.mapped()->first, guide.mapped()->count);
    }
    for (const GuideServiceRows& service : world.services) {
        const epgentry& row = world.rows[service.first];
        if (guides.count(row.DvbSid) != 0)
            channels.push_back({nullptr, world.rows.subspan(service.first, service.count),
                                makeId(row.DvbSid, row.DvbTid, row.DvbOid)});
    }
    return channels;
}

/// Writes one listing.
class Writer {
public:
    Writer(const World& world, const Categories& categories, const std::function<void(std::string_view)>& out)
        : world_(world), categories_(categories), out_(out) {}

    void write() {
        writeHead();
        const auto channels = findChannels(world_);
        for (const Channel& channel : channels)
            writeChannel(channel);
        for (const Channel& channel : channels)
            writeProgrammes(channel);
        xml_ += "</tv>\n";
        out_(xml_);
    }

private:
    void writeHead();
    void writeChannel(const Channel& channel);
    void describeGuide(const Channel& channel, OwnUrl& own) const;
    void describeLineup(const LineupRow& row, OwnUrl& own) const;
    void writeProgrammes(const Channel& channel);
    void writeProgramme(const Channel& channel, const epgentry& row);
    void writeEventUrl(const epgentry& row);
    void writeCrids(const epgentry& row);
    void writeRatings(const epgentry& row);

    /// <name attribute="value">text</name>
    void element(std::string_view name, std::string_view text, std::string_view attribute = {},
                 std::string_view value = {});
    void attribute(std::string_view name, std::string_view value);
    std::string_view textOf(PoolText text) const {
        const char* const found = world_.text(text);
        return found == nullptr ? std::string_view() : std::string_view(found);
    }

    const World& world_;
    const Categories& categories_;
    const std::function<void(std::string_view)>& out_;
    std::string xml_;
};

void Writer::attribute(std::string_view name, std::string_view value) {
    xml_.append(" ").append(name).append("=\"");
    appendEscaped(xml_, value);
    xml_ += '"';
}

void Writer::element(std::string_view name, std::string_view text, std::string_view attributeName,
                     std::string_view value) {
    xml_.append("    <").append(name);
    if (!attributeName.empty())
        attribute(attributeName, value);
    xml_ += '>';
    appendEscaped(xml_, text);
    xml_.append("</").append(name).append(">\n");
}

void Writer::writeHead() {
    OwnUrl own("world");
    own.set("name", std::string(world_.name));
    own.set("zone", std::string(world_.timeZone));
    xml_ += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE tv SYSTEM \"xmltv.dtd\">\n<tv";
    attribute("source-info-name", world_.name);
    attribute("source-data-url", own.write());
    attribute("generator-info-name", "ostrel-world");
    xml_ += ">\n";
}

void Writer::writeChannel(const Channel& channel) {
    xml_ += "  <channel";
    attribute("id", channel.id);
    xml_ += ">\n";
    OwnUrl own("service");
    if (!channel.rows.empty())
        describeGuide(channel, own);
    if (channel.lineup == nullptr) {
        element("display-name", "Service " + own.text("id"));
    } else {
        element("display-name", textOf(channel.lineup->name));
        element("display-name", std::to_string(channel.lineup->channelNumber));
        describeLineup(*channel.lineup, own);
    }
    element("url", own.write(), "system", OwnUrl::system);
    xml_ += "  </channel>\n";
}

void Writer::describeGuide(const Channel& channel, OwnUrl& own) const {
    const epgentry& row = channel.rows.front();
    own.set("id", static_cast<std::uint32_t>(row.ServiceId));
    if (row.ServicePosition != 0)
        own.set("place", row.ServicePosition);
    // A line-up finds its guide by the service_id alone.
    if (channel.lineup != nullptr && channel.lineup->originalNetworkId != row.DvbOid)
        own.set("guide-network", row.DvbOid);
    if (channel.lineup != nullptr && channel.lineup->transportStreamId != row.DvbTid)
        own.set("guide-stream", row.DvbTid);
}

void Writer::describeLineup(const LineupRow& row, OwnUrl& own) const {
    own.set("mhz", row.frequencyMHz);
    own.set("number", static_cast<std::uint32_t>(row.channelNumber));
    if (row.type != television)
        own.set("type", row.type);
    if (row.provider.offset != 0)
        own.set("provider", std::string(textOf(row.provider)));
    const auto mark = [&](bool isSet, const char* word) {
        if (isSet)
            own.set(word);
    };
    mark(row.scrambled, "scrambled");
    mark(row.highDefinition, "hd");
    mark(!row.visible, "hidden");
    mark(!row.selectable, "unselectable");
}

void Writer::writeProgrammes(const Channel& channel) {
    std::vector<const epgentry*> order(channel.rows.size());
    std::transform(channel.rows.begin(), channel.rows.end(), order.begin(),
                   [](const epgentry& row) { return &row; });
    std::stable_sort(order.begin(), order.end(), compareStartTimes());
    for (const epgentry* const row : order) {
        writeProgramme(channel, *row);
        if (xml_.size() > pieceSize) {
            out_(xml_);
            xml_.clear();
        }
    }
}

void Writer::writeProgramme(const Channel& channel, const epgentry& row) {
    const auto time = [&](std::int32_t utc) {
        const int offset = offsetAt(world_.zoneOffsets, utc);
        return formatXmltvTime(utc, offset % 60 == 0 ? offset : 0);
    };
    xml_ += "  <programme";
    attribute("start", time(row.Start));
    attribute("stop", time(row.End));
    attribute("channel", channel.id);
    xml_ += ">\n";
    element("title", row.Title.offset == 0 ? "-" : textOf(row.Title));
    if (row.Description.offset != 0)
        element("desc", textOf(row.Description));
    if (row.Content >= 0) {
        char code[16];
        std::snprintf(code, sizeof code, "0x%02X", static_cast<unsigned>(row.Content));
        element("category", categories_.nameOf(row.Content).value_or(code), "lang", "en");
    }
    writeEventUrl(row);
    writeCrids(row);
    if (row.IsHd)
        xml_ += "    <video><quality>HDTV</quality></video>\n";
    else if (channel.lineup != nullptr && channel.lineup->type == radio)
        xml_ += "    <video><present>no</present></video>\n";
    if (row.CridImi != 0)
        xml_ += "    <previously-shown/>\n";
    writeRatings(row);
    xml_ += "  </programme>\n";
}

void Writer::writeEventUrl(const epgentry& row) {
    OwnUrl own("event");
    own.set("id", row.ProgId);
    if (row.ScheduleVersion != 0)
        own.set("version", row.ScheduleVersion);
    if (row.LinkedHdProgs != 0)
        own.set("hd-event", row.LinkedHdProgs);
    if (row.Next)
        own.set("next");
    if (row.Title.offset == 0)
        own.set("untitled");
    element("url", own.write(), "system", OwnUrl::system);
}

void Writer::writeCrids(const epgentry& row) {
    for (const epgentry::Crid& crid : std::span(row.Crids).first(row.CridCount))
        element("episode-num", textOf(crid.CridData), "system", cridSystems[crid.CridType - 1]);
    if (row.CridImi != 0)
        element("episode-num", std::to_string(row.CridImi), "system", imiSystem);
}

void Writer::writeRatings(const epgentry& row) {
    const auto rating = [&](std::string_view system, std::string_view value) {
        xml_.append("    <rating system=\"").append(system).append("\"><value>");
        appendEscaped(xml_, value);
        xml_ += "</value></rating>\n";
    };
    if (row.Guidance.offset != 0)
        rating(guidanceSystem, textOf(row.Guidance));
    if (row.UnsuitableBeforeWatershed)
        rating(watershedSystem, "late");
}

} // namespace

void writeXmltv(const World& world, const std::function<void(std::string_view)>& out) {
    static const Categories builtIn;
    Writer(world, builtIn, out).write();
}

} // namespace Ostrel::TV::Tool
