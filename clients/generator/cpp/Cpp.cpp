// How what is made looks in C++.

#include "clients/generator/cpp/Cpp.h"

#include <algorithm>
#include <sstream>

namespace Ostrel::Generator {

namespace {

constexpr std::size_t columns = 105;

/// Returns a line as a comment, broken between words.
std::string wrap(const std::string& line, const std::string& indent) {
    const auto blanks = line.substr(0, line.find_first_not_of(' '));
    const bool isItem = line.compare(blanks.size(), 2, "- ") == 0;
    const auto hang = blanks + (line.starts_with("@") ? "        " : isItem ? "  " : "");
    std::string made;
    std::string current = indent + "///" + blanks;
    std::istringstream words(line);
    unsigned count = 0;
    for (std::string word; words >> word; ++count) {
        if (current.size() + 1 + word.size() > columns) {
            made += current + "\n";
            current = indent;
            current.append("///").append(hang);
        }
        // The text stands off from "@param name" and "@throws Type".
        current += (count == 2 && line.starts_with("@") && !line.starts_with("@return") ? "  " : " ") + word;
    }
    return made + current + "\n";
}

std::string makeComment(const std::string& text, const std::string& indent) {
    std::string made;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        made += wrap(line, indent);
    return made;
}

/// Returns a line of code with its comment, behind it where there is room.
std::string withComment(const std::string& code, const std::string& comment, const std::string& indent) {
    if (comment.empty())
        return indent + code + "\n";
    const auto line = indent + code + " ///< " + comment;
    if (line.size() <= columns && comment.find('\n') == std::string::npos)
        return line + "\n";
    return makeComment(comment, indent) + indent + code + "\n";
}

std::string makeEnumeration(const Enumeration& enumeration, const std::string& indent) {
    const bool isPlain = std::all_of(enumeration.values.begin(), enumeration.values.end(),
                                     [](const Enumerator& value) { return value.comment.empty(); });
    std::string made = makeComment(enumeration.comment, indent) + indent + "enum class " + enumeration.name +
                       " : std::uint32_t {" + (isPlain ? " " : "\n");
    for (const auto& value : enumeration.values) {
        const auto code = value.name + " = " + value.value;
        if (isPlain)
            made += code + (&value == &enumeration.values.back() ? " " : ", ");
        else
            made += withComment(code + ",", value.comment, indent + "    ");
    }
    return made + (isPlain ? "" : indent) + "};\n";
}

std::string makeRecord(const Record& record, const std::string& indent) {
    const auto inner = indent + "    ";
    std::string made = makeComment(record.comment, indent) + indent + "struct " + record.name + " {\n";
    for (const auto& enumeration : record.enumerations)
        made += makeEnumeration(enumeration, inner) + "\n";
    for (const auto& part : record.parts)
        made += makeRecord(part, inner) + "\n";
    for (const auto& field : record.fields) {
        // Compilers warn of a member that nobody names, unless it has a start of its own.
        const auto start = !field.initializer.empty() ? " = " + field.initializer
                           : field.isNeeded           ? ""
                                                      : "{}";
        made += withComment(field.type + " " + field.name + start + ";", field.comment, inner);
    }
    return made + "\n" + inner + "bool operator==(const " + record.name + "&) const = default;\n" + indent +
           "};\n";
}

/// The records and the enumerations that stand by themselves.
std::string makeTypes(const Model& model, const std::string& indent) {
    std::string made;
    for (const auto& enumeration : model.enumerations)
        made += makeEnumeration(enumeration, indent) + "\n";
    for (const auto& record : model.records)
        made += makeRecord(record, indent) + "\n";
    return made;
}

std::string makeParameters(const Call& call) {
    std::string made;
    for (const auto& [name, type, initializer, comment, isNeeded] : call.arguments) {
        const bool isByValue = !initializer.empty(); // numbers and the like, which have a start
        made += made.empty() ? "" : ", ";
        if (type == "std::string")
            made += "std::string_view " + name;
        else
            made.append(isByValue ? "" : "const ").append(type).append(isByValue ? " " : "& ").append(name);
    }
    return made;
}

/// Breaks a line of code that is too long between arguments.
std::string fold(std::string line, const std::string& indent) {
    if (line.size() <= columns)
        return line;
    const auto at = line.rfind(", ", columns);
    return line.substr(0, at + 1) + "\n" + fold(indent + "        " + line.substr(at + 2), indent);
}

std::string makeClass(const Interface& interface, const std::string& introduction, const std::string& types) {
    std::string made = makeComment(introduction + "The methods of `" + interface.name +
                                       "`, by the names that they have on the wire. They throw what the "
                                       "calls of a Context throw, and are as little for sharing.",
                                   "") +
                       "class " + interface.name + " {\npublic:\n" + types + "    explicit " +
                       interface.name + "(const Context& context) : context_(context) {}\n";
    for (const auto& call : interface.calls)
        made +=
            "\n" + makeComment(call.comment, "    ") +
            fold("    " + call.result + " " + getOperation(call.method) + "(" + makeParameters(call) + ");",
                 "    ") +
            "\n";
    for (const auto& notification : interface.notifications)
        made += "\n" + makeComment(notification.comment, "    ") + "    static constexpr const char* " +
                getOperation(notification.method) + " = \"" + notification.method + "\";\n";
    return made + "\nprivate:\n    Context context_;\n};\n";
}

std::string makeBody(const Interface& interface, const Call& call) {
    std::string arguments;
    for (const auto& argument : call.arguments)
        arguments.append(arguments.empty() ? "" : ", ")
            .append("{\"" + argument.name + "\", toJson(" + argument.name + ")}");
    const auto params = call.takesRecord ? "toJson(params).as_object()" : "{" + arguments + "}";
    const bool isAlone = call.params == Call::Params::None || call.params == Call::Params::Context;
    const bool isPlain = call.params == Call::Params::None || call.params == Call::Params::Plain;
    const auto answer = std::string(isPlain ? "Caller::request" : "Caller::call") + "(context_, \"" +
                        call.method + "\"" + (isAlone ? "" : ", " + params) + ")";
    return "\nauto " + interface.name + "::" + getOperation(call.method) + "(" + makeParameters(call) +
           ") -> " + call.result + " {\n    " +
           (call.result == "void" ? answer : "return fromJson<" + call.result + ">(" + answer + ")") +
           ";\n}\n";
}

/// The members of a record and its parts as they travel.
std::string makeMembers(const Record& record, const std::string& scope) {
    const auto type = scope + record.name;
    std::string made;
    for (const auto& part : record.parts)
        made += makeMembers(part, type + "::");
    std::string tuple;
    for (const auto& field : record.fields) {
        tuple.append(tuple.empty() ? "\n" : ",\n").append("    Member{\"").append(field.name).append("\", &");
        tuple.append(type).append("::").append(field.name).append(field.isNeeded ? ", true}" : ", false}");
    }
    return made + "\ntemplate <> constexpr auto members<" + type + "> = std::tuple(" + tuple + ");\n";
}

std::string makeSource(const Model& model, const std::string& start, const std::string& header,
                       const std::string& scope) {
    std::string made = start + "#include \"clients/cpp/" + header +
                       "\"\n\n#include \"clients/cpp/Caller.h\"\n#include \"clients/cpp/Values.h\"\n\n"
                       "namespace Ostrel::Client {\n";
    for (const auto& record : model.records)
        made += makeMembers(record, scope);
    made += "\n";
    for (const auto& record : model.records)
        made += "OSTREL_CLIENT_RECORD(" + scope + record.name + ")\n";
    for (const auto& interface : model.interfaces) {
        for (const auto& call : interface.calls)
            made += makeBody(interface, call);
    }
    return made + "\n} // namespace Ostrel::Client\n";
}

std::string include(const std::vector<std::string>& headers) {
    std::string made;
    for (const auto& header : headers)
        made += "#include " + header + "\n";
    return made + "\n";
}

const std::vector<std::string> ofTypes = {"<cstdint>", "<limits>",  "<optional>",
                                          "<string>",  "<variant>", "<vector>"};
const std::vector<std::string> ofCalls = {"<cstdint>", "<string>", "<string_view>", "<vector>"};
const std::string open = "namespace Ostrel::Client {\n\n";
const std::string close = "} // namespace Ostrel::Client\n";

} // namespace

std::vector<File> writeLibrary(const Model& model, const std::string& description) {
    const auto start = "// SPDX-License-Identifier: Apache-2.0\n\n"
                       "// Made from " +
                       description + " by clients/generator. Changes belong there.\n\n";
    const auto header = start + "#pragma once\n\n";
    if (model.interfaces.size() == 1) {
        const auto& interface = model.interfaces.front();
        const auto name = interface.name + ".h";
        return {{name, header + include({"\"clients/cpp/Context.h\"", "\"clients/cpp/JsonText.h\""}) +
                           include(ofTypes) + open +
                           makeClass(interface, model.introduction + "\n\n", makeTypes(model, "    ")) +
                           "\n" + close},
                {interface.name + ".cpp", makeSource(model, start, name, interface.name + "::")}};
    }
    std::string classes;
    for (const auto& interface : model.interfaces)
        classes += makeClass(interface, "", "") + "\n";
    return {{"Records.h", header + include({"\"clients/cpp/JsonText.h\""}) + include(ofTypes) + open +
                              makeTypes(model, "") + close},
            {"Interfaces.h", header + include({"\"clients/cpp/Context.h\"", "\"clients/cpp/Records.h\""}) +
                                 include(ofCalls) + open + classes + close},
            {"Interfaces.cpp", makeSource(model, start, "Interfaces.h", "")}};
}

std::string writeMethodTable(const std::vector<Model>& models) {
    std::string made = "// Made from the descriptions by clients/generator.\n\n#pragma once\n\n"
                       "namespace Ostrel::Client::Tool {\n\n"
                       "/// The methods that are described, those of one interface together.\n"
                       "inline constexpr const char* methods[] = {\n";
    for (const auto& model : models) {
        for (const auto& interface : model.interfaces) {
            for (const auto& call : interface.calls)
                made += "    \"" + call.method + "\",\n";
        }
    }
    return made + "};\n\n} // namespace Ostrel::Client::Tool\n";
}

} // namespace Ostrel::Generator
