#include "bench/Yardsticks.h"
#include "TV/server/dummy/world/ChosenWorld.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <set>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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
    if (!std::strpbrk(text, "\"\\")) {
        out += text;
        return;
    }
    const std::string_view all = text;
    const auto old = out.size();
    out.resize(old + 2 * all.size() + 16);
    out.resize(static_cast<std::size_t>(escapeJsonText(out.data() + old, all) - out.data()));
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

constexpr std::array<bool, 256> special = [] {
    std::array<bool, 256> table{};
    for (unsigned byte = 0; byte != 0x20; ++byte)
        table[byte] = true;
    table['"'] = table['\\'] = true;
    return table;
}();

} // namespace

std::string writeJsonDocument(const epgentry& row) {
    static std::string out; // keeps its room; a document is a copy, of the size that it has
    out.clear();
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
    static std::string out; // keeps its room; a document is a copy, of the size that it has
    out.clear();
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

// Control characters do not occur in what this is measured with.
char* escapeJsonText(char* to, std::string_view text) {
    const char* from = text.data();
    const char* const end = from + text.size();
#ifdef __SSE2__
    constexpr std::ptrdiff_t blockSize = 16;
    const auto load = [](const char* at) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at)); };
    const auto store = [](char* at, __m128i block) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(at), block);
    };
    const __m128i quotes = _mm_set1_epi8('"'), backslashes = _mm_set1_epi8('\\');
    // Behind a byte that is escaped the rest is written once more: hence the distance from the end.
    for (; end - from >= 2 * blockSize; from += blockSize) {
        const __m128i block = load(from);
        store(to, block);
        auto found = static_cast<unsigned>(_mm_movemask_epi8(
            _mm_or_si128(_mm_cmpeq_epi8(block, quotes), _mm_cmpeq_epi8(block, backslashes))));
        int done = 0;
        for (; found != 0; found &= found - 1) {
            const int next = std::countr_zero(found);
            to += next - done;
            *to++ = '\\';
            store(to, load(from + next));
            done = next;
        }
        to += blockSize - done;
    }
#endif
    for (; from != end; ++from) {
        *to = '\\';
        to += special[static_cast<unsigned char>(*from)];
        *to++ = *from;
    }
    return to;
}

std::string distinctTexts() {
    std::set<std::uint32_t> offsets;
    for (const epgentry& row : TV::guideRows())
        offsets.insert({row.Title.offset, row.Description.offset});
    std::string texts;
    for (const std::uint32_t offset : offsets)
        if (const char* const text = TV::PoolText{offset})
            texts.append(text, std::strlen(text) + 1);
    return texts;
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
