// From the description to what C++ is written of. All rules by which names and types come about
// are here.

#include "clients/generator/cpp/Model.h"

#include "clients/generator/cpp/Schema.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>
#include <set>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace Ostrel::Generator {

namespace {

namespace json = boost::json;

std::string capitalized(std::string name) {
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    return name;
}

class Reader {
public:
    explicit Reader(std::string_view text) : root_(json::parse(text)) {}

    Model read() {
        const auto introduction = textOf(root_.at("info").as_object(), "description");
        model_.introduction = introduction.substr(0, introduction.find('\n'));
        for (const auto& method : root_.at("methods").as_array()) {
            findUses(method.at("params"), "");
            if (const auto* const result = method.as_object().if_contains("result"))
                findUses(*result, "");
        }
        for (const auto& record : getSchemas())
            addRecord(record.key());
        for (const auto& method : root_.at("methods").as_array())
            addMethod(method.as_object());
        return std::move(model_);
    }

private:
    /// Where what stands inside of something else goes.
    struct Scope {
        std::vector<Enumeration>& enumerations;
        std::vector<Record>& records;
    };

    const json::object& getSchemas() const { return root_.at("components").at("schemas").as_object(); }

    static std::string getName(const json::object& reference) {
        const auto path = textOf(reference, "$ref");
        return path.substr(path.rfind('/') + 1);
    }

    /// Returns what a reference stands for; what is none stands for itself.
    const json::object& resolve(const json::value& value) const {
        const auto& object = value.as_object();
        return object.contains("$ref") ? root_.at_pointer(textOf(object, "$ref").substr(1)).as_object()
                                       : object;
    }

    /// Notes which records are used, in which others, or in "" by a method.
    void findUses(const json::value& value, const std::string& user) {
        if (value.is_array()) {
            for (const auto& element : value.get_array())
                findUses(element, user);
        } else if (value.is_object() && value.get_object().contains("$ref")) {
            const auto name = getName(value.get_object());
            const auto& schema = resolve(value);
            const bool isFirst = !users_.contains(name);
            users_[name].insert(user);
            if (isFirst)
                findUses(schema, schema.contains("properties") ? name : "");
        } else if (value.is_object()) {
            for (const auto& member : value.get_object())
                findUses(member.value(), user);
        }
    }

    /// Returns the record in which another one stands, since it is of use there alone; else nothing.
    std::string getOwner(const std::string& name) const {
        const auto& users = users_.at(name);
        return users.size() == 1 ? *users.begin() : std::string();
    }

    /// Adds a record that stands by itself, behind those that it holds.
    void addRecord(const std::string& name) {
        const auto& schema = getSchemas().at(name).as_object();
        if (isRecord(schema) && users_.contains(name) && getOwner(name).empty() && added_.insert(name).second)
            model_.records.push_back(makeRecord(name, schema));
    }

    Record makeRecord(const std::string& name, const Schema& schema) {
        Record record{name, textOf(schema, "description"), {}, {}, {}};
        const Scope scope{record.enumerations, record.parts};
        // Of a choice there is what either has, and so perhaps not.
        for (const auto& choice : choicesOf(schema)) {
            for (const auto& [member, type] : choice.at("properties").as_object())
                record.fields.push_back(makeField(member, type, false, scope));
        }
        if (const auto* const members = schema.if_contains("properties")) {
            for (const auto& [member, type] : members->as_object())
                record.fields.push_back(makeField(member, type, isRequired(schema, member), scope));
        }
        return record;
    }

    Field makeField(const std::string& name, const json::value& reference, bool isNeeded,
                    const Scope& scope) {
        const auto& schema = resolve(reference);
        auto type = makeType(name, reference, scope);
        const auto* const start = schema.if_contains("default");
        if (!isNeeded && start == nullptr)
            return {name, "std::optional<" + type + ">", "", describe(schema), false};
        auto initializer = initializerOf(type, start);
        if (listsValues(schema) && isType(schema, "integer"))
            initializer = type + "::" + textOf(getChoice(schema, start), "title");
        return {name, std::move(type), std::move(initializer), describe(schema), isNeeded};
    }

    /// Returns the value that an enumeration starts with.
    static json::object getChoice(const Schema& schema, const json::value* start) {
        const auto choices = choicesOf(schema);
        const auto found = std::find_if(choices.begin(), choices.end(), [&](const json::value& choice) {
            return start == nullptr || choice.at("const") == *start;
        });
        return found->as_object();
    }

    /// Returns a type's name; one that has none yet is named after the member that is of it.
    std::string makeType(const std::string& member, const json::value& reference, const Scope& scope) {
        const auto& schema = resolve(reference);
        const bool isNamed = reference.as_object().contains("$ref");
        if (isRecord(schema)) {
            auto name = isNamed ? getName(reference.as_object()) : capitalized(member);
            if (!isNamed || !getOwner(name).empty())
                scope.records.push_back(makePart(name, schema));
            else
                addRecord(name);
            return name;
        }
        if (const auto* const types = schema.if_contains("type"); types != nullptr && types->is_array()) {
            if (types->get_array().size() > 2)
                return "JsonText";
            auto one = schema;
            one["type"] = types->get_array().at(0);
            return "std::optional<" + makeType(member, one, scope) + ">"; // the other one is null
        }
        if (isVariant(schema)) {
            std::vector<std::string> types;
            for (const auto& choice : choicesOf(schema))
                types.push_back(makeType(member, choice, scope));
            return "std::variant<" + join(types, ", ") + ">";
        }
        if (isType(schema, "array"))
            return "std::vector<" + makeType(member, schema.at("items"), scope) + ">";
        if (isType(schema, "integer"))
            return listsValues(schema) ? makeEnumeration(capitalized(member), schema, scope)
                                       : typeOfInteger(schema);
        for (const auto& [type, name] :
             {std::pair("boolean", "bool"), {"number", "double"}, {"string", "std::string"}}) {
            if (isType(schema, type))
                return name;
        }
        throw std::runtime_error("there is no C++ type for the member \"" + member + "\", " +
                                 json::serialize(schema));
    }

    /// A part is held by a std::optional, which says already whether there is one.
    Record makePart(const std::string& name, const Schema& schema) {
        auto part = makeRecord(name, schema);
        std::erase_if(part.fields,
                      [](const Field& field) { return field.name == "valid" && !field.isNeeded; });
        return part;
    }

    static std::string makeEnumeration(const std::string& name, const Schema& schema, const Scope& scope) {
        Enumeration made{name, textOf(schema, "description"), {}};
        for (const auto& value : choicesOf(schema)) {
            const auto& choice = value.as_object();
            made.values.push_back({textOf(choice, "title"), json::serialize(choice.at("const")),
                                   textOf(choice, "description")});
        }
        scope.enumerations.push_back(made);
        return name;
    }

    /// What is said of a member. Records and enumerations have their own comments.
    std::string describe(const Schema& schema) const {
        if (isRecord(schema) || (listsValues(schema) && isType(schema, "integer")))
            return "";
        const auto* const items = schema.if_contains("items");
        const auto* const most = schema.if_contains("maxItems");
        const auto facts = join({textOf(schema, "description"), describeNumber(schema),
                                 items != nullptr ? describeNumber(resolve(*items)) : "",
                                 most != nullptr ? "At most " + json::serialize(*most) + "." : ""},
                                " ");
        return join({facts, describeChoices(schema)}, "\n");
    }

    Interface& getInterface(const std::string& method) {
        const auto name = method.substr(0, method.find("::"));
        for (auto& each : model_.interfaces) {
            if (each.name == name)
                return each;
        }
        return model_.interfaces.emplace_back(Interface{name, {}, {}});
    }

    void addMethod(const json::object& method) {
        const auto name = textOf(method, "name");
        auto& interface = getInterface(name);
        if (method.contains("result"))
            interface.calls.push_back(makeCall(name, method));
        else
            interface.notifications.push_back(makeNotification(name, method));
    }

    static std::string introduce(const json::object& method) {
        return textOf(method, "summary") + ".\n\n" + textOf(method, "description");
    }

    Notification makeNotification(const std::string& name, const json::object& method) {
        Schema params{{"properties", json::object()}, {"required", json::array()}};
        for (const auto& param : method.at("params").as_array())
            addParam(params, resolve(param));
        auto record = makeRecord(capitalized(getOperation(name)), params);
        if (const auto same = findRecord(record); !same.empty())
            return {name, introduce(method) + "\n\nIts params are a " + same + "."};
        record.comment = "The params of `" + name + "`.";
        model_.records.push_back(std::move(record));
        return {name, introduce(method) + "\n\nIts params are an " + model_.records.back().name + "."};
    }

    /// Returns the name of a described record that has the same members; else nothing.
    std::string findRecord(const Record& like) const {
        const auto isSame = [](const Field& a, const Field& b) {
            return a.name == b.name && a.type == b.type && a.isNeeded == b.isNeeded;
        };
        for (const auto& record : model_.records) {
            if (added_.contains(record.name) && std::equal(record.fields.begin(), record.fields.end(),
                                                           like.fields.begin(), like.fields.end(), isSame))
                return record.name;
        }
        return "";
    }

    /// Adds one of a method's params to the schema of all of them.
    static void addParam(Schema& params, const json::object& param) {
        const auto& name = param.at("name").as_string();
        params["properties"].as_object()[name] = param.at("schema");
        if (const auto* const required = param.if_contains("required"); required && required->as_bool())
            params["required"].as_array().emplace_back(name);
    }

    Call makeCall(const std::string& name, const json::object& method) {
        // A payload has arguments for members; without a context the params themselves are arguments.
        Call call{.method = name, .comment = {}, .result = {}, .arguments = {}};
        Schema payload{{"properties", json::object()}, {"required", json::array()}};
        for (const auto& each : method.at("params").as_array()) {
            const auto& param = resolve(each);
            const auto paramName = textOf(param, "name");
            if (paramName == "context") {
                call.params = Call::Params::Context;
            } else if (paramName == "payload" && call.params == Call::Params::Context) {
                call.params = Call::Params::Payload;
                payload = resolve(param.at("schema"));
            } else {
                call.params = Call::Params::Plain;
                addParam(payload, param);
            }
        }
        addArguments(call, payload);
        const auto& result = resolve(method.at("result").at("schema"));
        // What is always true says nothing.
        const bool isVoid = isType(result, "null") || result.contains("const");
        call.result =
            isVoid ? "void" : makeType(getOperation(name), method.at("result").at("schema"), getScope());
        call.comment =
            join({introduce(method), describeOutcome(call, method, isVoid ? Schema() : result)}, "\n\n");
        return call;
    }

    Scope getScope() { return {model_.enumerations, model_.records}; }

    void addArguments(Call& call, const Schema& payload) {
        auto record = makeRecord(capitalized(getOperation(call.method)) + "Params", payload);
        call.takesRecord = std::any_of(record.fields.begin(), record.fields.end(),
                                       [](const Field& field) { return !field.isNeeded; });
        if (call.takesRecord) { // callers name what they give
            record.comment = "What `" + call.method + "` takes.";
            call.arguments = {{"params", record.name, "", "", true}};
            model_.records.push_back(std::move(record));
            return;
        }
        call.arguments = std::move(record.fields);
        std::move(record.enumerations.begin(), record.enumerations.end(),
                  std::back_inserter(model_.enumerations));
        std::move(record.parts.begin(), record.parts.end(), std::back_inserter(model_.records));
    }

    std::string describeOutcome(const Call& call, const json::object& method, const Schema& result) const {
        std::vector<std::string> lines;
        for (auto [argument, type, initializer, comment, isNeeded] : call.arguments) {
            for (auto at = comment.find("\n- "); at != std::string::npos; at = comment.find("\n- ", at + 1))
                comment.insert(at + 1, 8, ' ');
            if (!comment.empty())
                lines.push_back(join({"@param", argument, comment}, " "));
        }
        const auto answer = isRecord(result) ? "" : describe(result);
        if (!answer.empty())
            lines.push_back("@return " + answer);
        if (const auto* const refusals = method.if_contains("x-refused")) {
            for (const auto& [error, reason] : refusals->as_object())
                lines.push_back("@throws ServiceError " + getNameOnTheWire(error) + ": " +
                                std::string(reason.as_string()));
        }
        return join(lines, "\n");
    }

    std::string getNameOnTheWire(const std::string& error) const {
        const auto& described = root_.at("components").at("errors").at(error).as_object();
        if (const auto* const data = described.if_contains("data")) {
            const auto& members = resolve(*data).at("properties").as_object();
            if (const auto* const name = members.if_contains("name"))
                return std::string(name->at("const").as_string());
        }
        return error;
    }

    const json::value root_;
    std::map<std::string, std::set<std::string>> users_;
    std::set<std::string> added_;
    Model model_;
};

} // namespace

std::string getOperation(const std::string& method) {
    return method.substr(method.find("::") + 2);
}

Model readModel(std::string_view description) {
    return Reader(description).read();
}

} // namespace Ostrel::Generator
