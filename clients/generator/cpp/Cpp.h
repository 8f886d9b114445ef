#pragma once

#include "clients/generator/cpp/Model.h"

#include <string>
#include <vector>

namespace Ostrel::Generator {

/// A file that is to be written.
struct File {
    std::string name;
    std::string text;
};

/// Writes the client library's part of a description: its records with readers and writers, and a class
/// of typed calls for each interface.
///
/// Several interfaces share Records.h and Interfaces.{h,cpp}. One alone has a file of its name, and
/// its records are inside its class.
///
/// @param description  its path, for people
std::vector<File> writeLibrary(const Model& model, const std::string& description);

/// Writes a table of the names of all methods.
std::string writeMethodTable(const std::vector<Model>& models);

} // namespace Ostrel::Generator
