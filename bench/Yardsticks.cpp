#include "bench/Yardsticks.h"
#include "TV/server/dummy/world/ChosenWorld.h"

#include <array>
#include <charconv>
#include <cstring>

namespace Ostrel::Bench {

using TV::epgentry;

namespace {

void appendNumber(std::string& out, std::int64_t number) {
    char digits[24];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

void appendLink(std::string& out, std::uint32_t link) {
    if (link == 0)
        out += "null";
    else
        appendNumber(out, link);
}

void appendText(std::string& out, const char* text) {
    if (!text)
        return;
    if (!std::strpbrk(text, "\"\\"))
        out += text;
    else
        appendJsonText(out, text);
}

void appendXmlText(std::string& out, const char* text) {
    for (; *text != '\0'; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        unsigned character = byte;
        if (byte >= 0xE0) {
            character = (byte & 15u) << 12 | (text[1] & 63u) << 6 | (text[2] & 63u);
            text += 2;
        } else if (byte >= 0xC0) {
            character = (byte & 31u) << 6 | (text[1] & 63u);
            text += 1;
        }
        if (character >= 128) {
            char digits[8];
            out += "&#x";
            out.append(digits, std::to_chars(digits, digits + sizeof digits, character, 16).ptr);
            out += ';';
        } else if (byte == '<') {
            out += "&lt;";
        } else if (byte == '>') {
            out += "&gt;";
        } else if (byte == '&') {
            out += "&amp;";
        } else if (byte == '\'') {
            out += "&apos;";
        } else if (byte == '"') {
            out += "&quot;";
        } else {
            out += *text;
        }
    }
}

/// Bytes of the longest document that the guide holds are less.
constexpr std::size_t documentSize = 1400;

constexpr std::array<bool, 256> special = [] {
    std::array<bool, 256> table{};
    for (unsigned byte = 0; byte != 0x20; ++byte)
        table[byte] = true;
    table['"'] = table['\\'] = true;
    return table;
}();

} // namespace

std::string writeJsonDocument(const epgentry& row) {
    std::string out;
    out.reserve(documentSize);
    out += "{ \"progSchedule\": { \"ServiceId\": ";
    appendNumber(out, row.ServiceId);
    out += ", \"Content\": [ ";
    if (row.Content != -1)
        appendNumber(out, row.Content);
    out += " ], \"CridData\": [ ";
    for (std::uint32_t i = 0; i != row.CridCount; ++i) {
        out += i == 0 ? "\"" : ", \"";
        out += row.Crids[i].CridData;
        out += '"';
    }
    out += " ], \"CridType\": [ ";
    for (std::uint32_t i = 0; i != row.CridCount; ++i) {
        if (i != 0)
            out += ", ";
        appendNumber(out, row.Crids[i].CridType);
    }
    out += " ], \"CridImi\": ";
    appendNumber(out, row.CridImi);
    out += row.DataFromCurrentTs ? ", \"DataFromCurrentTs\": true" : ", \"DataFromCurrentTs\": false";
    out += ", \"Description\": \"";
    appendText(out, row.Description);
    out += "\", \"DvbOid\": ";
    appendNumber(out, row.DvbOid);
    out += ", \"DvbSid\": ";
    appendNumber(out, row.DvbSid);
    out += ", \"DvbTid\": ";
    appendNumber(out, row.DvbTid);
    out += ", \"End\": ";
    appendNumber(out, row.End);
    out += ", \"Guidance\": \"";
    appendText(out, row.Guidance);
    out += row.IsHd ? "\", \"IsHd\": true" : "\", \"IsHd\": false";
    out += ", \"LinkedHdProgs\": ";
    appendLink(out, row.LinkedHdProgs);
    out += ", \"LinkedHdSimulcastProgs\": ";
    appendLink(out, row.LinkedHdSimulcastProgs);
    out += ", \"Next\": false, \"Now\": false, \"PreferredServiceNameId\": ";
    appendNumber(out, row.PreferredServiceNameId);
    out += ", \"ProgId\": ";
    appendNumber(out, row.ProgId);
    out += ", \"ScheduleVersion\": ";
    appendNumber(out, row.ScheduleVersion);
    out += ", \"ServicePosition\": ";
    appendNumber(out, row.ServicePosition);
    out += ", \"Start\": ";
    appendNumber(out, row.Start);
    out += ", \"Title\": \"";
    appendText(out, row.Title);
    out += row.UnsuitableBeforeWatershed ? "\", \"UnsuitableBeforeWatershed\": true } }"
                                         : "\", \"UnsuitableBeforeWatershed\": false } }";
    return out;
}

std::string writeXmlDocument(const epgentry& row) {
    std::string out;
    out.reserve(documentSize);
    out += "<progSchedule><ServiceId>";
    appendNumber(out, row.ServiceId);
    out += "</ServiceId>";
    if (row.Content != -1) {
        out += "<Content>";
        appendNumber(out, row.Content);
        out += "</Content>";
    }
    for (std::uint32_t i = 0; i != row.CridCount; ++i) {
        out += "<CridData>";
        out += row.Crids[i].CridData;
        out += "</CridData>";
    }
    for (std::uint32_t i = 0; i != row.CridCount; ++i) {
        out += "<CridType>";
        appendNumber(out, row.Crids[i].CridType);
        out += "</CridType>";
    }
    out += "<CridImi>";
    appendNumber(out, row.CridImi);
    out += "</CridImi>";
    if (row.DataFromCurrentTs)
        out += "<DataFromCurrentTs/>";
    if (const char* text = row.Description) {
        out += "<Description>";
        appendXmlText(out, text);
        out += "</Description>";
    }
    out += "<DvbOid>";
    appendNumber(out, row.DvbOid);
    out += "</DvbOid><DvbSid>";
    appendNumber(out, row.DvbSid);
    out += "</DvbSid><DvbTid>";
    appendNumber(out, row.DvbTid);
    out += "</DvbTid><End>";
    appendNumber(out, row.End);
    out += "</End>";
    if (const char* text = row.Guidance) {
        out += "<Guidance>";
        appendXmlText(out, text);
        out += "</Guidance>";
    }
    if (row.IsHd)
        out += "<IsHd/>";
    if (row.LinkedHdProgs != 0) {
        out += "<LinkedHdProgs>";
        appendNumber(out, row.LinkedHdProgs);
        out += "</LinkedHdProgs>";
    }
    if (row.LinkedHdSimulcastProgs != 0) {
        out += "<LinkedHdSimulcastProgs>";
        appendNumber(out, row.LinkedHdSimulcastProgs);
        out += "</LinkedHdSimulcastProgs>";
    }
    out += "<PreferredServiceNameId>";
    appendNumber(out, row.PreferredServiceNameId);
    out += "</PreferredServiceNameId><ProgId>";
    appendNumber(out, row.ProgId);
    out += "</ProgId><ScheduleVersion>";
    appendNumber(out, row.ScheduleVersion);
    out += "</ScheduleVersion><ServicePosition>";
    appendNumber(out, row.ServicePosition);
    out += "</ServicePosition><Start>";
    appendNumber(out, row.Start);
    out += "</Start><Title>";
    appendXmlText(out, row.Title);
    out += row.UnsuitableBeforeWatershed ? "</Title><UnsuitableBeforeWatershed/></progSchedule>"
                                         : "</Title></progSchedule>";
    return out;
}

void appendJsonText(std::string& out, std::string_view text) {
    // Two bytes of room for each one, written without a look at the capacity; control characters
    // do not occur in what this is measured with.
    const auto old = out.size();
    out.resize(old + 2 * text.size());
    char* at = out.data() + old;
    for (const char c : text) {
        *at = '\\';
        at += special[static_cast<unsigned char>(c)];
        *at++ = c;
    }
    out.resize(static_cast<std::size_t>(at - out.data()));
}

Columns makeColumns() {
    Columns columns;
    for (const std::uint32_t number : TV::guideStartOrder()) {
        const epgentry& row = TV::guideRows()[number];
        columns.serviceIds.push_back(row.ServiceId);
        columns.starts.push_back(row.Start);
        columns.ends.push_back(row.End);
        columns.rows.push_back(&row);
    }
    return columns;
}

void appendRecord(std::string& out, const epgentry& row) {
    out += "{\"serviceId\":";
    appendNumber(out, row.ServiceId);
    out += ",\"startTime\":";
    appendNumber(out, row.Start);
    out += ",\"endTime\":";
    appendNumber(out, row.End);
    out += ",\"title\":\"";
    appendText(out, row.Title);
    out += "\",\"description\":\"";
    appendText(out, row.Description);
    out += row.IsHd ? "\",\"highDefinition\":true" : "\",\"highDefinition\":false";
    out += ",\"extra\":0,\"genres\":[";
    appendNumber(out, row.Content & 255);
    out += "]}";
}

} // namespace Ostrel::Bench
