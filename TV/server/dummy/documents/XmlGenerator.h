#pragma once

#include "TV/server/dummy/documents/Generator.h"

namespace Ostrel::TV {

/// Writes XML elements without a prolog, a root element or any mark of a list: an element of a
/// list is named after the list.
class XmlGenerator : public Generator {
public:
    void addInt(const char* name, long long value) override;
    /// The value that means that there is none writes nothing.
    void addOptInt(const char* name, long long value, long long defaultValue) override;
    /// An absent text writes nothing.
    void addString(const char* name, const char* value) override;
    /// A flag is an empty element, or nothing.
    void addFlag(const char* name, bool value) override;
    void addObjectStart(const std::string& name) override;
    void addObjectEnd(const std::string& name) override;
    void addListStart(const std::string& name) override;
    void addListEnd(const std::string& name) override;
    void addSeparator() override;
    void begin() override;
    void end() override;

private:
    enum class Tag { Open, Close, Empty };

    void addTag(const std::string& name, Tag tag);
    std::string nameOrList(const char* name) const;
};

} // namespace Ostrel::TV
