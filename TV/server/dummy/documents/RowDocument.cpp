#include "TV/server/dummy/documents/RowDocument.h"

#include "TV/server/dummy/documents/Escape.h"
#include "TV/server/dummy/documents/JsonGenerator.h"
#include "TV/server/dummy/documents/XmlGenerator.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>

#define OSTREL_INLINE [[gnu::always_inline]] inline

namespace Ostrel::TV {

namespace {

/// What is known of a text beside its bytes.
struct Text {
    const char* text; ///< null when absent
    std::size_t length;
    bool escapes; ///< whether the form has anything to escape in it
};

/// Puts the pieces of a document one behind the other where there is room enough.
class Buffer {
public:
    explicit Buffer(char* start) : start_(start), at_(start) {}

    OSTREL_INLINE void append(const char* text, std::size_t length) {
        std::memcpy(at_, text, length);
        at_ += length;
    }
    template <std::size_t size> OSTREL_INLINE void append(const char (&literal)[size]) {
        append(literal, size - 1);
    }
    template <typename Number> OSTREL_INLINE void appendNumber(Number number) {
        at_ = std::to_chars(at_, at_ + 20, number).ptr;
    }

    std::string string() const { return {start_, at_}; }

private:
    char* start_;
    char* at_;
};

/// What a JsonGenerator writes, for names that need no escape.
class JsonDocument {
public:
    static constexpr OutputFormat format = OutputFormat::Json;

    explicit JsonDocument(char* start) : out_(start) {}
    std::string string() const { return out_.string(); }

    OSTREL_INLINE void begin() { out_.append("{ "); }
    OSTREL_INLINE void end() { out_.append(" }"); }
    template <std::size_t size> OSTREL_INLINE void beginObject(const char (&name)[size]) {
        addKey(name);
        out_.append("{ ");
        first_ = true; // and again behind the object, but nothing follows it
    }
    template <std::size_t size> OSTREL_INLINE void endObject(const char (&)[size]) { out_.append(" }"); }
    template <std::size_t size> OSTREL_INLINE void beginList(const char (&name)[size]) {
        addKey(name);
        out_.append("[ ");
        first_ = true;
    }
    // No list is the first item of the object, so that a separator follows every one.
    OSTREL_INLINE void endList() {
        out_.append(" ]");
        first_ = false;
    }
    template <std::size_t size, typename Number>
    OSTREL_INLINE void addInt(const char (&name)[size], Number value) {
        addKey(name);
        out_.appendNumber(value);
    }
    template <std::size_t size> OSTREL_INLINE void addLink(const char (&name)[size], std::uint32_t value) {
        addKey(name);
        if (value == 0)
            out_.append("null");
        else
            out_.appendNumber(value);
    }
    template <std::size_t size> OSTREL_INLINE void addString(const char (&name)[size], const Text& text) {
        addKey(name);
        addText(text);
    }
    template <std::size_t size> OSTREL_INLINE void addFlag(const char (&name)[size], bool value) {
        addKey(name);
        if (value)
            out_.append("true");
        else
            out_.append("false");
    }
    template <std::size_t size, typename Number>
    OSTREL_INLINE void addElement(const char (&)[size], Number value) {
        separate();
        out_.appendNumber(value);
    }
    template <std::size_t size> OSTREL_INLINE void addElement(const char (&)[size], const Text& text) {
        separate();
        addText(text);
    }

private:
    OSTREL_INLINE void separate() {
        if (!first_)
            out_.append(", ");
        first_ = false;
    }
    template <std::size_t size> OSTREL_INLINE void addKey(const char (&name)[size]) {
        separate();
        out_.append("\"");
        out_.append(name);
        out_.append("\": ");
    }
    OSTREL_INLINE void addText(const Text& text) {
        out_.append("\"");
        if (text.escapes)
            escapeJson(out_, text.text);
        else
            out_.append(text.text, text.length);
        out_.append("\"");
    }

    Buffer out_;
    bool first_ = true;
};

/// What an XmlGenerator writes.
class XmlDocument {
public:
    static constexpr OutputFormat format = OutputFormat::Xml;

    explicit XmlDocument(char* start) : out_(start) {}
    std::string string() const { return out_.string(); }

    OSTREL_INLINE void begin() {}
    OSTREL_INLINE void end() {}
    template <std::size_t size> OSTREL_INLINE void beginObject(const char (&name)[size]) { open(name); }
    template <std::size_t size> OSTREL_INLINE void endObject(const char (&name)[size]) { close(name); }
    template <std::size_t size> OSTREL_INLINE void beginList(const char (&)[size]) {}
    OSTREL_INLINE void endList() {}
    template <std::size_t size, typename Number>
    OSTREL_INLINE void addInt(const char (&name)[size], Number value) {
        open(name);
        out_.appendNumber(value);
        close(name);
    }
    template <std::size_t size> OSTREL_INLINE void addLink(const char (&name)[size], std::uint32_t value) {
        if (value != 0)
            addInt(name, value);
    }
    template <std::size_t size> OSTREL_INLINE void addString(const char (&name)[size], const Text& text) {
        if (!text.text)
            return;
        open(name);
        if (text.escapes)
            escapeXml(out_, text.text);
        else
            out_.append(text.text, text.length);
        close(name);
    }
    template <std::size_t size> OSTREL_INLINE void addFlag(const char (&name)[size], bool value) {
        if (!value)
            return;
        out_.append("<");
        out_.append(name);
        out_.append("/>");
    }
    template <std::size_t size, typename Number>
    OSTREL_INLINE void addElement(const char (&list)[size], Number value) {
        addInt(list, value);
    }
    template <std::size_t size> OSTREL_INLINE void addElement(const char (&list)[size], const Text& text) {
        addString(list, text);
    }

private:
    template <std::size_t size> OSTREL_INLINE void open(const char (&name)[size]) {
        out_.append("<");
        out_.append(name);
        out_.append(">");
    }
    template <std::size_t size> OSTREL_INLINE void close(const char (&name)[size]) {
        out_.append("</");
        out_.append(name);
        out_.append(">");
    }

    Buffer out_;
};

/// Passes everything on to a Generator.
class GeneratedDocument {
public:
    explicit GeneratedDocument(Generator& generator) : generator_(generator) {}

    void begin() { generator_.begin(); }
    void end() { generator_.end(); }
    void beginObject(const char* name) { generator_.beginObject(name); }
    void endObject(const char*) { generator_.endObject(); }
    void beginList(const char* name) { generator_.beginList(name); }
    void endList() { generator_.endList(); }
    void addInt(const char* name, long long value) { generator_.addInt(name, value); }
    void addLink(const char* name, long long value) { generator_.addOptInt(name, value, 0); }
    void addString(const char* name, const Text& text) { generator_.addString(name, text.text); }
    void addFlag(const char* name, bool value) { generator_.addFlag(name, value); }
    void addElement(const char*, long long value) { generator_.addInt(nullptr, value); }
    void addElement(const char*, const Text& text) { generator_.addString(nullptr, text.text); }

private:
    Generator& generator_;
};

/// The texts of a row.
struct Texts {
    Text title, description, guidance;
    std::array<Text, 10> crids; ///< as many as the row has; the others are not set
};

/// A document's members, in the one order that both forms have.
template <typename Document, std::size_t size>
OSTREL_INLINE void writeObject(Document& document, const epgentry& row, const Texts& texts, unsigned mode,
                               const char (&name)[size]) {
    constexpr std::int32_t noContent = -1;
    document.begin();
    document.beginObject(name);
    document.addInt("ServiceId", static_cast<std::uint32_t>(row.ServiceId));
    document.beginList("Content");
    if (row.Content != noContent)
        document.addElement("Content", row.Content);
    document.endList();
    document.beginList("CridData");
    for (std::size_t i = 0; i < row.CridCount; ++i)
        document.addElement("CridData", texts.crids[i]);
    document.endList();
    document.beginList("CridType");
    for (std::size_t i = 0; i < row.CridCount; ++i)
        document.addElement("CridType", row.Crids[i].CridType);
    document.endList();
    document.addInt("CridImi", row.CridImi);
    document.addFlag("DataFromCurrentTs", row.DataFromCurrentTs);
    document.addString("Description", texts.description);
    document.addInt("DvbOid", row.DvbOid);
    document.addInt("DvbSid", row.DvbSid);
    document.addInt("DvbTid", row.DvbTid);
    document.addInt("End", row.End);
    document.addString("Guidance", texts.guidance);
    document.addFlag("IsHd", row.IsHd);
    document.addLink("LinkedHdProgs", row.LinkedHdProgs);
    document.addLink("LinkedHdSimulcastProgs", row.LinkedHdSimulcastProgs);
    // The flags look exchanged, and the row's own marks are left alone.
    // Meant so: docs/oddities.md, "Next is now".
    document.addFlag("Next", mode == OnAir);
    document.addFlag("Now", mode == Following);
    document.addInt("PreferredServiceNameId", row.PreferredServiceNameId);
    document.addInt("ProgId", row.ProgId);
    document.addInt("ScheduleVersion", row.ScheduleVersion);
    document.addInt("ServicePosition", row.ServicePosition);
    document.addInt("Start", row.Start);
    document.addString("Title", texts.title);
    document.addFlag("UnsuitableBeforeWatershed", row.UnsuitableBeforeWatershed);
    document.endObject(name);
    document.end();
}

template <typename Document>
void writeDocument(Document& document, const epgentry& row, const Texts& texts, unsigned mode) {
    if (mode == Schedule)
        writeObject(document, row, texts, mode, "progSchedule");
    else
        writeObject(document, row, texts, mode, "progNowNext");
}

/// The texts of a row of which nothing is known.
Texts textsOf(const epgentry& row) {
    const auto unknown = [](const char* text) { return Text{text, 0, true}; };
    Texts texts;
    texts.title = unknown(row.Title);
    texts.description = unknown(row.Description);
    texts.guidance = unknown(row.Guidance);
    for (std::size_t i = 0; i < row.CridCount; ++i)
        texts.crids[i] = unknown(row.Crids[i].CridData);
    return texts;
}

/// The texts of a row of a world.
/// @param room  gets the bytes that they take at most
template <OutputFormat format>
Texts textsOf(const epgentry& row, const GuideRowFacts& facts, std::size_t& room) {
    const auto known = [&](const char* text, const GuideTextFacts& fact) {
        const bool escapes = format == OutputFormat::Json ? fact.jsonEscapes : fact.xmlEscapes;
        room += fact.length * (escapes ? longestEscape : 1);
        return text ? Text{text, fact.length, escapes}
                    : Text{format == OutputFormat::Json ? "" : nullptr, 0, false};
    };
    Texts texts;
    texts.title = known(row.Title, facts.title);
    texts.description = known(row.Description, facts.description);
    texts.guidance = known(row.Guidance, facts.guidance);
    for (std::size_t i = 0; i < row.CridCount; ++i) {
        // None of its characters wants an escape.
        const char* const crid = row.Crids[i].CridData;
        texts.crids[i] = {crid, std::strlen(crid), false};
        room += texts.crids[i].length;
    }
    return texts;
}

/// The facts of a row, which only those of the world have.
const GuideRowFacts* findFacts(const epgentry* row, const World& world) {
    const auto rows = world.rows;
    const std::less<const epgentry*> less;
    if (less(row, rows.data()) || !less(row, rows.data() + rows.size()))
        return nullptr;
    return &world.rowFacts[static_cast<std::size_t>(row - rows.data())];
}

template <typename Generated> std::string generate(const epgentry* row, unsigned mode) {
    Generated generator;
    writeEntry(generator, row, mode);
    return generator.getString();
}

template <typename Document, typename Generated>
std::string format(const epgentry* row, unsigned mode, const World& world) {
    constexpr std::size_t markup = 2048; // names, numbers and signs, ten crids included, take less
    constexpr std::size_t bufferSize = 16384;
    const GuideRowFacts* const facts = findFacts(row, world);
    std::size_t room = markup;
    if (!facts)
        return generate<Generated>(row, mode);
    const Texts texts = textsOf<Document::format>(*row, *facts, room);
    if (room > bufferSize)
        return generate<Generated>(row, mode);
    char buffer[bufferSize];
    Document document(buffer);
    writeDocument(document, *row, texts, mode);
    return document.string();
}

} // namespace

std::optional<OutputFormat> findOutputFormat(const std::string& name) {
    if (name == "quoriljson")
        return OutputFormat::Json;
    if (name == "quorilxml")
        return OutputFormat::Xml;
    return std::nullopt;
}

void writeEntry(Generator& generator, const epgentry* row, unsigned mode) {
    GeneratedDocument document(generator);
    writeDocument(document, *row, textsOf(*row), mode);
}

std::string formatEntry(OutputFormat outputFormat, const epgentry* row, unsigned mode, const World& world) {
    return outputFormat == OutputFormat::Json ? format<JsonDocument, JsonGenerator>(row, mode, world)
                                              : format<XmlDocument, XmlGenerator>(row, mode, world);
}

std::string formatEntry(const std::string& outputFormat, const epgentry* row, unsigned mode) {
    const auto found = findOutputFormat(outputFormat);
    return found ? formatEntry(*found, row, mode) : std::string();
}

} // namespace Ostrel::TV
