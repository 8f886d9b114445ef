#pragma once

#include "world/XmltvReader.h"

#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::TV::Tool {

/// Whether a text says that it is in a language: "en" is also "en_GB" and "en-US", in any case. No language is
/// in every one.
bool isIn(const XmltvText& text, std::string_view language);

/// The first text in a language, or else the first that has one; empty when there is none.
std::string_view choose(const std::vector<XmltvText>& texts, std::string_view language);

} // namespace Ostrel::TV::Tool
