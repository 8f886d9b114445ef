#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Generator {

// What C++ is written of: the description in the words of the language. Comments are paragraphs,
// not broken into lines yet.

struct Enumerator {
    std::string name;
    std::string value;
    std::string comment; ///< may be empty
};

struct Enumeration {
    std::string name;
    std::string comment;
    std::vector<Enumerator> values;
};

/// A member of a record, or an argument of a call.
struct Field {
    std::string name;
    std::string type;
    std::string initializer; ///< what it is at the start; empty: what its type makes of it
    std::string comment;
    bool isNeeded = true; ///< it travels always; otherwise only when it is not as at the start
};

struct Record {
    std::string name;
    std::string comment;
    std::vector<Enumeration> enumerations;
    std::vector<Record> parts; ///< records that are of use in this one alone
    std::vector<Field> fields;
};

struct Call {
    /// How what it is given travels.
    enum class Params {
        None, ///< not at all
        Context, ///< the context alone
        Payload, ///< the context, and the arguments as payload
        Plain, ///< the arguments as they are
    };

    std::string method; ///< interface and operation
    std::string comment;
    std::string result; ///< a type, void among them
    Params params = Params::None;
    std::vector<Field> arguments;
    bool takesRecord = false; ///< the one argument is a record of all that travels
};

struct Notification {
    std::string method; ///< interface and operation
    std::string comment;
};

struct Interface {
    std::string name;
    std::vector<Call> calls;
    std::vector<Notification> notifications;
};

struct Model {
    std::string introduction; ///< what the description says first
    /// Those that stand by themselves. Where there is one interface alone they are inside its class.
    std::vector<Enumeration> enumerations;
    std::vector<Record> records; ///< each behind those that it holds
    std::vector<Interface> interfaces;
};

/// Returns the part of a method's name behind the interface's.
std::string getOperation(const std::string& method);

/// Reads a description of the wire, the text of an OpenRPC document that keeps to the rules of ours.
///
/// @throws std::exception  something is missing, or there is no C++ for it
Model readModel(std::string_view description);

} // namespace Ostrel::Generator
