// A stream of operations, put to both forms of a document: each is well-formed, and reads back as what was put in.

#include "TV/server/dummy/documents/JsonGenerator.h"
#include "TV/server/dummy/documents/XmlGenerator.h"
#include "fuzz/Require.h"

#include <boost/json.hpp>
#include <expat.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace json = boost::json;
using namespace Ostrel::Fuzz;
using namespace Ostrel::TV;

namespace {

/// What is put in.
struct Item {
    enum Kind { Int, OptInt, String, AbsentString, Flag, Object, List, End, kMaxValue = End };

    bool isContainer() const { return kind == Object || kind == List; }

    Kind kind = Object;
    std::string name; ///< an XML name
    long long number = 0, absent = 0; ///< a Flag is set when the number is odd
    std::string text;
    std::vector<Item> parts;
};

constexpr unsigned deepest = 40;

/// Characters that XML can say, of up to three bytes.
std::string readText(FuzzedDataProvider& input) {
    std::string text;
    for (auto length = input.ConsumeIntegralInRange<unsigned>(0, 12); length != 0; --length) {
        const bool isPlain = input.ConsumeBool();
        const auto c =
            isPlain ? input.ConsumeIntegral<std::uint8_t>() : input.ConsumeIntegral<std::uint16_t>();
        const bool isControl = c < 0x20 && c != '\t' && c != '\n' && c != '\r';
        if (isControl || (c >= 0xD800 && c < 0xE000) || c > 0xFFFD)
            continue;
        if (c < 0x80)
            text += static_cast<char>(c);
        else if (c < 0x800)
            text += {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
        else
            text += {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 0x3F)),
                     static_cast<char>(0x80 | (c & 0x3F))};
    }
    return text;
}

/// Reads what is inside of a container, up to its end or the end of all.
std::vector<Item> readParts(FuzzedDataProvider& input, unsigned depth) {
    std::vector<Item> parts;
    while (input.remaining_bytes() != 0) {
        Item item;
        item.kind = input.ConsumeEnum<Item::Kind>();
        if (item.kind == Item::End)
            break;
        if (item.isContainer() && depth == deepest)
            continue;
        item.name = input.PickValueInArray({"a", "Title", "Next", "x-1", "_"});
        if (item.isContainer())
            item.parts = readParts(input, depth + 1);
        else if (item.kind == Item::String)
            item.text = readText(input);
        else
            item.number = input.ConsumeIntegral<long long>();
        // Which is another one, the same, or has the low half alone in common.
        if (item.kind == Item::OptInt)
            item.absent = input.ConsumeBool() ? item.number & 0xFFFFFFFF
                                              : input.PickValueInArray<long long>({0, 5, -1, item.number});
        parts.push_back(std::move(item));
    }
    return parts;
}

/// Puts items into a generator.
///
/// In a list nothing has a name in JSON, and all have one in XML: the list's, where it is not their own.
class Driver {
public:
    Driver(Generator& generator, bool isJson) : generator_(generator), isJson_(isJson) {}

    void put(const std::vector<Item>& parts, bool inList) {
        std::size_t number = 0;
        bool isLeading = true; // nothing but containers so far
        for (const Item& item : parts) {
            if (number != 0 && isLeading)
                unseparated_.push_back(generator_.getString().size());
            isLeading = isLeading && item.isContainer();
            const std::string name = nameOf(item, number++, inList);
            const bool takesListName = inList && item.number % 3 == 0;
            put(item, name, takesListName ? nullptr : name.c_str());
        }
    }

    /// What has come out, with the separators that are left out behind containers that come first.
    std::string separated() const {
        std::string text = generator_.getString();
        for (auto at = unseparated_.rbegin(); at != unseparated_.rend(); ++at)
            text.insert(*at, ", ");
        return text;
    }

    /// The members of an object are told apart by their number.
    static std::string memberName(const Item& item, std::size_t number) {
        return item.name + " \"\\\n\u00e9" + std::to_string(number);
    }

private:
    std::string nameOf(const Item& item, std::size_t number, bool inList) const {
        if (!isJson_)
            return item.name;
        return inList ? "" : memberName(item, number);
    }

    void put(const Item& item, const std::string& name, const char* nameOrNull) {
        switch (item.kind) {
        case Item::Int:
            return generator_.addInt(nameOrNull, item.number);
        case Item::OptInt:
            return generator_.addOptInt(name.c_str(), item.number, item.absent);
        case Item::String:
            return generator_.addString(nameOrNull, item.text.c_str());
        case Item::AbsentString:
            return generator_.addString(nameOrNull, nullptr);
        case Item::Flag:
            return generator_.addFlag(name.c_str(), item.number % 2 != 0);
        case Item::Object:
            generator_.beginObject(name);
            put(item.parts, false);
            return generator_.endObject();
        case Item::List:
            generator_.beginList(name);
            put(item.parts, true);
            return generator_.endList();
        case Item::End:
            break;
        }
    }

    Generator& generator_;
    const bool isJson_;
    std::vector<std::size_t> unseparated_; ///< where separators are left out
};

json::value describe(const Item& item);

json::object describeMembers(const std::vector<Item>& parts) {
    json::object object;
    for (const Item& part : parts)
        object.emplace(Driver::memberName(part, object.size()), describe(part));
    return object;
}

json::value describe(const Item& item) {
    switch (item.kind) {
    case Item::Int:
        return item.number;
    case Item::OptInt:
        return item.number == item.absent ? json::value() : json::value(item.number);
    case Item::Flag:
        return item.number % 2 != 0;
    case Item::Object:
        return describeMembers(item.parts);
    case Item::List: {
        json::array list;
        for (const Item& part : item.parts)
            list.push_back(describe(part));
        return list;
    }
    default:
        return json::value(item.text);
    }
}

// Elements are described by characters that are in no text.

std::string element(const std::string& name, const std::string& inside) {
    return '\1' + name + '\2' + inside + '\3';
}

std::string describeElements(const std::vector<Item>& parts, const std::string* list) {
    std::string text;
    for (const Item& part : parts) {
        const std::string& name = list != nullptr && part.number % 3 == 0 ? *list : part.name;
        if (part.kind == Item::Int)
            text += element(name, std::to_string(part.number));
        else if (part.kind == Item::OptInt && part.number != static_cast<std::int32_t>(part.absent))
            text += element(part.name, std::to_string(part.number));
        else if (part.kind == Item::String)
            text += element(name, part.text);
        else if (part.kind == Item::Flag && part.number % 2 != 0)
            text += element(part.name, "");
        else if (part.kind == Item::Object)
            text += element(part.name, describeElements(part.parts, nullptr));
        else if (part.kind == Item::List)
            text += describeElements(part.parts, &part.name);
    }
    return text;
}

std::string readElements(const std::string& xml) {
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, void (*)(XML_Parser)> parser(
        XML_ParserCreate(nullptr), XML_ParserFree);
    std::string text;
    XML_SetUserData(parser.get(), &text);
    XML_SetElementHandler(
        parser.get(),
        [](void* out, const char* name, const char**) {
            *static_cast<std::string*>(out) += std::string("\1") + name + '\2';
        },
        [](void* out, const char*) { *static_cast<std::string*>(out) += '\3'; });
    XML_SetCharacterDataHandler(parser.get(), [](void* out, const char* bytes, int size) {
        static_cast<std::string*>(out)->append(bytes, static_cast<std::size_t>(size));
    });
    require(XML_Parse(parser.get(), xml.data(), static_cast<int>(xml.size()), 1) == XML_STATUS_OK);
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const auto parts = readParts(input, 0);

    JsonGenerator jsonForm;
    Driver jsonDriver(jsonForm, true);
    jsonForm.begin();
    jsonDriver.put(parts, false);
    jsonForm.end();
    const std::string text = jsonDriver.separated();
    json::error_code error;
    json::parse_options options;
    options.max_depth = deepest + 2;
    const auto value = json::parse(text, error, {}, options);
    require(!error);
    require(value == describeMembers(parts));

    XmlGenerator xmlForm;
    Driver xmlDriver(xmlForm, false);
    xmlForm.begin();
    xmlForm.beginObject("all");
    xmlDriver.put(parts, false);
    xmlForm.endObject();
    xmlForm.end();
    require(xmlForm.getString().find('\n') == std::string::npos);
    requireEqual(readElements(xmlForm.getString()), element("all", describeElements(parts, nullptr)));
    return 0;
}
